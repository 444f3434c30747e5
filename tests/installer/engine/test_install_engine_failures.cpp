// What the install engine tells when something cannot be done: folders with the system's
// reason, files with theirs, shortcuts that were not made, data it cannot use, and an error
// count that does not wrap.

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "fake_home.h"
#include "installer/engine/database.h"
#include "installer/engine/install_engine.h"
#include "io/folder.h"
#include "io/package.h"
#include "test_support.h"

namespace {

typedef std::vector<std::string> EVENTS;

// Records the engine's detailed reports; the plain ones only as their names.
class DETAIL_REPORTER : public INSTALL_REPORTER {
public:
    void set_install_status(INT_S32, const char*) override {}
    void path_error() override { events.push_back("path_error"); }
    void folder_error(const char* folder, const char* reason) override
    {
        events.push_back(std::string("folder_error ") + folder + " | " + reason);
    }
    void log_error(const char* path) override { events.push_back(std::string("log_error ") + path); }
    void file_error(const char* path) override { events.push_back(std::string("file_error ") + path); }
    void file_failed(const char* path, const char* reason) override
    {
        events.push_back(std::string("file_failed ") + path + " | " + reason);
    }
    void shortcut_error(const char* name, const char* reason) override
    {
        events.push_back(std::string("shortcut_error ") + name + " | " + reason);
    }
    void data_error(const char* text) override { events.push_back(std::string("data_error ") + text); }
    void finished(INT_S32 error_count) override { events.push_back("finished " + std::to_string(error_count)); }

    EVENTS events;
};

class INSTALL_ENGINE_FAILURES : public ::testing::Test {
protected:
    void SetUp() override
    {
        // The desktop folder is the fake home's, whatever this machine's settings say.
        environment.set("XDG_CONFIG_HOME", (home.home + "/.config").c_str());
        environment.set("XDG_DESKTOP_DIR", nullptr);
        target = home.temp.file("target");
        source = home.make("source");
        ASSERT_TRUE(write_file(source + "/tool", "#!/bin/sh\n"));
        FOLDER source_folder;
        ASSERT_TRUE(source_folder.set_raw(source.c_str()));
        {
            PACKAGE package(source_folder, "installer.pkg", true, 1024, true, false);
            ASSERT_TRUE(package.add_file(source_folder, "tool", "main0001"));
            ASSERT_TRUE(package.close());
        }
        database.data_folder = source_folder;
        database.installation_id = 7;
        strcpy(database.app_string, "failurefixture");
        strcpy(database.log_dest_path, "$HERE");
        snprintf(database.install_path, sizeof database.install_path, "$ROOT1%s", target.c_str());
        database.use_system_paths = 0;
        database.want_desktop_shortcut = 1;
        database.system_info.desktop_icons = 1;
        database.system_info.desktop_menu = 0;
        database.current_page = PAGE_INSTALLING;
        ASSERT_TRUE(database.allocate_installations(1));
        ASSERT_TRUE(database.allocate_languages(1));
        strcpy(database.languages[0].text(LANGUAGE_KEY::LANGUAGE_TITLE), "English");
        INSTALLATION_RECORD& main = database.installations[0];
        strcpy(main.name, "main");
        ASSERT_TRUE(main.allocate_files(1));
        main.files[0].src_name = database.file_texts.store("tool");
        main.files[0].dest_path_from_inst_loc = database.file_texts.store("$HERE/bin");
        main.files[0].packed_name = database.file_texts.store("main0001");
    }
    // Steps until the run is done; answers the number of steps, or -1 when it did not end.
    int run_to_end(int most = 1000)
    {
        for (int steps = 1; steps <= most; ++steps) {
            engine.step(&database, &reporter);
            if (engine.done())
                return steps;
        }
        return -1;
    }

    std::string log() const { return read_file(target + "/install_log.txt"); }

    FAKE_HOME home { "failurefixture" };
    std::string target, source;
    DATABASE database;
    DETAIL_REPORTER reporter;
    INSTALL_ENGINE engine;
    SCOPED_ENVIRONMENT environment;
};

} // namespace

TEST_F(INSTALL_ENGINE_FAILURES, the_error_count_stays_at_255_instead_of_wrapping)
{
    // 300 files that all fail: 300 wrapped in eight bits would be 44, and 256 would be none.
    INSTALLATION_RECORD& main = database.installations[0];
    ASSERT_TRUE(main.allocate_files(300));
    for (INT_S16 i = 0; i < 300; ++i) {
        main.files[i].src_name = database.file_texts.store(("f" + std::to_string(i)).c_str());
        main.files[i].dest_path_from_inst_loc = "$HERE";
        main.files[i].packed_name = "absent";
    }
    ASSERT_EQ(run_to_end(), 303);
    EXPECT_EQ(engine.error_count(), 255);
    EXPECT_EQ(reporter.events.back(), "finished 255");
    std::string text = log();
    EXPECT_EQ(text.substr(text.size() - 40), "Installation completed with 255 errors.\n");
}

