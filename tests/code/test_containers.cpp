// LLIST, PTRLLIST and PTRARRAY.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "containers.h"
#include "orlu_string.h"

namespace {

struct RECORD {
    int id;
    char name[12];
};

std::vector<int> ids_forward(LLIST& list)
{
    std::vector<int> out;
    list.cursor_to_head();
    while (void* data = list.next())
        out.push_back(static_cast<RECORD*>(data)->id);
    return out;
}

std::vector<int> ids_backward(LLIST& list)
{
    std::vector<int> out;
    list.cursor_to_tail();
    while (void* data = list.previous())
        out.push_back(static_cast<RECORD*>(data)->id);
    return out;
}

bool add_record(LLIST& list, int id)
{
    RECORD record { id, "r" };
    return list.insert(&record, static_cast<INT_S16>(sizeof(record)));
}

int deleted_count = 0;
void count_deletes(void*)
{
    ++deleted_count;
}

std::vector<int> values_of(const PTRARRAY& array)
{
    std::vector<int> out;
    for (INT_S32 i = 0; i < array.count(); ++i)
        out.push_back(static_cast<int>(reinterpret_cast<intptr_t>(array.at(i))));
    return out;
}

void* as_item(intptr_t value)
{
    return reinterpret_cast<void*>(value);
}

int compare_values(const void* a, const void* b, void* context)
{
    int* calls = static_cast<int*>(context);
    if (calls)
        ++*calls;
    intptr_t left = reinterpret_cast<intptr_t>(a);
    intptr_t right = reinterpret_cast<intptr_t>(b);
    return left < right ? -1 : left > right ? 1 : 0;
}

// Answers a difference that only its low 16 bits can carry: 65536 reads as 0 once cut.
int compare_wide(const void* a, const void* b, void*)
{
    return static_cast<int>(reinterpret_cast<intptr_t>(a) - reinterpret_cast<intptr_t>(b)) * 65536;
}

} // namespace

// ---------------------------------------------------------------------------------------------
// LLIST and PTRLLIST
// ---------------------------------------------------------------------------------------------

TEST(LLIST, insert_copies_and_appends_without_cursor)
{
    LLIST list;
    RECORD record { 1, "one" };
    ASSERT_TRUE(list.insert(&record, static_cast<INT_S16>(sizeof(record))));
    record.id = 99; // the list holds its own copy
    add_record(list, 2);
    add_record(list, 3);
    EXPECT_EQ(list.count(), 3);
    EXPECT_EQ(ids_forward(list), (std::vector<int> { 1, 2, 3 }));
    EXPECT_EQ(ids_backward(list), (std::vector<int> { 3, 2, 1 }));
    EXPECT_STREQ(static_cast<RECORD*>(list.head()->data)->name, "one");
}

TEST(LLIST, insert_during_iteration_goes_in_front_of_the_next_node)
{
    LLIST list;
    add_record(list, 1);
    add_record(list, 2);
    add_record(list, 3);
    list.cursor_to_head();
    list.next(); // gives 1, the cursor is now on 2
    add_record(list, 10);
    EXPECT_EQ(static_cast<RECORD*>(list.next())->id, 2); // the cursor did not move
    EXPECT_EQ(ids_forward(list), (std::vector<int> { 1, 10, 2, 3 }));
    EXPECT_EQ(ids_backward(list), (std::vector<int> { 3, 2, 10, 1 }));

    list.cursor_to_head();
    add_record(list, 0); // in front of the head becomes the head
    EXPECT_EQ(static_cast<RECORD*>(list.head()->data)->id, 0);
    EXPECT_EQ(ids_backward(list), (std::vector<int> { 3, 2, 10, 1, 0 }));
}

TEST(LLIST, next_gives_node_and_null_when_used_up)
{
    LLIST list;
    add_record(list, 7);
    list.cursor_to_head();
    LLIST_NODE* node = nullptr;
    void* data = list.next(&node);
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(node, list.head());
    EXPECT_EQ(list.cursor(), nullptr);
    EXPECT_EQ(list.next(&node), nullptr);
    EXPECT_EQ(LLIST().next(), nullptr);
}

