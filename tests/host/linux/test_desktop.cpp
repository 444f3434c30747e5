// Desktop shortcuts, menu entries and the browser command.

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

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
        // The desktop folder comes from the test's own home, whatever the machine says.
        environment.set("XDG_CONFIG_HOME", (home + "/.config").c_str());
        environment.set("XDG_DESKTOP_DIR", nullptr);
    }
    void TearDown() override
    {
        set_home_directory(nullptr);
        set_desktop_tools({ "/usr/lib/menu", "/usr/bin/xdg-desktop-menu", "/usr/bin/update-menus" });
    }

    TEMP_FOLDER folder;
    std::string home, menus, record, bin;
    SCOPED_ENVIRONMENT environment;
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

TEST_F(DESKTOP, hostile_title_and_paths_are_escaped_in_the_written_entry)
{
    // A line feed in the title must not add a key, and quotes, "$" and "%" in the program's path
    // and arguments must not change the command.
    const char* title = "Evil\nExec=rm -rf ~";
    ASSERT_TRUE(add_desktop_shortcut(SHORTCUT_PROGRAM, "run", "--name \"A B\" 100%", title, "/opt/my \"app\"/$x", nullptr,
        nullptr));
    // Exec: the program quoted with '"' and '$' escaped, then every backslash doubled as the
    // string rules ask; "A B" quoted as one argument; "%" doubled.
    EXPECT_EQ(read_file(home + "/Desktop/Evil_Exec_rm__rf__.desktop"),
        "[Desktop Entry]\nEncoding=UTF-8\nValue=1.0\nType=Application\n"
        "Name=Evil\\nExec=rm -rf ~\n"
        "Comment=Evil\\nExec=rm -rf ~\n"
        "Exec=\"/opt/my \\\\\"app\\\\\"/\\\\$x/run\" --name \"A B\" 100%%\n"
        "Icon=\n");
    EXPECT_TRUE(remove_desktop_shortcut(title));
    EXPECT_EQ(mode_of(home + "/Desktop/Evil_Exec_rm__rf__.desktop"), 0u);

    // Arguments are read as a shell would read them, then quoted one by one by the entry rules:
    // 'a;b' is one word holding a reserved character; c\\d is the word c\d, whose backslash
    // takes four in the file.
    ASSERT_TRUE(add_desktop_shortcut(SHORTCUT_PROGRAM, "run", "'a;b' c\\\\d", "Args", "/opt", nullptr, nullptr));
    EXPECT_EQ(read_file(home + "/Desktop/Args.desktop"),
        "[Desktop Entry]\nEncoding=UTF-8\nValue=1.0\nType=Application\nName=Args\nComment=Args\n"
        "Exec=\"/opt/run\" \"a;b\" \"c\\\\\\\\d\"\nIcon=\n");
}

TEST_F(DESKTOP, control_characters_and_unknown_kinds_write_nothing)
{
    EXPECT_FALSE(add_desktop_shortcut(SHORTCUT_PROGRAM, "run", nullptr, "Bell\a", nullptr, nullptr, nullptr));
    EXPECT_EQ(mode_of(home + "/Desktop/Bell_.desktop"), 0u);
    EXPECT_NE(std::string(desktop_error_text()).find("control characters"), std::string::npos) << desktop_error_text();
    // An unclosed quote in the arguments cannot be written as a command line.
    EXPECT_FALSE(add_desktop_shortcut(SHORTCUT_PROGRAM, "run", "\"open", "Quote", nullptr, nullptr, nullptr));
    EXPECT_EQ(mode_of(home + "/Desktop/Quote.desktop"), 0u);
    EXPECT_FALSE(add_desktop_shortcut(0, "run", nullptr, "Zero", nullptr, nullptr, nullptr));
    EXPECT_FALSE(add_desktop_shortcut(7, "run", nullptr, "Seven", nullptr, nullptr, nullptr));
    EXPECT_EQ(mode_of(home + "/Desktop/Zero.desktop"), 0u);
    EXPECT_EQ(mode_of(home + "/Desktop/Seven.desktop"), 0u);
    EXPECT_STREQ(desktop_error_text(), "unknown shortcut kind 7");
    EXPECT_FALSE(add_menu_entry(4, "run", nullptr, "Four", "Tools", nullptr, nullptr, nullptr));
    EXPECT_EQ(mode_of(menus + "/local.Tools_Four.desktop"), 0u);
    EXPECT_FALSE(add_menu_entry(SHORTCUT_PROGRAM, "run", nullptr, "Two\nLines", "Tools", nullptr, nullptr, nullptr));
    EXPECT_EQ(mode_of(menus + "/local.Tools_Two_Lines.desktop"), 0u);
    EXPECT_EQ(read_file(record), "");
}

