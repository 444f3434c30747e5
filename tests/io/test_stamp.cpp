// The stamp's data set check: the short form that every installer under 4 GiB keeps, and the
// long form of larger data sets, with verify_stamped_file reading the file in 64-bit steps.

#include <gtest/gtest.h>
#include <zlib.h>

#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "io/folder.h"
#include "io/stamp.h"
#include "test_support.h"

TEST(STAMP_CHECK, lengths_under_4_gib_keep_the_short_form)
{
    STAMP_RECORD record;
    set_stamp_check(&record, 0xFFFFFFFFull, 0x12345678u);
    EXPECT_EQ(memcmp(record.check, "ORLUCRC1", 8), 0);
    const INT_U8 length[4] = { 0xFF, 0xFF, 0xFF, 0xFF };
    const INT_U8 crc[4] = { 0x78, 0x56, 0x34, 0x12 };
    EXPECT_EQ(memcmp(record.check + 8, length, 4), 0);
    EXPECT_EQ(memcmp(record.check + 12, crc, 4), 0);
    for (int i = 16; i < STAMP_CHECK_SIZE; ++i)
        EXPECT_EQ(record.check[i], 0) << i;
    INT_U64 read_length = 0;
    INT_U32 read_crc = 0;
    ASSERT_TRUE(stamp_check(record, &read_length, &read_crc));
    EXPECT_EQ(read_length, 0xFFFFFFFFull);
    EXPECT_EQ(read_crc, 0x12345678u);
}

TEST(STAMP_CHECK, larger_lengths_take_the_long_form)
{
    STAMP_RECORD record;
    const INT_U64 six_gib = 6ull << 30;
    set_stamp_check(&record, six_gib + 7, 0xCAFEF00Du);
    EXPECT_EQ(memcmp(record.check, "ORLUCRC2", 8), 0);
    INT_U64 length = 0;
    INT_U32 crc = 0;
    ASSERT_TRUE(stamp_check(record, &length, &crc));
    EXPECT_EQ(length, six_gib + 7);
    EXPECT_EQ(crc, 0xCAFEF00Du);
    // Through the record's file form and back.
    INT_U8 bytes[STAMP_RECORD_SIZE];
    stamp_record_to_bytes(record, bytes);
    STAMP_RECORD again;
    stamp_record_from_bytes(bytes, &again);
    ASSERT_TRUE(stamp_check(again, &length, &crc));
    EXPECT_EQ(length, six_gib + 7);

    STAMP_RECORD none;
    EXPECT_FALSE(stamp_check(none, &length, &crc));
    memcpy(none.check, "ORLUCRC3", 8);
    EXPECT_FALSE(stamp_check(none, &length, &crc));
}

namespace {

// A program with its stamp and `data` behind it as the data set, the check claiming `length`.
bool write_stamped(const std::string& path, const std::string& data, INT_U64 length)
{
    std::string program = "prologue" + std::string(stamp_marker, STAMP_MARKER_SIZE);
    size_t stamp_at = program.size();
    program += std::string(STAMP_RECORD_SIZE, '\0');
    STAMP_RECORD record;
    record.flags = STAMP_FLAG_ALWAYS | STAMP_FLAG_DATA_SET;
    record.data_offset = static_cast<INT_U32>(program.size() - 1);
    uLong crc = crc32(crc32(0L, Z_NULL, 0), reinterpret_cast<const Bytef*>(data.data()), static_cast<uInt>(data.size()));
    set_stamp_check(&record, length, static_cast<INT_U32>(crc));
    std::string file = program + data;
    stamp_record_to_bytes(record, reinterpret_cast<INT_U8*>(&file[stamp_at]));
    return write_file(path, file);
}

} // namespace

TEST(STAMP_CHECK, a_long_form_check_is_verified_against_the_file)
{
    // 100 bytes of data set: a long-form check that claims more than the file holds is damage;
    // the short form of the true length is good.
    TEMP_FOLDER temp;
    FOLDER folder;
    ASSERT_TRUE(folder.set_raw(temp.path().c_str()));
    for (INT_U64 length : { static_cast<INT_U64>(100), static_cast<INT_U64>((5ull << 30) + 100) }) {
        ASSERT_TRUE(write_stamped(temp.file("setup"), std::string(100, 'd'), length));
        EXPECT_EQ(verify_stamped_file(folder, "setup"), length == 100 ? STAMP_VERIFY_GOOD : STAMP_VERIFY_DAMAGED);
    }
}

// A splash follows the check: it hears of each percent once, in order, ending at the whole.
TEST(STAMP_CHECK, the_check_reports_its_progress_once_a_percent)
{
    TEMP_FOLDER temp;
    FOLDER folder;
    ASSERT_TRUE(folder.set_raw(temp.path().c_str()));
    // 40 pieces of the check's reading: 40 reports, each a higher percent.
    std::string data(40 * 65536, 'd');
    ASSERT_TRUE(write_stamped(temp.file("setup"), data, data.size()));

    std::vector<std::pair<INT_U64, INT_U64>> heard;
    auto listen = [](INT_U64 done, INT_U64 total, void* context) {
        static_cast<std::vector<std::pair<INT_U64, INT_U64>>*>(context)->push_back({ done, total });
    };
    ASSERT_EQ(verify_stamped_file(folder, "setup", listen, &heard), STAMP_VERIFY_GOOD);
    ASSERT_EQ(heard.size(), 40u);
    for (size_t i = 0; i < heard.size(); ++i) {
        EXPECT_EQ(heard[i].first, (i + 1) * 65536) << i;
        EXPECT_EQ(heard[i].second, data.size());
    }
}
