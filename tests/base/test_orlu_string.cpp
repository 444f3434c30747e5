// ORLU_STRING and the free text functions.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "base/orlu_string.h"

namespace {

// A memory buffer as a device; reads stop at the end of the bytes.
class MEMORY_DEVICE : public DATA_DEVICE {
public:
    explicit MEMORY_DEVICE(INT_U8 swap = 0, std::vector<unsigned char> content = {})
        : bytes(std::move(content))
    {
        swap_bytes = swap;
    }
    INT_U32 tell() override { return m_position; }
    bool seek(INT_U32 offset, bool from_end) override
    {
        INT_U32 target = from_end ? static_cast<INT_U32>(bytes.size()) + offset : offset;
        if (target > bytes.size())
            return false;
        m_position = target;
        return true;
    }
    INT_S32 read(void* buffer, INT_S32 size) override
    {
        INT_S32 count = std::min(size, static_cast<INT_S32>(bytes.size() - m_position));
        if (count <= 0)
            return 0;
        memcpy(buffer, bytes.data() + m_position, static_cast<size_t>(count));
        m_position += static_cast<INT_U32>(count);
        return count;
    }
    INT_S32 write(const void* buffer, INT_S32 size) override
    {
        if (size <= 0)
            return 0;
        bytes.resize(std::max<size_t>(bytes.size(), m_position + static_cast<size_t>(size)));
        memcpy(bytes.data() + m_position, buffer, static_cast<size_t>(size));
        m_position += static_cast<INT_U32>(size);
        return size;
    }

    std::vector<unsigned char> bytes;

private:
    INT_U32 m_position { 0 };
};

typedef std::vector<unsigned char> BYTES;

std::string text_of(const ORLU_STRING& s)
{
    return s.c_str();
}

// Runs one in-place operation on a fresh string and answers the result.
template <typename OPERATION>
std::string after(const char* text, OPERATION operation)
{
    ORLU_STRING s(text);
    operation(s);
    return s.c_str();
}

} // namespace

// ---------------------------------------------------------------------------------------------
// Stream form
// ---------------------------------------------------------------------------------------------

TEST(ORLU_STRING, never_assigned_string_serialises_as_four_zero_bytes)
{
    MEMORY_DEVICE device;
    ASSERT_TRUE(ORLU_STRING().put_to_data_device(&device));
    EXPECT_EQ(device.bytes, (BYTES { 0, 0, 0, 0 }));

    device.seek(0, false);
    ORLU_STRING fresh;
    ASSERT_TRUE(fresh.get_from_data_device(&device));
    EXPECT_EQ(fresh.text(), nullptr);
}

TEST(ORLU_STRING, stream_form_is_length_then_bytes_in_device_order)
{
    ORLU_STRING text("abc");
    MEMORY_DEVICE native(0);
    MEMORY_DEVICE swapped(1);
    ASSERT_TRUE(text.put_to_data_device(&native));
    ASSERT_TRUE(text.put_to_data_device(&swapped));
    EXPECT_EQ(native.bytes, (BYTES { 3, 0, 0, 0, 'a', 'b', 'c' }));
    EXPECT_EQ(swapped.bytes, (BYTES { 0, 0, 0, 3, 'a', 'b', 'c' }));

    for (MEMORY_DEVICE* device : { &native, &swapped }) {
        device->seek(0, false);
        ORLU_STRING back("old");
        ASSERT_TRUE(back.get_from_data_device(device));
        EXPECT_STREQ(back.text(), "abc");
        EXPECT_EQ(device->tell(), 7u);
    }
}

TEST(ORLU_STRING, bad_length_or_short_read_fails_and_clears)
{
    struct CASE {
        BYTES bytes;
        INT_U8 failed;
    } cases[] = {
        { { 0xFF, 0xFF, 0xFF, 0xFF, 'a' }, 0 }, // negative
        { { 0xFF, 0xFF, 0xFF, 0x7F }, 0 }, // beyond any text we store
        { { 5, 0, 0, 0, 'a', 'b' }, 1 }, // short text
        { { 5, 0 }, 1 }, // short length
    };
    for (CASE& c : cases) {
        MEMORY_DEVICE device(0, c.bytes);
        ORLU_STRING back("previous");
        EXPECT_FALSE(back.get_from_data_device(&device));
        EXPECT_TRUE(back.is_empty());
        EXPECT_EQ(device.failed, c.failed);
    }
}

