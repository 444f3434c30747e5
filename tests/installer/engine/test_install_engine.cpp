// The install engine driven step by step through a recording reporter: each stage of a run, a
// failed file, a blocked folder, the last file, the run's hold on global state and a second run
// with the same object.

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utime.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "fake_home.h"
#include "host/host.h"
#include "installer/engine/database.h"
#include "installer/engine/install_engine.h"
#include "io/folder.h"
#include "io/package.h"
#include "test_support.h"

namespace {

// Every call of the engine, in order, as one line of text.
class RECORDING_REPORTER : public INSTALL_REPORTER {
public:
    bool question_open() const override { return question; }
    void set_install_status(INT_S32 percent, const char* text) override
    {
        events.push_back("status " + std::to_string(percent) + " " + text);
    }
    void path_error() override { events.push_back("path_error"); }
    void log_error(const char* path) override { events.push_back(std::string("log_error ") + path); }
    void file_error(const char* path) override { events.push_back(std::string("file_error ") + path); }
    void file_done(const char* path, INSTALL_RESULT result) override
    {
        static const char* const words[] = { "installed", "skipped", "failed" };
        events.push_back(std::string(words[result]) + " " + path);
    }
    void finished(INT_S32 error_count) override { events.push_back("finished " + std::to_string(error_count)); }

    // The events since the last call.
    std::vector<std::string> take()
    {
        std::vector<std::string> taken;
        taken.swap(events);
        return taken;
    }

    bool question { false };
    std::vector<std::string> events;
};

typedef std::vector<std::string> EVENTS;

class INSTALL_ENGINE_RUN : public ::testing::Test {
protected:
    void SetUp() override
    {
        target = home.temp.file("target");
        std::string source = home.make("source");
        ASSERT_TRUE(write_file(source + "/tool", "#!/bin/sh\n"));
        ASSERT_TRUE(write_file(source + "/data.bin", std::string(3000, 'd')));
        ASSERT_TRUE(write_file(source + "/notes.txt", "notes\n"));
        FOLDER source_folder;
        ASSERT_TRUE(source_folder.set_raw(source.c_str()));
        {
            PACKAGE package(source_folder, "installer.pkg", true, 1024, true, false);
            ASSERT_TRUE(package.is_open());
            ASSERT_TRUE(package.add_file(source_folder, "tool", "main0001"));
            ASSERT_TRUE(package.add_file(source_folder, "data.bin", "main0002"));
            ASSERT_TRUE(package.add_file(source_folder, "notes.txt", "main0003"));
        }
        database.data_folder = source_folder;

        database.installation_id = 4242;
        database.data_time = 1700000000;
        strcpy(database.app_string, "enginefixture");
        strcpy(database.log_dest_path, "$HERE");
        snprintf(database.install_path, sizeof database.install_path, "$ROOT1%s", target.c_str());
        database.use_system_paths = 0;
        database.want_desktop_shortcut = 1;
        database.want_menu_shortcut = 1;
        database.system_info.desktop_icons = 1;
        database.system_info.desktop_menu = 0; // no menu tools run from a unit test
        database.current_page = PAGE_INSTALLING;

        ASSERT_TRUE(database.allocate_installations(1));
        ASSERT_TRUE(database.allocate_languages(1));
        LANGUAGE_RECORD& english = database.languages[0];
        strcpy(english.text(LANGUAGE_KEY::LANGUAGE_TITLE), "English");
        strcpy(english.text(LANGUAGE_KEY::INSTALLING_STRING), "Installing");
        strcpy(english.text(LANGUAGE_KEY::INSTALLING_DESKTOP_SHORTCUT), "Desktop shortcut");
        strcpy(english.text(LANGUAGE_KEY::COMPLETE), "Complete");

        INSTALLATION_RECORD& main = database.installations[0];
        strcpy(main.name, "main");
        ASSERT_TRUE(main.allocate_files(3));
        add_file(0, "tool", "$HERE/bin", "main0001", OVERWRITE_ALWAYS);
        add_file(1, "data.bin", "$HERE/data", "main0002", OVERWRITE_ALWAYS);
        add_file(2, "notes.txt", "$HERE/docs", "main0003", OVERWRITE_WHEN_OLDER);
        ASSERT_TRUE(main.allocate_shortcuts(1));
        SHORTCUT_RECORD& shortcut = main.shortcuts[0];
        shortcut.type = SHORTCUT_APPLICATION;
        strcpy(shortcut.exec, "tool");
        strcpy(shortcut.name, "Engine Tool");
        strcpy(shortcut.exec_path, "$HERE/bin");
        mkdir((home.home + "/Desktop").c_str(), 0755);
    }

