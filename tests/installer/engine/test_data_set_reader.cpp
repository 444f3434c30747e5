// Members read straight out of a finished installer's data set: the same bytes as the unpacked
// package gives, every chunk inflated once when the members are read in order, the members
// behind the payload found without reading the payload, and the data sets that must be unpacked
// the old way refused at open.

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "base/error_report.h"
#include "installer/engine/data_set.h"
#include "installer/engine/data_set_reader.h"
#include "installer/engine/database.h"
#include "io/data_file.h"
#include "io/folder.h"
#include "io/package.h"
#include "io/stamp.h"
#include "test_support.h"

namespace {

bool collect(const void* bytes, INT_U32 size, void* context)
{
    static_cast<std::string*>(context)->append(static_cast<const char*>(bytes), size);
    return true;
}

class DATA_SET_READING : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(folder.set_raw(temp.path().c_str())); }

    // Packs `count` files of mixed bytes in two install types, a licence and a readme, with the
    // given cache size and compression.
    void pack(int count, const std::string& cache, bool compressed = true)
    {
        std::string files[2];
        for (int i = 0; i < count; ++i) {
            std::string name = "file" + std::to_string(i) + ".bin";
            contents.push_back(mixed_bytes(static_cast<size_t>(1000 + (i * 7919) % 40000), static_cast<unsigned>(i), 500, 9000, 3, 5));
            ASSERT_TRUE(write_file(temp.file(name), contents.back()));
            files[i % 2] += "\t\t<FILE src_name=\"" + name + "\"/>\n";
        }
        ASSERT_TRUE(write_file(temp.file("licence.txt"), "the licence"));
        ASSERT_TRUE(write_file(temp.file("readme.txt"), "the readme"));
        std::string xml = "<INSTALLER file_cache_sz=\"" + cache + "\" installation_id=\"5\">\n"
            "\t<INSTALLER_CLIENT path=\"" + std::string(ORLU_BUILD_DIR) + "\" filename=\"installer\" platform=\"linux\" compress_data=\""
            + (compressed ? "yes" : "no") + "\"/>\n"
            "\t<INSTALLATION name=\"one\">\n" + files[0] + "\t</INSTALLATION>\n"
            "\t<INSTALLATION name=\"two\">\n" + files[1] + "\t</INSTALLATION>\n"
            "\t<LANGUAGE name=\"en\">\n\t\t<LICENCE path=\".\" filename=\"licence.txt\"/>\n"
            "\t\t<README path=\".\" filename=\"readme.txt\" lines=\"3\"/>\n\t</LANGUAGE>\n</INSTALLER>\n";
        ASSERT_TRUE(write_file(temp.file("installer.xml"), xml));
        RUN_RESULT run = run_program(packer_path(), { "build", "installer.xml", "-o", "setup", "--quiet" },
            { "SOURCE_DATE_EPOCH=1700000000" }, temp.path());
        ASSERT_EQ(run.status, 0) << run.errors;
    }

    // The data set's header, read as the run-time reads it.
    bool header_of(const char* name, DATA_SET_HEADER* header)
    {
        DATA_FILE* plain = folder.open_data_file(name, FILE_READ, 0, false);
        if (!plain)
            return false;
        STAMP_RECORD record;
        bool stamped = read_stamp(plain, &record);
        FOLDER::close_data_file(&plain);
        DATA_FILE* device = stamped ? folder.open_data_file(name, FILE_READ, ORDER_MARKER_IN_FILE, false) : nullptr;
        bool ok = device && read_data_set_header(device, record.data_offset, nullptr, header);
        FOLDER::close_data_file(&device);
        return ok;
    }

    // The database of the data set, read through the reader.
    std::unique_ptr<DATABASE> load(DATA_SET_READER* reader)
    {
        std::unique_ptr<DATABASE> database(new DATABASE);
        database->use_data_set(reader);
        EXPECT_TRUE(database->load_data_set("ignored"));
        return database;
    }

    TEMP_FOLDER temp;
    FOLDER folder;
    std::vector<std::string> contents;
};

} // namespace

