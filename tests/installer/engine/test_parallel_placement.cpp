// The install engine with writer threads against the engine without: the same reports in the
// same order, the same log and the same files; a destination named twice lands in the files'
// order; failures in the middle are told in their turn; a stop and an interrupt with files in
// the writers' hands tell every file that was read.

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <csignal>
#include <cstring>

#include <map>
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

typedef std::vector<std::string> EVENTS;

// Every call of the engine, in order, reasons included.
class EVENT_REPORTER : public INSTALL_REPORTER {
public:
    void set_install_status(INT_S32 percent, const char* text) override
    {
        events.push_back("status " + std::to_string(percent) + " " + text);
    }
    void path_error() override { events.push_back("path_error"); }
    void log_error(const char* path) override { events.push_back(std::string("log_error ") + path); }
    void file_error(const char* path) override { events.push_back(std::string("file_error ") + path); }
    void file_failed(const char* path, const char* reason) override
    {
        events.push_back(std::string("file_failed ") + path + " | " + reason);
    }
    void file_done(const char* path, INSTALL_RESULT result) override
    {
        static const char* const words[] = { "installed", "skipped", "failed" };
        events.push_back(std::string(words[result]) + " " + path);
    }
    void finished(INT_S32 error_count) override { events.push_back("finished " + std::to_string(error_count)); }

    EVENTS events;
};

// Private names anywhere below `folder`.
int part_files(const std::map<std::string, std::string>& tree)
{
    int count = 0;
    for (const auto& entry : tree) {
        size_t slash = entry.first.find_last_of('/');
        std::string name = slash == std::string::npos ? entry.first : entry.first.substr(slash + 1);
        count += name.compare(0, 11, ".orlu-part.") == 0;
    }
    return count;
}

struct RECORD {
    std::string name;
    std::string destination;
    std::string packed; // "" for a record never packed
    INT_U8 overwrite;
    std::string platform;
};

class PARALLEL_PLACEMENT : public ::testing::Test {
protected:
    void SetUp() override
    {
        target = home.temp.file("target");
        source = home.make("source");
        database.installation_id = 99;
        database.data_time = 1700000000;
        strcpy(database.app_string, "parallelfixture");
        strcpy(database.log_dest_path, "$HERE");
        snprintf(database.install_path, sizeof database.install_path, "$ROOT1%s", target.c_str());
        database.current_page = PAGE_INSTALLING;
        ASSERT_TRUE(database.allocate_installations(1));
        ASSERT_TRUE(database.allocate_languages(1));
        LANGUAGE_RECORD& english = database.languages[0];
        strcpy(english.text(LANGUAGE_KEY::LANGUAGE_TITLE), "English");
        strcpy(english.text(LANGUAGE_KEY::INSTALLING_STRING), "Installing");
        strcpy(english.text(LANGUAGE_KEY::COMPLETE), "Complete");
        strcpy(database.installations[0].name, "main");
        ASSERT_TRUE(database.installations[0].allocate_shortcuts(0));
    }

    // A member of the package, with its bytes.
    void member(const std::string& packed, const std::string& bytes) { members.push_back({ packed, bytes }); }
    void record(const std::string& name, const std::string& destination, const std::string& packed,
        INT_U8 overwrite = OVERWRITE_ALWAYS, const std::string& platform = "")
    {
        records.push_back({ name, destination, packed, overwrite, platform });
    }

    // The package of the members and the install type of the records.
    void build()
    {
        FOLDER source_folder;
        ASSERT_TRUE(source_folder.set_raw(source.c_str()));
        {
            PACKAGE package(source_folder, "installer.pkg", true, 1024, true, false);
            ASSERT_TRUE(package.is_open());
            for (const auto& entry : members) {
                ASSERT_TRUE(write_file(source + "/" + entry.first, entry.second));
                ASSERT_TRUE(package.add_file(source_folder, entry.first.c_str(), entry.first.c_str()));
            }
        }
        database.data_folder = source_folder;
        INSTALLATION_RECORD& main = database.installations[0];
        ASSERT_TRUE(main.allocate_files(static_cast<INT_S16>(records.size())));
        for (size_t i = 0; i < records.size(); ++i) {
            FILE_RECORD& file = main.files[i];
            file.src_name = database.file_texts.store(records[i].name.c_str());
            file.dest_path_from_inst_loc = database.file_texts.store(records[i].destination.c_str());
            file.packed_name = database.file_texts.store(records[i].packed.c_str());
            file.overwrite = records[i].overwrite;
            if (!records[i].platform.empty())
                file.platform.assign(records[i].platform.c_str());
        }
    }