// ---------------------------------------------------------------------------------------------
// Allocation rule, assignment, append
// ---------------------------------------------------------------------------------------------

TEST(ORLU_STRING, buffer_follows_min_capacity_and_never_shrinks)
{
    ORLU_STRING s("hi");
    EXPECT_EQ(s.capacity(), 50);
    const char* buffer = s.text();
    s = static_cast<const char*>(nullptr);
    EXPECT_EQ(s.text(), buffer); // min_capacity 50: clearing keeps the buffer
    s = std::string(80, 'z').c_str();
    s = "short";
    EXPECT_EQ(s.capacity(), 81);

    ORLU_STRING bare;
    bare.set_min_capacity(0);
    bare = "abc";
    EXPECT_EQ(bare.capacity(), 4);
    bare.clear();
    EXPECT_EQ(bare.text(), nullptr);
    bare.assign(static_cast<INT_S32>(-2147483647 - 1));
    EXPECT_STREQ(bare.text(), "-2147483648");
    EXPECT_EQ(bare.capacity(), 15);
}

TEST(ORLU_STRING, append_numbers_and_own_text)
{
    ORLU_STRING s;
    s.set_min_capacity(0);
    s.assign(static_cast<INT_S16>(-32768));
    s.append(static_cast<INT_S32>(42));
    s.append(static_cast<INT_S16>(7));
    EXPECT_STREQ(s.text(), "-32768427");

    s = "abcdef";
    s.append(s.text()); // grows, so the buffer moves under its own source
    EXPECT_STREQ(s.text(), "abcdefabcdef");
    s.assign(s.text() + 6);
    EXPECT_STREQ(s.text(), "abcdef");
    EXPECT_EQ(text_of(ORLU_STRING("pre-", ORLU_STRING("fix"))), "pre-fix");
}

// ---------------------------------------------------------------------------------------------
// Query and edit
// ---------------------------------------------------------------------------------------------

TEST(ORLU_STRING, find_and_find_last)
{
    ORLU_STRING s("abcABCabc");
    EXPECT_EQ(s.find("abc", 1, true), 6);
    EXPECT_EQ(s.find("abc", 1, false), 3);
    EXPECT_EQ(s.find("abc", 9, true), -1);
    EXPECT_EQ(s.find("abc", -1, true), -1);
    EXPECT_EQ(s.find("", 0, true), -1);
    EXPECT_EQ(s.find_last("abc", -1, true), 6);
    EXPECT_EQ(s.find_last("abc", 5, true), 0);
    EXPECT_EQ(s.find_last("abc", 5, false), 3);
    EXPECT_EQ(s.find_last("abc", 100, true), 6);
    EXPECT_EQ(s.find_last("abcABCabcX", -1, true), -1); // needle longer than the text
}

TEST(ORLU_STRING, ranges_are_inclusive_and_checked)
{
    ORLU_STRING s("abcdef");
    EXPECT_EQ(text_of(s.substring(2, 2)), "c");
    EXPECT_EQ(text_of(s.substring(5, 2)), "");
    EXPECT_EQ(text_of(s.substring(3, -1)), "def");
    EXPECT_EQ(text_of(s.substring(0, 6)), "");
    EXPECT_EQ(ORLU_STRING("x123y45").parse_int(1, -1), 123);
    EXPECT_EQ(ORLU_STRING("x123y45").parse_int(1, 2), 12);
    EXPECT_EQ(ORLU_STRING("x123y45").parse_int(0, -1), 0);

    EXPECT_TRUE(s.remove_range(1, 2));
    EXPECT_STREQ(s.text(), "adef");
    EXPECT_FALSE(s.remove_range(1, 5));
    EXPECT_TRUE(s.remove_range(2, -1));
    EXPECT_STREQ(s.text(), "ad");
}

TEST(ORLU_STRING, insert_and_replace_next)
{
    ORLU_STRING s("ad");
    s.insert("XY", 1);
    s.insert("!", 4);
    s.insert("?", 6); // beyond the end
    EXPECT_STREQ(s.text(), "aXYd!");
    s.insert(s.text(), 0);
    EXPECT_STREQ(s.text(), "aXYd!aXYd!");
    EXPECT_EQ(after("", [](ORLU_STRING& e) { e.insert("new", 7); }), "new");

    s = "a-b-c";
    INT_S32 position = 0;
    int replaced = 0;
    while (s.replace_next("-", "--", &position))
        ++replaced;
    EXPECT_EQ(replaced, 2); // the position steps past the inserted text
    EXPECT_STREQ(s.text(), "a--b--c");
    position = 0;
    EXPECT_TRUE(s.replace_next("--", nullptr, &position));
    EXPECT_EQ(position, 1);
    EXPECT_STREQ(s.text(), "ab--c");
    EXPECT_FALSE(s.replace_next("zz", "y", &position));
}

