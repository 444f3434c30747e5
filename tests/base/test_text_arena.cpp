// TEXT_ARENA: texts kept once, empty texts without room, long texts, clearing.

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "base/text_arena.h"

TEST(TEXT_ARENA, a_text_stored_twice_is_kept_once)
{
    TEXT_ARENA arena;
    std::string folder = "$HERE/data/levels";
    const char* first = arena.store(folder.c_str());
    const char* second = arena.store("$HERE/data/levels");
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first, second);
    EXPECT_NE(first, folder.c_str());
    EXPECT_STREQ(first, "$HERE/data/levels");
    // A prefix and a longer text are other texts.
    const char* prefix = arena.store("$HERE/data/levels", 5);
    EXPECT_STREQ(prefix, "$HERE");
    EXPECT_NE(arena.store("$HERE/data/levels/x"), first);
    EXPECT_EQ(arena.count(), 3u);
}

TEST(TEXT_ARENA, empty_and_null_texts_are_the_shared_empty_text)
{
    TEXT_ARENA arena;
    EXPECT_STREQ(arena.store(""), "");
    EXPECT_STREQ(arena.store(nullptr), "");
    EXPECT_STREQ(arena.store("abc", 0), "");
    EXPECT_EQ(arena.count(), 0u);
    EXPECT_EQ(arena.bytes_held(), 0u);
}

TEST(TEXT_ARENA, many_and_long_texts_stay_whole_until_cleared)
{
    TEXT_ARENA arena;
    std::vector<const char*> stored;
    for (int i = 0; i < 20000; ++i)
        stored.push_back(arena.store(("file" + std::to_string(i) + ".txt").c_str()));
    std::string long_text(100000, 'x');
    const char* long_copy = arena.store(long_text.c_str());
    const char* after = arena.store("after the long one");
    for (int i = 0; i < 20000; i += 997)
        EXPECT_STREQ(stored[i], ("file" + std::to_string(i) + ".txt").c_str());
    EXPECT_EQ(strlen(long_copy), 100000u);
    EXPECT_STREQ(after, "after the long one");
    EXPECT_EQ(arena.store("file19999.txt"), stored[19999]);
    // Some 14 bytes a text, its table slots and the long text; nowhere near a kilobyte a text.
    EXPECT_LT(arena.bytes_held(), 20000u * 64 + 200000);

    arena.clear();
    EXPECT_EQ(arena.count(), 0u);
    EXPECT_EQ(arena.bytes_held(), 0u);
    EXPECT_STREQ(arena.store("file1.txt"), "file1.txt");
}

TEST(TEXT_ARENA, a_text_stored_once_is_not_looked_up_or_shared)
{
    TEXT_ARENA arena;
    const char* shared = arena.store("main0001");
    const char* once = arena.store_once("main0001");
    EXPECT_STREQ(once, "main0001");
    EXPECT_NE(once, shared);
    EXPECT_EQ(arena.store("main0001"), shared);
    EXPECT_STREQ(arena.store_once(""), "");
    EXPECT_EQ(arena.count(), 1u);
}
