// The package of a finished installer, made in file order straight from its member files.
//
// A new package into which each member is added once, in order, with a cached index, has a
// layout that the members' names and lengths decide alone:
//
//   header (26 bytes) and root record (28 bytes)
//   for each member: its entry record (name_length, name, first_block, last_block, next_entry,
//   reserved), then its blocks, one after the other (next_block, block_size payload bytes
//   zero-filled behind `used`, used)
//
// so every link is known before the first byte goes out, and the bytes can be handed to the
// chunk writer as they are made: no package file on disk, and reading the members overlaps
// compressing them. The bytes are those that PACKAGE::add_file writes for the same members.
#pragma once

#include <cstdio>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "base/orlu_types.h"
#include "chunk_writer.h"

struct IMAGE_MEMBER {
    std::string name; // in the package
    std::string path; // the file, absolute; may stay empty when an IMAGE_OPEN_MEMBER opens it
    INT_U64 size { 0 };
};

// Opens member `index` for reading just before its bytes are needed; null when it cannot be
// opened. The packer writes "database.bin" at that moment, once every payload byte was read.
typedef FILE* (*IMAGE_OPEN_MEMBER)(size_t index, const IMAGE_MEMBER& member, void* context);

class PACKAGE_IMAGE : public CHUNK_SOURCE {
public:
    PACKAGE_IMAGE() = default;
    ~PACKAGE_IMAGE() override;
    PACKAGE_IMAGE(const PACKAGE_IMAGE&) = delete;
    PACKAGE_IMAGE& operator=(const PACKAGE_IMAGE&) = delete;

    // Lays the members out in a package of `block_size`. False when two members share a name (a
    // second add would replace the first and reuse its blocks) or the package would not fit its
    // 32-bit positions.
    // The image keeps the members.
    [[nodiscard]] bool lay_out(std::vector<IMAGE_MEMBER>&& members, INT_U32 block_size);
    [[nodiscard]] size_t member_count() const { return m_members.size(); }
    // Length of the package without its byte-order byte.
    [[nodiscard]] INT_U64 size() const { return m_size; }

    void set_open_member(IMAGE_OPEN_MEMBER open, void* context)
    {
        m_open = open;
        m_open_context = context;
    }
    // The CRC-32 of each member's name (with its terminating zero) and bytes is added to `crc`,
    // for the members before `count`, as they are read.
    void set_crc_members(size_t count, INT_U32 start_crc);
    [[nodiscard]] INT_U32 crc() const { return m_crc; }

    [[nodiscard]] bool read_at(INT_U64 offset, INT_U8* buffer, INT_U32 length) override;
    void release_before(INT_U64 offset) override;

    // After a failed read_at: the member that could not be read whole (its file changed, was
    // cut or could not be opened), or -1 when it was something else.
    [[nodiscard]] INT_S64 failed_member() const { return m_failed_member; }
    // Bytes of memory the window of made bytes holds.
    [[nodiscard]] size_t held_bytes() const { return m_window.size() * WINDOW_PAGE; }
    static constexpr size_t WINDOW_PAGE = 64 * 1024;

    // Members whose bytes were made so far.
    [[nodiscard]] size_t members_done() const { return m_member; }

private:
    struct LAID_MEMBER {
        INT_U32 entry { 0 };   // position of the entry record
        INT_U32 first { 0 };   // first block, 0 without blocks
        INT_U32 blocks { 0 };
    };

    bool produce(INT_U64 until);
    bool produce_member_head();
    bool produce_block();
    bool finish_member();
    void put(const void* bytes, size_t length);
    void put_u32(INT_U32 value);

    std::vector<IMAGE_MEMBER> m_members;
    std::vector<LAID_MEMBER> m_layout;
    INT_U32 m_block_size { 0 };
    INT_U64 m_size { 0 };

    IMAGE_OPEN_MEMBER m_open { nullptr };
    void* m_open_context { nullptr };
    size_t m_crc_count { 0 };
    INT_U32 m_crc { 0 };

    // Made so far: bytes [m_base, m_base + m_held) are held, in pages of WINDOW_PAGE bytes
    // (the last one filled to m_held's remainder; m_base is a multiple of WINDOW_PAGE). Pages come and go whole, so the window never
    // moves its bytes and never holds more than what is in flight plus one page.
    std::deque<std::unique_ptr<INT_U8[]>> m_window;
    INT_U64 m_base { 0 };
    INT_U64 m_held { 0 };
    bool m_out_of_memory { false };
    INT_U64 m_released { 0 };
    bool m_head_done { false };
    size_t m_member { 0 };      // the member being made
    bool m_entry_done { false }; // its entry record is out
    INT_U32 m_block { 0 };      // its blocks out so far
    FILE* m_file { nullptr };
    INT_S64 m_failed_member { -1 };
    std::vector<INT_U8> m_payload;
};