    // A whole run with `writers` threads; false when it did not end.
    bool run(INT_S32 writers, EVENT_REPORTER* reporter)
    {
        INSTALL_ENGINE engine;
        engine.set_writers(writers);
        for (int steps = 0; steps < 100000; ++steps) {
            engine.step(&database, reporter);
            if (steps == 1) {
                EXPECT_EQ(engine.writers(), writers);
            }
            if (engine.done())
                return true;
        }
        return false;
    }

    std::string log() const { return read_file(target + "/install_log.txt"); }

    FAKE_HOME home { "parallelfixture" };
    std::string target, source;
    DATABASE database;
    std::vector<std::pair<std::string, std::string>> members;
    std::vector<RECORD> records;
};

} // namespace

TEST_F(PARALLEL_PLACEMENT, writers_tell_the_same_story_as_one_thread_and_leave_no_private_names)
{
    // Small files in a few folders, with in their midst: a member larger than a writer takes,
    // one just under it, a member the package refuses, a folder standing at a file's name, a
    // record never packed, a file of another platform, files the overwrite rules keep, and a
    // folder wanted where a file was just placed.
    member("big", noise_bytes((1u << 20) + 12345, 1));
    member("near", noise_bytes((1u << 20) - 100, 2));
    for (int i = 0; i < 120; ++i) {
        std::string packed = "m" + std::to_string(i);
        member(packed, noise_bytes(static_cast<size_t>(i * 97 % 5000), static_cast<unsigned>(i + 3)));
        std::string folder = "$HERE/f" + std::to_string(i / 25);
        record("file" + std::to_string(i) + ".txt", folder, packed);
        switch (i) {
        case 10: record("big.bin", "$HERE/f0", "big"); break;
        case 20: record("refused.bin", "$HERE/f0", "not_in_the_package"); break;
        case 30: record("blocked.txt", "$HERE/f1", "m1"); break;
        case 40: record("never.txt", "$HERE/f1", ""); break;
        case 50: record("other.txt", "$HERE/f2", "m2", OVERWRITE_ALWAYS, "windows"); break;
        case 60: record("kept.txt", "$HERE/f2", "m3", OVERWRITE_WHEN_ABSENT); break;
        case 70: record("near.bin", "$HERE/f2/deeper", "near"); break;
        case 80: record("newer.txt", "$HERE/f3", "m4", OVERWRITE_WHEN_OLDER); break;
        case 90:
            // A file, then a folder of the same name below which another file goes.
            record("clash", "$HERE/f3", "m5");
            record("inner.txt", "$HERE/f3/clash", "m6");
            break;
        default: break;
        }
    }
    build();
    auto prepare = [&] {
        run_program("/bin/rm", { "-rf", target });
        ASSERT_EQ(mkdir(target.c_str(), 0755), 0);
        ASSERT_EQ(mkdir((target + "/f1").c_str(), 0755), 0);
        ASSERT_EQ(mkdir((target + "/f1/blocked.txt").c_str(), 0755), 0);
        ASSERT_EQ(mkdir((target + "/f2").c_str(), 0755), 0);
        ASSERT_TRUE(write_file(target + "/f2/kept.txt", "the user's own"));
        ASSERT_EQ(mkdir((target + "/f3").c_str(), 0755), 0);
        ASSERT_TRUE(write_file(target + "/f3/newer.txt", "newer than the data set"));
    };

    prepare();
    EVENT_REPORTER alone;
    ASSERT_TRUE(run(0, &alone));
    std::string alone_log = log();
    std::map<std::string, std::string> alone_tree = tree_of(target, true);

    prepare();
    EVENT_REPORTER threaded;
    ASSERT_TRUE(run(2, &threaded));
    EXPECT_EQ(threaded.events, alone.events);
    EXPECT_EQ(log(), alone_log);
    EXPECT_TRUE(tree_of(target, true) == alone_tree);
    EXPECT_EQ(part_files(tree_of(target, true)), 0);

    // What the story is: the failures with their reasons, in their places, and the files
    // after them installed.
    EVENTS& events = threaded.events;
    auto at = [&](const std::string& event) {
        for (size_t i = 0; i < events.size(); ++i) {
            if (events[i] == event)
                return static_cast<int>(i);
        }
        return -1;
    };
    auto starting = [&](const std::string& start) {
        for (size_t i = 0; i < events.size(); ++i) {
            if (events[i].compare(0, start.size(), start) == 0)
                return static_cast<int>(i);
        }
        return -1;
    };
    int refused = starting("file_failed " + target + "/f0/refused.bin | ");
    int blocked = at("file_failed " + target + "/f1/blocked.txt | Is a directory");
    int never = at("file_failed " + target + "/f1/never.txt | the installation data does not hold it");
    ASSERT_GE(refused, 0);
    ASSERT_GE(blocked, 0);
    ASSERT_GE(never, 0);
    EXPECT_LT(at("installed " + target + "/f0/file20.txt"), refused);
    EXPECT_GT(at("installed " + target + "/f0/file21.txt"), refused);
    EXPECT_GT(at("installed " + target + "/f1/file31.txt"), blocked);
    EXPECT_LT(blocked, never);
    EXPECT_GE(at("skipped " + target + "/f2/kept.txt"), 0);
    EXPECT_GE(at("skipped " + target + "/f3/newer.txt"), 0);
    EXPECT_GE(at("file_failed " + target + "/f3/clash/inner.txt | its folder cannot be made: Not a directory"), 0);
    EXPECT_EQ(events[events.size() - 2], "finished 4");
    EXPECT_EQ(read_file(target + "/f0/big.bin"), noise_bytes((1u << 20) + 12345, 1));
    EXPECT_EQ(read_file(target + "/f2/deeper/near.bin"), noise_bytes((1u << 20) - 100, 2));

    // The log lists the files in the records' order.
    size_t last = 0;
    for (int i = 0; i < 120; ++i) {
        std::string line = "Installed \"" + target + "/f" + std::to_string(i / 25) + "/file" + std::to_string(i) + ".txt\"\n";
        size_t found = log().find(line);
        ASSERT_NE(found, std::string::npos) << line;
        EXPECT_GT(found, last) << line;
        last = found;
    }
}

