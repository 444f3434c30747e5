// PTRARRAY: a growable array of pointers with a per-array deleter, and the deleter for arrays of
// ORLU_STRING.
//
// [SECTION] Construction and growth
// [SECTION] Removal
// [SECTION] Sort and search

#include "base/containers.h"

#include <cstdlib>
#include <cstring>
#include <new>

#include "base/orlu_string.h"

INT_S16 PTRARRAY::default_grow_step = 10;
INT_S32 PTRARRAY::default_initial_size = 0;

namespace {

constexpr INT_S32 largest_setting = 1024;
// Upper bound of an array's slots, so that slot counts times pointer size stay far from overflow.
constexpr INT_S64 largest_capacity = 0x10000000;

INT_S32 clamp_setting(INT_S32 value)
{
    if (value < 0)
        return 0;
    if (value > largest_setting)
        return largest_setting;
    return value;
}

} // namespace

void delete_orlu_string(void* item)
{
    delete static_cast<ORLU_STRING*>(item);
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Construction and growth
// ---------------------------------------------------------------------------------------------

PTRARRAY::PTRARRAY()
    : m_grow_step(static_cast<INT_S16>(clamp_setting(default_grow_step)))
    , m_initial_size(clamp_setting(default_initial_size))
{
}

PTRARRAY::PTRARRAY(ITEM_DELETER deleter)
    : PTRARRAY()
{
    m_deleter = deleter;
}

PTRARRAY::~PTRARRAY()
{
    free_all();
}

void PTRARRAY::set_grow_step(INT_S16 step)
{
    m_grow_step = static_cast<INT_S16>(clamp_setting(step));
}

void PTRARRAY::set_initial_size(INT_S32 size)
{
    m_initial_size = clamp_setting(size);
}

// Moves the array to `slots` slots; the new ones are zeroed. False with nothing changed on a
// failed allocation.
bool PTRARRAY::resize_to(INT_S64 slots)
{
    if (slots <= m_capacity || slots > largest_capacity)
        return false;
    void** grown = new (std::nothrow) void*[static_cast<size_t>(slots)];
    if (!grown)
        return false;
    if (m_items)
        memcpy(grown, m_items, sizeof(void*) * static_cast<size_t>(m_capacity));
    memset(grown + m_capacity, 0, sizeof(void*) * static_cast<size_t>(slots - m_capacity));
    delete[] m_items;
    m_items = grown;
    m_capacity = static_cast<INT_S32>(slots);
    return true;
}

bool PTRARRAY::add(void* item)
{
    if (m_count >= m_capacity) {
        INT_S32 step = m_grow_step;
        if (!m_items && m_initial_size > step)
            step = m_initial_size;
        // With a step of zero the array cannot grow: that is a failure, not a write past its end.
        if (step <= 0 || !resize_to(static_cast<INT_S64>(m_capacity) + step))
            return false;
    }
    m_items[m_count++] = item;
    return true;
}

// The target grows from the first allocation size in steps until it covers `size`. An array that
// is already as large as the target answers true at once and keeps its count: callers size an
// array up front this way and then fill it with add().
bool PTRARRAY::set_size(INT_S32 size, void* fill)
{
    INT_S64 target = m_grow_step > m_initial_size ? m_grow_step : m_initial_size;
    if (target < size) {
        // A zero step would never reach the size; refuse instead of looping for ever.
        if (m_grow_step <= 0)
            return false;
        target += (static_cast<INT_S64>(size) - target + m_grow_step - 1) / m_grow_step * m_grow_step;
    }
    if (m_capacity >= target)
        return true;
    INT_S32 old_capacity = m_capacity;
    if (!resize_to(target))
        return false;
    for (INT_S32 i = old_capacity; i < m_capacity; ++i)
        m_items[i] = fill;
    m_count = size < 0 ? 0 : size;
    return true;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Removal
// ---------------------------------------------------------------------------------------------

void PTRARRAY::delete_item(INT_S32 index)
{
    if (m_deleter && m_items[index])
        m_deleter(m_items[index]);
}

bool PTRARRAY::remove_ordered(INT_S32 index)
{
    if (index < 0 || index >= m_count)
        return false;
    delete_item(index);
    memmove(m_items + index, m_items + index + 1, sizeof(void*) * static_cast<size_t>(m_count - index - 1));
    // The freed slot must not keep a copy that a later set_size could bring back into view.
    m_items[--m_count] = nullptr;
    return true;
}

bool PTRARRAY::remove_fast(INT_S32 index)
{
    if (index < 0 || index >= m_count)
        return false;
    delete_item(index);
    m_items[index] = m_items[m_count - 1];
    m_items[--m_count] = nullptr;
    return true;
}

void PTRARRAY::clear()
{
    if (m_deleter) {
        for (INT_S32 i = 0; i < m_count; ++i) {
            delete_item(i);
            m_items[i] = nullptr;
        }
    }
    m_count = 0;
}

void PTRARRAY::free_all()
{
    clear();
    delete[] m_items;
    m_items = nullptr;
    m_capacity = 0;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Sort and search
// ---------------------------------------------------------------------------------------------

namespace {

// The C library's sort and search take no context, so the compare function and its context wait
// here for the duration of one call. Neither sort nor search is re-entrant because of it.
ITEM_COMPARE active_compare = nullptr;
void* active_context = nullptr;

// Compare results are cut to 16 bits, so a compare must answer small numbers.
int compare_slots(const void* a, const void* b)
{
    void* left = *static_cast<void* const*>(a);
    void* right = *static_cast<void* const*>(b);
    return static_cast<INT_S16>(active_compare(left, right, active_context));
}

int compare_key(const void* key, const void* slot)
{
    return static_cast<INT_S16>(active_compare(key, *static_cast<void* const*>(slot), active_context));
}

} // namespace

void PTRARRAY::sort(ITEM_COMPARE compare, void* context)
{
    if (!compare || !m_items || m_count < 2)
        return;
    active_compare = compare;
    active_context = context;
    qsort(m_items, static_cast<size_t>(m_count), sizeof(void*), compare_slots);
}

INT_S32 PTRARRAY::search(const void* key, ITEM_COMPARE compare, void* context) const
{
    if (!compare || !m_items || m_count < 1)
        return -1;
    active_compare = compare;
    active_context = context;
    void* found = bsearch(key, m_items, static_cast<size_t>(m_count), sizeof(void*), compare_key);
    if (!found)
        return -1;
    return static_cast<INT_S32>(static_cast<void**>(found) - m_items);
}
