// Message boxes: the message program gets the text as one argument, and the console stands in
// when no program can show it.

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <string>

#include "host/host.h"
#include "test_support.h"

TEST(MESSAGE_BOX, text_reaches_the_program_as_it_stands_and_runs_nothing)
{
    TEMP_FOLDER folder;
    std::string record = folder.file("args.txt");
    std::string bin = make_recording_program(folder, "xmessage", record, 0);
    std::string planted = folder.file("planted");
    std::string text = "It's \"quoted\" $(touch " + planted + ") `touch " + planted + "` ; touch " + planted;
    RUN_RESULT run = run_in_child([&] { message_box("Title's", text.c_str()); },
        { "PATH=" + bin + ":/usr/bin:/bin" });
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.output, ""); // shown by the program, not on the console
    EXPECT_EQ(read_file(record), "-buttons\nOK:2\nTitle's:\n\n" + text + "\n");
    struct stat facts;
    EXPECT_NE(stat(planted.c_str(), &facts), 0);
}

TEST(MESSAGE_BOX, missing_program_or_failing_one_falls_back_to_the_console)
{
    RUN_RESULT run = run_in_child([] { message_box("Title", "Body"); }, { "PATH=/nonexistent" });
    EXPECT_EQ(run.output, "\n*\n*\tTitle\n*\n*\tBody\n*\n*  Press Return\n*");

    TEMP_FOLDER folder;
    std::string bin = make_recording_program(folder, "xmessage", folder.file("args.txt"), 1);
    run = run_in_child([] { message_box("Title", "Body"); }, { "PATH=" + bin });
    EXPECT_EQ(run.output, "\n*\n*\tTitle\n*\n*\tBody\n*\n*  Press Return\n*");
}

TEST(MESSAGE_BOX, null_arguments_show_nothing)
{
    RUN_RESULT run = run_in_child([] {
        message_box(nullptr, "Body");
        message_box("Title", nullptr);
    }, { "PATH=/nonexistent" });
    EXPECT_EQ(run.output, "");
}
