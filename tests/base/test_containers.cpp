// LLIST, PTRLLIST and PTRARRAY.

#include <gtest/gtest.h>

#include <vector>

#include "base/containers.h"
#include "base/orlu_string.h"

namespace {

typedef std::vector<int> INTS;

struct RECORD {
    int id;
    char name[12];
};

void add_record(LLIST& list, int id)
{
    RECORD record { id, "r" };
    ASSERT_TRUE(list.insert(&record, static_cast<INT_S16>(sizeof(record))));
}

INTS walk(LLIST& list, bool forward)
{
    INTS out;
    forward ? list.cursor_to_head() : list.cursor_to_tail();
    while (void* data = forward ? list.next() : list.previous())
        out.push_back(static_cast<RECORD*>(data)->id);
    return out;
}

int deleted_count = 0;
void count_deletes(void*)
{
    ++deleted_count;
}

void* as_item(intptr_t value)
{
    return reinterpret_cast<void*>(value);
}

INTS values_of(const PTRARRAY& array)
{
    INTS out;
    for (INT_S32 i = 0; i < array.count(); ++i)
        out.push_back(static_cast<int>(reinterpret_cast<intptr_t>(array.at(i))));
    return out;
}

int compare_values(const void* a, const void* b, void* context)
{
    if (context)
        ++*static_cast<int*>(context);
    intptr_t left = reinterpret_cast<intptr_t>(a);
    intptr_t right = reinterpret_cast<intptr_t>(b);
    return left < right ? -1 : left > right ? 1 : 0;
}

// Differences in multiples of 65536: all of them read as "equal" once cut to 16 bits.
int compare_wide(const void* a, const void* b, void*)
{
    return static_cast<int>(reinterpret_cast<intptr_t>(a) - reinterpret_cast<intptr_t>(b)) * 65536;
}

} // namespace

TEST(LLIST, insert_during_iteration_goes_in_front_of_the_next_node)
{
    LLIST list;
    RECORD record { 1, "one" };
    ASSERT_TRUE(list.insert(&record, static_cast<INT_S16>(sizeof(record))));
    record.id = 99; // the list holds its own copy
    add_record(list, 2);
    add_record(list, 3);

    list.cursor_to_head();
    LLIST_NODE* node = nullptr;
    EXPECT_EQ(static_cast<RECORD*>(list.next(&node))->id, 1);
    EXPECT_EQ(node, list.head());
    add_record(list, 10);
    EXPECT_EQ(static_cast<RECORD*>(list.next())->id, 2); // the cursor did not move
    list.cursor_to_head();
    add_record(list, 0); // in front of the head becomes the head
    EXPECT_EQ(list.count(), 5);
    EXPECT_EQ(walk(list, true), (INTS { 0, 1, 10, 2, 3 }));
    EXPECT_EQ(walk(list, false), (INTS { 3, 2, 10, 1, 0 }));
    EXPECT_EQ(list.next(), nullptr);
}

TEST(LLIST, remove_fixes_ends_cursor_and_runs_deleter)
{
    deleted_count = 0;
    LLIST list(count_deletes);
    for (int id : { 1, 2, 3 })
        add_record(list, id);
    list.cursor_to_tail();
    EXPECT_TRUE(list.remove(list.tail()->data));
    EXPECT_EQ(list.cursor(), nullptr); // the cursor was on the removed node
    RECORD outsider { 2, "r" }; // equal bytes, other pointer: not in the list
    EXPECT_FALSE(list.remove(&outsider));
    list.remove_node(list.head());
    EXPECT_EQ(list.head(), list.tail());
    EXPECT_EQ(walk(list, false), (INTS { 2 }));
    list.remove_node(list.head());
    EXPECT_EQ(list.head(), nullptr);
    EXPECT_EQ(list.tail(), nullptr);
    EXPECT_EQ(deleted_count, 3);

    add_record(list, 4);
    list.clear();
    add_record(list, 5); // the deleter survives clear
    list.clear();
    EXPECT_EQ(deleted_count, 5);
    EXPECT_EQ(list.count(), 0);
}

TEST(PTRLLIST, holds_pointers_and_deletes_them_on_destruction)
{
    ORLU_STRING* a = new ORLU_STRING("a");
    ORLU_STRING* b = new ORLU_STRING("b");
    ORLU_STRING* c = new ORLU_STRING("c");
    PTRLLIST list(delete_orlu_string);
    list.insert(a);
    list.insert(b);
    list.insert(c);
    list.cursor_to_tail();
    EXPECT_EQ(list.previous(), c);
    EXPECT_EQ(list.previous(), b);
    EXPECT_TRUE(list.remove(b)); // compares stored pointers; b is deleted here
    EXPECT_FALSE(list.remove(b));
    list.cursor_to_head();
    EXPECT_EQ(list.next(), a);
    EXPECT_EQ(list.next(), c);
    EXPECT_EQ(list.next(), nullptr);
    // a and c go with the list; the sanitiser build's leak check sees a miss.
}