TEST(LLIST, remove_fixes_ends_and_runs_deleter)
{
    deleted_count = 0;
    LLIST list(count_deletes);
    add_record(list, 1);
    add_record(list, 2);
    add_record(list, 3);

    list.cursor_to_tail();
    void* tail_data = list.tail()->data;
    EXPECT_TRUE(list.remove(tail_data));
    EXPECT_EQ(list.cursor(), nullptr); // the cursor was on the removed node
    EXPECT_EQ(deleted_count, 1);
    EXPECT_EQ(ids_backward(list), (std::vector<int> { 2, 1 }));

    RECORD outsider { 2, "x" }; // equal bytes, other pointer: not in the list
    EXPECT_FALSE(list.remove(&outsider));

    list.remove_node(list.head());
    EXPECT_EQ(ids_forward(list), (std::vector<int> { 2 }));
    EXPECT_EQ(list.head(), list.tail());
    list.remove_node(list.head());
    EXPECT_EQ(list.count(), 0);
    EXPECT_EQ(list.head(), nullptr);
    EXPECT_EQ(list.tail(), nullptr);
    EXPECT_EQ(deleted_count, 3);

    add_record(list, 4);
    add_record(list, 5);
    list.clear();
    EXPECT_EQ(deleted_count, 5);
    EXPECT_EQ(list.count(), 0);
    add_record(list, 6); // the deleter survives clear
    list.clear();
    EXPECT_EQ(deleted_count, 6);
}

TEST(PTRLLIST, holds_pointers_and_deletes_them_on_destruction)
{
    ORLU_STRING* a = new ORLU_STRING("a");
    ORLU_STRING* b = new ORLU_STRING("b");
    ORLU_STRING* c = new ORLU_STRING("c");
    {
        PTRLLIST list(delete_orlu_string);
        list.insert(a);
        list.insert(b);
        list.insert(c);
        list.cursor_to_head();
        EXPECT_EQ(list.next(), a);
        EXPECT_EQ(list.next(), b);
        list.cursor_to_tail();
        EXPECT_EQ(list.previous(), c);

        EXPECT_TRUE(list.remove(b)); // compares the stored pointer; b is deleted here
        EXPECT_FALSE(list.remove(b));
        EXPECT_EQ(list.count(), 2);
        list.cursor_to_head();
        EXPECT_EQ(list.next(), a);
        EXPECT_EQ(list.next(), c);
        EXPECT_EQ(list.next(), nullptr);
    } // a and c go with the list; the leak checker of the sanitiser build sees any miss
}

// ---------------------------------------------------------------------------------------------
// PTRARRAY
// ---------------------------------------------------------------------------------------------

TEST(PTRARRAY, add_grows_by_step_and_first_by_initial_size)
{
    PTRARRAY array;
    array.set_grow_step(4);
    for (intptr_t i = 1; i <= 5; ++i)
        ASSERT_TRUE(array.add(as_item(i)));
    EXPECT_EQ(array.capacity(), 8);
    EXPECT_EQ(values_of(array), (std::vector<int> { 1, 2, 3, 4, 5 }));

    PTRARRAY sized;
    sized.set_grow_step(4);
    sized.set_initial_size(20);
    sized.add(as_item(1));
    EXPECT_EQ(sized.capacity(), 20);

    PTRARRAY stuck;
    stuck.set_grow_step(0);
    EXPECT_FALSE(stuck.add(as_item(1))); // cannot grow, and must not write anywhere
    EXPECT_EQ(stuck.count(), 0);

    PTRARRAY clamped;
    clamped.set_grow_step(5000);
    clamped.add(as_item(1));
    EXPECT_EQ(clamped.capacity(), 1024);
}

TEST(PTRARRAY, defaults_are_class_wide_and_clamped)
{
    INT_S16 saved_step = PTRARRAY::default_grow_step;
    INT_S32 saved_initial = PTRARRAY::default_initial_size;
    PTRARRAY::default_grow_step = 3;
    PTRARRAY::default_initial_size = 5000;
    PTRARRAY array;
    PTRARRAY::default_grow_step = saved_step;
    PTRARRAY::default_initial_size = saved_initial;
    array.add(as_item(1));
    EXPECT_EQ(array.capacity(), 1024);
    for (intptr_t i = 0; i < 1023; ++i)
        array.add(as_item(i));
    array.add(as_item(0));
    EXPECT_EQ(array.capacity(), 1027);
}

