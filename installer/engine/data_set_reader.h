// DATA_SET_READER: the members of a finished installer read straight out of its data set, with
// no package unpacked to the temporary folder.
//
// The chunks of a data set, joined, are a package. The reader keeps where each chunk lies in the
// file and, once it knows it, which piece of the package it holds; a member's blocks are mapped
// to chunks, and a chunk is inflated when a block in it is wanted. A chunk's inflated length is
// only known by inflating it, so the mapping grows in two directions:
//
//   - from the start, chunk by chunk, as reading moves forward. The packer writes the payload
//     in the order the install engine takes it, so an install inflates each chunk once, in order.
//   - from the end: the package ends with the last block of its last member ("database.bin"),
//     whose links tell the package's length; the last chunks, inflated, are then placed exactly,
//     and the database, the language texts and the fonts behind the payload are read from there
//     before the first payload byte.
//
// Entries are found the same two ways: by walking them forward from the first (each one's next
// entry is behind its blocks), and, behind the payload, by looking for the entry of the last
// payload file named in the database and walking forward from it. Every position read from the
// data set is checked against what the package can hold, chains are walked with a bound and a
// loop check, and any doubt makes open() answer false, so that the caller unpacks the data set
// the old way instead.
#pragma once

#include <zlib.h>

#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <new>

#include "base/orlu_types.h"
#include "base/text_arena.h"
#include "installer/engine/data_set.h"
#include "io/member_store.h"

class DATABASE;
struct HOST_THREAD;

class DATA_SET_READER : public MEMBER_STORE {
public:
    DATA_SET_READER() = default;
    ~DATA_SET_READER() override;
    DATA_SET_READER(const DATA_SET_READER&) = delete;
    DATA_SET_READER& operator=(const DATA_SET_READER&) = delete;

    // Opens the data set of the installer `name` in `folder`, whose header was read into
    // `header` (chunks from header.chunk_start to header.data_end). False, with the last-error
    // slot set, when the chunks cannot be listed, one is longer than the cache allows, or the
    // package's end cannot be found for certain.
    [[nodiscard]] bool open(const FOLDER& folder, const char* name, const DATA_SET_HEADER& header);
    // With the database read: finds the members behind the payload, so that a name that is not a
    // payload file's is answered without reading the payload. Without it every look-up that
    // misses walks the whole package, which is right but slow.
    void index_tail(const DATABASE& database);

    [[nodiscard]] bool is_open() const override { return m_file != nullptr; }
    [[nodiscard]] bool has_member(const char* name) override;
    bool read_member(const char* member_name, MEMBER_SINK sink, void* context) override;
    bool extract_file(const FOLDER& folder, const char* file_name, const char* member_name) override;

    // For measurements and tests: chunks inflated so far (a chunk inflated twice counts twice),
    // and the package's length.
    [[nodiscard]] INT_U64 chunks_inflated() const { return m_inflations; }
    [[nodiscard]] INT_U32 chunk_count() const { return m_chunk_count; }
    // The main package's length, and how many packages the data set holds.
    [[nodiscard]] INT_U64 package_size() const { return m_volume_count ? m_volumes[m_volume_count - 1].package_size : 0; }
    [[nodiscard]] INT_U32 package_count() const { return m_volume_count; }
    [[nodiscard]] bool tail_indexed() const { return m_volume_count && m_volumes[m_volume_count - 1].tail_complete; }

private:
    struct CHUNK {
        INT_U64 file_offset { 0 }; // its bytes in the installer file
        INT_U32 stored { 0 };      // their length
        INT_U32 length { 0 };      // inflated, once known
        INT_U64 start { 0 };       // its first byte's position in its package, once placed
        bool placed { false };     // start and length are known
    };
    struct ENTRY {
        const char* name { nullptr };
        INT_U32 position { 0 };
        INT_U32 first_block { 0 };
        INT_U32 last_block { 0 };
        INT_U32 next_entry { 0 };
    };

    // Threads that inflate the chunks after the one in hand while that one is read, so that
    // reading members in order keeps every processor busy. Each slot holds one chunk ahead.
    static constexpr INT_U32 PREFETCH_MOST = 3;
    struct PREFETCH_SLOT {
        enum STATE { IDLE, QUEUED, RUNNING, FINISHED } state { IDLE };
        INT_U32 index { 0 };
        bool ok { false };
        INT_U32 size { 0 };
        FILE* file { nullptr };
        INT_U8* stored { nullptr };
        INT_U8* inflated { nullptr };
        z_stream stream {};
        bool stream_ready { false };
    };
    struct PREFETCH {
        HOST_THREAD* threads[PREFETCH_MOST] {};
        INT_U32 thread_count { 0 };
        PREFETCH_SLOT slots[PREFETCH_MOST];
        INT_U32 slot_count { 0 };
        std::mutex mutex;
        std::condition_variable wake;
        std::condition_variable done;
        bool stopping { false };
    };

