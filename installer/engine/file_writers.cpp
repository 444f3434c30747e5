// Writer threads and the ring of file turns.
//
// [SECTION] Shared folders
// [SECTION] The ring
// [SECTION] The writers

#include "installer/engine/file_writers.h"

#include <cstdlib>
#include <cstring>
#include <new>

#include "host/host_files.h"
#include "host/host_threads.h"

// ---------------------------------------------------------------------------------------------
// [SECTION] Shared folders
// ---------------------------------------------------------------------------------------------

SHARED_FOLDER* SHARED_FOLDER::copy_of(const DESTINATION_FOLDER& folder)
{
    int descriptor = folder.is_open() ? host_duplicate_folder(folder.descriptor()) : -1;
    if (descriptor < 0)
        return nullptr;
    SHARED_FOLDER* shared = new (std::nothrow) SHARED_FOLDER;
    if (!shared) {
        host_close_descriptor(descriptor);
        return nullptr;
    }
    shared->m_descriptor = descriptor;
    return shared;
}

SHARED_FOLDER::~SHARED_FOLDER()
{
    host_close_descriptor(m_descriptor);
}

void SHARED_FOLDER::release()
{
    if (m_references.fetch_sub(1, std::memory_order_acq_rel) == 1)
        delete this;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] The ring
// ---------------------------------------------------------------------------------------------

FILE_WRITERS::~FILE_WRITERS()
{
    stop();
    drop_tickets();
}

void FILE_WRITERS::drop_tickets()
{
    while (m_count)
        pop();
    if (m_tickets != &m_single)
        delete[] m_tickets;
    m_tickets = nullptr;
    m_capacity = 0;
    m_first = 0;
}

INT_S32 FILE_WRITERS::start(INT_S32 count)
{
    stop();
    drop_tickets();
    m_stopping = false;
    for (INT_S32 i = 0; i < PLACE_WRITERS_MOST; ++i) {
        m_queue_first[i] = 0;
        m_queued[i] = 0;
    }
    m_bytes_held = 0;
    count = count < 0 ? 0 : count > PLACE_WRITERS_MOST ? PLACE_WRITERS_MOST : count;
    m_tickets = count ? new (std::nothrow) FILE_TICKET[PLACE_TICKETS] : nullptr;
    m_capacity = m_tickets ? PLACE_TICKETS : 1;
    if (!m_tickets) {
        // The ring of a synchronous run holds the one file in hand.
        m_tickets = &m_single;
        return 0;
    }
    for (INT_S32 i = 0; i < count; ++i) {
        m_lanes[i] = LANE { this, i };
        m_threads[i] = host_start_thread(writer_main, &m_lanes[i]);
        if (!m_threads[i])
            break;
        m_thread_count = i + 1;
    }
    if (!m_thread_count) {
        delete[] m_tickets;
        m_tickets = &m_single;
        m_capacity = 1;
    }
    return m_thread_count;
}

void FILE_WRITERS::stop()
{
    if (!m_thread_count)
        return;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stopping = true;
    }
    m_wake.notify_all();
    for (INT_S32 i = 0; i < m_thread_count; ++i) {
        host_join_thread(m_threads[i]);
        m_threads[i] = nullptr;
    }
    m_thread_count = 0;
}

FILE_TICKET* FILE_WRITERS::claim()
{
    if (m_count >= m_capacity)
        return nullptr;
    FILE_TICKET* ticket = &m_tickets[(m_first + m_count) % m_capacity];
    ++m_count;
    ticket->file = nullptr;
    ticket->destination = "";
    ticket->name = "";
    ticket->percent = 0;
    ticket->result = 0;
    ticket->path[0] = 0;
    ticket->reason[0] = 0;
    ticket->queued = false;
    ticket->folder = nullptr;
    ticket->descriptor = -1;
    ticket->mode = 0;
    ticket->bytes = nullptr;
    ticket->size = 0;
    ticket->held = 0;
    ticket->device = 0;
    ticket->inode = 0;
    ticket->placed = false;
    ticket->system_error = 0;
    ticket->write_failed = false;
    ticket->finished = false;
    return ticket;
}

