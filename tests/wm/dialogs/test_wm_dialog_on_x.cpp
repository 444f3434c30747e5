// A question dialog on a real X server: a private Xvfb, the widget_window program beside the
// test, and xdotool as the person: a click on Yes, Escape for No, a drag by the title.

#include <gtest/gtest.h>

#include <cstdio>
#include <sstream>
#include <string>

#include "test_support.h"
#include "x_server.h"

namespace {

constexpr int WAIT_MS = 20000;
const char* const WINDOW_TITLE = "Widget Window";

struct POINT {
    int x { -1 };
    int y { -1 };
};

// The value of a line "<name> X Y" of the program's output.
bool find_point(const std::string& output, const std::string& name, POINT* point)
{
    std::istringstream lines(output);
    std::string line;
    while (std::getline(lines, line)) {
        if (line.compare(0, name.size() + 1, name + " ") != 0)
            continue;
        return sscanf(line.c_str() + name.size() + 1, "%d %d", &point->x, &point->y) == 2;
    }
    return false;
}

class DIALOG_ON_X : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(server.running());
        program = new BACKGROUND_PROGRAM(std::string(ORLU_BUILD_DIR) + "/tests/widget_window", {},
            { server.display_entry() }, temp.path());
        window = wait_for_window(server, WINDOW_TITLE, WAIT_MS);
        ASSERT_FALSE(window.empty()) << program->output() << program->errors();
        ASSERT_TRUE(wait_until([&] { return find_point(program->output(), "title", &title); }, WAIT_MS));
        ASSERT_TRUE(find_point(program->output(), "yes", &yes));
        ASSERT_TRUE(find_point(program->output(), "no", &no));
    }
    void TearDown() override { delete program; }

    // How many times the program reported the line so far.
    int seen(const std::string& line)
    {
        std::istringstream lines(program->output());
        std::string each;
        int count = 0;
        while (std::getline(lines, each))
            count += each == line;
        return count;
    }

    // Moves the pointer and waits until the program has seen it there.
    void move_to(POINT where)
    {
        std::string line = "pointer " + std::to_string(where.x) + " " + std::to_string(where.y);
        int before = seen(line);
        xdotool(server, { "mousemove", "--window", window, std::to_string(where.x), std::to_string(where.y) });
        ASSERT_TRUE(wait_until([&] { return seen(line) > before || program->finished(); }, WAIT_MS))
            << program->output();
    }

    // Down, and held until the program has seen it; up likewise: a person's press is longer
    // than a frame, and a press and release within one frame would never show to a widget.
    void button_down()
    {
        int before = seen("primary down");
        xdotool(server, { "mousedown", "1" });
        ASSERT_TRUE(wait_until([&] { return seen("primary down") > before; }, WAIT_MS)) << program->output();
    }
    void button_up()
    {
        int before = seen("primary up");
        xdotool(server, { "mouseup", "1" });
        ASSERT_TRUE(wait_until([&] { return seen("primary up") > before || program->finished(); }, WAIT_MS));
    }
    void click(POINT where)
    {
        move_to(where);
        button_down();
        button_up();
    }

    int wait_status()
    {
        int status = -1;
        EXPECT_TRUE(program->wait_end(WAIT_MS, &status)) << program->output();
        return status;
    }

    XVFB_SERVER server;
    TEMP_FOLDER temp;
    BACKGROUND_PROGRAM* program { nullptr };
    std::string window;
    POINT title;
    POINT yes;
    POINT no;
};

} // namespace

TEST_F(DIALOG_ON_X, a_click_on_yes_answers_with_its_callback)
{
    click(yes);
    EXPECT_EQ(wait_status(), 3);
}

// A tap (a touchpad's tap-to-click) reaches the server as a press and its release together; the
// pump keeps the release for the next frame, so the button still sees both.
TEST_F(DIALOG_ON_X, a_quick_tap_on_yes_answers_with_its_callback)
{
    move_to(yes);
    xdotool(server, { "click", "1" });
    EXPECT_EQ(wait_status(), 3);
}

// A whole drag in one go: the last move and the release arrive together.
TEST_F(DIALOG_ON_X, a_quick_drag_still_drops_the_dialog_where_the_pointer_let_go)
{
    move_to(title);
    xdotool(server, { "mousedown", "1", "mousemove", "--window", window, std::to_string(title.x + 60),
                        std::to_string(title.y + 40), "mouseup", "1" });
    click(POINT { no.x + 60, no.y + 40 });
    EXPECT_EQ(wait_status(), 4);
    POINT last;
    ASSERT_TRUE(find_point(program->output(), "dialog", &last)) << program->output();
    EXPECT_EQ(last.x, 170 + 60);
    EXPECT_EQ(last.y, 140 + 40);
}

TEST_F(DIALOG_ON_X, escape_answers_with_the_no_button)
{
    xdotool(server, { "windowfocus", "--sync", window });
    xdotool(server, { "keydown", "Escape" });
    ASSERT_TRUE(wait_until([&] { return seen("escape down") > 0; }, WAIT_MS)) << program->output();
    xdotool(server, { "keyup", "Escape" });
    EXPECT_EQ(wait_status(), 4);
}

TEST_F(DIALOG_ON_X, a_drag_by_the_title_leaves_the_dialog_where_it_is_dropped)
{
    move_to(title);
    button_down();
    move_to(POINT { title.x + 30, title.y + 20 });
    move_to(POINT { title.x + 60, title.y + 40 });
    button_up();
    // Then No, where the button now stands.
    click(POINT { no.x + 60, no.y + 40 });
    EXPECT_EQ(wait_status(), 4);
    POINT last;
    ASSERT_TRUE(find_point(program->output(), "dialog", &last)) << program->output();
    EXPECT_EQ(last.x, 170 + 60);
    EXPECT_EQ(last.y, 140 + 40);
}
