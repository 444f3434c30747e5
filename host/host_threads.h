// Threads of the process, for work that divides into independent pieces (compressing or
// inflating chunks). The pieces share nothing but their queue; each thread is started and
// joined by the same owner.
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