TEST(ORLU_STRING, trims_names_and_case)
{
    EXPECT_EQ(after(" \t\n ab c \r\n", [](ORLU_STRING& s) { s.trim_left(); s.trim_right(); }), "ab c");
    EXPECT_EQ(after("\xA0 x \xA0", [](ORLU_STRING& s) { s.trim_left(); s.trim_right(); }), "\xA0 x \xA0");
    EXPECT_EQ(after("My file-1.txt\xE9", [](ORLU_STRING& s) { s.to_safe_name(true); }), "My file_1_txt_");
    EXPECT_EQ(after("My file", [](ORLU_STRING& s) { s.to_safe_name(false); }), "My_file");
    // The last character is never raised by the rule for characters behind a blank or hyphen.
    EXPECT_EQ(after("hello big-world x", [](ORLU_STRING& s) { s.capitalise(false); }), "Hello Big-world x");
    EXPECT_EQ(after("hello big-world x", [](ORLU_STRING& s) { s.capitalise(true); }), "Hello Big-World x");
    EXPECT_EQ(after("a-b", [](ORLU_STRING& s) { s.to_upper(); }), "A-B");
}

// ---------------------------------------------------------------------------------------------
// Entities and URLs
// ---------------------------------------------------------------------------------------------

TEST(ORLU_STRING, encode_entities)
{
    ORLU_STRING plain("nothing to do");
    const char* before = plain.text();
    plain.encode_entities(true);
    EXPECT_EQ(plain.text(), before);

    ORLU_STRING s("<a href=\"x\">'&'%");
    s.encode_entities(false);
    EXPECT_STREQ(s.text(), "&lt;a href=&quot;x&quot;&gt;&#39;&amp;&#39;&#37;");
    EXPECT_EQ(s.capacity(), s.length() + 1); // sized exactly
    EXPECT_EQ(after("caf\xE9\x80", [](ORLU_STRING& h) { h.encode_entities(false); }), "caf\xE9\x80");
    EXPECT_EQ(after("caf\xE9\x80", [](ORLU_STRING& h) { h.encode_entities(true); }), "caf&#-23;&#-128;");
}

TEST(ORLU_STRING, decode_entities_keeps_its_old_habits)
{
    auto decode = [](ORLU_STRING& s) { s.decode_entities(); };
    EXPECT_EQ(after("a&lt;bcd", decode), "a<d");
    EXPECT_EQ(after("&quot;x&quot; &amp; &#39;&#37; & end", decode), "\"x\" & '% & end");
    // Other numbers are skipped to their ";" and the output slot keeps its old byte, the "&".
    EXPECT_EQ(after("x&#-23;y", decode), "x&y");
    EXPECT_EQ(after("ab&#12", decode), "ab&");
    // The six-byte step behind "&gt;" stops at the end of the text.
    EXPECT_EQ(after("x&gt;", decode), "x>");
    EXPECT_EQ(after("x&gt;y", decode), "x>");
}

TEST(ORLU_STRING, url_escapes_move_three_bytes)
{
    auto loose = [](ORLU_STRING& s) { s.encode_url(false); };
    auto strict = [](ORLU_STRING& s) { s.encode_url(true); };
    EXPECT_EQ(after("a b/c?d=e&f", loose), "a b/c?d=e%26f");
    EXPECT_EQ(after("a b/c", strict), "a%20b%2Fc");
    EXPECT_EQ(after("a\nb", strict), "a%A"); // the short escape's terminator ends the text
    EXPECT_EQ(after("a\xE9z", strict), "a%FFz"); // only "%FF" of the long form stays
    EXPECT_EQ(after("\xE9", strict), "%FF");

    auto decode = [](ORLU_STRING& s) { s.decode_url(); };
    EXPECT_EQ(after("a%20b%2fc%41", decode), "a b/cA");
    EXPECT_EQ(after("x%4", decode), "x\x04");
    EXPECT_EQ(after("x%", decode), "x");
}

