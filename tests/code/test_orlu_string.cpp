// ORLU_STRING and the free text functions.

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "orlu_string.h"

namespace {

// A memory buffer as a device: writes append or overwrite at the position, reads stop at the end.
class MEMORY_DEVICE : public DATA_DEVICE {
public:
    explicit MEMORY_DEVICE(INT_U8 swap = 0) { swap_bytes = swap; }

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
        INT_S32 left = static_cast<INT_S32>(bytes.size()) - static_cast<INT_S32>(m_position);
        INT_S32 count = size < left ? size : left;
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
        const unsigned char* in = static_cast<const unsigned char*>(buffer);
        for (INT_S32 i = 0; i < size; ++i) {
            if (m_position < bytes.size())
                bytes[m_position] = in[i];
            else
                bytes.push_back(in[i]);
            ++m_position;
        }
        return size;
    }

    std::vector<unsigned char> bytes;

private:
    INT_U32 m_position { 0 };
};

std::vector<unsigned char> bytes_of(std::initializer_list<int> values)
{
    std::vector<unsigned char> out;
    for (int v : values)
        out.push_back(static_cast<unsigned char>(v));
    return out;
}

std::string text_of(const ORLU_STRING& s)
{
    return s.c_str();
}

} // namespace

// ---------------------------------------------------------------------------------------------
// Stream form
// ---------------------------------------------------------------------------------------------

TEST(ORLU_STRING, never_assigned_string_serialises_as_four_zero_bytes)
{
    MEMORY_DEVICE device;
    ORLU_STRING empty;
    ASSERT_TRUE(empty.put_to_data_device(&device));
    EXPECT_EQ(device.bytes, bytes_of({ 0, 0, 0, 0 }));

    device.seek(0, false);
    ORLU_STRING back("old text");
    back.set_min_capacity(0); // clearing then frees, so a zero length reads back as null text
    ASSERT_TRUE(back.get_from_data_device(&device));
    EXPECT_EQ(back.text(), nullptr);

    device.seek(0, false);
    ORLU_STRING fresh;
    ASSERT_TRUE(fresh.get_from_data_device(&device));
    EXPECT_EQ(fresh.text(), nullptr);
}

TEST(ORLU_STRING, stream_form_is_length_then_bytes_in_device_order)
{
    ORLU_STRING text("abc");
    MEMORY_DEVICE native(0);
    ASSERT_TRUE(text.put_to_data_device(&native));
    EXPECT_EQ(native.bytes, bytes_of({ 3, 0, 0, 0, 'a', 'b', 'c' }));

    MEMORY_DEVICE swapped(1);
    ASSERT_TRUE(text.put_to_data_device(&swapped));
    EXPECT_EQ(swapped.bytes, bytes_of({ 0, 0, 0, 3, 'a', 'b', 'c' }));

    for (MEMORY_DEVICE* device : { &native, &swapped }) {
        device->seek(0, false);
        ORLU_STRING back;
        ASSERT_TRUE(back.get_from_data_device(device));
        EXPECT_STREQ(back.text(), "abc");
        EXPECT_EQ(device->tell(), 7u);
        EXPECT_EQ(device->failed, 0);
    }
}

TEST(ORLU_STRING, read_of_swapped_length_above_255)
{
    MEMORY_DEVICE device(1);
    device.bytes = bytes_of({ 0, 0, 1, 0 });
    device.bytes.insert(device.bytes.end(), 256, 'x');
    ORLU_STRING back;
    ASSERT_TRUE(back.get_from_data_device(&device));
    EXPECT_EQ(back.length(), 256);
    EXPECT_GE(back.capacity(), 257);
}

TEST(ORLU_STRING, negative_or_oversized_length_fails_and_leaves_string_clear)
{
    MEMORY_DEVICE device;
    device.bytes = bytes_of({ 0xFF, 0xFF, 0xFF, 0xFF, 'a' });
    ORLU_STRING back("previous");
    EXPECT_FALSE(back.get_from_data_device(&device));
    EXPECT_TRUE(back.is_empty());

    MEMORY_DEVICE huge;
    huge.bytes = bytes_of({ 0xFF, 0xFF, 0xFF, 0x7F });
    EXPECT_FALSE(back.get_from_data_device(&huge));
    EXPECT_TRUE(back.is_empty());
}

