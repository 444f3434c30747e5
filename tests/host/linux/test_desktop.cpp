// Desktop shortcuts, menu entries and the browser command.

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <string>

#include "host/desktop.h"
#include "host/system_info.h"
#include "test_support.h"

namespace {

class DESKTOP : public ::testing::Test {
protected:
    void SetUp() override
    {
        home = folder.file("home");
        mkdir(home.c_str(), 0755);
        mkdir((home + "/Desktop").c_str(), 0755);
        set_home_directory(home.c_str());
        menus = folder.file("menus");
        mkdir(menus.c_str(), 0755);
        record = folder.file("calls.txt");
        // The fake menu tool records its arguments and a copy of each file it was handed.
        bin = folder.file("bin");
        mkdir(bin.c_str(), 0755);
        write_file(bin + "/xdg-desktop-menu",
            "#!/bin/sh\necho \"xdg $*\" >> '" + record + "'\nfor f in \"$@\"; do [ -f \"$f\" ] && cat \"$f\" >> '" + record + "'; done\nexit 0\n");
        write_file(bin + "/update-menus", "#!/bin/sh\necho update-menus >> '" + record + "'\n");
        chmod((bin + "/xdg-desktop-menu").c_str(), 0755);
        chmod((bin + "/update-menus").c_str(), 0755);
        std::string xdg = bin + "/xdg-desktop-menu", update = bin + "/update-menus";
        set_desktop_tools({ menus.c_str(), xdg.c_str(), update.c_str() });
    }
    void TearDown() override
    {
        set_home_directory(nullptr);
        set_desktop_tools({ "/usr/lib/menu", "/usr/bin/xdg-desktop-menu", "/usr/bin/update-menus" });
    }

    TEMP_FOLDER folder;
    std::string home, menus, record, bin;
};

mode_t mode_of(const std::string& path)
{
    struct stat facts;
    return stat(path.c_str(), &facts) == 0 ? facts.st_mode & 07777 : 0;
}

} // namespace

TEST(DESKTOP_NAMES, titles_become_file_names_and_menu_identifiers)
{
    char name[256];
    desktop_file_name("My App 1.0", name, sizeof name);
    EXPECT_STREQ(name, "My_App_1_0");
    menu_identifier("Games/Puzzles", "My App", name, sizeof name);
    EXPECT_STREQ(name, "local.Games_Puzzles_My_App");
}

TEST_F(DESKTOP, program_shortcut_has_the_exact_entry_and_mode)
{
    ASSERT_TRUE(add_desktop_shortcut(SHORTCUT_PROGRAM, "run", "--fast", "My App 1.0", "/opt/my app/", "app.png", "/opt/icons"));
    std::string path = home + "/Desktop/My_App_1_0.desktop";
    EXPECT_EQ(read_file(path),
        "[Desktop Entry]\nEncoding=UTF-8\nValue=1.0\nType=Application\nName=My App 1.0\nComment=My App 1.0\n"
        "Exec=\"/opt/my app/run\" --fast\nIcon=/opt/icons/app.png\n");
    EXPECT_EQ(mode_of(path), 0755u);
    EXPECT_TRUE(remove_desktop_shortcut("My App 1.0"));
    EXPECT_EQ(mode_of(path), 0u);
}

TEST_F(DESKTOP, link_and_file_shortcuts_take_their_default_icons)
{
    ASSERT_TRUE(add_desktop_shortcut(SHORTCUT_WEB_PAGE, "http://example.invalid/a b", nullptr, "Site", nullptr, nullptr, nullptr));
    EXPECT_EQ(read_file(home + "/Desktop/Site.desktop"),
        "[Desktop Entry]\nEncoding=UTF-8\nValue=1.0\nType=Link\nName=Site\nIcon=www\nURL=http://example.invalid/a b\n");
    ASSERT_TRUE(add_desktop_shortcut(SHORTCUT_FILE, "readme.txt", nullptr, "Read me", "/opt/app", nullptr, nullptr));
    EXPECT_EQ(read_file(home + "/Desktop/Read_me.desktop"),
        "[Desktop Entry]\nEncoding=UTF-8\nValue=1.0\nType=Link\nName=Read me\nIcon=ascii\nURL=\"/opt/app/readme.txt\" \n");
}

TEST_F(DESKTOP, hostile_title_makes_a_plain_file_and_runs_nothing)
{
    std::string planted = folder.file("planted");
    std::string title = "x\"; touch " + planted + "; $(touch " + planted + ")";
    ASSERT_TRUE(add_desktop_shortcut(SHORTCUT_PROGRAM, "run", nullptr, title.c_str(), nullptr, nullptr, nullptr));
    EXPECT_TRUE(remove_desktop_shortcut(title.c_str()));
    EXPECT_EQ(mode_of(planted), 0u);
}

TEST_F(DESKTOP, no_desktop_folder_means_no_shortcut)
{
    rmdir((home + "/Desktop").c_str());
    EXPECT_FALSE(add_desktop_shortcut(SHORTCUT_PROGRAM, "run", nullptr, "App", nullptr, nullptr, nullptr));
}