    void add_file(INT_S16 index, const char* name, const char* destination, const char* packed, INT_U8 overwrite)
    {
        FILE_RECORD& file = database.installations[0].files[index];
        file.src_name = database.file_texts.store(name);
        file.dest_path_from_inst_loc = database.file_texts.store(destination);
        file.packed_name = database.file_texts.store(packed);
        file.overwrite = overwrite;
    }

    // Steps until the run is done; answers the number of steps, or -1 when it did not end.
    int run_to_end()
    {
        for (int steps = 1; steps <= 100; ++steps) {
            engine.step(&database, &reporter);
            if (engine.done())
                return steps;
        }
        return -1;
    }

    std::string log() const { return read_file(target + "/install_log.txt"); }
    std::string header() const
    {
        return "Installed Files\n---------------\n\nLanguage: English\nSettings: 4242 0 $ROOT1" + target + "\n\n";
    }
    static bool holds_base_path(std::string* path = nullptr)
    {
        FOLDER folder;
        if (!get_base_path(&folder, nullptr, 0))
            return false;
        if (path)
            *path = folder.path();
        return true;
    }

    FAKE_HOME home { "enginefixture" };
    std::string target;
    DATABASE database;
    RECORDING_REPORTER reporter;
    INSTALL_ENGINE engine;
};

} // namespace

TEST_F(INSTALL_ENGINE_RUN, walks_opening_files_shortcuts_and_closing_one_step_each)
{
    EXPECT_TRUE(engine.at_rest());
    EXPECT_FALSE(engine.done());

    // Opening: the run takes the install root as "$APP", stops the frame loop's sleep and
    // writes the log's header.
    engine.step(&database, &reporter);
    EXPECT_EQ(engine.counter(), 1);
    EXPECT_EQ(engine.total(), 4);
    EXPECT_EQ(reporter.take(), EVENTS({ "status 0 Installing" }));
    EXPECT_EQ(log(), header());
    EXPECT_EQ(idle_wait(), 0);
    std::string base;
    EXPECT_TRUE(holds_base_path(&base));
    EXPECT_EQ(base, target);

    // One file per step, at counter * 100 / total percent.
    engine.step(&database, &reporter);
    EXPECT_EQ(reporter.take(), EVENTS({ "status 25 /bin/tool", "installed " + target + "/bin/tool" }));
    EXPECT_EQ(read_file(target + "/bin/tool"), "#!/bin/sh\n");
    struct stat facts;
    ASSERT_EQ(stat((target + "/bin/tool").c_str(), &facts), 0);
    EXPECT_EQ(facts.st_mode & 07777, 0755u);
    engine.step(&database, &reporter);
    EXPECT_EQ(reporter.take(), EVENTS({ "status 50 /data/data.bin", "installed " + target + "/data/data.bin" }));
    engine.step(&database, &reporter);
    EXPECT_EQ(reporter.take(), EVENTS({ "status 75 /docs/notes.txt", "installed " + target + "/docs/notes.txt" }));
    EXPECT_EQ(engine.counter(), 4);

    // Shortcuts, then closing, which gives the global state back.
    engine.step(&database, &reporter);
    EXPECT_EQ(reporter.take(), EVENTS({ "status 100 Desktop shortcut" }));
    EXPECT_NE(read_file(home.home + "/Desktop/Engine_Tool.desktop").find("Exec=\"" + target + "/bin/tool\""),
        std::string::npos);
    EXPECT_TRUE(holds_base_path());
    engine.step(&database, &reporter);
    EXPECT_EQ(reporter.take(), EVENTS({ "finished 0", "status 100 Complete" }));
    EXPECT_TRUE(engine.done());
    EXPECT_FALSE(holds_base_path());
    EXPECT_EQ(idle_wait(), 50);
    EXPECT_EQ(log(),
        header() + "Installed \"" + target + "/bin/tool\"\n"
        "Installed \"" + target + "/data/data.bin\"\n"
        "Installed \"" + target + "/docs/notes.txt\"\n"
        "create_desktop_shortcut( 1, \"tool\", \"\", \"Engine Tool\", \"" + target + "/bin\", \"\", \"null\" );\n"
        "Installation completed without any errors.\n");

    // Done stays done.
    engine.step(&database, &reporter);
    EXPECT_TRUE(reporter.take().empty());
    EXPECT_TRUE(engine.done());
}