TEST(ORLU_STRING, short_read_clears_string_and_sets_failed)
{
    MEMORY_DEVICE device;
    device.bytes = bytes_of({ 5, 0, 0, 0, 'a', 'b' });
    ORLU_STRING back("previous");
    EXPECT_FALSE(back.get_from_data_device(&device));
    EXPECT_TRUE(back.is_empty());
    EXPECT_EQ(device.failed, 1);

    MEMORY_DEVICE truncated_length;
    truncated_length.bytes = bytes_of({ 5, 0 });
    EXPECT_FALSE(back.get_from_data_device(&truncated_length));
    EXPECT_TRUE(back.is_empty());
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
    EXPECT_EQ(s.text(), buffer); // assigning null keeps the buffer with min_capacity 50
    EXPECT_STREQ(s.text(), "");

    std::string long_text(80, 'z');
    s = long_text.c_str();
    EXPECT_EQ(s.capacity(), 81);
    s = "short";
    EXPECT_EQ(s.capacity(), 81);

    ORLU_STRING bare;
    bare.set_min_capacity(0);
    bare = "abc";
    EXPECT_EQ(bare.capacity(), 4);
    bare.clear();
    EXPECT_EQ(bare.text(), nullptr);
    EXPECT_EQ(bare.capacity(), 0);
}

TEST(ORLU_STRING, numbers_assign_and_append)
{
    ORLU_STRING s;
    s.set_min_capacity(0);
    s.assign(static_cast<INT_S32>(-2147483647 - 1));
    EXPECT_STREQ(s.text(), "-2147483648");
    EXPECT_GE(s.capacity(), 15);
    s.assign(static_cast<INT_S16>(-32768));
    EXPECT_STREQ(s.text(), "-32768");
    s.append(static_cast<INT_S32>(42));
    s.append(static_cast<INT_S16>(7));
    EXPECT_STREQ(s.text(), "-32768427");
}

TEST(ORLU_STRING, append_and_assign_from_own_text)
{
    ORLU_STRING s;
    s.set_min_capacity(0);
    s = "abcdef";
    s.append(s.text()); // grows and so moves the buffer under the source
    EXPECT_STREQ(s.text(), "abcdefabcdef");
    s.assign(s.text() + 6);
    EXPECT_STREQ(s.text(), "abcdef");
    const ORLU_STRING& same = s;
    s = same;
    EXPECT_STREQ(s.text(), "abcdef");

    ORLU_STRING joined("pre-", ORLU_STRING("fix"));
    EXPECT_STREQ(joined.text(), "pre-fix");
}

// ---------------------------------------------------------------------------------------------
// Query
// ---------------------------------------------------------------------------------------------

TEST(ORLU_STRING, find_and_find_last)
{
    ORLU_STRING s("abcABCabc");
    EXPECT_EQ(s.find("abc", 0, true), 0);
    EXPECT_EQ(s.find("abc", 1, true), 6);
    EXPECT_EQ(s.find("abc", 1, false), 3);
    EXPECT_EQ(s.find("abc", 9, true), -1);
    EXPECT_EQ(s.find("abc", -1, true), -1);
    EXPECT_EQ(s.find("", 0, true), -1);
    EXPECT_EQ(s.find(nullptr, 0, true), -1);
    EXPECT_EQ(ORLU_STRING().find("a", 0, true), -1);

    EXPECT_EQ(s.find_last("abc", -1, true), 6);
    EXPECT_EQ(s.find_last("abc", 5, true), 0);
    EXPECT_EQ(s.find_last("abc", 5, false), 3);
    EXPECT_EQ(s.find_last("abc", 100, true), 6);
    EXPECT_EQ(s.find_last("abcABCabcX", -1, true), -1); // needle longer than the text
    EXPECT_EQ(s.find_last("zz", -1, true), -1);
}

