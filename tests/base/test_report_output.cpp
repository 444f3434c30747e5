// The table that carries the reports of base out, and its defaults. Every case runs in a child,
// so that the host's table, which the test main installs, stays in force for the other tests.

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "base/debug_stream.h"
#include "base/error_report.h"
#include "base/report_output.h"
#include "test_support.h"

namespace {

// What the recording table was handed, written to standard output as it arrives so that the
// parent sees it in order.
void record_print(const char* format, va_list args)
{
    char text[512];
    vsnprintf(text, sizeof text, format, args);
    printf("print[%s]", text);
    fflush(stdout);
}

void record_box(const char* title, const char* text)
{
    printf("box[%s|%s]", title, text);
    fflush(stdout);
}

void record_shutdown(const char* text)
{
    printf("shutdown[%s]", text ? text : "(null)");
    fflush(stdout);
    _exit(7);
}

const char* fixed_time_stamp()
{
    return "Thu, 01 Jan 1970 00:00:00 GMT";
}

const REPORT_OUTPUT recording_output = { record_print, record_box, record_shutdown, fixed_time_stamp };

} // namespace

TEST(REPORT_OUTPUT, defaults_use_standard_error_and_end_with_status_255)
{
    RUN_RESULT run = run_in_child([] {
        set_report_output(nullptr);
        debug_message("code/x", 5, "hello");
        fatal_error(0x0021, nullptr);
    });
    EXPECT_EQ(run.status, 255);
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.errors,
        "Debug - File: code/x Line 5: = hello\n"
        "\n*\n*\tError\n*\n*\tERROR: 0021:\nUnable to startup the font system \n*\n"
        "\nError, unable to continue...\n\nApplication was unable to continue\n\n");
}

TEST(REPORT_OUTPUT, default_time_stamp_has_the_stream_form)
{
    RUN_RESULT run = run_in_child([] {
        set_report_output(nullptr);
        DEBUG_STREAM stream("Clock", DEBUG_TO_CONSOLE | DEBUG_WRITE_TIME_STAMP, false);
        debug_printf(&stream, "tick\n");
    });
    // "Mon, 23 Nov 2026 08:09:27 GMT tick"
    ASSERT_EQ(run.errors.size(), std::string("Mon, 23 Nov 2026 08:09:27 GMT tick\n").size());
    EXPECT_EQ(run.errors.substr(3, 2), ", ");
    EXPECT_EQ(run.errors.substr(run.errors.size() - 10), " GMT tick\n");
}

TEST(REPORT_OUTPUT, installed_table_receives_every_report)
{
    RUN_RESULT run = run_in_child([] {
        set_report_output(&recording_output);
        DEBUG_STREAM stream("Rec", DEBUG_TO_CONSOLE | DEBUG_TO_POPUP | DEBUG_WRITE_TIME_STAMP, false);
        debug_printf(&stream, "line %d", 1);
        warning(0x0003, "mixer");
        fatal_error(0x0021, nullptr);
    });
    EXPECT_EQ(run.status, 7);
    EXPECT_EQ(run.errors, "");
    EXPECT_EQ(run.output,
        "print[Thu, 01 Jan 1970 00:00:00 GMT line 1]"
        "box[Rec|Thu, 01 Jan 1970 00:00:00 GMT line 1]"
        "box[Warning|WARNING: 0003:\nSound layer was unable to start mixer]"
        "box[Error|ERROR: 0021:\nUnable to startup the font system ]"
        "shutdown[Application was unable to continue]");
}

TEST(REPORT_OUTPUT, empty_entries_keep_their_defaults_and_a_returning_shutdown_still_ends)
{
    // Only the console is replaced: the default box and the default end print through it.
    RUN_RESULT run = run_in_child([] {
        static const REPORT_OUTPUT print_only = { record_print, nullptr, nullptr, nullptr };
        set_report_output(&print_only);
        warning(0x0003, "mixer");
        fatal_error(0x7777, nullptr);
    });
    EXPECT_EQ(run.status, 255);
    EXPECT_EQ(run.output,
        "print[\n*\n*\tWarning\n*\n*\tWARNING: 0003:\nSound layer was unable to start mixer\n*\n]"
        "print[\n*\n*\tError\n*\n*\tERROR: Undefined error encountered\n*\n]"
        "print[\nError, unable to continue...\n\nApplication was unable to continue\n\n]");

    // A shutdown that comes back does not let fatal_error return.
    run = run_in_child([] {
        static const REPORT_OUTPUT returning = { nullptr, record_box, [](const char*) {}, nullptr };
        set_report_output(&returning);
        fatal_error(0x0021, nullptr);
        printf("returned");
    });
    EXPECT_EQ(run.status, 255);
    EXPECT_EQ(run.output.find("returned"), std::string::npos);
    EXPECT_EQ(run.output, "box[Error|ERROR: 0021:\nUnable to startup the font system ]");
}
