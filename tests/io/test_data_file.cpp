// DATA_FILE: the order marker, byte order of clients, the cache, the gzip layer and the pool.

#include <gtest/gtest.h>
#include <zlib.h>

#include <cstring>
#include <random>
#include <vector>

#include "io/data_file.h"
#include "io/folder.h"
#include "base/orlu_string.h"
#include "test_support.h"

namespace {

FOLDER folder_at(const TEMP_FOLDER& temp)
{
    FOLDER folder;
    EXPECT_TRUE(folder.set_raw(temp.path().c_str()));
    return folder;
}

std::vector<INT_U8> pattern_bytes(size_t size, unsigned seed)
{
    std::vector<INT_U8> bytes(size);
    std::mt19937 random(seed);
    for (auto& byte : bytes)
        byte = static_cast<INT_U8>(random());
    return bytes;
}

std::string gunzip_file(const std::string& path)
{
    gzFile file = gzopen(path.c_str(), "rb");
    std::string out;
    if (!file)
        return out;
    char buffer[4096];
    int got;
    while ((got = gzread(file, buffer, sizeof buffer)) > 0)
        out.append(buffer, static_cast<size_t>(got));
    gzclose(file);
    return out;
}

} // namespace

TEST(DATA_FILE, order_marker_hides_first_byte)
{
    TEMP_FOLDER temp;
    FOLDER folder = folder_at(temp);
    DATA_FILE* file = folder.open_data_file("m.bin", FILE_WRITE, ORDER_MARKER_IN_FILE, false);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(file->tell(), 0u);
    ASSERT_TRUE(device_write(file, static_cast<INT_U32>(0x11223344)));
    EXPECT_EQ(file->tell(), 4u);
    EXPECT_EQ(file->size(), 4u);
    FOLDER::close_data_file(&file);
    EXPECT_EQ(file, nullptr);
    EXPECT_EQ(read_file(temp.file("m.bin")), std::string("\x00\x44\x33\x22\x11", 5));

    file = folder.open_data_file("m.bin", FILE_READ, ORDER_MARKER_IN_FILE, false);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(file->tell(), 0u);
    EXPECT_EQ(file->size(), 4u);
    EXPECT_FALSE(file->swap_bytes);
    INT_U32 value = 0;
    ASSERT_TRUE(device_read(file, &value));
    EXPECT_EQ(value, 0x11223344u);
    EXPECT_TRUE(file->at_end());
    ASSERT_TRUE(file->seek(0, true));
    EXPECT_EQ(file->tell(), file->size());
    ASSERT_TRUE(file->seek(static_cast<INT_U32>(-2), true));
    EXPECT_EQ(file->tell(), 2u);
    FOLDER::close_data_file(&file);
}

TEST(DATA_FILE, marker_byte_other_than_zero_means_swapped)
{
    TEMP_FOLDER temp;
    FOLDER folder = folder_at(temp);
    // Written by a machine of the other byte order: marker 1, then big-endian fields.
    ASSERT_TRUE(write_file(temp.file("be.bin"), std::string("\x01\x12\x34\xAA\xBB\xCC\xDD", 7)));
    DATA_FILE* file = folder.open_data_file("be.bin", FILE_READ, ORDER_MARKER_IN_FILE, false);
    ASSERT_NE(file, nullptr);
    EXPECT_TRUE(file->swap_bytes);
    INT_U16 small = 0;
    INT_U32 large = 0;
    ASSERT_TRUE(device_read(file, &small));
    ASSERT_TRUE(device_read(file, &large));
    EXPECT_EQ(small, 0x1234);
    EXPECT_EQ(large, 0xAABBCCDDu);
    FOLDER::close_data_file(&file);

    // Update keeps the file's order: what is appended is big-endian too.
    file = folder.open_data_file("be.bin", FILE_UPDATE, ORDER_MARKER_IN_FILE, false);
    ASSERT_NE(file, nullptr);
    EXPECT_TRUE(file->swap_bytes);
    EXPECT_EQ(file->tell(), 6u);
    ASSERT_TRUE(device_write(file, static_cast<INT_U16>(0x5678)));
    FOLDER::close_data_file(&file);
    EXPECT_EQ(read_file(temp.file("be.bin")), std::string("\x01\x12\x34\xAA\xBB\xCC\xDD\x56\x78", 9));
}

