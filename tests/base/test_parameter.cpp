#include "base/parameter.h"

#include "memory_device.h"

#include <cstring>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

namespace {

std::string text_of(const PARAMETER& p, const PARAMETER_VALUE* slot, INT_S32 size = 64)
{
    std::vector<char> buffer(static_cast<size_t>(size) + 1, 'x');
    buffer[static_cast<size_t>(size)] = 0;
    p.to_text(slot, buffer.data(), size);
    return buffer.data();
}

std::vector<unsigned char> bytes_of(const PARAMETER& p, bool swap)
{
    MEMORY_DEVICE device;
    device.swap_bytes = swap;
    EXPECT_TRUE(p.put_to_data_device(&device));
    return device.bytes();
}

} // namespace

TEST(PARAMETER, text_forms_follow_each_type)
{
    PARAMETER s8(INT_S8_TYPE);
    s8.set_int(&s8.value, -1);
    EXPECT_EQ(text_of(s8, &s8.value), "-1");

    PARAMETER u32(INT_U32_TYPE);
    u32.set_uint(&u32.value, 4000000000u);
    EXPECT_EQ(text_of(u32, &u32.value), "4000000000");

    PARAMETER f32(FLOAT_32_TYPE);
    f32.set_real(&f32.value, 2.5);
    EXPECT_EQ(text_of(f32, &f32.value), "2.50");

    // Whatever the C library makes of 1.005 at two places is the answer.
    PARAMETER f64(FLOAT_64_TYPE);
    f64.set_real(&f64.value, 1.005);
    char expected[32];
    snprintf(expected, sizeof expected, "%.2lf", 1.005);
    EXPECT_EQ(text_of(f64, &f64.value), expected);

    PARAMETER text("hello world");
    EXPECT_EQ(text_of(text, &text.value), "hello world");
    EXPECT_EQ(text_of(text, &text.value, 6), "hello");
    EXPECT_EQ(text.text_length(), 11);
    EXPECT_EQ(text_of(text, &text.minimum), "");

    PARAMETER unset;
    EXPECT_EQ(text_of(unset, &unset.value), std::string(64, 'x'));
}

TEST(PARAMETER, from_text_reads_and_keeps_the_slot_on_bad_text)
{
    PARAMETER s16(INT_S16_TYPE);
    s16.from_text(&s16.value, "-1234");
    EXPECT_EQ(s16.value.s16, -1234);
    s16.from_text(&s16.value, "junk");
    EXPECT_EQ(s16.value.s16, -1234);
    s16.from_text(&s16.value, nullptr);
    EXPECT_EQ(s16.value.s16, -1234);

    PARAMETER s8(INT_S8_TYPE);
    s8.from_text(&s8.value, "300"); // read as a short, then cut to 8 bits
    EXPECT_EQ(s8.value.s8, 44);

    PARAMETER f64(FLOAT_64_TYPE);
    f64.from_text(&f64.maximum, "12.75");
    EXPECT_DOUBLE_EQ(f64.maximum.f64, 12.75);

    PARAMETER text("old");
    text.from_text(&text.value, "new");
    EXPECT_STREQ(text.value.text, "new");
    text.clear_from_text(&text.minimum);
    EXPECT_STREQ(text.minimum.text, "0");

    PARAMETER pointer(POINTER_TYPE);
    const char* held = "kept by pointer";
    pointer.from_text(&pointer.value, held);
    EXPECT_EQ(pointer.value.pointer, held);
}

TEST(PARAMETER, conversions_go_by_way_of_the_slot_type)
{
    PARAMETER u8(INT_U8_TYPE);
    u8.set_int(&u8.value, 200);
    EXPECT_EQ(u8.as_int(&u8.value), 200);

    PARAMETER s8(INT_S8_TYPE);
    s8.set_int(&s8.value, -1);
    EXPECT_EQ(s8.as_uint(&s8.value), 0xFFFFFFFFu);

    PARAMETER u32(INT_U32_TYPE);
    u32.set_uint(&u32.value, 3000000000u);
    EXPECT_DOUBLE_EQ(u32.as_real(&u32.value), 3000000000.0);
    EXPECT_EQ(u32.as_int(&u32.value), static_cast<INT_S32>(3000000000u));

    PARAMETER f64(FLOAT_64_TYPE);
    f64.set_real(&f64.value, -7.9);
    EXPECT_EQ(f64.as_int(&f64.value), -7);
    f64.set_real(&f64.value, 1e30);
    EXPECT_EQ(f64.as_int(&f64.value), INT32_MIN);
    f64.set_real(&f64.value, NAN);
    EXPECT_EQ(f64.as_int(&f64.value), INT32_MIN);

    PARAMETER s16(INT_S16_TYPE);
    s16.set_real(&s16.value, 70000.9); // truncated to 70000, then to 16 bits
    EXPECT_EQ(s16.value.s16, static_cast<INT_S16>(70000));

    PARAMETER text("42");
    EXPECT_EQ(text.as_int(&text.value), 42);
    EXPECT_EQ(text.as_int(&text.minimum), 0); // null text
    text.set_real(&text.value, 3.14159);
    EXPECT_STREQ(text.value.text, "3.14");
    text.set_int(&text.value, -5);
    EXPECT_STREQ(text.value.text, "-5");
    EXPECT_DOUBLE_EQ(text.as_real(&text.value), -5.0);

    PARAMETER unset;
    unset.set_int(&unset.value, 9);
    EXPECT_EQ(unset.as_int(&unset.value), 0);
    EXPECT_EQ(unset.value.raw, 0u);
}