TEST_F(PARALLEL_PLACEMENT, a_destination_named_twice_lands_in_the_files_order)
{
    member("one", "one");
    member("two", "two");
    member("three", "three");
    // The same folder by three texts.
    record("same.txt", "$HERE/x", "one");
    record("same.txt", "$HERE/x/", "two");
    record("same.txt", "$HERE//x", "three", OVERWRITE_WHEN_ABSENT);
    record("fresh.txt", "$HERE/x", "one");
    record("fresh.txt", "$HERE/x", "two", OVERWRITE_WHEN_ABSENT);
    record("elsewhere.txt", "$HERE/y", "one");
    // Written just now, the file is newer than the data set.
    record("same.txt", "$HERE/x", "three", OVERWRITE_WHEN_OLDER);
    record("later.txt", "$HERE/x", "three");
    record("later.txt", "$HERE/x", "one");
    build();
    EVENTS want = { "installed " + target + "/x/same.txt", "installed " + target + "/x/same.txt",
        "skipped " + target + "/x/same.txt", "installed " + target + "/x/fresh.txt",
        "skipped " + target + "/x/fresh.txt", "installed " + target + "/y/elsewhere.txt",
        "skipped " + target + "/x/same.txt", "installed " + target + "/x/later.txt",
        "installed " + target + "/x/later.txt" };
    // The writers' timing differs from run to run; the outcome may not.
    for (int round = 0; round < 20; ++round) {
        run_program("/bin/rm", { "-rf", target });
        EVENT_REPORTER reporter;
        ASSERT_TRUE(run(2, &reporter));
        EVENTS done;
        for (const std::string& event : reporter.events) {
            if (event.compare(0, 10, "installed ") == 0 || event.compare(0, 8, "skipped ") == 0)
                done.push_back(event);
        }
        ASSERT_EQ(done, want) << "round " << round;
        ASSERT_EQ(read_file(target + "/x/same.txt"), "two") << "round " << round;
        ASSERT_EQ(read_file(target + "/x/fresh.txt"), "one") << "round " << round;
        ASSERT_EQ(read_file(target + "/x/later.txt"), "one") << "round " << round;
    }
}

