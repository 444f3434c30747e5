// Cutting the package into chunks, on one thread or on many.
//
// [SECTION] One piece
// [SECTION] The pipeline
// [SECTION] Writing

#include "chunk_writer.h"

#include <sys/types.h>
#include <zlib.h>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <new>
#include <vector>

#include "host/host.h"
#include "host/host_threads.h"

// ---------------------------------------------------------------------------------------------
// [SECTION] One piece
// ---------------------------------------------------------------------------------------------

INT_U32 chunk_safe_piece(INT_U32 limit)
{
    uLong piece = limit;
    while (piece > 0 && compressBound(piece) > limit)
        piece -= piece > 4096 ? (compressBound(piece) - limit) : 1;
    return static_cast<INT_U32>(piece);
}

bool FILE_CHUNK_SOURCE::read_at(INT_U64 offset, INT_U8* buffer, INT_U32 length)
{
    if (fseeko(m_stream, static_cast<off_t>(m_start + offset), SEEK_SET) != 0)
        return false;
    return fread(buffer, 1, length, m_stream) == length;
}

namespace {

// A piece of the package in memory and what became of it. `length` bytes stand in `input` (all
// that was left, up to the cache size); `take` of them went into the chunk of `size` bytes.
struct PIECE {
    INT_U64 offset { 0 };
    INT_U32 length { 0 };
    INT_U8* input { nullptr };
    INT_U8* output { nullptr };
    INT_U32 take { 0 };
    INT_U32 size { 0 };
    bool ok { false };
};

// Compresses the whole piece; when its stream does not fit the cache, the safe length from the
// start of the piece instead, which always fits.
void compress_piece(PIECE* piece, const CHUNK_SETTINGS& settings, INT_U32 safe)
{
    uLong bound = compressBound(settings.cache);
    uLongf size = bound;
    piece->take = piece->length;
    piece->ok = compress2(piece->output, &size, piece->input, piece->length, settings.level) == Z_OK;
    if (piece->ok && size > settings.cache) {
        piece->take = safe < piece->length ? safe : piece->length;
        size = bound;
        piece->ok = compress2(piece->output, &size, piece->input, piece->take, settings.level) == Z_OK
            && size <= settings.cache;
    }
    piece->size = static_cast<INT_U32>(size);
}

bool read_piece(CHUNK_SOURCE* source, INT_U64 total, PIECE* piece, INT_U32 cache)
{
    INT_U64 left = total - piece->offset;
    piece->length = static_cast<INT_U32>(left < cache ? left : cache);
    return source->read_at(piece->offset, piece->input, piece->length);
}

bool write_chunk(DATA_DEVICE* out, const INT_U8* bytes, INT_U32 size)
{
    return device_write(out, static_cast<INT_S32>(size)) && device_write_bytes(out, bytes, static_cast<INT_S32>(size));
}

// ---------------------------------------------------------------------------------------------
// [SECTION] The pipeline
// ---------------------------------------------------------------------------------------------

// Slots for pieces, a queue of slots to compress, and the threads that take from it. The
// calling thread reads pieces into free slots, waits for them in the order it queued them and
// writes them out.
class PIPELINE {
public:
    PIPELINE(const CHUNK_SETTINGS& settings, INT_U32 safe)
        : m_settings(settings)
        , m_safe(safe)
    {
    }
    ~PIPELINE()
    {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_stopping = true;
        }
        m_work.notify_all();
        for (HOST_THREAD* thread : m_threads)
            host_join_thread(thread);
        for (SLOT& slot : m_slots) {
            delete[] slot.piece.input;
            delete[] slot.piece.output;
        }
    }
    PIPELINE(const PIPELINE&) = delete;
    PIPELINE& operator=(const PIPELINE&) = delete;

    // Makes the slots and starts the threads; fewer threads when the system refuses more. False
    // when not even one slot and one thread can be had.
    bool start(INT_S32 jobs)
    {
        uLong bound = compressBound(m_settings.cache);
        m_slots.resize(static_cast<size_t>(jobs) + 1);
        for (SLOT& slot : m_slots) {
            slot.piece.input = new (std::nothrow) INT_U8[m_settings.cache];
            slot.piece.output = new (std::nothrow) INT_U8[bound];
            if (!slot.piece.input || !slot.piece.output)
                return false;
        }
        for (INT_S32 i = 0; i < jobs; ++i) {
            HOST_THREAD* thread = host_start_thread(worker_main, this);
            if (!thread)
                break;
            m_threads.push_back(thread);
        }
        return !m_threads.empty();
    }