TEST_F(INSTALL_ENGINE_FAILURES, a_package_that_does_not_open_is_told_once_and_the_run_stops)
{
    FOLDER empty;
    ASSERT_TRUE(empty.set_raw(home.make("empty").c_str()));
    database.data_folder = empty;
    for (int i = 0; i < 5; ++i)
        engine.step(&database, &reporter);
    EXPECT_EQ(reporter.events,
        EVENTS({ "data_error the installation data cannot be opened: Error: Can not open file installer.pkg as it was not found." }));
    EXPECT_TRUE(engine.data_failed());
    EXPECT_TRUE(engine.at_rest());
    // The path variables still hang on the application's folder, not on an install root.
    FOLDER held;
    ASSERT_TRUE(get_base_path(&held, nullptr, 0));
    EXPECT_EQ(std::string(held.path()), home.app);

    // A reset lets a run start again.
    ASSERT_TRUE(database.data_folder.set_raw(source.c_str()));
    engine.reset();
    EXPECT_GT(run_to_end(), 0);
    EXPECT_EQ(read_file(target + "/bin/tool"), "#!/bin/sh\n");
}

TEST_F(INSTALL_ENGINE_FAILURES, an_install_type_with_a_negative_file_count_is_refused)
{
    // A damaged record must not make a negative total that the run never reaches. The array
    // holds one record; the engine must refuse before it looks at any.
    INSTALLATION_RECORD& main = database.installations[0];
    main.file_count = -3;
    EXPECT_EQ(run_to_end(10), -1);
    main.file_count = 1;
    EXPECT_EQ(reporter.events, EVENTS({ "data_error the install type has -3 files; a run can count at most 32767" }));
    EXPECT_TRUE(engine.data_failed());
}

TEST_F(INSTALL_ENGINE_FAILURES, folders_that_cannot_be_made_are_named_with_the_systems_reason)
{
    std::string plain = home.temp.file("plain");
    ASSERT_TRUE(write_file(plain, "x"));
    snprintf(database.install_path, sizeof database.install_path, "$ROOT1%s/inside", plain.c_str());
    engine.step(&database, &reporter);
    EXPECT_EQ(reporter.events, EVENTS({ "folder_error " + plain + "/inside | Not a directory" }));

    // A file whose folder is blocked, and one the package does not hold.
    snprintf(database.install_path, sizeof database.install_path, "$ROOT1%s", target.c_str());
    ASSERT_EQ(mkdir(target.c_str(), 0755), 0);
    ASSERT_TRUE(write_file(target + "/bin", "in the way"));
    INSTALLATION_RECORD& main = database.installations[0];
    ASSERT_TRUE(main.allocate_files(2));
    main.files[0].src_name = database.file_texts.store("tool");
    main.files[0].dest_path_from_inst_loc = database.file_texts.store("$HERE/bin");
    main.files[0].packed_name = database.file_texts.store("main0001");
    main.files[1].src_name = database.file_texts.store("other");
    main.files[1].dest_path_from_inst_loc = database.file_texts.store("$HERE/etc");
    main.files[1].packed_name = database.file_texts.store("main0009");
    reporter.events.clear();
    INSTALL_ENGINE second;
    for (int i = 0; i < 10 && !second.done(); ++i)
        second.step(&database, &reporter);
    EXPECT_EQ(reporter.events,
        EVENTS({ "file_failed " + target + "/bin/tool | its folder cannot be made: Not a directory",
            "file_failed " + target + "/etc/other | Error: File main0009 not found in package.", "finished 2" }));
}

TEST_F(INSTALL_ENGINE_FAILURES, a_shortcut_that_was_not_made_is_in_the_log_and_the_count)
{
    INSTALLATION_RECORD& main = database.installations[0];
    ASSERT_TRUE(main.allocate_shortcuts(1));
    main.shortcuts[0].type = SHORTCUT_APPLICATION;
    strcpy(main.shortcuts[0].exec, "tool");
    strcpy(main.shortcuts[0].name, "Failure Tool");
    // The fake home has no desktop folder.
    ASSERT_GT(run_to_end(), 0);
    std::string reason = home.home + "/Desktop/Failure_Tool.desktop: No such file or directory";
    EXPECT_EQ(reporter.events, EVENTS({ "shortcut_error Failure Tool | " + reason, "finished 1" }));
    EXPECT_EQ(engine.error_count(), 1);
    EXPECT_EQ(log(),
        "Installed Files\n---------------\n\nLanguage: English\nSettings: 7 0 $ROOT1" + target + "\n\n"
        "Installed \"" + target + "/bin/tool\"\n"
        "create_desktop_shortcut( 1, \"tool\", \"\", \"Failure Tool\", \"null\", \"\", \"null\" );\n"
        "Shortcut \"Failure Tool\" could not be made: " + reason + "\n"
        "Installation completed with 1 errors.\n");
}