TEST(DATA_FILE, clients_round_trip_in_both_byte_orders)
{
    TEMP_FOLDER temp;
    FOLDER folder = folder_at(temp);
    for (INT_U8 swap = 0; swap < 2; ++swap) {
        DATA_FILE* file = folder.open_data_file("order.bin", FILE_WRITE, swap, false);
        ASSERT_NE(file, nullptr);
        EXPECT_EQ(file->swap_bytes, swap);
        ORLU_STRING text("abc");
        ASSERT_TRUE(device_write(file, static_cast<INT_U16>(0x0102)));
        ASSERT_TRUE(device_write(file, static_cast<INT_U32>(0x03040506)));
        ASSERT_TRUE(device_write(file, static_cast<INT_U64>(0x0708090A0B0C0D0EULL)));
        ASSERT_TRUE(text.put_to_data_device(file));
        ASSERT_TRUE(folder.put_to_data_device(file));
        FOLDER::close_data_file(&file);

        std::string bytes = read_file(temp.file("order.bin"));
        ASSERT_EQ(bytes.size(), 2u + 4 + 8 + 4 + 3 + FOLDER_STREAM_SIZE);
        std::string head = swap ? std::string("\x01\x02\x03\x04\x05\x06", 6) : std::string("\x02\x01\x06\x05\x04\x03", 6);
        EXPECT_EQ(bytes.substr(0, 6), head);
        std::string length = swap ? std::string("\0\0\0\x03", 4) : std::string("\x03\0\0\0", 4);
        EXPECT_EQ(bytes.substr(14, 4), length);

        file = folder.open_data_file("order.bin", FILE_READ, swap, false);
        ASSERT_NE(file, nullptr);
        INT_U16 a = 0;
        INT_U32 b = 0;
        INT_U64 c = 0;
        ORLU_STRING back;
        FOLDER where;
        ASSERT_TRUE(device_read(file, &a));
        ASSERT_TRUE(device_read(file, &b));
        ASSERT_TRUE(device_read(file, &c));
        ASSERT_TRUE(back.get_from_data_device(file));
        ASSERT_TRUE(where.get_from_data_device(file));
        EXPECT_EQ(a, 0x0102);
        EXPECT_EQ(b, 0x03040506u);
        EXPECT_EQ(c, 0x0708090A0B0C0D0EULL);
        EXPECT_STREQ(back.c_str(), "abc");
        EXPECT_TRUE(where.same_as(folder));
        FOLDER::close_data_file(&file);
    }
}

TEST(DATA_FILE, short_read_sets_failed_and_next_good_read_clears_it)
{
    TEMP_FOLDER temp;
    FOLDER folder = folder_at(temp);
    ASSERT_TRUE(write_file(temp.file("short.bin"), std::string("\x01\x02\x03", 3)));
    DATA_FILE* file = folder.open_data_file("short.bin", FILE_READ, 0, false);
    ASSERT_NE(file, nullptr);
    INT_U16 small = 0;
    ASSERT_TRUE(device_read(file, &small));
    EXPECT_FALSE(file->failed);
    INT_U32 large = 0;
    EXPECT_FALSE(device_read(file, &large));
    EXPECT_TRUE(file->failed);
    ASSERT_TRUE(file->seek(0, false));
    ASSERT_TRUE(device_read(file, &small));
    EXPECT_FALSE(file->failed);
    // A folder record cut short is a failure, not a crash.
    FOLDER where;
    EXPECT_FALSE(where.get_from_data_device(file));
    FOLDER::close_data_file(&file);
}

TEST(DATA_FILE, bad_arguments_give_no_device)
{
    TEMP_FOLDER temp;
    FOLDER folder = folder_at(temp);
    EXPECT_EQ(folder.open_data_file(nullptr, FILE_WRITE, 0, false), nullptr);
    EXPECT_EQ(folder.open_data_file("", FILE_WRITE, 0, false), nullptr);
    EXPECT_EQ(folder.open_data_file("x", 3, 0, false), nullptr);
    EXPECT_EQ(folder.open_data_file("missing", FILE_READ, 0, false), nullptr);
    EXPECT_EQ(folder.open_data_file("x", FILE_UPDATE, 0, true), nullptr);
    DATA_FILE* none = nullptr;
    FOLDER::close_data_file(&none);
}

TEST(DATA_FILE, write_of_cache_size_goes_straight_to_the_file)
{
    TEMP_FOLDER temp;
    FOLDER folder = folder_at(temp);
    DATA_FILE* file = folder.open_data_file("big.bin", FILE_WRITE, 0, false, 1024);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(file->cache_size(), 1024);
    std::vector<INT_U8> bytes = pattern_bytes(1024, 1);
    ASSERT_EQ(file->write(bytes.data(), 1024), 1024);
    fflush(nullptr);
    EXPECT_EQ(read_file(temp.file("big.bin")).size(), 1024u);
    // A smaller write stays in the cache until the file is closed.
    ASSERT_EQ(file->write(bytes.data(), 10), 10);
    EXPECT_EQ(file->size(), 1034u);
    fflush(nullptr);
    EXPECT_EQ(read_file(temp.file("big.bin")).size(), 1024u);
    FOLDER::close_data_file(&file);
    EXPECT_EQ(read_file(temp.file("big.bin")).size(), 1034u);
}