TEST_F(INSTALL_ENGINE_RUN, an_open_question_holds_the_run_and_leaving_the_page_resets_it)
{
    engine.step(&database, &reporter);
    engine.step(&database, &reporter);
    reporter.take();
    reporter.question = true;
    engine.step(&database, &reporter);
    engine.step(&database, &reporter);
    EXPECT_EQ(engine.counter(), 2);
    EXPECT_TRUE(reporter.take().empty());
    reporter.question = false;

    // Back to the options page in the middle of the run: rest, and the globals given back.
    database.current_page = PAGE_OPTIONS;
    engine.step(&database, &reporter);
    EXPECT_TRUE(engine.at_rest());
    EXPECT_FALSE(holds_base_path());
    EXPECT_EQ(idle_wait(), 50);

    // Coming back starts over with a fresh log; the file in place is handled by its overwrite.
    database.current_page = PAGE_INSTALLING;
    EXPECT_GT(run_to_end(), 0);
    EXPECT_EQ(log().find(header()), 0u);
    EXPECT_EQ(log().find(header(), 1), std::string::npos);
    EXPECT_NE(log().find("Installed \"" + target + "/bin/tool\"\n"), std::string::npos);
}

TEST_F(INSTALL_ENGINE_RUN, a_blocked_folder_fails_its_file_only)
{
    mkdir(target.c_str(), 0755);
    ASSERT_TRUE(write_file(target + "/data", "a file where the folder goes"));
    // And a second failure behind it, so that the count is a count.
    database.installations[0].files[2].packed_name = "main0009";
    EXPECT_GT(run_to_end(), 0);
    EVENTS events = reporter.take();
    EXPECT_NE(std::find(events.begin(), events.end(), "failed " + target + "/data/data.bin"), events.end());
    EXPECT_NE(std::find(events.begin(), events.end(), "file_error " + target + "/data/data.bin"), events.end());
    EXPECT_EQ(events[events.size() - 2], "finished 2");
    EXPECT_EQ(engine.error_count(), 2);
    EXPECT_EQ(read_file(target + "/data"), "a file where the folder goes");
    EXPECT_EQ(read_file(target + "/bin/tool"), "#!/bin/sh\n");
    EXPECT_NE(log().find("Installation completed with 2 errors.\n"), std::string::npos);
}

TEST_F(INSTALL_ENGINE_RUN, the_last_file_comes_before_the_shortcuts_and_a_record_never_packed_fails)
{
    // A file for another platform takes its step silently. A file of this platform that the
    // data set does not hold is a failure: the run must not report success without it.
    INSTALLATION_RECORD& main = database.installations[0];
    main.files[0].packed_name = "";
    main.files[1].platform.assign("windows");
    engine.step(&database, &reporter);
    engine.step(&database, &reporter);
    engine.step(&database, &reporter);
    EXPECT_EQ(reporter.take(), EVENTS({ "status 0 Installing", "status 25 /bin/tool", "failed " + target + "/bin/tool",
        "file_error " + target + "/bin/tool" }));
    EXPECT_EQ(engine.counter(), 3);
    // The last file, then the shortcut step at the counter equal to the total.
    engine.step(&database, &reporter);
    EXPECT_EQ(reporter.take(), EVENTS({ "status 75 /docs/notes.txt", "installed " + target + "/docs/notes.txt" }));
    EXPECT_EQ(engine.counter(), engine.total());
    engine.step(&database, &reporter);
    EXPECT_EQ(reporter.take(), EVENTS({ "status 100 Desktop shortcut" }));
    EXPECT_FALSE(engine.done());
    engine.step(&database, &reporter);
    EXPECT_TRUE(engine.done());
    EXPECT_EQ(log(), header() + "\"" + target + "/bin/tool\" failed to unpack ()\n"
        "Installed \"" + target + "/docs/notes.txt\"\n"
        "create_desktop_shortcut( 1, \"tool\", \"\", \"Engine Tool\", \"null\", \"\", \"null\" );\n"
        "Installation completed with 1 errors.\n");
}

