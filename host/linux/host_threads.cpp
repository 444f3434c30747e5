// Threads on Linux: POSIX threads, and the affinity mask for the processor count.

#include <pthread.h>
#include <sched.h>
#include <signal.h>
#include <unistd.h>

#include <new>

#include "host/host_threads.h"

struct HOST_THREAD {
    pthread_t handle;
    void (*body)(void*);
    void* argument;
};

namespace {

void* thread_main(void* context)
{
    HOST_THREAD* thread = static_cast<HOST_THREAD*>(context);
    thread->body(thread->argument);
    return nullptr;
}

} // namespace

HOST_THREAD* host_start_thread(void (*body)(void* argument), void* argument)
{
    HOST_THREAD* thread = new (std::nothrow) HOST_THREAD;
    if (!thread)
        return nullptr;
    thread->body = body;
    thread->argument = argument;
    // The new thread inherits the mask in force while it is created: everything but the signals
    // of a fault, which must reach the thread that caused them.
    sigset_t blocked, previous;
    sigfillset(&blocked);
    static const int faults[] = { SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT, SIGSYS };
    for (int fault : faults)
        sigdelset(&blocked, fault);
    pthread_sigmask(SIG_BLOCK, &blocked, &previous);
    bool started = pthread_create(&thread->handle, nullptr, thread_main, thread) == 0;
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
    if (!started) {
        delete thread;
        return nullptr;
    }
    return thread;
}

void host_join_thread(HOST_THREAD* thread)
{
    if (!thread)
        return;
    pthread_join(thread->handle, nullptr);
    delete thread;
}

INT_S32 host_processor_count()
{
    cpu_set_t set;
    CPU_ZERO(&set);
    if (sched_getaffinity(0, sizeof set, &set) == 0) {
        int count = CPU_COUNT(&set);
        if (count > 0)
            return count;
    }
    long online = sysconf(_SC_NPROCESSORS_ONLN);
    return online > 0 ? static_cast<INT_S32>(online) : 1;
}