TEST(ORLU_STRING, substring_and_parse_int_bounds)
{
    ORLU_STRING s("abcdef");
    EXPECT_EQ(text_of(s.substring(2, 2)), "c");
    EXPECT_EQ(text_of(s.substring(5, 2)), "");
    EXPECT_EQ(text_of(s.substring(3, -1)), "def");
    EXPECT_EQ(text_of(s.substring(0, 6)), "");
    EXPECT_EQ(text_of(s.substring(-1, 2)), "");
    EXPECT_EQ(text_of(ORLU_STRING().substring(0, -1)), "");

    ORLU_STRING n("x123y45");
    EXPECT_EQ(n.parse_int(1, -1), 123);
    EXPECT_EQ(n.parse_int(1, 2), 12);
    EXPECT_EQ(n.parse_int(0, -1), 0);
    EXPECT_EQ(n.parse_int(5, 9), 0);
}

TEST(ORLU_STRING, conversions_of_text)
{
    EXPECT_EQ(string_to_int(nullptr, 9), 9);
    EXPECT_EQ(string_to_int("-17x", 9), -17);
    EXPECT_EQ(string_to_int("010", 9), 10); // base 10, not octal
    EXPECT_EQ(string_to_uint(nullptr, 4u), 4u);
    EXPECT_EQ(string_to_uint("4000000000", 0), 4000000000u);
    EXPECT_DOUBLE_EQ(string_to_double("2.5", 0.0), 2.5);
    EXPECT_DOUBLE_EQ(string_to_double(nullptr, 1.5), 1.5);
}

// ---------------------------------------------------------------------------------------------
// Edit
// ---------------------------------------------------------------------------------------------

TEST(ORLU_STRING, remove_range_and_insert)
{
    ORLU_STRING s("abcdef");
    EXPECT_TRUE(s.remove_range(1, 2));
    EXPECT_STREQ(s.text(), "adef");
    EXPECT_TRUE(s.remove_range(2, -1));
    EXPECT_STREQ(s.text(), "ad");
    EXPECT_FALSE(s.remove_range(1, 5));
    EXPECT_FALSE(s.remove_range(2, 1));

    s.insert("XY", 1);
    EXPECT_STREQ(s.text(), "aXYd");
    s.insert("!", 4);
    EXPECT_STREQ(s.text(), "aXYd!");
    s.insert("?", 6);
    EXPECT_STREQ(s.text(), "aXYd!");
    s.insert(s.text(), 0);
    EXPECT_STREQ(s.text(), "aXYd!aXYd!");

    ORLU_STRING empty;
    empty.insert("new", 7); // an empty receiver takes the text whatever the position
    EXPECT_STREQ(empty.text(), "new");
}

TEST(ORLU_STRING, replace_next_walks_the_text)
{
    ORLU_STRING s("a-b-c");
    INT_S32 position = 0;
    int replaced = 0;
    while (s.replace_next("-", "--", &position))
        ++replaced;
    EXPECT_EQ(replaced, 2); // the position skips the inserted text, so no endless loop
    EXPECT_STREQ(s.text(), "a--b--c");

    position = 0;
    EXPECT_TRUE(s.replace_next("--", nullptr, &position));
    EXPECT_EQ(position, 1);
    EXPECT_STREQ(s.text(), "ab--c");
    EXPECT_FALSE(s.replace_next("zz", "y", &position));
    EXPECT_FALSE(s.replace_next("", "y", &position));
    EXPECT_FALSE(s.replace_next("b", "y", nullptr));
}

TEST(ORLU_STRING, trims_stop_at_high_bytes)
{
    ORLU_STRING s(" \t\n ab c \r\n");
    s.trim_left();
    EXPECT_STREQ(s.text(), "ab c \r\n");
    s.trim_right();
    EXPECT_STREQ(s.text(), "ab c");

    ORLU_STRING high("\xA0 x \xA0");
    high.trim_left();
    high.trim_right();
    EXPECT_STREQ(high.text(), "\xA0 x \xA0");

    ORLU_STRING blank("   ");
    blank.trim_right();
    EXPECT_STREQ(blank.text(), "");
}

