// The package made in file order from its members.

#include "package_image.h"

#include <zlib.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <string_view>
#include <set>

namespace {

constexpr INT_U32 HEAD_SIZE = 26 + 28;        // header and root record
constexpr INT_U32 ENTRY_FIXED_SIZE = 20;      // an entry record without its name
const char MAGIC[8] = { 'O', 'R', 'L', 'U', 'P', 'K', 'G', 0 };

} // namespace

PACKAGE_IMAGE::~PACKAGE_IMAGE()
{
    if (m_file)
        fclose(m_file);
}

bool PACKAGE_IMAGE::lay_out(std::vector<IMAGE_MEMBER>&& laid_members, INT_U32 block_size)
{
    if (block_size == 0)
        return false;
    std::set<std::string_view> names;
    m_members = std::move(laid_members);
    const std::vector<IMAGE_MEMBER>& members = m_members;
    m_layout.assign(members.size(), LAID_MEMBER());
    m_block_size = block_size;
    INT_U64 position = HEAD_SIZE;
    const INT_U64 block_bytes = static_cast<INT_U64>(block_size) + 8;
    for (size_t i = 0; i < members.size(); ++i) {
        if (!names.insert(members[i].name).second)
            return false;
        LAID_MEMBER& laid = m_layout[i];
        laid.entry = static_cast<INT_U32>(position);
        position += ENTRY_FIXED_SIZE + members[i].name.size();
        // A source is read a block at a time until it reports its end, which a file of a whole
        // number of blocks does right after its last full block.
        INT_U64 blocks = (members[i].size + block_size - 1) / block_size;
        if (blocks > 0xFFFFFFFFu)
            return false;
        laid.blocks = static_cast<INT_U32>(blocks);
        laid.first = blocks ? static_cast<INT_U32>(position) : 0;
        position += blocks * block_bytes;
        // Every position the package stores must fit 32 bits, the last block's included.
        if (position > 0xFFFFFFFFu)
            return false;
    }
    m_size = position;
    return true;
}

void PACKAGE_IMAGE::set_crc_members(size_t count, INT_U32 start_crc)
{
    m_crc_count = count;
    m_crc = start_crc;
}

void PACKAGE_IMAGE::put(const void* bytes, size_t length)
{
    const INT_U8* from = static_cast<const INT_U8*>(bytes);
    while (length > 0 && !m_out_of_memory) {
        size_t used = static_cast<size_t>(m_held % WINDOW_PAGE);
        if (m_held == m_window.size() * WINDOW_PAGE) {
            INT_U8* page = new (std::nothrow) INT_U8[WINDOW_PAGE];
            if (!page) {
                m_out_of_memory = true;
                return;
            }
            m_window.emplace_back(page);
        }
        size_t take = std::min(length, WINDOW_PAGE - used);
        memcpy(m_window.back().get() + used, from, take);
        from += take;
        length -= take;
        m_held += take;
    }
}

// Numbers go out in this machine's order, which the package's byte-order byte 0 stands for.
void PACKAGE_IMAGE::put_u32(INT_U32 value) { put(&value, 4); }

bool PACKAGE_IMAGE::produce_member_head()
{
    const IMAGE_MEMBER& member = m_members[m_member];
    const LAID_MEMBER& laid = m_layout[m_member];
    INT_U32 last = laid.blocks ? laid.first + (laid.blocks - 1) * (m_block_size + 8) : 0;
    INT_U32 next = m_member + 1 < m_members.size() ? m_layout[m_member + 1].entry : 0;
    put_u32(static_cast<INT_U32>(member.name.size()));
    put(member.name.data(), member.name.size());
    put_u32(laid.first);
    put_u32(last);
    put_u32(next);
    put_u32(0);
    m_entry_done = true;
    m_block = 0;
    m_file = m_open ? m_open(m_member, member, m_open_context) : fopen(member.path.c_str(), "rb");
    if (!m_file)
        return false;
    if (m_member < m_crc_count)
        m_crc = static_cast<INT_U32>(crc32(m_crc, reinterpret_cast<const Bytef*>(member.name.c_str()),
            static_cast<uInt>(member.name.size() + 1)));
    return laid.blocks > 0 || finish_member();
}

