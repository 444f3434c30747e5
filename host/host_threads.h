// Threads of the process, for work that divides into independent pieces (compressing or
// inflating chunks, writing files). The pieces share nothing but their queue; each thread is
// started and joined by the same owner.
//
// A thread started here takes no signal sent to the process (only the faults of its own code):
// the signals a run handles (SIGINT, SIGTERM, SIGHUP, SIGPIPE, ...) reach the thread that polls
// for them, so a system call of a worker is never cut short by one.
#pragma once

#include "base/orlu_types.h"

struct HOST_THREAD;

// Starts a thread that runs `body(argument)`. Null when the system refuses one (the caller then
// does the work with fewer threads).
[[nodiscard]] HOST_THREAD* host_start_thread(void (*body)(void* argument), void* argument);
// Waits for the thread to end and frees it. A null thread is ignored.
void host_join_thread(HOST_THREAD* thread);

// The processors this process may run on (its affinity mask), at least 1.
[[nodiscard]] INT_S32 host_processor_count();