TEST(ORLU_STRING, safe_name_capitalise_upper)
{
    ORLU_STRING name("My file-1.txt\xE9");
    name.to_safe_name(true);
    EXPECT_STREQ(name.text(), "My file_1_txt_");
    name = "My file";
    name.to_safe_name(false);
    EXPECT_STREQ(name.text(), "My_file");

    ORLU_STRING title("hello big-world x");
    title.capitalise(false);
    EXPECT_STREQ(title.text(), "Hello Big-world x"); // the last character is never raised
    title = "hello big-world x";
    title.capitalise(true);
    EXPECT_STREQ(title.text(), "Hello Big-World x");

    title.to_upper();
    EXPECT_STREQ(title.text(), "HELLO BIG-WORLD X");
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

    ORLU_STRING high("caf\xE9\x80");
    high.encode_entities(false);
    EXPECT_STREQ(high.text(), "caf\xE9\x80");
    high.encode_entities(true);
    EXPECT_STREQ(high.text(), "caf&#-23;&#-128;");
}

TEST(ORLU_STRING, decode_entities_keeps_its_old_habits)
{
    ORLU_STRING s("a&lt;bcd");
    s.decode_entities();
    EXPECT_STREQ(s.text(), "a<d");

    s = "&quot;x&quot; &amp; &#39;&#37; & end";
    s.decode_entities();
    EXPECT_STREQ(s.text(), "\"x\" & '% & end");

    // A numeric form is skipped and the output slot keeps its old byte: here the "&" itself.
    s = "x&#-23;y";
    s.decode_entities();
    EXPECT_STREQ(s.text(), "x&y");
    s = "ab&#12";
    s.decode_entities();
    EXPECT_STREQ(s.text(), "ab&");

    // The six-byte step of "&gt;" may reach past the end; it stops there.
    s = "x&gt;";
    s.decode_entities();
    EXPECT_STREQ(s.text(), "x>");
    s = "x&gt;y";
    s.decode_entities();
    EXPECT_STREQ(s.text(), "x>");
}

TEST(ORLU_STRING, encode_url_three_byte_steps)
{
    ORLU_STRING s("a b/c?d=e&f");
    s.encode_url(false);
    EXPECT_STREQ(s.text(), "a b/c?d=e%26f");
    s = "a b/c";
    s.encode_url(true);
    EXPECT_STREQ(s.text(), "a%20b%2Fc");

    s = "a\nb"; // a byte below 0x10 ends the text behind its short escape
    s.encode_url(true);
    EXPECT_STREQ(s.text(), "a%A");

    s = "a\xE9z"; // a high byte keeps only "%FF" of its long form
    s.encode_url(true);
    EXPECT_STREQ(s.text(), "a%FFz");
    s = "\xE9";
    s.encode_url(true);
    EXPECT_STREQ(s.text(), "%FF");
}

TEST(ORLU_STRING, decode_url)
{
    ORLU_STRING s("a%20b%2fc%41");
    s.decode_url();
    EXPECT_STREQ(s.text(), "a b/cA");
    s = "x%4";
    s.decode_url();
    EXPECT_STREQ(s.text(), "x\x04");
    s = "x%";
    s.decode_url();
    EXPECT_STREQ(s.text(), "x");
}

// ---------------------------------------------------------------------------------------------
// Folding
// ---------------------------------------------------------------------------------------------

TEST(ORLU_STRING, fold_char_table)
{
    char buffer[4];
    EXPECT_STREQ(fold_char('q', buffer), "q");
    EXPECT_EQ(fold_char('q', buffer), buffer);
    EXPECT_STREQ(fold_char(192, buffer), "A");
    EXPECT_STREQ(fold_char(198, buffer), "AE");
    EXPECT_STREQ(fold_char(215, buffer), "?");
    EXPECT_STREQ(fold_char(216, buffer), "O");
    EXPECT_STREQ(fold_char(221, buffer), "YSS");
    EXPECT_STREQ(fold_char(222, buffer), "?");
    EXPECT_STREQ(fold_char(223, buffer), "?");
    EXPECT_STREQ(fold_char(230, buffer), "ae");
    EXPECT_STREQ(fold_char(247, buffer), "?");
    EXPECT_STREQ(fold_char(253, buffer), "y");
    EXPECT_STREQ(fold_char(254, buffer), "p");
    EXPECT_STREQ(fold_char(255, buffer), "?");
    EXPECT_STREQ(fold_char(160, nullptr), "?");
    EXPECT_STREQ(fold_char('z', nullptr), "z");
}

