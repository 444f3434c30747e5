// The framework's containers: LLIST (doubly linked list owning a copy of each element, with a
// built-in cursor), PTRLLIST (the same holding bare pointers) and PTRARRAY (growable pointer
// array with a per-array deleter). Allocation failures leave the container as it was.
#pragma once

#include "base/orlu_types.h"

typedef void (*ITEM_DELETER)(void* item);
typedef int (*ITEM_COMPARE)(const void* a, const void* b, void* context);

struct LLIST_NODE {
    void* data { nullptr };
    LLIST_NODE* next { nullptr };
    LLIST_NODE* previous { nullptr };
};

class LLIST {
public:
    LLIST() = default;
    explicit LLIST(ITEM_DELETER deleter) : m_deleter(deleter) {}
    virtual ~LLIST();
    LLIST(const LLIST&) = delete;
    LLIST& operator=(const LLIST&) = delete;

    // Copies `size` bytes into a new node: at the tail when the cursor is null, otherwise in
    // front of the cursor. The cursor does not move. False on allocation failure.
    bool insert(const void* data, INT_S16 size);
    // The cursor's data (null when used up); stores the node when node_out is set and moves on.
    virtual void* next(LLIST_NODE** node_out = nullptr);
    virtual void* previous(LLIST_NODE** node_out = nullptr);
    // Removes the first node whose data is `data`. False when absent.
    virtual bool remove(const void* data);
    void remove_node(LLIST_NODE* node);
    void clear();

    void cursor_to_head() { m_cursor = m_head; }
    void cursor_to_tail() { m_cursor = m_tail; }
    [[nodiscard]] INT_S32 count() const { return m_count; }
    [[nodiscard]] LLIST_NODE* head() const { return m_head; }
    [[nodiscard]] LLIST_NODE* tail() const { return m_tail; }
    [[nodiscard]] LLIST_NODE* cursor() const { return m_cursor; }
    void set_deleter(ITEM_DELETER deleter) { m_deleter = deleter; }

protected:
    virtual void free_data(LLIST_NODE* node);

    INT_S32 m_count { 0 };
    LLIST_NODE* m_head { nullptr };
    LLIST_NODE* m_tail { nullptr };
    LLIST_NODE* m_cursor { nullptr };
    ITEM_DELETER m_deleter { nullptr };
};

class PTRLLIST : public LLIST {
public:
    PTRLLIST() = default;
    explicit PTRLLIST(ITEM_DELETER deleter) : LLIST(deleter) {}
    ~PTRLLIST() override;

    bool insert(void* pointer);
    void* next(LLIST_NODE** node_out = nullptr) override;
    void* previous(LLIST_NODE** node_out = nullptr) override;
    bool remove(const void* pointer) override;

protected:
    void free_data(LLIST_NODE* node) override;
};

class PTRARRAY {
public:
    PTRARRAY();
    explicit PTRARRAY(ITEM_DELETER deleter);
    virtual ~PTRARRAY();
    PTRARRAY(const PTRARRAY&) = delete;
    PTRARRAY& operator=(const PTRARRAY&) = delete;

    // Class-wide defaults for new arrays, each clamped to 0..1024.
    static INT_S16 default_grow_step;
    static INT_S32 default_initial_size;

    // False on a failed allocation, or when a grow step of zero leaves no room; nothing changes.
    bool add(void* item);
    // Grows the array to the first allocation size plus whole grow steps covering `size`, fills
    // the new slots with `fill` and sets the count to `size`. An array already that large answers
    // true and keeps its count. False on a failed allocation or when a zero step cannot reach it.
    bool set_size(INT_S32 size, void* fill);
    // Both delete the item when the array owns it; false for an index outside the count.
    // remove_fast moves the last item into the hole.
    bool remove_ordered(INT_S32 index);
    bool remove_fast(INT_S32 index);
    // clear keeps the memory; free_all gives it back.
    void clear();
    void free_all();
    // The compare gets two items (or the key and an item) and the context; its result is cut to
    // 16 bits, so it must answer small numbers. Neither call is re-entrant. search answers the
    // index of a match in a sorted array, or -1.
    void sort(ITEM_COMPARE compare, void* context);
    [[nodiscard]] INT_S32 search(const void* key, ITEM_COMPARE compare, void* context) const;

    [[nodiscard]] INT_S32 count() const { return m_count; }
    [[nodiscard]] INT_S32 capacity() const { return m_capacity; }
    [[nodiscard]] void* at(INT_S32 index) const { return index >= 0 && index < m_count ? m_items[index] : nullptr; }
    [[nodiscard]] void** items() const { return m_items; }
    void set_deleter(ITEM_DELETER deleter) { m_deleter = deleter; }
    void set_grow_step(INT_S16 step);
    void set_initial_size(INT_S32 size);

protected:
    virtual void delete_item(INT_S32 index);

private:
    bool resize_to(INT_S64 slots);

    void** m_items { nullptr };
    INT_S32 m_capacity { 0 };
    INT_S32 m_count { 0 };
    INT_S16 m_grow_step { 10 };
    INT_S32 m_initial_size { 0 };
    ITEM_DELETER m_deleter { nullptr };
};

// Deleter for arrays and lists of ORLU_STRING pointers.
void delete_orlu_string(void* item);