TEST_F(INSTALL_ENGINE_RUN, an_install_type_without_files_goes_from_header_to_closing)
{
    ASSERT_TRUE(database.installations[0].allocate_files(0));
    ASSERT_TRUE(database.installations[0].allocate_shortcuts(0));
    EXPECT_EQ(run_to_end(), 3);
    EXPECT_EQ(engine.total(), 1);
    EXPECT_EQ(reporter.take(), EVENTS({ "status 0 Installing", "finished 0", "status 100 Complete" }));
    EXPECT_EQ(log(), header() + "Installation completed without any errors.\n");
}

TEST_F(INSTALL_ENGINE_RUN, a_failed_file_is_counted_and_a_second_run_with_the_same_object_starts_clean)
{
    // A member the package does not hold: counted, reported, and the run goes on.
    database.installations[0].files[1].packed_name = "main0009";
    EXPECT_EQ(run_to_end(), 6);
    std::string path = target + "/data/data.bin";
    EVENTS events = reporter.take();
    ASSERT_EQ(events.size(), 11u);
    EXPECT_EQ(events[3], "status 50 /data/data.bin");
    EXPECT_EQ(events[4], "failed " + path);
    EXPECT_EQ(events[5], "file_error " + path);
    EXPECT_EQ(events[6], "status 75 /docs/notes.txt");
    EXPECT_EQ(events[9], "finished 1");
    EXPECT_EQ(engine.error_count(), 1);
    EXPECT_NE(log().find("\"" + path + "\" failed to unpack (main0009)\n"), std::string::npos) << log();
    EXPECT_NE(log().find("Installation completed with 1 errors.\n"), std::string::npos);
    EXPECT_EQ(read_file(target + "/docs/notes.txt"), "notes\n");

    // The user's copy of the notes is newer than the data set: the second run keeps it.
    ASSERT_TRUE(write_file(target + "/docs/notes.txt", "edited\n"));
    struct utimbuf newer = { 1800000000, 1800000000 };
    utime((target + "/docs/notes.txt").c_str(), &newer);
    database.installations[0].files[1].packed_name = "main0002";
    engine.reset();
    EXPECT_TRUE(engine.at_rest());
    ASSERT_GT(run_to_end(), 0);
    EXPECT_EQ(engine.error_count(), 0);
    EXPECT_EQ(reporter.events.back(), "status 100 Complete");
    EXPECT_EQ(read_file(target + "/docs/notes.txt"), "edited\n");
    EXPECT_EQ(log(), header() + "Installed \"" + target + "/bin/tool\"\n"
        "Installed \"" + target + "/data/data.bin\"\n"
        "Skipped \"" + target + "/docs/notes.txt\"\n"
        "create_desktop_shortcut( 1, \"tool\", \"\", \"Engine Tool\", \"" + target + "/bin\", \"\", \"null\" );\n"
        "Installation completed without any errors.\n");
}

TEST_F(INSTALL_ENGINE_RUN, an_unmakeable_root_is_a_path_error_and_a_folder_in_the_logs_place_a_log_error)
{
    // The install folder lies below a plain file.
    ASSERT_TRUE(write_file(home.temp.file("plain"), "x"));
    snprintf(database.install_path, sizeof database.install_path, "$ROOT1%s/inside", home.temp.file("plain").c_str());
    engine.step(&database, &reporter);
    EXPECT_EQ(reporter.take(), EVENTS({ "status 0 Installing", "path_error" }));
    EXPECT_FALSE(holds_base_path());

    // The log cannot be created; the run goes on without it.
    INSTALL_ENGINE second;
    snprintf(database.install_path, sizeof database.install_path, "$ROOT1%s", target.c_str());
    ASSERT_EQ(mkdir(target.c_str(), 0755), 0);
    ASSERT_EQ(mkdir((target + "/install_log.txt").c_str(), 0755), 0);
    second.step(&database, &reporter);
    EXPECT_EQ(reporter.take(), EVENTS({ "status 0 Installing", "log_error " + target + "/install_log.txt" }));
    EXPECT_EQ(second.counter(), 1);
    second.step(&database, &reporter);
    EXPECT_EQ(read_file(target + "/bin/tool"), "#!/bin/sh\n");
}