TEST_F(PARALLEL_PLACEMENT, an_interrupt_tells_every_file_the_writers_hold_then_its_line)
{
    for (int i = 0; i < 200; ++i) {
        member("m" + std::to_string(i), noise_bytes(static_cast<size_t>(100 + i * 31), static_cast<unsigned>(i)));
        record("file" + std::to_string(i), "$HERE/d" + std::to_string(i / 50), "m" + std::to_string(i));
    }
    build();
    EVENT_REPORTER reporter;
    INSTALL_ENGINE engine;
    engine.set_writers(2);
    engine.step(&database, &reporter);
    ASSERT_EQ(engine.writers(), 2);
    for (int i = 0; i < 120; ++i)
        engine.step(&database, &reporter);
    int told_before = 0;
    for (const std::string& event : reporter.events)
        told_before += event.compare(0, 10, "installed ") == 0;
    RecordProperty("files_in_flight", 120 - told_before);

    engine.interrupt("SIGTERM");
    EXPECT_TRUE(engine.at_rest());
    EXPECT_EQ(engine.writers(), 0);
    std::string want = "Installed Files\n---------------\n\nLanguage: English\nSettings: 99 0 $ROOT1" + target + "\n\n";
    EVENTS want_events = { "status 0 Installing" };
    for (int i = 0; i < 120; ++i) {
        std::string relative = "/d" + std::to_string(i / 50) + "/file" + std::to_string(i);
        want += "Installed \"" + target + relative + "\"\n";
        want_events.push_back("status " + std::to_string((i + 1) * 100 / 201) + " " + relative);
        want_events.push_back("installed " + target + relative);
        EXPECT_EQ(read_file(target + relative), noise_bytes(static_cast<size_t>(100 + i * 31), static_cast<unsigned>(i)));
    }
    want += "Installation interrupted by SIGTERM after 120 of 200 files, with 0 errors.\n";
    EXPECT_EQ(log(), want);
    EXPECT_EQ(reporter.events, want_events);
    std::map<std::string, std::string> tree = tree_of(target, true);
    EXPECT_EQ(part_files(tree), 0);
    EXPECT_EQ(tree.count(std::string("d2/file120")), 0u);
}

TEST_F(PARALLEL_PLACEMENT, a_stop_tells_the_files_before_the_one_it_cut_then_that_ones_status)
{
    for (int i = 0; i < 30; ++i) {
        member("m" + std::to_string(i), noise_bytes(static_cast<size_t>(2000 + i), static_cast<unsigned>(i)));
        record("file" + std::to_string(i), "$HERE", "m" + std::to_string(i));
    }
    build();
    ASSERT_EQ(mkdir(target.c_str(), 0755), 0);
    ASSERT_TRUE(write_file(target + "/file20", "the old file"));
    EVENT_REPORTER reporter;
    INSTALL_ENGINE engine;
    engine.set_writers(2);
    for (int i = 0; i <= 20; ++i)
        engine.step(&database, &reporter);
    // The step of file20 reads its member, which a stop cuts off.
    host_request_stop(SIGTERM);
    engine.step(&database, &reporter);
    host_clear_stop();
    EXPECT_TRUE(engine.stopped());
    EXPECT_EQ(engine.counter(), 21);
    ASSERT_EQ(reporter.events.size(), 1u + 2u * 20u + 1u);
    EXPECT_EQ(reporter.events[39], "status 64 /file19");
    EXPECT_EQ(reporter.events[40], "installed " + target + "/file19");
    EXPECT_EQ(reporter.events[41], "status 67 /file20");
    EXPECT_EQ(read_file(target + "/file20"), "the old file");

    engine.interrupt("SIGTERM");
    EXPECT_NE(log().find("Installed \"" + target + "/file19\"\n"
                         "Installation interrupted by SIGTERM after 20 of 30 files, with 0 errors.\n"),
        std::string::npos) << log();
    EXPECT_EQ(part_files(tree_of(target, true)), 0);
}