    // A free slot, waiting for one that a thread still works on for nothing; -1 when every slot
    // is in the order of work.
    INT_S32 free_slot()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        for (;;) {
            bool busy = false;
            for (size_t i = 0; i < m_slots.size(); ++i) {
                if (m_slots[i].state == SLOT_FREE)
                    return static_cast<INT_S32>(i);
                if (m_slots[i].state == SLOT_RUNNING && m_slots[i].dropped)
                    busy = true;
            }
            if (!busy)
                return -1;
            m_done.wait(lock);
        }
    }

    PIECE* piece(INT_S32 slot) { return &m_slots[static_cast<size_t>(slot)].piece; }

    void queue(INT_S32 slot)
    {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_slots[static_cast<size_t>(slot)].state = SLOT_QUEUED;
            m_slots[static_cast<size_t>(slot)].dropped = false;
            m_queue.push_back(slot);
        }
        m_work.notify_one();
    }

    void wait_for(INT_S32 slot)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_done.wait(lock, [&] { return m_slots[static_cast<size_t>(slot)].state == SLOT_DONE; });
    }

    void release(INT_S32 slot)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_slots[static_cast<size_t>(slot)].state = SLOT_FREE;
    }

    // Gives up a piece that was read for a wrong start: a queued one is freed at once, one being
    // compressed when its thread is done with it.
    void drop(INT_S32 slot)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        SLOT& held = m_slots[static_cast<size_t>(slot)];
        if (held.state == SLOT_RUNNING) {
            held.dropped = true;
            return;
        }
        for (auto at = m_queue.begin(); at != m_queue.end(); ++at) {
            if (*at == slot) {
                m_queue.erase(at);
                break;
            }
        }
        held.state = SLOT_FREE;
    }

    [[nodiscard]] size_t slot_count() const { return m_slots.size(); }

private:
    enum SLOT_STATE { SLOT_FREE, SLOT_QUEUED, SLOT_RUNNING, SLOT_DONE };
    struct SLOT {
        PIECE piece;
        SLOT_STATE state { SLOT_FREE };
        bool dropped { false };
    };

    static void worker_main(void* context) { static_cast<PIPELINE*>(context)->work(); }

    void work()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        for (;;) {
            m_work.wait(lock, [&] { return m_stopping || !m_queue.empty(); });
            if (m_stopping)
                return;
            INT_S32 index = m_queue.front();
            m_queue.pop_front();
            SLOT& slot = m_slots[static_cast<size_t>(index)];
            slot.state = SLOT_RUNNING;
            lock.unlock();
            compress_piece(&slot.piece, m_settings, m_safe);
            lock.lock();
            slot.state = slot.dropped ? SLOT_FREE : SLOT_DONE;
            slot.dropped = false;
            m_done.notify_all();
        }
    }

    const CHUNK_SETTINGS& m_settings;
    INT_U32 m_safe;
    std::vector<SLOT> m_slots;
    std::vector<HOST_THREAD*> m_threads;
    std::deque<INT_S32> m_queue;
    std::mutex m_mutex;
    std::condition_variable m_work;
    std::condition_variable m_done;
    bool m_stopping { false };
};

// ---------------------------------------------------------------------------------------------
// [SECTION] Writing
// ---------------------------------------------------------------------------------------------

bool write_stored(DATA_DEVICE* out, CHUNK_SOURCE* source, INT_U64 total, INT_U32 cache,
    CHUNK_PROGRESS progress, void* context)
{
    PIECE piece;
    piece.input = new (std::nothrow) INT_U8[cache];
    bool ok = piece.input != nullptr;
    for (piece.offset = 0; ok && piece.offset < total; piece.offset += piece.length) {
        ok = !host_stop_requested() && read_piece(source, total, &piece, cache) && write_chunk(out, piece.input, piece.length);
        source->release_before(piece.offset + piece.length);
        if (ok && progress)
            progress(piece.length, context);
    }
    delete[] piece.input;
    return ok;
}