TEST_F(DESKTOP, the_desktop_folder_comes_from_the_users_directory_settings)
{
    mkdir((home + "/.config").c_str(), 0755);
    mkdir((home + "/Schreibtisch").c_str(), 0755);
    write_file(home + "/.config/user-dirs.dirs",
        "# written by the desktop\nXDG_MUSIC_DIR=\"$HOME/Musik\"\nXDG_DESKTOP_DIR=\"$HOME/Schreibtisch\"\n");
    char found[4096];
    ASSERT_TRUE(desktop_folder(found, sizeof found));
    EXPECT_EQ(std::string(found), home + "/Schreibtisch");
    ASSERT_TRUE(add_desktop_shortcut(SHORTCUT_WEB_PAGE, "http://example.invalid", nullptr, "Site", nullptr, nullptr, nullptr));
    EXPECT_EQ(read_file(home + "/Schreibtisch/Site.desktop"),
        "[Desktop Entry]\nEncoding=UTF-8\nValue=1.0\nType=Link\nName=Site\nIcon=www\nURL=http://example.invalid\n");
    EXPECT_EQ(mode_of(home + "/Desktop/Site.desktop"), 0u);

    // An absolute path stands as it is; without the file, the variable; without both, Desktop.
    std::string elsewhere = folder.file("elsewhere");
    write_file(home + "/.config/user-dirs.dirs", "XDG_DESKTOP_DIR=\"" + elsewhere + "\"\n");
    ASSERT_TRUE(desktop_folder(found, sizeof found));
    EXPECT_EQ(std::string(found), elsewhere);
    unlink((home + "/.config/user-dirs.dirs").c_str());
    setenv("XDG_DESKTOP_DIR", elsewhere.c_str(), 1);
    ASSERT_TRUE(desktop_folder(found, sizeof found));
    EXPECT_EQ(std::string(found), elsewhere);
    unsetenv("XDG_DESKTOP_DIR");
    ASSERT_TRUE(desktop_folder(found, sizeof found));
    EXPECT_EQ(std::string(found), home + "/Desktop");
}

TEST_F(DESKTOP, no_desktop_folder_means_no_shortcut_and_says_where)
{
    rmdir((home + "/Desktop").c_str());
    EXPECT_FALSE(add_desktop_shortcut(SHORTCUT_PROGRAM, "run", nullptr, "App", nullptr, nullptr, nullptr));
    EXPECT_EQ(std::string(desktop_error_text()), home + "/Desktop/App.desktop: No such file or directory");
}

TEST_F(DESKTOP, menu_values_are_quoted_for_the_menu_file_and_the_shell)
{
    ASSERT_TRUE(add_menu_entry(SHORTCUT_PROGRAM, "run", nullptr, "Say \"hi\"", "Tools", "/opt/it's", nullptr, nullptr));
    // The path is one single-quoted shell word ("'" as '\''), and the menu file's own quoting
    // puts a backslash before '"' and '\'.
    EXPECT_EQ(read_file(menus + "/local.Tools_Say__hi_.desktop"),
        "?package(local.Tools_Say__hi_): command=\"'/opt/it'\\\\''s/run'\" icon=\"exec\" section=\"Tools\" "
        "title=\"Say \\\"hi\\\"\" needs=\"x11\" startup_notify=\"true\"\n");
    std::string calls = read_file(record);
    EXPECT_NE(calls.find("[Desktop Entry]\nValue=1.0\nType=Application\nName=Say \"hi\"\nExec=\"/opt/it's/run\"\nIcon=exec\n"),
        std::string::npos)
        << calls;
}

