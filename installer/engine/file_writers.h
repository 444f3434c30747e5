// FILE_WRITERS: threads that place small files for the install engine, and the queue of file
// turns that the engine reports from, in the order of the files.
//
// Creating files is most of an install's time, and the file system creates them faster on two
// threads than on one, as long as the two work in different folders: files made in one folder
// wait for each other on the folder's lock. The member store is sequential and belongs to the
// main thread, so the engine reads each member there, in order; a member of at most
// PLACE_JOB_MOST bytes is held in a buffer and handed to a writer with its folder, its name and
// its mode. Each folder belongs to one writer (by a hash of its identity), whose jobs run in the
// order they came. The writer makes the file through NEW_FILE, as the main thread makes a larger
// one: a private name, the bytes, the mode, the rename.
//
// Every file's turn takes a ticket at the tail of a ring, whether a writer places it or the main
// thread decided it already (skipped, failed, placed in place). The engine reports tickets from
// the head only, once they are finished: the log, the reporter and the error count see the files
// in their order, a few files late. Bounds: PLACE_TICKETS tickets and PLACE_BYTES_IN_FLIGHT bytes
// of buffers at once.
//
// Two files of one destination: the engine waits for the earlier ticket before it looks at the
// name (pending_destination), so a writer never holds two jobs for one name.
#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>

#include "base/orlu_types.h"
#include "installer/engine/file_placer.h"

struct FILE_RECORD;
struct HOST_THREAD;

// The largest member handed to a writer, the bytes all held buffers may take, and the tickets
// that may wait at once (enough to span several folders of a tree of small files).
constexpr size_t PLACE_JOB_MOST = 1u << 20;
constexpr size_t PLACE_BYTES_IN_FLIGHT = 8u << 20;
constexpr INT_U32 PLACE_TICKETS = 128;
// The most writers one run starts (install_writer_count says how many an install wants).
constexpr INT_S32 PLACE_WRITERS_MOST = 4;

// An open destination folder that jobs keep open after the main thread has moved on: a second
// descriptor, closed with the last reference.
class SHARED_FOLDER {
public:
    // A copy of the open folder; null when the descriptor cannot be duplicated.
    static SHARED_FOLDER* copy_of(const DESTINATION_FOLDER& folder);
    SHARED_FOLDER(const SHARED_FOLDER&) = delete;
    SHARED_FOLDER& operator=(const SHARED_FOLDER&) = delete;

    [[nodiscard]] int descriptor() const { return m_descriptor; }
    void retain() { m_references.fetch_add(1, std::memory_order_relaxed); }
    // Drops a reference; the last one closes the descriptor and frees the object.
    void release();

private:
    SHARED_FOLDER() = default;
    ~SHARED_FOLDER();

    int m_descriptor { -1 };
    std::atomic<INT_S32> m_references { 1 };
};

// One file's turn, from the step that read it to the report.
struct FILE_TICKET {
    // What the report needs (main thread).
    const FILE_RECORD* file { nullptr }; // null: a record that is missing, only counted
    const char* destination { "" };      // the destination text, for the status line
    const char* name { "" };             // the destination name, a text of the database
    INT_S32 percent { 0 };
    INT_S32 result { 0 };                // INSTALL_RESULT, unless a writer's job decides it
    char path[ORLU_MAX_PATH * 2] {};
    char reason[ORLU_MAX_PATH + 200] {};

    // The job a writer does; `bytes` is freed by the writer once written.
    bool queued { false };
    SHARED_FOLDER* folder { nullptr }; // a reference, dropped with the ticket
    int descriptor { -1 };             // the folder's, open while the job lasts
    INT_U32 mode { 0 };
    INT_U8* bytes { nullptr };
    size_t size { 0 };
    size_t held { 0 }; // counted against PLACE_BYTES_IN_FLIGHT until written
    INT_U64 device { 0 }, inode { 0 }; // the folder's identity, to find two jobs for one file

    // Set by the writer before `finished`.
    bool placed { false };
    int system_error { 0 };
    bool write_failed { false };
    bool finished { false };
};

class FILE_WRITERS {
public:
    FILE_WRITERS() = default;
    // Joins the threads; tickets still held are dropped (the engine reports them first).
    ~FILE_WRITERS();
    FILE_WRITERS(const FILE_WRITERS&) = delete;
    FILE_WRITERS& operator=(const FILE_WRITERS&) = delete;

    // Starts up to `count` writers; answers how many run. 0 (none wanted, or the system gave
    // none) leaves the ring at one ticket, decided on the main thread.
    INT_S32 start(INT_S32 count);
    // Waits for every job and joins the threads. The tickets stay to be reported.
    void stop();
    [[nodiscard]] INT_S32 writer_count() const { return m_thread_count; }

    // The ticket at the tail, reset; null when the ring is full (report the head first).
    [[nodiscard]] FILE_TICKET* claim();
    // Hands a claimed ticket with its job to the writers (done at once when none runs).
    void submit(FILE_TICKET* ticket);
    // Does a claimed ticket's job on this thread.
    static void write_here(FILE_TICKET* ticket);
    // Marks a claimed ticket decided on the main thread.
    static void settle(FILE_TICKET* ticket) { ticket->finished = true; }

    // The ticket at the head: null when there is none, or when it is not finished and `wait`
    // is false. With `wait`, waits for its writer.
    [[nodiscard]] FILE_TICKET* head(bool wait);
    // Frees the head after it was reported.
    void pop();
    [[nodiscard]] bool empty() const { return m_count == 0; }
    [[nodiscard]] INT_U32 count() const { return m_count; }
    // How many tickets from the head up to and including the last one whose job places `name`
    // in the folder (device, inode); 0 when no job waits for that file.
    [[nodiscard]] INT_U32 pending_destination(INT_U64 device, INT_U64 inode, const char* name);
    // True when a queued job places a file named `element` (in any folder).
    [[nodiscard]] bool pending_name(const char* element, size_t length);
    // Waits until `bytes` more fit within PLACE_BYTES_IN_FLIGHT.
    void wait_for_room(size_t bytes);

private:
    static void writer_main(void* context);
    static void write(FILE_TICKET* ticket);
    void drop_tickets();

    FILE_TICKET m_single;                // the ring of a synchronous run
    FILE_TICKET* m_tickets { nullptr };
    INT_U32 m_capacity { 0 };
    INT_U32 m_first { 0 }; // the head
    INT_U32 m_count { 0 };

    HOST_THREAD* m_threads[PLACE_WRITERS_MOST] {};
    INT_S32 m_thread_count { 0 };
    std::mutex m_mutex;
    std::condition_variable m_wake;  // a job was queued, or the writers stop
    std::condition_variable m_done;  // a job was written
    // Each writer's queue: the jobs of its folders not yet taken, in order.
    struct LANE {
        FILE_WRITERS* owner;
        INT_S32 index;
    };
    LANE m_lanes[PLACE_WRITERS_MOST] {};
    FILE_TICKET* m_queue[PLACE_WRITERS_MOST][PLACE_TICKETS] {};
    INT_U32 m_queue_first[PLACE_WRITERS_MOST] {};
    INT_U32 m_queued[PLACE_WRITERS_MOST] {};
    size_t m_bytes_held { 0 };
    bool m_stopping { false };
};
