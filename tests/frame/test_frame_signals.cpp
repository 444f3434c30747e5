// What the frame does with each signal, and the way signals reach the main loop.

#include <gtest/gtest.h>

#include <csignal>

#include "frame/application_frame.h"
#include "base/debug_stream.h"
#include "test_support.h"

namespace {

int handler_calls = 0;
INT_S32 last_reason = 99;
bool handler_answer = false;

bool recording_handler(INT_S32 reason)
{
    ++handler_calls;
    last_reason = reason;
    return handler_answer;
}

class FRAME_SIGNALS : public ::testing::Test {
protected:
    void SetUp() override
    {
        quit_requested = 0;
        handler_calls = 0;
        last_reason = 99;
        handler_answer = false;
        set_shutdown_request_handler(nullptr);
    }
    void TearDown() override
    {
        set_shutdown_request_handler(nullptr);
        quit_requested = 0;
    }
};

} // namespace

TEST_F(FRAME_SIGNALS, hang_up_interrupt_quit_abort_and_broken_pipe_enforce_a_quit)
{
    set_shutdown_request_handler(recording_handler);
    for (int signal_number : { SIGHUP, SIGINT, SIGQUIT, SIGABRT, SIGPIPE }) {
        quit_requested = 0;
        handle_signal_now(signal_number);
        EXPECT_EQ(quit_requested, 1) << signal_number;
        EXPECT_EQ(last_reason, -1);
    }
    // The handler's answer does not matter: it is told, not asked.
    EXPECT_EQ(handler_calls, 5);
}

TEST_F(FRAME_SIGNALS, terminate_asks_the_handler_or_without_one_clears_a_pending_quit_and_resize_only_traces)
{
    handle_signal_now(SIGTERM);
    EXPECT_EQ(quit_requested, 0);
    quit_requested = 1;
    handle_signal_now(SIGTERM);
    EXPECT_EQ(quit_requested, 0);

    set_shutdown_request_handler(recording_handler);
    handler_answer = false;
    handle_signal_now(SIGTERM);
    EXPECT_EQ(quit_requested, 0);
    EXPECT_EQ(last_reason, 0);
    handle_signal_now(SIGWINCH);
    EXPECT_EQ(handler_calls, 1);
    handler_answer = true;
    handle_signal_now(SIGTERM);
    EXPECT_EQ(quit_requested, 1);
}

TEST_F(FRAME_SIGNALS, trace_lines_go_to_the_platform_channel)
{
    RUN_RESULT run = run_in_child([] {
        platform_debug.set_flags(DEBUG_TO_CONSOLE);
        handle_signal_now(SIGINT);
        handle_signal_now(SIGTERM);
        handle_signal_now(SIGWINCH);
        handle_signal_now(SIGUSR1);
    });
    EXPECT_EQ(run.output,
        "Signal 2 received...\n\tShutdown request enforced.\n"
        "Signal 15 received...\n\tShutdown request passed to user.\n"
        "Signal 28 received...\n\tWindow resizing not supported.\n"
        "Signal 10 received...\n");
}

TEST_F(FRAME_SIGNALS, a_real_signal_waits_for_the_main_loop)
{
    install_signal_handlers();
    set_shutdown_request_handler(recording_handler);
    raise(SIGINT);
    // The handler itself only marks the quit; the application hears of it from the loop.
    EXPECT_EQ(quit_requested, 1);
    EXPECT_EQ(handler_calls, 0);
    handle_pending_signals();
    EXPECT_EQ(handler_calls, 1);
    EXPECT_EQ(last_reason, -1);
    handle_pending_signals();
    EXPECT_EQ(handler_calls, 1);

    quit_requested = 0;
    handler_answer = true;
    raise(SIGTERM);
    EXPECT_EQ(quit_requested, 0);
    handle_pending_signals();
    EXPECT_EQ(quit_requested, 1);
    signal(SIGINT, SIG_DFL);
    signal(SIGTERM, SIG_DFL);
}