TEST(PTRARRAY, growth_by_step_initial_size_and_clamped_defaults)
{
    PTRARRAY array;
    array.set_grow_step(4);
    for (intptr_t i = 1; i <= 5; ++i)
        ASSERT_TRUE(array.add(as_item(i)));
    EXPECT_EQ(array.capacity(), 8);
    EXPECT_EQ(values_of(array), (INTS { 1, 2, 3, 4, 5 }));

    PTRARRAY stuck;
    stuck.set_grow_step(0);
    EXPECT_FALSE(stuck.add(as_item(1))); // no room and no growth: refused, nothing written
    EXPECT_EQ(stuck.count(), 0);

    INT_S16 saved_step = PTRARRAY::default_grow_step;
    INT_S32 saved_initial = PTRARRAY::default_initial_size;
    PTRARRAY::default_grow_step = 3;
    PTRARRAY::default_initial_size = 5000;
    PTRARRAY sized;
    PTRARRAY::default_grow_step = saved_step;
    PTRARRAY::default_initial_size = saved_initial;
    sized.add(as_item(1));
    EXPECT_EQ(sized.capacity(), 1024); // first allocation: the clamped initial size
    while (sized.count() < 1025)
        sized.add(as_item(2));
    EXPECT_EQ(sized.capacity(), 1027); // later ones: the step
}

TEST(PTRARRAY, set_size_fills_new_slots_or_keeps_count)
{
    PTRARRAY array;
    array.set_grow_step(4);
    EXPECT_TRUE(array.set_size(6, as_item(7)));
    EXPECT_EQ(array.capacity(), 8);
    EXPECT_EQ(values_of(array), (INTS { 7, 7, 7, 7, 7, 7 }));
    EXPECT_TRUE(array.remove_fast(0));
    EXPECT_TRUE(array.set_size(8, as_item(9))); // already large enough: the count stays
    EXPECT_EQ(array.count(), 5);
    EXPECT_TRUE(array.set_size(9, as_item(9)));
    EXPECT_EQ(array.capacity(), 12);
    EXPECT_EQ(array.count(), 9);
    EXPECT_EQ(array.at(5), nullptr); // the slot remove_fast gave up holds no stale copy
    EXPECT_EQ(array.at(8), as_item(9));

    PTRARRAY stuck;
    stuck.set_grow_step(0);
    stuck.set_initial_size(2);
    EXPECT_FALSE(stuck.set_size(3, nullptr)); // a zero step never reaches 3
    EXPECT_TRUE(stuck.set_size(2, as_item(1)));
    EXPECT_EQ(stuck.count(), 2);
}

TEST(PTRARRAY, removals_and_owned_strings)
{
    PTRARRAY plain;
    for (intptr_t i : { 1, 2, 3 })
        plain.add(as_item(i));
    EXPECT_TRUE(plain.remove_fast(0));
    EXPECT_EQ(values_of(plain), (INTS { 3, 2 }));
    EXPECT_FALSE(plain.remove_ordered(2));
    EXPECT_FALSE(plain.remove_fast(-1));

    PTRARRAY owned(delete_orlu_string);
    for (const char* text : { "a", "b", "c", "d" })
        owned.add(new ORLU_STRING(text));
    EXPECT_TRUE(owned.remove_ordered(1));
    EXPECT_STREQ(static_cast<ORLU_STRING*>(owned.at(1))->text(), "c");
    INT_S32 capacity = owned.capacity();
    owned.clear();
    EXPECT_EQ(owned.count(), 0);
    EXPECT_EQ(owned.capacity(), capacity);
    owned.add(new ORLU_STRING("e"));
    owned.free_all();
    EXPECT_EQ(owned.items(), nullptr);
    owned.add(new ORLU_STRING("f")); // the destructor deletes this one
}

TEST(PTRARRAY, sort_and_search_with_context_and_16_bit_results)
{
    PTRARRAY array;
    for (intptr_t v : { 5, 3, 9, 1, 7 })
        array.add(as_item(v));
    int calls = 0;
    array.sort(compare_values, &calls);
    EXPECT_GT(calls, 0);
    EXPECT_EQ(values_of(array), (INTS { 1, 3, 5, 7, 9 }));
    EXPECT_EQ(array.search(as_item(7), compare_values, nullptr), 3);
    EXPECT_EQ(array.search(as_item(1), compare_values, nullptr), 0);
    EXPECT_EQ(array.search(as_item(4), compare_values, nullptr), -1);
    // Every answer of compare_wide is cut to 0, so any key matches the first probe.
    EXPECT_GE(array.search(as_item(40), compare_wide, nullptr), 0);
}