TEST_F(DATA_SET_READING, members_come_out_as_the_unpacked_package_gives_them_each_chunk_inflated_once)
{
    // A small cache: many chunks, whole and short, and blocks across chunk boundaries.
    pack(60, "4096");
    DATA_SET_HEADER header;
    ASSERT_TRUE(header_of("setup", &header));
    DATA_SET_READER* reader = new DATA_SET_READER;
    ASSERT_TRUE(reader->open(folder, "setup", header)) << last_error_text();
    std::unique_ptr<DATABASE> database = load(reader);
    // The last payload file's packed name stands in the database's stream too, in the same
    // form as in its entry: the members behind the payload must still be found right.
    ASSERT_EQ(database->installation_count, 2);
    EXPECT_TRUE(reader->tail_indexed());
    EXPECT_TRUE(database->has_licence());
    EXPECT_TRUE(database->has_readme());
    EXPECT_FALSE(database->has_release_notes());
    EXPECT_EQ(database->current_page, PAGE_LICENCE);
    ASSERT_GT(reader->chunk_count(), 200u);

    // Reading the database and the texts behind the payload took only chunks from the end.
    INT_U64 before_payload = reader->chunks_inflated();
    EXPECT_LT(before_payload, reader->chunk_count() / 4);

    // Both install types in order, as an install takes them: every payload chunk once.
    for (INT_S16 i = 0; i < 2; ++i) {
        const INSTALLATION_RECORD& installation = database->installations[i];
        for (INT_S16 f = 0; f < installation.file_count; ++f) {
            std::string got;
            ASSERT_TRUE(reader->read_member(installation.files[f].packed_name, collect, &got))
                << installation.files[f].packed_name << ": " << last_error_text();
            int number = atoi(installation.files[f].src_name + 4);
            EXPECT_TRUE(got == contents[static_cast<size_t>(number)]) << installation.files[f].src_name;
        }
    }
    EXPECT_LE(reader->chunks_inflated() - before_payload, reader->chunk_count() + 1);

    // The package unpacked the old way holds the same bytes.
    INT_S32 chunks = 0;
    ASSERT_TRUE(unpack_installer(folder, "setup", folder, "installer.pkg", nullptr, &header, &chunks));
    PACKAGE package(folder, "installer.pkg", false, 0, true, true);
    EXPECT_EQ(reader->package_size() + 1, read_file(temp.file("installer.pkg")).size());
    for (const char* name : { "licence-0", "readme-0", "database.bin", "one0003", "two000A" }) {
        std::string direct, unpacked;
        EXPECT_TRUE(reader->read_member(name, collect, &direct)) << name;
        EXPECT_TRUE(package.read_member(name, collect, &unpacked)) << name;
        EXPECT_TRUE(direct == unpacked) << name;
    }
    EXPECT_TRUE(reader->extract_file(folder, "licence.out", "licence-0"));
    EXPECT_EQ(read_file(temp.file("licence.out")), "the licence");
}

TEST_F(DATA_SET_READING, a_name_that_is_no_members_costs_no_payload_reading)
{
    pack(40, "4096");
    DATA_SET_HEADER header;
    ASSERT_TRUE(header_of("setup", &header));
    DATA_SET_READER* reader = new DATA_SET_READER;
    ASSERT_TRUE(reader->open(folder, "setup", header));
    std::unique_ptr<DATABASE> database = load(reader);
    INT_U64 before = reader->chunks_inflated();
    // Fonts the data set does not carry, a text of a language it lacks.
    EXPECT_FALSE(reader->has_member("BabelSans.ttf"));
    EXPECT_FALSE(reader->has_member("release_notes-0"));
    EXPECT_FALSE(reader->has_member("licence-3"));
    EXPECT_EQ(reader->chunks_inflated(), before);
    // A payload name that is not there is looked for, and not found.
    EXPECT_FALSE(reader->has_member("one00FF"));
    std::string got;
    EXPECT_FALSE(reader->read_member("one00FF", collect, &got));
    EXPECT_EQ(last_error_code(), ERROR_MEMBER_NOT_FOUND);
    // Members are still found after the walk went to the end.
    EXPECT_TRUE(reader->read_member("one0001", collect, &got));
    EXPECT_TRUE(got == contents[0]);
}

