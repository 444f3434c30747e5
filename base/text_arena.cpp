// Texts in blocks, found again through a hash table.

#include "base/text_arena.h"

#include <cstring>
#include <new>

namespace {

// Texts go into blocks of this size; a longer text gets a block of its own.
constexpr size_t BLOCK_BYTES = 64 * 1024;

size_t text_hash(const char* text, size_t length)
{
    size_t hash = 14695981039346656037ull;
    for (size_t i = 0; i < length; ++i)
        hash = (hash ^ static_cast<unsigned char>(text[i])) * 1099511628211ull;
    return hash;
}

} // namespace

struct TEXT_ARENA::BLOCK {
    BLOCK* next;
    // the texts follow
};

TEXT_ARENA::~TEXT_ARENA() { clear(); }

void TEXT_ARENA::clear()
{
    while (m_blocks) {
        BLOCK* next = m_blocks->next;
        delete[] reinterpret_cast<char*>(m_blocks);
        m_blocks = next;
    }
    delete[] m_table;
    m_table = nullptr;
    m_table_size = 0;
    m_count = 0;
    m_block_left = 0;
    m_block_free = nullptr;
    m_bytes_held = 0;
}

char* TEXT_ARENA::room_for(size_t size)
{
    if (size > m_block_left) {
        size_t bytes = size > BLOCK_BYTES / 4 ? size : BLOCK_BYTES;
        char* memory = new (std::nothrow) char[sizeof(BLOCK) + bytes];
        if (!memory)
            return nullptr;
        BLOCK* block = reinterpret_cast<BLOCK*>(memory);
        block->next = m_blocks;
        m_blocks = block;
        m_bytes_held += sizeof(BLOCK) + bytes;
        // A text of its own block leaves the block being filled as it was.
        if (bytes != BLOCK_BYTES)
            return memory + sizeof(BLOCK);
        m_block_free = memory + sizeof(BLOCK);
        m_block_left = bytes;
    }
    char* room = m_block_free;
    m_block_free += size;
    m_block_left -= size;
    return room;
}

bool TEXT_ARENA::grow_table()
{
    size_t size = m_table_size ? m_table_size * 2 : 256;
    const char** table = new (std::nothrow) const char*[size]();
    if (!table)
        return false;
    for (size_t i = 0; i < m_table_size; ++i) {
        const char* text = m_table[i];
        if (!text)
            continue;
        size_t slot = text_hash(text, strlen(text)) & (size - 1);
        while (table[slot])
            slot = (slot + 1) & (size - 1);
        table[slot] = text;
    }
    m_bytes_held += (size - m_table_size) * sizeof(const char*);
    delete[] m_table;
    m_table = table;
    m_table_size = size;
    return true;
}

const char* TEXT_ARENA::store_once(const char* text)
{
    size_t length = text ? strlen(text) : 0;
    if (length == 0)
        return "";
    char* copy = room_for(length + 1);
    if (!copy)
        return nullptr;
    memcpy(copy, text, length + 1);
    return copy;
}

const char* TEXT_ARENA::store(const char* text) { return text ? store(text, strlen(text)) : ""; }

const char* TEXT_ARENA::store(const char* text, size_t length)
{
    if (!text || length == 0)
        return "";
    if ((m_count + 1) * 2 > m_table_size && !grow_table())
        return nullptr;
    size_t slot = text_hash(text, length) & (m_table_size - 1);
    for (; m_table[slot]; slot = (slot + 1) & (m_table_size - 1)) {
        const char* held = m_table[slot];
        if (strncmp(held, text, length) == 0 && held[length] == 0)
            return held;
    }
    char* copy = room_for(length + 1);
    if (!copy)
        return nullptr;
    memcpy(copy, text, length);
    copy[length] = 0;
    m_table[slot] = copy;
    ++m_count;
    return copy;
}