TEST(DATA_FILE, seek_back_inside_cache_overwrites_and_keeps_fill)
{
    TEMP_FOLDER temp;
    FOLDER folder = folder_at(temp);
    DATA_FILE* file = folder.open_data_file("over.bin", FILE_WRITE, ORDER_MARKER_IN_FILE, false);
    ASSERT_NE(file, nullptr);
    ASSERT_EQ(file->write("0123456789", 10), 10);
    ASSERT_TRUE(file->seek(2, false));
    ASSERT_EQ(file->write("ab", 2), 2);
    EXPECT_EQ(file->tell(), 4u);
    EXPECT_EQ(file->size(), 10u);
    FOLDER::close_data_file(&file);
    EXPECT_EQ(read_file(temp.file("over.bin")), std::string("\0" "01ab456789", 11));
}

// A file many caches long, written, read and updated in odd-sized pieces at random places, is
// checked against a plain copy held in memory.
TEST(DATA_FILE, random_access_across_cache_boundaries_matches_model)
{
    TEMP_FOLDER temp;
    FOLDER folder = folder_at(temp);
    const size_t total = 20000;
    std::vector<INT_U8> model = pattern_bytes(total, 7);

    DATA_FILE* file = folder.open_data_file("walk.bin", FILE_WRITE, ORDER_MARKER_IN_FILE, false, 1024);
    ASSERT_NE(file, nullptr);
    for (size_t at = 0; at < total; at += 37) {
        INT_S32 piece = static_cast<INT_S32>(std::min<size_t>(37, total - at));
        ASSERT_EQ(file->write(model.data() + at, piece), piece);
    }
    EXPECT_EQ(file->size(), total);
    FOLDER::close_data_file(&file);
    ASSERT_EQ(read_file(temp.file("walk.bin")).size(), total + 1);

    std::mt19937 random(99);
    file = folder.open_data_file("walk.bin", FILE_UPDATE, ORDER_MARKER_IN_FILE, false, 1024);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(file->tell(), total);
    for (int step = 0; step < 400; ++step) {
        INT_U32 at = static_cast<INT_U32>(random() % total);
        INT_S32 length = static_cast<INT_S32>(random() % 3000);
        if (at + static_cast<INT_U32>(length) > total)
            length = static_cast<INT_S32>(total - at);
        ASSERT_TRUE(file->seek(at, false));
        ASSERT_EQ(file->tell(), at);
        if (random() % 2) {
            std::vector<INT_U8> got(static_cast<size_t>(length) + 1);
            ASSERT_EQ(file->read(got.data(), length), length) << "step " << step;
            ASSERT_EQ(memcmp(got.data(), model.data() + at, static_cast<size_t>(length)), 0) << "step " << step;
        } else {
            std::vector<INT_U8> fresh = pattern_bytes(static_cast<size_t>(length), static_cast<unsigned>(step));
            ASSERT_EQ(file->write(fresh.data(), length), length);
            memcpy(model.data() + at, fresh.data(), static_cast<size_t>(length));
        }
        ASSERT_EQ(file->tell(), at + static_cast<INT_U32>(length));
    }
    EXPECT_EQ(file->size(), total);
    FOLDER::close_data_file(&file);

    std::string on_disk = read_file(temp.file("walk.bin"));
    ASSERT_EQ(on_disk.size(), total + 1);
    EXPECT_EQ(memcmp(on_disk.data() + 1, model.data(), total), 0);

    // Read through to the end in pieces that never line up with the cache.
    file = folder.open_data_file("walk.bin", FILE_READ, ORDER_MARKER_IN_FILE, false, 1024);
    ASSERT_NE(file, nullptr);
    std::vector<INT_U8> all(total + 100);
    size_t got = 0;
    while (!file->at_end()) {
        INT_S32 piece = file->read(all.data() + got, 53);
        ASSERT_GT(piece, 0);
        got += static_cast<size_t>(piece);
    }
    EXPECT_EQ(got, total);
    EXPECT_EQ(memcmp(all.data(), model.data(), total), 0);

    // Jumps: inside the cache, just behind it, and far from it, which bypasses the cache.
    for (int step = 0; step < 300; ++step) {
        INT_U32 at = static_cast<INT_U32>(random() % (total - 600));
        INT_S32 length = 1 + static_cast<INT_S32>(random() % 600);
        std::vector<INT_U8> piece(static_cast<size_t>(length));
        ASSERT_TRUE(file->read_at(at, piece.data(), length)) << "step " << step;
        ASSERT_EQ(memcmp(piece.data(), model.data() + at, piece.size()), 0) << "step " << step;
    }
    INT_U8 beyond[8];
    EXPECT_FALSE(file->read_at(static_cast<INT_U32>(total) - 4, beyond, 8));
    FOLDER::close_data_file(&file);
}