TEST_F(DATA_SET_READING, stored_chunks_and_one_large_cache_read_the_same_way)
{
    for (bool compressed : { false, true }) {
        contents.clear();
        pack(12, compressed ? "1048576" : "8192", compressed);
        DATA_SET_HEADER header;
        ASSERT_TRUE(header_of("setup", &header));
        EXPECT_EQ(header.compressed, compressed ? 1 : 0);
        DATA_SET_READER* reader = new DATA_SET_READER;
        ASSERT_TRUE(reader->open(folder, "setup", header)) << last_error_text();
        std::unique_ptr<DATABASE> database = load(reader);
        std::string got;
        ASSERT_TRUE(reader->read_member(database->installations[1].files[2].packed_name, collect, &got));
        EXPECT_TRUE(got == contents[5]);
    }
}

namespace {

// Rewrites the data set behind `name` with the given package (byte-order byte first), in
// compressed chunks of `piece` bytes. The stamp's check is not kept up: the reader does not look
// at it.
bool rewrite_data_set(const TEMP_FOLDER& temp, const DATA_SET_HEADER& header, const std::string& package, size_t piece)
{
    std::string bytes = read_file(temp.file("setup"));
    bytes.resize(header.chunk_start + 1);
    bytes += data_set_chunks(package.substr(1), piece, true);
    return write_file(temp.file("setup"), bytes);
}

} // namespace

TEST_F(DATA_SET_READING, data_sets_whose_end_cannot_be_placed_are_refused_at_open)
{
    pack(10, "4096");
    DATA_SET_HEADER header;
    ASSERT_TRUE(header_of("setup", &header));
    INT_S32 chunks = 0;
    ASSERT_TRUE(unpack_installer(folder, "setup", folder, "installer.pkg", nullptr, &header, &chunks));
    std::string package = read_file(temp.file("installer.pkg"));

    // Bytes behind the last block: the package's end is not where its last member ends.
    ASSERT_TRUE(rewrite_data_set(temp, header, package + std::string(5000, 'x'), 3000));
    ASSERT_TRUE(header_of("setup", &header));
    DATA_SET_READER behind;
    EXPECT_FALSE(behind.open(folder, "setup", header));

    // A last member whose entry does not lead to the end.
    std::string moved = package;
    INT_U32 last_entry = 0;
    memcpy(&last_entry, moved.data() + 1 + 26 + 12, 4);
    INT_U32 wrong = 0x10;
    memcpy(&moved[1 + 26 + 12], &wrong, 4);
    ASSERT_TRUE(rewrite_data_set(temp, header, moved, 3000));
    ASSERT_TRUE(header_of("setup", &header));
    DATA_SET_READER lost;
    EXPECT_FALSE(lost.open(folder, "setup", header));

    // The same package in other chunks reads fine.
    ASSERT_TRUE(rewrite_data_set(temp, header, package, 3000));
    ASSERT_TRUE(header_of("setup", &header));
    DATA_SET_READER* whole = new DATA_SET_READER;
    ASSERT_TRUE(whole->open(folder, "setup", header)) << last_error_text();
    std::unique_ptr<DATABASE> database = load(whole);
    std::string got;
    EXPECT_TRUE(whole->read_member("two0002", collect, &got));
    EXPECT_TRUE(got == contents[3]);

    // A chunk that does not inflate: the members in it fail, the others still read.
    std::string bytes = read_file(temp.file("setup"));
    size_t middle = header.chunk_start + 1 + (bytes.size() - header.chunk_start) / 2;
    for (size_t i = 0; i < 64; ++i)
        bytes[middle + i] = static_cast<char>(bytes[middle + i] ^ 0x5A);
    ASSERT_TRUE(write_file(temp.file("setup"), bytes));
    DATA_SET_READER damaged;
    if (damaged.open(folder, "setup", header)) {
        int failed = 0;
        for (int i = 0; i < 10; ++i) {
            std::string name = std::string(i % 2 ? "two" : "one") + "000" + std::to_string(i / 2 + 1);
            std::string member;
            failed += !damaged.read_member(name.c_str(), collect, &member);
        }
        EXPECT_GT(failed, 0);
    }
}
