// TEXT_ARENA: zero-terminated texts kept once each in large blocks, for records that hold many
// short texts (a database of thousands of files). A text stored twice is kept once, so the many
// files of one folder share their folder's path. Texts live until the arena is cleared or
// destroyed; nothing is freed one by one.
#pragma once

#include <cstddef>

#include "base/orlu_types.h"

class TEXT_ARENA {
public:
    TEXT_ARENA() = default;
    ~TEXT_ARENA();
    TEXT_ARENA(const TEXT_ARENA&) = delete;
    TEXT_ARENA& operator=(const TEXT_ARENA&) = delete;

    // The arena's copy of `text` (the first `length` bytes when a length is given, which must not
    // hold a zero byte); the empty text is a shared "" that takes no room. Null when memory runs
    // out.
    [[nodiscard]] const char* store(const char* text);
    [[nodiscard]] const char* store(const char* text, size_t length);
    // The same for a text that will not come again (a generated name): kept without being
    // looked up or remembered, which saves the table's room. Storing it again keeps it twice.
    [[nodiscard]] const char* store_once(const char* text);

    // Frees every text; pointers handed out before are dangling from here on.
    void clear();

    // Bytes of blocks and table held, for measurements.
    [[nodiscard]] size_t bytes_held() const { return m_bytes_held; }
    // Different texts stored.
    [[nodiscard]] size_t count() const { return m_count; }

private:
    struct BLOCK;
    char* room_for(size_t size);
    bool grow_table();

    BLOCK* m_blocks { nullptr };
    size_t m_block_left { 0 };
    char* m_block_free { nullptr };
    // Open addressing over the stored texts, at most half full.
    const char** m_table { nullptr };
    size_t m_table_size { 0 };
    size_t m_count { 0 };
    size_t m_bytes_held { 0 };
};