TEST_F(DESKTOP, menu_helpers_get_the_base_directory_defaults_when_they_are_unset)
{
    write_file(bin + "/xdg-desktop-menu",
        "#!/bin/sh\necho \"data=$XDG_DATA_DIRS config=$XDG_CONFIG_DIRS\" >> '" + record + "'\nexit 0\n");
    RUN_RESULT run = run_in_child([] {
        unsetenv("XDG_CONFIG_DIRS");
        setenv("XDG_DATA_DIRS", "", 1);
        if (!add_menu_entry(SHORTCUT_PROGRAM, "run", nullptr, "App", "Tools", nullptr, nullptr, nullptr))
            printf("failed");
        setenv("XDG_DATA_DIRS", "/mine", 1);
        setenv("XDG_CONFIG_DIRS", "/my/xdg", 1);
        if (!add_menu_entry(SHORTCUT_PROGRAM, "run", nullptr, "App", "Tools", nullptr, nullptr, nullptr))
            printf("failed");
    });
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(read_file(record),
        "data=/usr/local/share/:/usr/share/ config=/etc/xdg\nupdate-menus\n"
        "data=/mine config=/my/xdg\nupdate-menus\n");
}

TEST_F(DESKTOP, a_failing_menu_tool_is_reported)
{
    write_file(bin + "/xdg-desktop-menu", "#!/bin/sh\nexit 3\n");
    EXPECT_FALSE(add_menu_entry(SHORTCUT_PROGRAM, "run", nullptr, "App", "Tools", nullptr, nullptr, nullptr));
    EXPECT_NE(std::string(desktop_error_text()).find("install ended with status 3"), std::string::npos)
        << desktop_error_text();
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

namespace {

// A program called "festival" in its own folder that keeps running until it is killed; with
// `record` it first writes what it reads to that file.
std::string make_synthesiser(const TEMP_FOLDER& folder, const std::string& sub, const std::string& record)
{
    std::string bin = folder.file(sub);
    mkdir(bin.c_str(), 0755);
    std::string body = record.empty() ? "" : "cat > '" + record + "'\n";
    write_file(bin + "/festival", "#!/bin/sh\n" + body + "while :; do sleep 1; done\n");
    chmod((bin + "/festival").c_str(), 0755);
    return bin;
}

int pipe_signals = 0;
void count_pipe_signal(int) { ++pipe_signals; }

} // namespace

TEST(SPEECH, stop_speech_ends_only_the_speech_this_program_started)
{
    TEMP_FOLDER folder;
    std::string record = folder.file("spoken.txt");
    std::string ours = make_synthesiser(folder, "ours", record);
    std::string other = make_synthesiser(folder, "other", "");
    RUN_RESULT run = run_in_child(
        [&] {
            // Somebody else's speech, running before ours.
            pid_t bystander = fork();
            if (bystander == 0) {
                execl((other + "/festival").c_str(), "festival", static_cast<char*>(nullptr));
                _exit(127);
            }
            printf("%s", say("Hello, world. Bye!") ? "said " : "not said ");
            for (int i = 0; i < 250 && read_file(record).empty(); ++i)
                usleep(20000);
            printf("%s", speech_is_running() ? "running " : "idle ");
            stop_speech();
            printf("%s", speech_is_running() ? "running " : "stopped ");
            printf("%s", kill(bystander, 0) == 0 ? "bystander alive" : "bystander gone");
            kill(bystander, SIGKILL);
            waitpid(bystander, nullptr, 0);
        },
        { "PATH=" + ours + ":/usr/bin:/bin" });
    EXPECT_EQ(run.output, "said running stopped bystander alive");
    // Punctuation becomes pauses: "," a blank, ".", "!" and ";" a comma.
    EXPECT_EQ(read_file(record), "Hello  world, Bye,");
}

TEST(SPEECH, speaking_leaves_the_programs_broken_pipe_handling_alone)
{
    TEMP_FOLDER folder;
    std::string empty = folder.file("empty");
    mkdir(empty.c_str(), 0755);
    RUN_RESULT run = run_in_child(
        [] {
            signal(SIGPIPE, count_pipe_signal);
            // No synthesiser at all: whatever the write meets, no broken pipe reaches us.
            for (int i = 0; i < 20; ++i) {
                (void)say("nobody hears this");
                usleep(2000);
            }
            struct sigaction now;
            sigaction(SIGPIPE, nullptr, &now);
            printf("%s %d", now.sa_handler == count_pipe_signal ? "handler kept" : "handler lost", pipe_signals);
            stop_speech();
        },
        { "PATH=" + empty });
    EXPECT_EQ(run.output, "handler kept 0");
}