// The file must end where its length said: a member that grew or shrank while it was read
// would not match its layout.
bool PACKAGE_IMAGE::finish_member()
{
    int extra = fgetc(m_file);
    bool whole = extra == EOF && !ferror(m_file);
    fclose(m_file);
    m_file = nullptr;
    if (!whole)
        return false;
    ++m_member;
    m_entry_done = false;
    return true;
}

bool PACKAGE_IMAGE::produce_block()
{
    const IMAGE_MEMBER& member = m_members[m_member];
    const LAID_MEMBER& laid = m_layout[m_member];
    INT_U64 left = member.size - static_cast<INT_U64>(m_block) * m_block_size;
    INT_U32 used = left < m_block_size ? static_cast<INT_U32>(left) : m_block_size;
    m_payload.resize(m_block_size);
    if (fread(m_payload.data(), 1, used, m_file) != used)
        return false;
    memset(m_payload.data() + used, 0, m_block_size - used);
    if (m_member < m_crc_count)
        m_crc = static_cast<INT_U32>(crc32(m_crc, m_payload.data(), used));
    ++m_block;
    INT_U32 next = m_block < laid.blocks ? laid.first + m_block * (m_block_size + 8) : 0;
    put_u32(next);
    put(m_payload.data(), m_block_size);
    put_u32(used);
    return m_block < laid.blocks || finish_member();
}

bool PACKAGE_IMAGE::produce(INT_U64 until)
{
    if (until > m_size)
        return false;
    while (m_base + m_held < until) {
        if (!m_head_done) {
            INT_U32 first = m_members.empty() ? 0 : m_layout.front().entry;
            INT_U32 last = m_members.empty() ? 0 : m_layout.back().entry;
            INT_S16 version = 1;
            put(MAGIC, 8);
            put(&version, 2);
            put_u32(m_block_size);
            put_u32(26);
            put_u32(0);
            put_u32(0);
            put_u32(4);
            put("root", 4);
            put_u32(first);
            put_u32(last);
            put_u32(0);
            put_u32(0);
            put_u32(0);
            m_head_done = true;
            continue;
        }
        if (m_member >= m_members.size())
            return false;
        bool ok = m_entry_done ? produce_block() : produce_member_head();
        if (m_out_of_memory)
            return false;
        if (!ok) {
            m_failed_member = static_cast<INT_S64>(m_member);
            return false;
        }
    }
    return true;
}

bool PACKAGE_IMAGE::read_at(INT_U64 offset, INT_U8* buffer, INT_U32 length)
{
    if (offset < m_base || !produce(offset + length))
        return false;
    // m_base sits on a page boundary.
    INT_U64 inside = offset - m_base;
    while (length > 0) {
        size_t page = static_cast<size_t>(inside / WINDOW_PAGE);
        size_t at = static_cast<size_t>(inside % WINDOW_PAGE);
        INT_U32 take = static_cast<INT_U32>(std::min<size_t>(length, WINDOW_PAGE - at));
        memcpy(buffer, m_window[page].get() + at, take);
        buffer += take;
        inside += take;
        length -= take;
    }
    return true;
}

// The window keeps what may still be asked for: every whole page before the released offset
// goes. The page that is being filled stays even when all of it was released.
void PACKAGE_IMAGE::release_before(INT_U64 offset)
{
    if (offset > m_released)
        m_released = offset;
    while (m_window.size() > 1 && m_released - m_base >= WINDOW_PAGE) {
        m_window.pop_front();
        m_base += WINDOW_PAGE;
        m_held -= WINDOW_PAGE;
    }
}