// ---------------------------------------------------------------------------------------------
// Folding
// ---------------------------------------------------------------------------------------------

TEST(ORLU_STRING, fold_char_table)
{
    char buffer[4];
    EXPECT_EQ(fold_char('q', buffer), buffer);
    EXPECT_STREQ(buffer, "q");
    const char* expected[][2] = { { "\xC0", "A" }, { "\xC6", "AE" }, { "\xD7", "?" }, { "\xD8", "O" },
        { "\xDD", "YSS" }, { "\xDE", "?" }, { "\xDF", "?" }, { "\xE6", "ae" }, { "\xF7", "?" },
        { "\xFD", "y" }, { "\xFE", "p" }, { "\xFF", "?" }, { "\xA0", "?" } };
    for (auto& pair : expected)
        EXPECT_STREQ(fold_char(static_cast<INT_U8>(pair[0][0]), buffer), pair[1]) << pair[1];
    EXPECT_STREQ(fold_char('z', nullptr), "z");
}

TEST(ORLU_STRING, fold_to_buffer_stops_three_short_of_size)
{
    char buffer[8];
    fold_to_buffer("\xDD\xDD\xDD", buffer, 8);
    EXPECT_STREQ(buffer, "YSSYSS"); // at length 3 one more three-byte piece still fits
    fold_to_buffer("abcdefgh", buffer, 8);
    EXPECT_STREQ(buffer, "abcde");
    fold_to_buffer("abc", buffer, 3);
    EXPECT_STREQ(buffer, "");
    EXPECT_EQ(after("\xC6gir \xDD", [](ORLU_STRING& s) { s.fold_to_ascii(); }), "AEgir YSS");
}

TEST(ORLU_STRING, compare_folded_orders_and_empties)
{
    EXPECT_EQ(compare_folded(nullptr, "", false), 0);
    EXPECT_EQ(compare_folded(nullptr, "a", false), -1);
    EXPECT_EQ(compare_folded("a", "", false), 1);
    EXPECT_EQ(compare_folded("\xE9t\xE9", "ete", false), 0);
    EXPECT_EQ(compare_folded("abc", "abd", false), -1);
    EXPECT_EQ(compare_folded("abc", "ab", false), 1);
    EXPECT_EQ(compare_folded("ab", "abc", false), -1);
    EXPECT_EQ(compare_folded("ABC", "abc", false), -1);
    EXPECT_EQ(compare_folded("\xC9", "e", true), 0);
}

// ---------------------------------------------------------------------------------------------
// Base64
// ---------------------------------------------------------------------------------------------

TEST(ORLU_STRING, base64_writes_only_into_a_large_enough_buffer)
{
    ORLU_STRING s;
    s.set_min_capacity(0);
    EXPECT_EQ(s.encode_base64("hello", 5), 8); // no buffer: only the size
    ASSERT_TRUE(s.reserve(8));
    EXPECT_EQ(s.encode_base64("hello", 5), 8); // not larger than the size: untouched
    EXPECT_STREQ(s.text(), "");
    ASSERT_TRUE(s.reserve(9));
    EXPECT_EQ(s.encode_base64("hello", 5), 8);
    EXPECT_STREQ(s.text(), "aGVsbG8=");

    unsigned char out[8] = {};
    EXPECT_EQ(s.decode_base64(out, 4), 5);
    EXPECT_EQ(out[0], 0);
    EXPECT_EQ(s.decode_base64(out, 5), 5);
    EXPECT_EQ(memcmp(out, "hello", 5), 0);

    unsigned char bytes[4] = { 0xFF, 0x00, 0x80, 0x7F };
    ASSERT_EQ(s.encode_base64(bytes, 4), 8);
    EXPECT_STREQ(s.text(), "/wCAfw==");
    EXPECT_EQ(s.decode_base64(out, 8), 4);
    EXPECT_EQ(memcmp(out, bytes, 4), 0);
}

TEST(ORLU_STRING, base64_decode_rejects_bad_text)
{
    unsigned char out[16];
    for (const char* bad : { "abc", "ab=c", "a===", "ab\xE9=", "ab.c" })
        EXPECT_EQ(ORLU_STRING(bad).decode_base64(out, 16), -1) << bad;
    EXPECT_EQ(ORLU_STRING().decode_base64(out, 16), 0);
}