TEST_F(DESKTOP, menu_entry_writes_the_menu_file_and_registers_each_level)
{
    ASSERT_TRUE(add_menu_entry(SHORTCUT_PROGRAM, "run", "-q", "My App", "Games/Puzzles", "/opt/app", "app.png", "/opt/icons"));
    std::string menu_file = menus + "/local.Games_Puzzles_My_App.desktop";
    EXPECT_EQ(read_file(menu_file),
        "?package(local.Games_Puzzles_My_App): command=\"'/opt/app/run' -q\" icon=\"/opt/icons/app.png\" "
        "section=\"Games/Puzzles\" title=\"My App\" needs=\"x11\" startup_notify=\"true\"\n");
    EXPECT_EQ(mode_of(menu_file), 0755u);

    std::string calls = read_file(record);
    // One call with the two directory files and the entry, each handed over with its content;
    // then the menu update.
    size_t install = calls.find("xdg install ");
    ASSERT_NE(install, std::string::npos) << calls;
    std::string line = calls.substr(install, calls.find('\n', install) - install);
    EXPECT_NE(line.find("/orlu-Games.directory "), std::string::npos) << line;
    EXPECT_NE(line.find("/orlu-Games-Puzzles.directory "), std::string::npos) << line;
    EXPECT_NE(line.find("/orlu-local.Games_Puzzles_My_App.desktop"), std::string::npos) << line;
    EXPECT_NE(calls.find("[Desktop Entry]\nValue=1.0\nType=Directory\nName=Games\nIcon=folder\n"), std::string::npos);
    EXPECT_NE(calls.find("[Desktop Entry]\nValue=1.0\nType=Directory\nName=Puzzles\nIcon=folder\n"), std::string::npos);
    EXPECT_NE(calls.find("[Desktop Entry]\nValue=1.0\nType=Application\nName=My App\nExec=\"/opt/app/run\" -q\nIcon=/opt/icons/app.png\n"),
        std::string::npos);
    EXPECT_EQ(calls.substr(calls.size() - 13), "update-menus\n");

    // The files handed over live in a private folder that is gone afterwards.
    std::string handed = line.substr(line.rfind(' ') + 1);
    EXPECT_EQ(mode_of(handed), 0u);
    EXPECT_EQ(mode_of(handed.substr(0, handed.rfind('/'))), 0u);
}

TEST_F(DESKTOP, menu_entry_falls_back_to_the_home_menu_folder)
{
    std::string missing = folder.file("no/such/menus");
    set_desktop_tools({ missing.c_str(), nullptr, nullptr });
    ASSERT_TRUE(add_menu_entry(SHORTCUT_WEB_PAGE, "http://example.invalid", nullptr, "Site", "Web", nullptr, nullptr, nullptr));
    std::string menu_file = home + "/.menu/local.Web_Site.desktop";
    std::string text = read_file(menu_file);
    EXPECT_EQ(text.find("?package(local.Web_Site): command=\""), 0u) << text;
    EXPECT_NE(text.find("icon=\"www\" section=\"Web\" title=\"Site\""), std::string::npos) << text;
}

TEST_F(DESKTOP, without_the_menu_tool_only_the_menu_file_and_the_update_run)
{
    std::string missing = folder.file("none");
    set_desktop_tools({ nullptr, missing.c_str(), nullptr });
    ASSERT_TRUE(add_menu_entry(SHORTCUT_PROGRAM, "run", nullptr, "App", "Tools", nullptr, nullptr, nullptr));
    EXPECT_EQ(read_file(record), "update-menus\n");
}

TEST_F(DESKTOP, removing_a_menu_entry_deletes_and_unregisters_it)
{
    ASSERT_TRUE(add_menu_entry(SHORTCUT_PROGRAM, "run", nullptr, "My App", "Games/Puzzles", nullptr, nullptr, nullptr));
    write_file(record, "");
    remove_menu_entry("My App", "Games/Puzzles");
    EXPECT_EQ(mode_of(menus + "/local.Games_Puzzles_My_App.desktop"), 0u);
    EXPECT_EQ(read_file(record),
        "xdg uninstall orlu-Games.directory orlu-Games-Puzzles.directory orlu-local.Games_Puzzles_My_App.desktop\nupdate-menus\n");
}

TEST(BROWSER_COMMAND, browser_variable_wins_and_blanks_are_encoded_only_there)
{
    RUN_RESULT run = run_in_child(
        [] {
            printf("%s|", open_in_browser_command("http://x/a b", false));
            printf("%s", open_in_browser_command("u", true));
        },
        { "BROWSER=mybrowser --new" });
    EXPECT_EQ(run.output, "$BROWSER 'http://x/a%20b'|$BROWSER 'u' &");

    run = run_in_child([] { printf("%s", open_in_browser_command("http://x/a b", false)); },
        { "BROWSER=", "DESKTOP=KDE-4" });
    EXPECT_EQ(run.output, "kfmclient exec 'http://x/a b'");
    run = run_in_child([] { printf("%s", open_in_browser_command("u", true)); },
        { "BROWSER=", "DESKTOP_SESSION=gnome-classic" });
    EXPECT_EQ(run.output, "gnome-open 'u' &");
}

TEST(BROWSER_COMMAND, opening_a_page_starts_the_browser_with_the_address_as_one_argument)
{
    TEMP_FOLDER folder;
    std::string record = folder.file("args.txt");
    std::string bin = make_recording_program(folder, "fakebrowser", record, 0);
    RUN_RESULT run = run_in_child([] { open_in_browser("http://x/a b?$(id)"); },
        { "BROWSER=" + bin + "/fakebrowser --tab" });
    EXPECT_EQ(run.status, 0);
    for (int i = 0; i < 100 && read_file(record).empty(); ++i)
        usleep(20000); // the browser runs detached
    EXPECT_EQ(read_file(record), "--tab\nhttp://x/a%20b?$(id)\n");
}