TEST(ORLU_STRING, fold_to_buffer_stops_three_short_of_size)
{
    char buffer[8];
    memset(buffer, '#', sizeof(buffer));
    fold_to_buffer("\xDD\xDD\xDD", buffer, 8);
    EXPECT_STREQ(buffer, "YSSYSS"); // length 3 < 5, so one more three-byte piece still fits
    fold_to_buffer("abcdefgh", buffer, 8);
    EXPECT_STREQ(buffer, "abcde");
    fold_to_buffer("abc", buffer, 3);
    EXPECT_STREQ(buffer, "");

    ORLU_STRING s("\xC6gir \xDD");
    s.fold_to_ascii();
    EXPECT_STREQ(s.text(), "AEgir YSS");
}

TEST(ORLU_STRING, compare_folded_orders_and_empties)
{
    EXPECT_EQ(compare_folded(nullptr, "", false), 0);
    EXPECT_EQ(compare_folded("", "a", false), -1);
    EXPECT_EQ(compare_folded(nullptr, "a", false), -1);
    EXPECT_EQ(compare_folded("a", nullptr, false), 1);
    EXPECT_EQ(compare_folded("\xE9t\xE9", "ete", false), 0);
    EXPECT_EQ(compare_folded("abc", "abd", false), -1);
    EXPECT_EQ(compare_folded("abc", "ab", false), 1);
    EXPECT_EQ(compare_folded("ab", "abc", false), -1);
    EXPECT_EQ(compare_folded("ABC", "abc", false), -1);
    EXPECT_EQ(compare_folded("ABC", "abc", true), 0);
    EXPECT_EQ(compare_folded("\xC9", "e", true), 0);
}

// ---------------------------------------------------------------------------------------------
// Base64 and clipboard
// ---------------------------------------------------------------------------------------------

TEST(ORLU_STRING, base64_round_trip_and_size_answers)
{
    ORLU_STRING s;
    EXPECT_EQ(s.encode_base64("hello", 5), 8); // no buffer yet: only the size
    EXPECT_EQ(s.text(), nullptr);

    s.set_min_capacity(0);
    ASSERT_TRUE(s.reserve(8));
    EXPECT_EQ(s.encode_base64("hello", 5), 8); // a buffer not larger than the size stays untouched
    EXPECT_STREQ(s.text(), "");
    ASSERT_TRUE(s.reserve(9));
    EXPECT_EQ(s.encode_base64("hello", 5), 8);
    EXPECT_STREQ(s.text(), "aGVsbG8=");

    unsigned char out[8] = {};
    EXPECT_EQ(s.decode_base64(nullptr, 0), 5);
    EXPECT_EQ(s.decode_base64(out, 4), 5);
    EXPECT_EQ(out[0], 0);
    EXPECT_EQ(s.decode_base64(out, 5), 5);
    EXPECT_EQ(memcmp(out, "hello", 5), 0);

    ORLU_STRING two_pad;
    two_pad.reserve(20);
    unsigned char bytes[4] = { 0xFF, 0x00, 0x80, 0x7F };
    EXPECT_EQ(two_pad.encode_base64(bytes, 4), 8);
    EXPECT_STREQ(two_pad.text(), "/wCAfw==");
    unsigned char decoded[4] = {};
    EXPECT_EQ(two_pad.decode_base64(decoded, 4), 4);
    EXPECT_EQ(memcmp(decoded, bytes, 4), 0);
}

TEST(ORLU_STRING, base64_decode_rejects_bad_text)
{
    unsigned char out[16];
    EXPECT_EQ(ORLU_STRING("abc").decode_base64(out, 16), -1);
    EXPECT_EQ(ORLU_STRING("ab=c").decode_base64(out, 16), -1);
    EXPECT_EQ(ORLU_STRING("a===").decode_base64(out, 16), -1);
    EXPECT_EQ(ORLU_STRING("ab\xE9=").decode_base64(out, 16), -1);
    EXPECT_EQ(ORLU_STRING("ab.c").decode_base64(out, 16), -1);
    EXPECT_EQ(ORLU_STRING().decode_base64(out, 16), 0);
}

TEST(ORLU_STRING, clipboard_is_absent_without_a_display)
{
    ORLU_STRING s("kept");
    EXPECT_FALSE(s.to_clipboard());
    EXPECT_FALSE(s.from_clipboard());
    EXPECT_STREQ(s.text(), "kept");
}