TEST(PARAMETER, clamp_applies_minimum_then_maximum)
{
    PARAMETER p(INT_S32_TYPE);
    p.set_int(&p.minimum, 10);
    p.set_int(&p.maximum, 20);
    p.set_int(&p.value, 5);
    p.clamp();
    EXPECT_EQ(p.value.s32, 10);
    p.set_int(&p.value, 25);
    p.clamp();
    EXPECT_EQ(p.value.s32, 20);

    // Crossed bounds: the maximum wins.
    p.set_int(&p.minimum, 30);
    p.set_int(&p.value, 0);
    p.clamp();
    EXPECT_EQ(p.value.s32, 20);

    // Unsigned compare for unsigned types.
    PARAMETER u(INT_U32_TYPE);
    u.set_uint(&u.maximum, 100);
    u.set_uint(&u.value, 0x80000000u);
    u.clamp();
    EXPECT_EQ(u.value.u32, 100u);

    PARAMETER f(FLOAT_64_TYPE);
    f.set_real(&f.maximum, 1.0);
    f.set_real(&f.value, NAN);
    f.clamp();
    EXPECT_TRUE(std::isnan(f.value.f64));
}

TEST(PARAMETER, stream_bytes_in_both_orders)
{
    PARAMETER p(INT_S16_TYPE);
    p.set_int(&p.value, 0x0102);
    p.set_int(&p.minimum, -2);
    p.set_int(&p.maximum, 0x7FFF);
    EXPECT_EQ(bytes_of(p, false), (std::vector<unsigned char> { 2, 0x02, 0x01, 0xFE, 0xFF, 0xFF, 0x7F }));
    EXPECT_EQ(bytes_of(p, true), (std::vector<unsigned char> { 2, 0x01, 0x02, 0xFF, 0xFE, 0x7F, 0xFF }));

    PARAMETER u8(INT_U8_TYPE);
    u8.set_int(&u8.value, 200);
    u8.set_int(&u8.maximum, 250);
    EXPECT_EQ(bytes_of(u8, true), (std::vector<unsigned char> { 1, 200, 0, 250 }));

    // Text bytes are never swapped, only the length.
    PARAMETER text("ab");
    EXPECT_EQ(bytes_of(text, true),
        (std::vector<unsigned char> { 8, 0, 0, 0, 2, 'a', 'b', 0, 0, 0, 0, 0, 0, 0, 0 }));
}