TEST_F(INSTALL_ENGINE_RUN, no_package_keeps_it_at_rest_and_a_destroyed_engine_gives_the_globals_back)
{
    FOLDER empty;
    ASSERT_TRUE(empty.set_raw(home.make("empty").c_str()));
    database.data_folder = empty;
    engine.step(&database, &reporter);
    EXPECT_TRUE(engine.at_rest());
    EXPECT_TRUE(reporter.take().empty());

    ASSERT_TRUE(database.data_folder.set_raw(home.temp.file("source").c_str()));
    {
        INSTALL_ENGINE abandoned;
        abandoned.step(&database, &reporter);
        abandoned.step(&database, &reporter);
        EXPECT_TRUE(holds_base_path());
        EXPECT_EQ(idle_wait(), 0);
    }
    EXPECT_FALSE(holds_base_path());
    EXPECT_EQ(idle_wait(), 50);
}

TEST(INSTALL_STATUS_TEXT, variables_are_shown_from_their_first_slash)
{
    char out[ORLU_MAX_PATH];
    install_status_text("$HERE/data", "a.bin", out, sizeof out);
    EXPECT_STREQ(out, "/data/a.bin");
    install_status_text("$HERE", "a.bin", out, sizeof out);
    EXPECT_STREQ(out, "/a.bin");
    install_status_text("/opt/x/", "a.bin", out, sizeof out);
    EXPECT_STREQ(out, "/opt/x/a.bin");
}

namespace {

std::string dead_part_name()
{
    pid_t child = fork();
    if (child == 0)
        _exit(0);
    int status = 0;
    waitpid(child, &status, 0);
    return ".orlu-part." + std::to_string(child) + ".zzzzzz";
}

mode_t mode_of(const std::string& path)
{
    struct stat facts;
    return lstat(path.c_str(), &facts) == 0 ? facts.st_mode & 07777 : 0;
}

bool is_link(const std::string& path)
{
    struct stat facts;
    return lstat(path.c_str(), &facts) == 0 && S_ISLNK(facts.st_mode);
}

} // namespace

TEST_F(INSTALL_ENGINE_RUN, planted_links_are_replaced_or_refused_never_followed)
{
    std::string victims = home.make("victims");
    ASSERT_TRUE(write_file(victims + "/file", "victim"));
    ASSERT_TRUE(write_file(victims + "/log", "victim log"));
    ASSERT_EQ(chmod((victims + "/file").c_str(), 0644), 0);
    mkdir(target.c_str(), 0755);
    mkdir((target + "/docs").c_str(), 0755);
    // Where a file goes, where a folder goes, and where the log goes.
    ASSERT_EQ(symlink((victims + "/file").c_str(), (target + "/docs/notes.txt").c_str()), 0);
    ASSERT_EQ(symlink(victims.c_str(), (target + "/bin").c_str()), 0);
    ASSERT_EQ(symlink((victims + "/log").c_str(), (target + "/install_log.txt").c_str()), 0);
    database.installations[0].files[2].switch_user = 1;
    database.installations[0].files[2].overwrite = OVERWRITE_ALWAYS;

    ASSERT_GT(run_to_end(), 0);
    EXPECT_EQ(read_file(victims + "/file"), "victim");
    EXPECT_EQ(mode_of(victims + "/file"), 0644u);
    EXPECT_EQ(read_file(victims + "/log"), "victim log");
    EXPECT_FALSE(is_link(target + "/docs/notes.txt"));
    EXPECT_EQ(read_file(target + "/docs/notes.txt"), "notes\n");
    EXPECT_EQ(mode_of(target + "/docs/notes.txt"), 06755u);
    EXPECT_FALSE(is_link(target + "/install_log.txt"));
    EXPECT_EQ(log().find(header()), 0u);
    // Nothing went into the linked folder, and its file failed.
    EXPECT_NE(access((victims + "/tool").c_str(), F_OK), 0);
    EXPECT_TRUE(is_link(target + "/bin"));
    EXPECT_NE(log().find("\"" + target + "/bin/tool\" failed to unpack (main0001)\n"), std::string::npos) << log();
    EXPECT_EQ(engine.error_count(), 1);
}