TEST(PTRARRAY, set_size_fills_new_slots_or_keeps_count)
{
    PTRARRAY array;
    array.set_grow_step(4);
    EXPECT_TRUE(array.set_size(6, as_item(7)));
    EXPECT_EQ(array.capacity(), 8);
    EXPECT_EQ(values_of(array), (std::vector<int> { 7, 7, 7, 7, 7, 7 }));

    EXPECT_TRUE(array.remove_fast(0));
    EXPECT_TRUE(array.set_size(8, as_item(9))); // already large enough: count stays
    EXPECT_EQ(array.count(), 5);

    EXPECT_TRUE(array.set_size(9, as_item(9)));
    EXPECT_EQ(array.capacity(), 12);
    EXPECT_EQ(array.count(), 9);
    EXPECT_EQ(array.at(5), nullptr); // the slot freed by remove_fast was cleared
    EXPECT_EQ(array.at(8), as_item(9));

    PTRARRAY stuck;
    stuck.set_grow_step(0);
    stuck.set_initial_size(2);
    EXPECT_FALSE(stuck.set_size(3, nullptr)); // a zero step never reaches 3
    EXPECT_TRUE(stuck.set_size(2, as_item(1)));
    EXPECT_EQ(stuck.count(), 2);
}

TEST(PTRARRAY, removals)
{
    PTRARRAY array;
    array.add(as_item(1));
    array.add(as_item(2));
    array.add(as_item(3));
    EXPECT_TRUE(array.remove_fast(0));
    EXPECT_EQ(values_of(array), (std::vector<int> { 3, 2 }));
    array.add(as_item(4));
    EXPECT_TRUE(array.remove_ordered(0));
    EXPECT_EQ(values_of(array), (std::vector<int> { 2, 4 }));
    EXPECT_FALSE(array.remove_ordered(2));
    EXPECT_FALSE(array.remove_fast(-1));
    EXPECT_TRUE(array.remove_ordered(1));
    EXPECT_EQ(values_of(array), (std::vector<int> { 2 }));
}

TEST(PTRARRAY, owned_strings_are_deleted_by_removal_clear_and_destruction)
{
    PTRARRAY array(delete_orlu_string);
    for (const char* text : { "a", "b", "c", "d" })
        array.add(new ORLU_STRING(text));
    EXPECT_TRUE(array.remove_ordered(1));
    EXPECT_STREQ(static_cast<ORLU_STRING*>(array.at(1))->text(), "c");
    INT_S32 capacity = array.capacity();
    array.clear();
    EXPECT_EQ(array.count(), 0);
    EXPECT_EQ(array.capacity(), capacity); // memory kept
    array.add(new ORLU_STRING("e"));
    array.free_all();
    EXPECT_EQ(array.capacity(), 0);
    EXPECT_EQ(array.items(), nullptr);
    array.add(new ORLU_STRING("f")); // the destructor deletes this one
}

TEST(PTRARRAY, sort_and_search_use_context)
{
    PTRARRAY array;
    for (intptr_t v : { 5, 3, 9, 1, 7 })
        array.add(as_item(v));
    int calls = 0;
    array.sort(compare_values, &calls);
    EXPECT_GT(calls, 0);
    EXPECT_EQ(values_of(array), (std::vector<int> { 1, 3, 5, 7, 9 }));
    EXPECT_EQ(array.search(as_item(7), compare_values, nullptr), 3);
    EXPECT_EQ(array.search(as_item(1), compare_values, nullptr), 0);
    EXPECT_EQ(array.search(as_item(4), compare_values, nullptr), -1);
    EXPECT_EQ(PTRARRAY().search(as_item(4), compare_values, nullptr), -1);
}

TEST(PTRARRAY, compare_result_is_cut_to_16_bits)
{
    PTRARRAY array;
    array.add(as_item(2));
    array.add(as_item(1));
    // Every answer is a multiple of 65536 and so reads as "equal": the key is found at once.
    EXPECT_GE(array.search(as_item(40), compare_wide, nullptr), 0);
    array.sort(compare_values, nullptr);
    EXPECT_EQ(values_of(array), (std::vector<int> { 1, 2 }));
}