bool write_compressed_here(DATA_DEVICE* out, CHUNK_SOURCE* source, INT_U64 total,
    const CHUNK_SETTINGS& settings, INT_U32 safe, CHUNK_PROGRESS progress, void* context)
{
    PIECE piece;
    piece.input = new (std::nothrow) INT_U8[settings.cache];
    piece.output = new (std::nothrow) INT_U8[compressBound(settings.cache)];
    bool ok = piece.input && piece.output;
    for (piece.offset = 0; ok && piece.offset < total; piece.offset += piece.take) {
        ok = !host_stop_requested() && read_piece(source, total, &piece, settings.cache);
        if (ok)
            compress_piece(&piece, settings, safe);
        ok = ok && piece.ok && write_chunk(out, piece.output, piece.size);
        source->release_before(piece.offset + piece.take);
        if (ok && progress)
            progress(piece.take, context);
    }
    delete[] piece.input;
    delete[] piece.output;
    return ok;
}

// The pieces in flight form a chain of predicted starts. The first piece of the chain whose start
// differs from where the last written chunk ended shows that the chain went wrong: it and every
// piece behind it are dropped, and the chain starts again from the true position.
bool write_compressed_in_parallel(DATA_DEVICE* out, CHUNK_SOURCE* source, INT_U64 total,
    const CHUNK_SETTINGS& settings, INT_U32 safe, CHUNK_PROGRESS progress, void* context)
{
    // Every slot holds a piece and its stream; the slots stay within a fixed budget, whatever
    // the number of processors and the cache size.
    const INT_U64 budget = 1ull << 30;
    INT_U64 per_slot = settings.cache + static_cast<INT_U64>(compressBound(settings.cache));
    INT_U64 most = budget / per_slot > 2 ? budget / per_slot - 1 : 1;
    INT_S32 jobs = static_cast<INT_U64>(settings.jobs) < most ? settings.jobs : static_cast<INT_S32>(most);
    PIPELINE pipeline(settings, safe);
    if (jobs < 2 || !pipeline.start(jobs))
        return write_compressed_here(out, source, total, settings, safe, progress, context);

    std::deque<INT_S32> order; // slots in the order their chunks go out
    INT_U64 written = 0;       // where the next chunk starts
    INT_U64 ahead = 0;         // where the next piece to queue is predicted to start
    bool last_was_whole = true;
    bool ok = true;
    while (ok && written < total) {
        // A signal ends the run between chunks; the threads finish the piece they hold.
        if (host_stop_requested()) {
            ok = false;
            break;
        }
        while (ahead < total && order.size() < pipeline.slot_count()) {
            INT_S32 slot = pipeline.free_slot();
            if (slot < 0)
                break;
            PIECE* piece = pipeline.piece(slot);
            piece->offset = ahead;
            if (!read_piece(source, total, piece, settings.cache)) {
                pipeline.release(slot);
                ok = false;
                break;
            }
            pipeline.queue(slot);
            order.push_back(slot);
            ahead += last_was_whole || piece->length <= safe ? piece->length : safe;
        }
        if (!ok || order.empty())
            break;
        INT_S32 slot = order.front();
        order.pop_front();
        pipeline.wait_for(slot);
        PIECE* piece = pipeline.piece(slot);
        if (piece->offset != written) {
            pipeline.release(slot);
            for (INT_S32 later : order)
                pipeline.drop(later);
            order.clear();
            ahead = written;
            continue;
        }
        ok = piece->ok && write_chunk(out, piece->output, piece->size);
        written += piece->take;
        source->release_before(written);
        last_was_whole = piece->take == piece->length;
        pipeline.release(slot);
        if (ok && progress)
            progress(piece->take, context);
    }
    for (INT_S32 later : order)
        pipeline.drop(later);
    return ok && written >= total;
}

} // namespace

bool write_package_chunks(DATA_DEVICE* out, CHUNK_SOURCE* source, INT_U64 total,
    const CHUNK_SETTINGS& settings, CHUNK_PROGRESS progress, void* context)
{
    if (settings.cache == 0)
        return false;
    if (!settings.compressed)
        return write_stored(out, source, total, settings.cache, progress, context);
    INT_U32 safe = chunk_safe_piece(settings.cache);
    if (safe == 0)
        return false;
    if (settings.jobs <= 1)
        return write_compressed_here(out, source, total, settings, safe, progress, context);
    return write_compressed_in_parallel(out, source, total, settings, safe, progress, context);
}