TEST_F(INSTALL_ENGINE_RUN, destinations_may_not_climb_out_or_reach_the_root_unless_allowed)
{
    std::string outside = home.temp.file("outside");
    INSTALLATION_RECORD& main = database.installations[0];
    main.files[0].dest_path_from_inst_loc = "$HERE/../outside";
    main.files[1].dest_name = "../data.bin";
    main.files[2].dest_path_from_inst_loc = database.file_texts.store(("$ROOT1" + home.temp.path() + "/rooted").c_str());
    ASSERT_GT(run_to_end(), 0);
    EXPECT_EQ(engine.error_count(), 3);
    EXPECT_NE(access(outside.c_str(), F_OK), 0);
    EXPECT_NE(access((target + "/data.bin").c_str(), F_OK), 0);
    EXPECT_NE(access(home.temp.file("rooted").c_str(), F_OK), 0);

    // An install type that allows system paths may name the root; other variables are fine.
    main.allow_system_paths = 1;
    main.files[0].dest_path_from_inst_loc = "$ROOT0/.config/enginefixture";
    main.files[1].dest_name = "";
    engine.reset();
    ASSERT_GT(run_to_end(), 0);
    EXPECT_EQ(engine.error_count(), 0);
    EXPECT_EQ(read_file(home.temp.file("rooted") + "/notes.txt"), "notes\n");
    EXPECT_EQ(read_file(home.home + "/.config/enginefixture/tool"), "#!/bin/sh\n");
}

TEST_F(INSTALL_ENGINE_RUN, a_killed_runs_part_files_are_swept_and_a_living_ones_stay)
{
    mkdir(target.c_str(), 0755);
    mkdir((target + "/data").c_str(), 0755);
    std::string dead = target + "/data/" + dead_part_name();
    std::string living = target + "/data/.orlu-part." + std::to_string(getppid()) + ".aaaaaa";
    ASSERT_TRUE(write_file(dead, "half a file"));
    ASSERT_TRUE(write_file(living, "another run's file"));
    ASSERT_GT(run_to_end(), 0);
    EXPECT_NE(access(dead.c_str(), F_OK), 0);
    EXPECT_EQ(read_file(living), "another run's file");
    EXPECT_EQ(read_file(target + "/data/data.bin"), std::string(3000, 'd'));
}

TEST_F(INSTALL_ENGINE_RUN, a_stop_leaves_the_file_in_hand_as_it_was_and_the_log_says_so)
{
    mkdir(target.c_str(), 0755);
    mkdir((target + "/data").c_str(), 0755);
    ASSERT_TRUE(write_file(target + "/data/data.bin", "the old data"));
    engine.step(&database, &reporter);
    engine.step(&database, &reporter);
    reporter.take();
    host_request_stop(15);
    engine.step(&database, &reporter);
    host_clear_stop();
    EXPECT_TRUE(engine.stopped());
    EXPECT_EQ(engine.counter(), 2);
    EXPECT_EQ(reporter.take(), EVENTS({ "status 50 /data/data.bin" }));
    EXPECT_EQ(read_file(target + "/data/data.bin"), "the old data");
    // No private name is left beside it.
    EXPECT_EQ(tree_of(target + "/data").size(), 1u);

    engine.interrupt("SIGTERM");
    EXPECT_TRUE(engine.at_rest());
    EXPECT_FALSE(holds_base_path());
    EXPECT_EQ(idle_wait(), 50);
    EXPECT_EQ(log(), header() + "Installed \"" + target + "/bin/tool\"\n"
        "Installation interrupted by SIGTERM after 1 of 3 files, with 0 errors.\n");
}

TEST_F(INSTALL_ENGINE_RUN, an_install_type_of_the_most_files_a_data_set_holds_walks_every_one)
{
    // 32767 files: the total of steps is 32768, past a 16-bit count. Files of another platform
    // cost a step each and nothing else; the last one is installed.
    INSTALLATION_RECORD& main = database.installations[0];
    ASSERT_TRUE(main.allocate_files(0x7FFF));
    for (INT_S16 f = 0; f < 0x7FFF - 1; ++f) {
        add_file(f, "never.txt", "$HERE", "main0002", OVERWRITE_ALWAYS);
        main.files[f].platform.assign("windows");
    }
    add_file(0x7FFF - 1, "notes.txt", "$HERE/docs", "main0003", OVERWRITE_ALWAYS);
    INT_S32 steps = 0;
    while (!engine.done() && steps < 40000) {
        engine.step(&database, &reporter);
        ++steps;
    }
    EXPECT_EQ(engine.total(), 0x8000);
    EXPECT_EQ(steps, 0x7FFF + 3); // opening, the files, the shortcuts, the closing
    EXPECT_EQ(read_file(target + "/docs/notes.txt"), "notes\n");
    EXPECT_NE(log().find("Installed \"" + target + "/docs/notes.txt\"\n"), std::string::npos);
    EXPECT_EQ(engine.error_count(), 0);
}
