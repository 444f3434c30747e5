// The frame's main loop with an application of the test's own: the order of the callbacks, an
// update that answers false, and signals that arrive during an update. Each run happens in a
// child process, since the frame takes the process over (signal handlers, its own file).

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <string>
#include <unistd.h>
#include <vector>

#include "frame/application_frame.h"
#include "test_support.h"

namespace {

const APPLICATION_RECORD test_record = {
    "Frame Test 1.0", 0, nullptr, 1000, nullptr, 0, 1, 30, 1, 100, 0, 0, 0, 0, 0, 2, 200, 250, 6, nullptr,
    static_cast<INT_S8>(ORLU_APP_BITS),
};

// What the callbacks saw, one word each, and how the test's application behaves.
std::string events;
int updates = 0;
int updates_before_false = 3;  // the update of this number answers false
int raise_in_update = 0;       // the update of this number raises `raised`
int raised = SIGINT;
bool handler_answer = false;

bool recording_handler(INT_S32 reason)
{
    events += "handler(" + std::to_string(reason) + ") ";
    return handler_answer;
}

void test_start(INT_S16 argc, char** argv)
{
    events += "start(";
    for (INT_S16 i = 1; i < argc; ++i)
        events += std::string(i > 1 ? "," : "") + argv[i];
    events += ") ";
    set_shutdown_request_handler(recording_handler);
}

bool test_update()
{
    ++updates;
    events += "update" + std::to_string(updates) + " ";
    if (updates == raise_in_update)
        raise(raised);
    return updates < updates_before_false;
}

void test_shutdown() { events += "shutdown "; }

// Runs the frame in a child with the given arguments and prints what happened and its answer.
std::string run_frame(std::vector<std::string> arguments)
{
    RUN_RESULT run = run_in_child([&] {
        std::vector<char*> argv;
        static std::string program = "frame-test";
        argv.push_back(&program[0]);
        for (std::string& argument : arguments)
            argv.push_back(&argument[0]);
        argv.push_back(nullptr);
        static const APPLICATION application = { &test_record, test_start, test_update, test_shutdown };
        int status = run_application_frame(static_cast<int>(argv.size() - 1), argv.data(), environ, application);
        printf("%sreturned %d", events.c_str(), status);
    });
    EXPECT_EQ(run.status, 0) << run.errors;
    return run.output;
}

class FRAME_LOOP : public ::testing::Test {
protected:
    void SetUp() override
    {
        events.clear();
        updates = 0;
        updates_before_false = 3;
        raise_in_update = 0;
        raised = SIGINT;
        handler_answer = false;
    }
};

} // namespace

TEST_F(FRAME_LOOP, start_gets_the_applications_arguments_then_updates_run_until_one_answers_false)
{
    // The framework's own option is taken out before the application sees the rest.
    EXPECT_EQ(run_frame({ "--orlu-varsz-continue", "-x", "file" }).substr(0, 22), "Standard Varible Sizes");
    EXPECT_NE(run_frame({ "--orlu-varsz-continue", "-x", "file" }).find("start(-x,file) update1 update2 update3 shutdown returned 0"),
        std::string::npos);
    EXPECT_EQ(run_frame({ "-a" }), "start(-a) update1 update2 update3 shutdown returned 0");
}

TEST_F(FRAME_LOOP, interrupts_and_refused_requests_during_an_update_end_the_loop_with_one_shutdown)
{
    struct CASE {
        int false_at, raise_at, signal_number;
        bool answer;
        const char* events;
    } cases[] = {
        // An update that answers false at once still gets its shutdown.
        { 1, 0, SIGINT, false, "start() update1 shutdown returned 0" },
        // An interrupt in the second of three updates: the handler hears of it after that update,
        // and no third update runs.
        { 3, 2, SIGINT, false, "start() update1 update2 handler(-1) shutdown returned 0" },
        // During the last update: no second shutdown.
        { 3, 3, SIGINT, false, "start() update1 update2 update3 shutdown returned 0" },
        // A terminate request the application refuses lets the loop go on.
        { 3, 1, SIGTERM, false, "start() update1 handler(0) update2 update3 shutdown returned 0" },
        { 3, 1, SIGTERM, true, "start() update1 handler(0) shutdown returned 0" },
    };
    for (const CASE& c : cases) {
        SetUp();
        updates_before_false = c.false_at;
        raise_in_update = c.raise_at;
        raised = c.signal_number;
        handler_answer = c.answer;
        EXPECT_EQ(run_frame({}), c.events);
    }
}