TEST(DATA_FILE, gzip_files_round_trip_and_are_plain_gzip)
{
    TEMP_FOLDER temp;
    FOLDER folder = folder_at(temp);
    std::vector<INT_U8> bytes = pattern_bytes(5000, 3);
    for (size_t i = 0; i < bytes.size(); i += 3)
        bytes[i] = 'z';
    DATA_FILE* file = folder.open_data_file("c.gz", FILE_WRITE, ORDER_MARKER_IN_FILE, true, 1024);
    ASSERT_NE(file, nullptr);
    EXPECT_TRUE(file->is_compressed());
    ASSERT_TRUE(device_write(file, static_cast<INT_U32>(0xCAFEF00D)));
    ASSERT_EQ(file->write(bytes.data(), 5000), 5000);
    FOLDER::close_data_file(&file);

    std::string raw = read_file(temp.file("c.gz"));
    ASSERT_GE(raw.size(), 2u);
    EXPECT_EQ(static_cast<INT_U8>(raw[0]), 0x1F);
    EXPECT_EQ(static_cast<INT_U8>(raw[1]), 0x8B);
    std::string plain = gunzip_file(temp.file("c.gz"));
    ASSERT_EQ(plain.size(), 5005u);
    EXPECT_EQ(plain.substr(0, 5), std::string("\x00\x0D\xF0\xFE\xCA", 5));

    file = folder.open_data_file("c.gz", FILE_READ, ORDER_MARKER_IN_FILE, true, 1024);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(file->size(), 5004u);
    INT_U32 head = 0;
    ASSERT_TRUE(device_read(file, &head));
    EXPECT_EQ(head, 0xCAFEF00Du);
    std::vector<INT_U8> back(5000);
    ASSERT_EQ(file->read(back.data(), 5000), 5000);
    EXPECT_EQ(back, bytes);
    EXPECT_TRUE(file->at_end());
    // Back to an offset outside the cache: the layer starts over.
    ASSERT_TRUE(file->seek(10, false));
    INT_U8 one = 0;
    ASSERT_EQ(file->read(&one, 1), 1);
    EXPECT_EQ(one, bytes[6]);
    FOLDER::close_data_file(&file);
}

TEST(DATA_FILE, pool_lends_fitting_buffers_and_takes_them_back)
{
    TEMP_FOLDER temp;
    FOLDER folder = folder_at(temp);
    set_file_cache_pool(2);
    EXPECT_EQ(file_cache_pool_slots(), 2);
    DATA_FILE* a = folder.open_data_file("a", FILE_WRITE, 0, false, 4096);
    DATA_FILE* b = folder.open_data_file("b", FILE_WRITE, 0, false, 2048);
    DATA_FILE* c = folder.open_data_file("c", FILE_WRITE, 0, false, 2048);
    ASSERT_TRUE(a && b && c);
    EXPECT_EQ(a->pool_slot(), 0);
    EXPECT_EQ(b->pool_slot(), 1);
    EXPECT_EQ(c->pool_slot(), -1);
    FOLDER::close_data_file(&b);
    // A smaller cache fits the 2048-byte buffer of slot 1; a larger one does not.
    DATA_FILE* d = folder.open_data_file("d", FILE_WRITE, 0, false, 1024);
    DATA_FILE* e = folder.open_data_file("e", FILE_WRITE, 0, false, 8192);
    ASSERT_TRUE(d && e);
    EXPECT_EQ(d->pool_slot(), 1);
    EXPECT_EQ(e->pool_slot(), -1);
    // Emptying the pool while files are open leaves their buffers to them.
    set_file_cache_pool(0);
    EXPECT_EQ(file_cache_pool_slots(), 0);
    ASSERT_EQ(a->write("still works", 11), 11);
    FOLDER::close_data_file(&a);
    FOLDER::close_data_file(&c);
    FOLDER::close_data_file(&d);
    FOLDER::close_data_file(&e);
    EXPECT_EQ(read_file(temp.file("a")), "still works");
}

TEST(DATA_FILE, cache_size_is_clamped)
{
    DATA_FILE small(10);
    EXPECT_EQ(small.cache_size(), DATA_FILE_MIN_CACHE);
    DATA_FILE standard(-1);
    EXPECT_EQ(standard.cache_size(), DATA_FILE_DEFAULT_CACHE);
    EXPECT_FALSE(standard.is_open());
    EXPECT_TRUE(standard.at_end());
    EXPECT_EQ(standard.size(), 0u);
    INT_U8 byte;
    EXPECT_EQ(standard.read(&byte, 1), 0);
}
