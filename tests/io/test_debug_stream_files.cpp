// Debug streams with their settings files and output files under $USERPREFS/debug.

#include <gtest/gtest.h>

#include <string>

#include "io/debug_stream_files.h"
#include "io/folder.h"
#include "host/system_info.h"
#include "test_support.h"

namespace {

class DEBUG_FILES : public ::testing::Test {
protected:
    void SetUp() override
    {
        attach_debug_stream_files();
        set_home_directory(home.path().c_str());
        FOLDER folder;
        ASSERT_TRUE(folder.set("$USERPREFS/debug", true, nullptr, true));
        debug_folder = folder.path();
    }
    void TearDown() override { set_home_directory(nullptr); }

    void settings(const char* stream, const std::string& text)
    {
        ASSERT_TRUE(write_file(debug_folder + "/" + stream + "_release.cfg", text));
    }
    std::string output(const std::string& name) { return read_file(debug_folder + "/" + name); }

    TEMP_FOLDER home;
    std::string debug_folder;
};

} // namespace

TEST_F(DEBUG_FILES, disabled_wins_over_every_switch)
{
    settings("Quiet One", "disabled\n\t1\nwrite_to_console\n\t1\nwrite_to_file\n\t1\n");
    DEBUG_STREAM stream("Quiet One", 0, true);
    stream.apply_pending_settings();
    EXPECT_EQ(stream.flags(), 0);
}

TEST_F(DEBUG_FILES, settings_switch_on_the_file_with_its_header_and_name)
{
    settings("Logger", "filename\n\tlog.txt\nwrite_to_file\n\t1\nwrite_file_header\n\t1\n"
                       "truncate_file_on_first_write\n\t1\nwrite_stream_name\n\t1\n");
    ASSERT_TRUE(write_file(debug_folder + "/log.txt", "from an earlier run\n"));
    DEBUG_STREAM stream("Logger", 0, true);
    debug_printf(&stream, "one %d\n", 1);
    debug_write(&stream, "code/folder", 9, "two", true);
    std::string text = output("log.txt");
    const std::string head = "======================================\n> Debug stream: Logger\n> Written: ";
    ASSERT_EQ(text.substr(0, head.size()), head);
    size_t body = text.find("\n\n");
    ASSERT_NE(body, std::string::npos);
    EXPECT_EQ(text.substr(body + 2), "<Logger>: one 1\n<Logger>: two\n");
}

TEST_F(DEBUG_FILES, file_rolls_after_100_writes_whatever_the_settings_say)
{
    settings("Roller", "write_to_file\n\t1\nfile_rolling_backup\n\t1\nfile_rolling_limit\n\t5\nwrite_file_header\n\t1\n");
    ASSERT_TRUE(write_file(debug_folder + "/Roller.txt.bak", "older backup\n"));
    DEBUG_STREAM stream("Roller", 0, true);
    stream.apply_pending_settings();
    EXPECT_EQ(stream.rolling_limit(), 100);
    for (int i = 1; i <= 100; ++i)
        debug_printf(&stream, "line %d\n", i);
    EXPECT_EQ(output("Roller.txt.bak"), "older backup\n");
    debug_printf(&stream, "line 101\n");
    std::string backup = output("Roller.txt.bak");
    EXPECT_NE(backup.find("line 1\n"), std::string::npos);
    EXPECT_NE(backup.find("line 100\n"), std::string::npos);
    EXPECT_EQ(backup.find("older backup"), std::string::npos);
    // The new file has no header: the first write of the run is long past.
    EXPECT_EQ(output("Roller.txt"), "line 101\n");
}

TEST_F(DEBUG_FILES, output_file_may_not_leave_the_debug_folder)
{
    settings("Escaper", "filename\n\t../../escaped.txt\nwrite_to_file\n\t1\n");
    RUN_RESULT run = run_in_child([&] {
        set_home_directory(home.path().c_str());
        DEBUG_STREAM stream("Escaper", 0, true);
        debug_printf(&stream, "hello\n");
    });
    EXPECT_NE(run.output.find("refused"), std::string::npos) << run.output;
    EXPECT_EQ(output("Escaper.txt"), "hello\n");
}

TEST_F(DEBUG_FILES, saved_settings_read_back_the_same)
{
    {
        DEBUG_STREAM stream("Saver", DEBUG_TO_FILE | DEBUG_WRITE_STREAM_NAME | DEBUG_SAVE_ON_DESTROY, false);
        stream.set_file_name("saved.txt");
    }
    EXPECT_EQ(output("Saver_release.cfg"),
        "filename\n\tsaved.txt\ndisabled\n\t0\nwrite_to_console\n\t0\nwrite_to_popup_dialog\n\t0\n"
        "write_to_file\n\t1\ntruncate_file_on_first_write\n\t0\nkeep_file_open\n\t0\nwrite_file_header\n\t0\n"
        "write_stream_name\n\t1\nwrite_code_location\n\t0\ntrigger_breakpoint\n\t0\nfile_rolling_backup\n\t0\n"
        "file_rolling_limit\n\t100\n");
    DEBUG_STREAM again("Saver", 0, true);
    again.apply_pending_settings();
    EXPECT_EQ(again.flags(), DEBUG_TO_FILE | DEBUG_WRITE_STREAM_NAME);
    EXPECT_STREQ(again.file_name(), "saved.txt");
}
