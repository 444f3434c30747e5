// Debug streams: registry, message forming and console delivery.

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "base/debug_stream.h"
#include "test_support.h"

TEST(DEBUG_STREAM, framework_channels_are_found_by_their_exact_name)
{
    // Their order is what the installer's --orlu-listdebug shows.
    EXPECT_EQ(find_debug_stream("ORLU Modules"), &modules_debug);
    EXPECT_EQ(find_debug_stream("orlu modules"), nullptr); // exact, case-sensitive
    EXPECT_EQ(find_debug_stream(nullptr), nullptr);
}

TEST(DEBUG_STREAM, streams_join_and_leave_the_registry)
{
    INT_S16 before = debug_stream_count();
    {
        DEBUG_STREAM extra("Extra Channel", 0, false);
        EXPECT_EQ(debug_stream_count(), before + 1);
        EXPECT_EQ(debug_stream_at(before), &extra);
        EXPECT_EQ(find_debug_stream("Extra Channel"), &extra);
        EXPECT_STREQ(extra.file_name(), "Extra Channel.txt");
        EXPECT_EQ(extra.rolling_limit(), 100);
    }
    EXPECT_EQ(debug_stream_count(), before);
    EXPECT_EQ(find_debug_stream("Extra Channel"), nullptr);
}

TEST(DEBUG_STREAM, null_or_empty_name_is_named_after_the_address)
{
    DEBUG_STREAM unnamed(nullptr, 0, false);
    char expected[64];
    snprintf(expected, sizeof expected, "Debug Stream %p", static_cast<void*>(&unnamed));
    EXPECT_STREQ(unnamed.name(), expected);
    EXPECT_EQ(std::string(unnamed.file_name()), std::string(expected) + ".txt");
    DEBUG_STREAM empty("", 0, false);
    EXPECT_EQ(std::string(empty.name()).rfind("Debug Stream ", 0), 0u);
}

TEST(DEBUG_STREAM, console_message_is_prefixed_as_the_flags_ask_and_a_silent_stream_writes_nothing)
{
    RUN_RESULT run = run_in_child([] {
        // A stream without flags writes nothing.
        DEBUG_STREAM quiet("Quiet", 0, false);
        debug_printf(&quiet, "hello %d\n", 1);
        debug_write(&quiet, "code/x", 3, "text", true);
        DEBUG_STREAM stream("Trace", DEBUG_TO_CONSOLE, false);
        debug_printf(&stream, "plain %s\n", "text");
        debug_write(&stream, "code/folder", 42, "no location without its bit", true);
        stream.set_flags(DEBUG_TO_CONSOLE | DEBUG_WRITE_STREAM_NAME | DEBUG_WRITE_CODE_LOCATION);
        debug_write(&stream, "code/folder", 42, "located", true);
        debug_write(&stream, nullptr, 42, "no file", false);
        // printf-style writes never show a location.
        debug_printf(&stream, "formatted\n");
        debug_printf(&stream, nullptr);
    });
    EXPECT_EQ(run.output,
        "plain text\n"
        "no location without its bit\n"
        "<Trace>: (code/folder,42) located\n"
        "<Trace>: no file"
        "<Trace>: formatted\n");
}

TEST(DEBUG_STREAM, time_stamp_follows_the_name)
{
    RUN_RESULT run = run_in_child([] {
        DEBUG_STREAM stream("Clock", DEBUG_TO_CONSOLE | DEBUG_WRITE_STREAM_NAME | DEBUG_WRITE_TIME_STAMP, false);
        debug_printf(&stream, "tick\n");
    });
    // "<Clock>: Mon, 23 Nov 2026 08:09:27 GMT tick"
    ASSERT_EQ(run.output.size(), std::string("<Clock>: Mon, 23 Nov 2026 08:09:27 GMT tick\n").size());
    EXPECT_EQ(run.output.substr(0, 9), "<Clock>: ");
    EXPECT_EQ(run.output.substr(run.output.size() - 10), " GMT tick\n");
}

TEST(DEBUG_STREAM, long_message_is_cut_to_2047_characters)
{
    RUN_RESULT run = run_in_child([] {
        DEBUG_STREAM stream("Long", DEBUG_TO_CONSOLE, false);
        std::string text(5000, 'y');
        debug_printf(&stream, "%s", text.c_str());
    });
    EXPECT_EQ(run.output, std::string(2047, 'y'));
}

TEST(DEBUG_STREAM, pop_up_is_titled_with_the_name_and_does_not_repeat_it)
{
    TEMP_FOLDER folder;
    std::string record = folder.file("args.txt");
    std::string bin = make_recording_program(folder, "xmessage", record, 0);
    RUN_RESULT run = run_in_child(
        [] {
            DEBUG_STREAM stream("Boxed", DEBUG_TO_POPUP | DEBUG_WRITE_STREAM_NAME, false);
            debug_printf(&stream, "look");
        },
        { "PATH=" + bin + ":/usr/bin:/bin" });
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(read_file(record), "-buttons\nOK:2\nBoxed:\n\nlook\n");
}