void FILE_WRITERS::submit(FILE_TICKET* ticket)
{
    // Without writers (they could not start) the job is done here, the same way.
    if (!m_thread_count) {
        write_here(ticket);
        return;
    }
    ticket->queued = true;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        // The folder's writer: files of one folder would only wait for each other's turn at its
        // lock on two threads.
        INT_U64 key = (ticket->device * 0x9E3779B97F4A7C15ull) ^ (ticket->inode * 0xC2B2AE3D27D4EB4Full);
        INT_S32 lane = static_cast<INT_S32>((key >> 32) % static_cast<INT_U64>(m_thread_count));
        m_queue[lane][(m_queue_first[lane] + m_queued[lane]) % PLACE_TICKETS] = ticket;
        ++m_queued[lane];
        m_bytes_held += ticket->held;
    }
    m_wake.notify_all();
}

FILE_TICKET* FILE_WRITERS::head(bool wait)
{
    if (!m_count)
        return nullptr;
    FILE_TICKET* ticket = &m_tickets[m_first];
    if (!ticket->queued)
        return ticket->finished ? ticket : nullptr;
    std::unique_lock<std::mutex> lock(m_mutex);
    if (wait)
        m_done.wait(lock, [&] { return ticket->finished; });
    return ticket->finished ? ticket : nullptr;
}

void FILE_WRITERS::pop()
{
    if (!m_count)
        return;
    FILE_TICKET& ticket = m_tickets[m_first];
    if (ticket.folder)
        ticket.folder->release();
    ticket.folder = nullptr;
    free(ticket.bytes);
    ticket.bytes = nullptr;
    m_first = (m_first + 1) % m_capacity;
    --m_count;
}

INT_U32 FILE_WRITERS::pending_destination(INT_U64 device, INT_U64 inode, const char* name)
{
    INT_U32 through = 0;
    for (INT_U32 i = 0; i < m_count; ++i) {
        const FILE_TICKET& ticket = m_tickets[(m_first + i) % m_capacity];
        if (ticket.queued && ticket.device == device && ticket.inode == inode && strcmp(ticket.name, name) == 0)
            through = i + 1;
    }
    return through;
}

bool FILE_WRITERS::pending_name(const char* element, size_t length)
{
    for (INT_U32 i = 0; i < m_count; ++i) {
        const FILE_TICKET& ticket = m_tickets[(m_first + i) % m_capacity];
        if (ticket.queued && strlen(ticket.name) == length && memcmp(ticket.name, element, length) == 0)
            return true;
    }
    return false;
}

void FILE_WRITERS::wait_for_room(size_t bytes)
{
    if (!m_thread_count)
        return;
    std::unique_lock<std::mutex> lock(m_mutex);
    m_done.wait(lock, [&] { return m_bytes_held + bytes <= PLACE_BYTES_IN_FLIGHT; });
}

// ---------------------------------------------------------------------------------------------
// [SECTION] The writers
// ---------------------------------------------------------------------------------------------

// The same steps as a file placed on the main thread; the outcome stays in the ticket for the
// main thread to word.
void FILE_WRITERS::write(FILE_TICKET* ticket)
{
    NEW_FILE file;
    bool placed = file.create(ticket->descriptor) && file.write(ticket->bytes, ticket->size)
        && file.finish(ticket->name, ticket->mode);
    ticket->placed = placed;
    ticket->system_error = file.system_error;
    ticket->write_failed = file.write_failed;
}

void FILE_WRITERS::write_here(FILE_TICKET* ticket)
{
    ticket->queued = true;
    write(ticket);
    free(ticket->bytes);
    ticket->bytes = nullptr;
    ticket->finished = true;
}

void FILE_WRITERS::writer_main(void* context)
{
    LANE* lane = static_cast<LANE*>(context);
    FILE_WRITERS* writers = lane->owner;
    INT_S32 me = lane->index;
    std::unique_lock<std::mutex> lock(writers->m_mutex);
    for (;;) {
        writers->m_wake.wait(lock, [&] { return writers->m_queued[me] > 0 || writers->m_stopping; });
        // A stop lets the queue run dry first: every job taken is a file the engine reports.
        if (!writers->m_queued[me])
            return;
        FILE_TICKET* ticket = writers->m_queue[me][writers->m_queue_first[me]];
        writers->m_queue_first[me] = (writers->m_queue_first[me] + 1) % PLACE_TICKETS;
        --writers->m_queued[me];
        lock.unlock();
        writers->write(ticket);
        free(ticket->bytes);
        lock.lock();
        ticket->bytes = nullptr;
        writers->m_bytes_held -= ticket->held;
        ticket->finished = true;
        writers->m_done.notify_all();
    }
}