    bool fail(INT_U16 code, const char* detail);
    bool list_chunks(const DATA_SET_HEADER& header);
    void start_prefetch(const FOLDER& folder, const char* name);
    static void prefetch_main(void* context);
    bool take_prefetched(INT_U32 index, INT_U32* size);
    void queue_ahead(INT_U32 index);
    bool inflate_from(FILE* file, z_stream* stream, bool* stream_ready, INT_U32 index, INT_U8* stored, INT_U8* inflated,
        INT_U32* size);
    bool inflate(INT_U32 chunk);
    bool locate(INT_U64 position, INT_U32* chunk);
    bool read_at(INT_U64 position, void* buffer, INT_U32 length);
    bool read_u32(INT_U64 position, INT_U32* value);
    bool read_entry(INT_U32 position, ENTRY* entry, char* name, INT_U32 name_size);
    bool find_end();
    bool try_end(INT_U64 package_size);
    bool place_tail_down_to(INT_U64 position);
    const ENTRY* find(const char* name);
    const ENTRY* add_entry(const ENTRY& entry, const char* name);
    bool walk_forward_once();
    bool looks_like_payload(const char* name) const;
    bool search_entry_backward(const char* name, INT_U32* position);
    bool chain_reaches_end(INT_U32 position);

    FILE* m_file { nullptr };
    bool m_compressed { false };
    INT_U32 m_cache_size { 0 };

    CHUNK* m_chunks { nullptr };
    INT_U32 m_chunk_count { 0 };
    // Where chunks of length 0 stood: the index of the chunk behind each.
    struct SEPARATORS {
        INT_U32* items { nullptr };
        INT_U32 count { 0 };
        INT_U32 capacity { 0 };
        ~SEPARATORS() { delete[] items; }
        [[nodiscard]] size_t size() const { return count; }
        INT_U32 operator[](size_t i) const { return items[i]; }
        bool push(INT_U32 value)
        {
            if (count == capacity) {
                INT_U32 grown_capacity = capacity ? capacity * 2 : 8;
                INT_U32* grown = new (std::nothrow) INT_U32[grown_capacity];
                if (!grown)
                    return false;
                for (INT_U32 i = 0; i < count; ++i)
                    grown[i] = items[i];
                delete[] items;
                items = grown;
                capacity = grown_capacity;
            }
            items[count++] = value;
            return true;
        }
    } m_separators;

    INT_U8* m_stored { nullptr };   // one chunk as it stands in the file
    INT_U8* m_inflated { nullptr }; // one chunk inflated
    INT_S64 m_current { -1 };       // the chunk in m_inflated
    INT_U64 m_inflations { 0 };
    z_stream m_stream {};
    bool m_stream_ready { false };
    PREFETCH m_prefetch;

    // One package of the data set. A data set of one package is that package alone; a larger one
    // holds packages under 4 GiB each, one behind the other, parted by chunks of length 0: the
    // last is the main package ("installer.pkg", with the database at its end), the ones before
    // it are "installer.pkg.1", "installer.pkg.2" and so on, holding payload only. A packed name
    // "installer.pkg.N/<member>" names a member of package N.
    struct VOLUME {
        INT_U32 begin { 0 };   // its chunks are [begin, end) of m_chunks
        INT_U32 end { 0 };
        INT_U32 forward { 0 }; // chunks [begin, forward) are placed from the start
        INT_U32 tail { 0 };    // chunks [tail, end) are placed from the end
        bool opened { false };
        bool failed { false };
        INT_U64 package_size { 0 };
        INT_U32 block_size { 0 };
        INT_U32 first_entry { 0 };
        INT_U32 last_entry { 0 };
        // Entries found so far, by name; the first of a name stays.
        TEXT_ARENA names;
        ENTRY* entries { nullptr };
        INT_U32 entry_count { 0 };
        INT_U32* slots { nullptr }; // open addressing over entries, index + 1, 0 for free
        INT_U32 slot_count { 0 };
        INT_U32 walk_next { 0 };        // the next entry the forward walk reads; 0 when it is done
        INT_U32 tail_first_entry { 0 }; // the first entry behind the payload, when found
        bool tail_complete { false };   // every member behind the payload is in the index

        ~VOLUME()
        {
            delete[] entries;
            delete[] slots;
        }
    };

    bool open_volume(VOLUME* volume);
    // The volume of a packed name and the member's name in it; opens the volume on first use.
    // Null when the name names a package the data set does not have, or it does not open.
    VOLUME* select(const char* name, const char** member);
    [[nodiscard]] INT_U64 forward_end() const;

    VOLUME* m_volumes { nullptr };
    INT_U32 m_volume_count { 0 };
    VOLUME* m_v { nullptr }; // the volume being read

    // Installation names, for telling payload names ("<installation>0001") from the others.
    TEXT_ARENA m_installation_texts;
    const char** m_installations { nullptr };
    INT_S32 m_installation_count { 0 };
};