TEST(PARAMETER, stream_round_trip_of_every_type_in_both_orders)
{
    for (bool swap : { false, true }) {
        for (INT_U32 code = INT_S8_TYPE; code <= FLOAT_64_TYPE; ++code) {
            SCOPED_TRACE(testing::Message() << "type " << code << " swap " << swap);
            PARAMETER p(static_cast<PARAMETER_TYPE>(code));
            p.set_int(&p.minimum, 7);
            p.set_int(&p.maximum, 120);
            p.set_int(&p.value, 99);
            MEMORY_DEVICE device;
            device.swap_bytes = swap;
            ASSERT_TRUE(p.put_to_data_device(&device));
            device.rewind();
            PARAMETER back;
            ASSERT_TRUE(back.get_from_data_device(&device));
            EXPECT_EQ(back.type, code);
            EXPECT_EQ(back.as_int(&back.value), 99);
            EXPECT_EQ(back.as_int(&back.minimum), 7);
            EXPECT_EQ(back.as_int(&back.maximum), 120);
        }

        PARAMETER text("value");
        text.from_text(&text.maximum, "zzz");
        text.from_text(&text.minimum, "");
        MEMORY_DEVICE device;
        device.swap_bytes = swap;
        ASSERT_TRUE(text.put_to_data_device(&device));
        device.rewind();
        PARAMETER back(INT_S32_TYPE);
        ASSERT_TRUE(back.get_from_data_device(&device));
        EXPECT_EQ(back.type, STRING_TYPE);
        EXPECT_STREQ(back.value.text, "value");
        EXPECT_EQ(back.minimum.text, nullptr); // empty text comes back null
        EXPECT_STREQ(back.maximum.text, "zzz");

        PARAMETER pointer(POINTER_TYPE);
        pointer.set_pointer(&pointer.value, 0x12345678);
        MEMORY_DEVICE pointer_device;
        pointer_device.swap_bytes = swap;
        ASSERT_TRUE(pointer.put_to_data_device(&pointer_device));
        EXPECT_EQ(pointer_device.bytes().size(), 25u);
        pointer_device.rewind();
        PARAMETER pointer_back;
        ASSERT_TRUE(pointer_back.get_from_data_device(&pointer_device));
        EXPECT_EQ(pointer_back.as_pointer(&pointer_back.value), 0x12345678);
    }
}

TEST(PARAMETER, loading_clamps_a_value_outside_its_bounds)
{
    // INT_S32_TYPE, value 500, minimum 0, maximum 100, little-endian.
    const unsigned char stored[] = { 4, 0xF4, 0x01, 0, 0, 0, 0, 0, 0, 100, 0, 0, 0 };
    MEMORY_DEVICE device(stored, sizeof stored);
    PARAMETER p;
    ASSERT_TRUE(p.get_from_data_device(&device));
    EXPECT_EQ(p.value.s32, 100);
}

TEST(PARAMETER, bad_streams_are_refused_and_leave_it_unset)
{
    struct CASE {
        const char* name;
        std::vector<unsigned char> bytes;
    };
    const CASE cases[] = {
        { "empty", {} },
        { "short value", { 4, 1, 2 } },
        { "missing maximum", { 2, 1, 0, 2, 0 } },
        { "negative length", { 8, 0xFF, 0xFF, 0xFF, 0xFF } },
        { "huge length", { 8, 0xFF, 0xFF, 0xFF, 0x7F } },
        { "text cut short", { 8, 5, 0, 0, 0, 'a', 'b' } },
        { "second text missing", { 8, 1, 0, 0, 0, 'a' } },
    };
    for (const CASE& c : cases) {
        SCOPED_TRACE(c.name);
        MEMORY_DEVICE device(c.bytes.data(), c.bytes.size());
        PARAMETER p("held before");
        EXPECT_FALSE(p.get_from_data_device(&device));
        EXPECT_FALSE(p.is_set());
        EXPECT_EQ(p.value.text, nullptr);
    }

    // An unknown type code is an unset parameter, not a damaged stream.
    const unsigned char unset[] = { 77 };
    MEMORY_DEVICE device(unset, sizeof unset);
    PARAMETER p;
    EXPECT_TRUE(p.get_from_data_device(&device));
    EXPECT_FALSE(p.is_set());
}

TEST(PARAMETER, copy_from_duplicates_texts)
{
    PARAMETER source("abc");
    source.from_text(&source.maximum, "xyz");
    PARAMETER copy(INT_U16_TYPE);
    copy.copy_from(source);
    EXPECT_EQ(copy.type, STRING_TYPE);
    EXPECT_STREQ(copy.value.text, "abc");
    EXPECT_NE(copy.value.text, source.value.text);
    EXPECT_EQ(copy.minimum.text, nullptr);
    EXPECT_STREQ(copy.maximum.text, "xyz");
}

namespace {

// Leaves a pattern on the stack where the next call's locals will stand.
__attribute__((noinline)) void dirty_the_stack()
{
    unsigned char bytes[512];
    memset(bytes, 0xA5, sizeof bytes);
    // Read back through a volatile, so that the writes are not dropped as dead.
    volatile unsigned char last = bytes[511];
    (void)last;
}

} // namespace

TEST(PARAMETER, a_text_parameter_made_from_text_has_null_bounds_whatever_the_stack_held)
{
    dirty_the_stack();
    PARAMETER text("title");
    EXPECT_EQ(text.minimum.text, nullptr);
    EXPECT_EQ(text.maximum.text, nullptr);
    PARAMETER copy;
    copy.copy_from(text);
    EXPECT_EQ(copy.minimum.text, nullptr);
}
