// A data set of several packages unpacked the old way, as the run-time does when it cannot read a
// data set in place: every package to a file of its own, members of package N found there by
// their packed names, every file installed whole; layouts that do not agree with themselves or
// with their database refused as damage, leaving nothing behind.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "base/error_report.h"
#include "installer/engine/data_set.h"
#include "installer/engine/database.h"
#include "io/data_file.h"
#include "io/folder.h"
#include "io/member_store.h"
#include "io/package.h"
#include "io/stamp.h"
#include "test_support.h"

namespace {

bool collect(const void* bytes, INT_U32 size, void* context)
{
    static_cast<std::string*>(context)->append(static_cast<const char*>(bytes), size);
    return true;
}

const std::string SEPARATOR(4, '\0');

class UNPACKED_PACKAGES : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(here.set_raw(temp.path().c_str()));
        home = temp.file("home");
        ASSERT_EQ(mkdir(home.c_str(), 0755), 0);
        ASSERT_EQ(mkdir((home + "/tmp").c_str(), 0755), 0);
        ASSERT_TRUE(write_several_packages_source(
            temp, [](size_t size, unsigned seed) { return interleaved_bytes(size, seed, 2, 7); }, &contents));
        RUN_RESULT run = run_program(packer_path(),
            { "build", "installer.xml", "-o", "setup", "--client", installer_path(), "--quiet", "--package-limit", "200000" },
            { "SOURCE_DATE_EPOCH=1700000000" }, temp.path());
        ASSERT_EQ(run.status, 0) << run.errors;
        ASSERT_TRUE(split("setup"));
        ASSERT_GE(packages.size(), 3u) << "the payload must need several packages";
    }

    // The installer cut up: everything before the first chunk, and each package's bytes as its
    // chunks joined give them, in data set order (the main one last).
    bool split(const char* name)
    {
        std::string file = read_file(temp.file(name));
        DATA_FILE* plain = here.open_data_file(name, FILE_READ, 0, false);
        STAMP_RECORD record;
        bool stamped = plain && read_stamp(plain, &record);
        FOLDER::close_data_file(&plain);
        DATA_FILE* device = stamped ? here.open_data_file(name, FILE_READ, ORDER_MARKER_IN_FILE, false) : nullptr;
        DATA_SET_HEADER header;
        bool read = device && read_data_set_header(device, record.data_offset, nullptr, &header);
        FOLDER::close_data_file(&device);
        if (!read || !header.compressed)
            return false;
        size_t at = header.chunk_start + 1;
        front = file.substr(0, at);
        packages.assign(1, std::string());
        std::vector<Bytef> inflated(header.file_cache_size);
        while (at + 4 <= file.size()) {
            const unsigned char* length_bytes = reinterpret_cast<const unsigned char*>(file.data() + at);
            INT_U32 length = (INT_U32(length_bytes[0]) << 24) | (INT_U32(length_bytes[1]) << 16)
                | (INT_U32(length_bytes[2]) << 8) | length_bytes[3];
            at += 4;
            if (length == 0) {
                packages.emplace_back();
                continue;
            }
            uLongf size = inflated.size();
            if (at + length > file.size()
                || uncompress(inflated.data(), &size, reinterpret_cast<const Bytef*>(file.data() + at), length) != Z_OK)
                return false;
            packages.back().append(reinterpret_cast<const char*>(inflated.data()), size);
            at += length;
        }
        return at == file.size();
    }

    // A package's bytes as compressed chunks of at most 30000 bytes each.
    static std::string chunks_of(const std::string& package) { return data_set_chunks(package, 30000, true); }

    // The packages joined again as chunks, parted by chunks of length 0.
    std::string chunks_of_all() const
    {
        std::string out;
        for (size_t p = 0; p < packages.size(); ++p)
            out += (p ? SEPARATOR : std::string()) + chunks_of(packages[p]);
        return out;
    }

    // Writes the installer `name` with these chunks behind its front, and the stamp's check
    // computed again: damage that the check does not catch.
    bool write_installer(const char* name, const std::string& chunks)
    {
        std::string bytes = front + chunks;
        size_t stamp_at = 0;
        if (!find_stamp_in(reinterpret_cast<const INT_U8*>(bytes.data()), bytes.size(), &stamp_at))
            return false;
        STAMP_RECORD record;
        stamp_record_from_bytes(reinterpret_cast<const INT_U8*>(bytes.data()) + stamp_at, &record);
        size_t data_start = static_cast<size_t>(record.data_offset) + 1;
        uLong crc = crc32(0L, Z_NULL, 0);
        crc = crc32(crc, reinterpret_cast<const Bytef*>(bytes.data() + data_start), static_cast<uInt>(bytes.size() - data_start));
        set_stamp_check(&record, bytes.size() - data_start, static_cast<INT_U32>(crc));
        INT_U8 record_bytes[STAMP_RECORD_SIZE];
        stamp_record_to_bytes(record, record_bytes);
        memcpy(&bytes[stamp_at], record_bytes, STAMP_RECORD_SIZE);
        return write_file(temp.file(name), bytes) && chmod(temp.file(name).c_str(), 0755) == 0;
    }

    RUN_RESULT install(const char* name, const std::string& target)
    {
        // Channel 0 tells which way the data set was read.
        return run_program(temp.file(name), { "--orlu-showdebug=0", "-a", "-i", target, "-k", "none" },
            { "HOME=" + home, "DISPLAY=", "TMPDIR=" + home + "/tmp" });
    }

    // What the last run left in its temporary folder.
    std::string left_in_temp() const
    {
        RUN_RESULT found = run_program("/usr/bin/find", { home + "/tmp", "-mindepth", "1" });
        return found.output;
    }

    // The database of an installer unpacked into "unpacked.pkg" and the packages beside it.
    std::unique_ptr<DATABASE> load_unpacked(const char* name, bool* loaded, bool* damaged)
    {
        DATA_SET_HEADER header;
        INT_U32 count = 0;
        std::unique_ptr<DATABASE> database(new DATABASE);
        *loaded = false;
        if (!unpack_installer(here, name, here, "unpacked.pkg", nullptr, &header, nullptr, &count)
            || !database->data_folder.set_raw(temp.path().c_str()))
            return database;
        database->use_unpacked_packages(count);
        *loaded = database->load_data_set("unpacked.pkg", damaged);
        return database;
    }

    TEMP_FOLDER temp;
    FOLDER here;
    std::string home;
    std::vector<std::string> contents;
    std::string front;
    std::vector<std::string> packages;
};

} // namespace

TEST_F(UNPACKED_PACKAGES, every_package_is_unpacked_beside_the_main_one_and_read_by_packed_name)
{
    DATA_SET_HEADER header;
    INT_S32 chunks = 0;
    INT_U32 count = 0;
    ASSERT_TRUE(unpack_installer(here, "setup", here, "main.pkg", nullptr, &header, &chunks, &count));
    ASSERT_EQ(count, packages.size());
    // Byte-order byte, then exactly what the chunks of each package give, in data set order.
    EXPECT_TRUE(read_file(temp.file("main.pkg")).substr(1) == packages.back());
    for (size_t n = 1; n < count; ++n)
        EXPECT_TRUE(read_file(temp.file("main.pkg." + std::to_string(n))).substr(1) == packages[n - 1]) << n;
    EXPECT_NE(access(temp.file("main.pkg." + std::to_string(count)).c_str(), F_OK), 0);

    // Loaded with its packages, the database's members are every file, whatever package holds it.
    std::unique_ptr<DATABASE> database(new DATABASE);
    ASSERT_TRUE(database->data_folder.set_raw(temp.path().c_str()));
    database->use_unpacked_packages(count);
    bool damaged = true;
    ASSERT_TRUE(database->load_data_set("main.pkg", &damaged)) << last_error_text();
    EXPECT_FALSE(damaged);
    MEMBER_STORE* store = database->members();
    ASSERT_NE(store, nullptr);
    EXPECT_NE(store, static_cast<MEMBER_STORE*>(database->package));
    const INSTALLATION_RECORD& files = database->installations[0];
    ASSERT_EQ(files.file_count, 8);
    EXPECT_STREQ(files.files[0].packed_name, "installer.pkg.1/main0001");
    for (INT_S16 f = 0; f < files.file_count; ++f) {
        std::string bytes;
        EXPECT_TRUE(store->read_member(files.files[f].packed_name, collect, &bytes)) << files.files[f].packed_name;
        EXPECT_TRUE(bytes == contents[static_cast<size_t>(f)]) << files.files[f].packed_name;
        const char* member = nullptr;
        EXPECT_NE(database->package_of(files.files[f].packed_name, &member), nullptr);
        EXPECT_EQ(strchr(member, '/'), nullptr) << member;
    }
    EXPECT_TRUE(database->has_readme());
    ASSERT_TRUE(store->extract_file(here, "first.out", files.files[0].packed_name));
    EXPECT_TRUE(read_file(temp.file("first.out")) == contents[0]);
    // A package the data set lacks, or a member in the wrong one, is no member.
    EXPECT_FALSE(store->has_member("installer.pkg.0/main0001"));
    EXPECT_FALSE(store->has_member(("installer.pkg." + std::to_string(count) + "/main0001").c_str()));
    EXPECT_EQ(last_error_code(), ERROR_MEMBER_NOT_FOUND);
    EXPECT_FALSE(store->has_member("installer.pkg.1/main0008"));

    // Side packages are removed by their owner's helper, the main one left alone.
    delete_side_packages(here, "main.pkg", count);
    for (size_t n = 1; n < count; ++n)
        EXPECT_NE(access(temp.file("main.pkg." + std::to_string(n)).c_str(), F_OK), 0) << n;
    EXPECT_EQ(access(temp.file("main.pkg").c_str(), F_OK), 0);
}

TEST_F(UNPACKED_PACKAGES, a_data_set_that_cannot_be_read_in_place_installs_every_file_from_every_package)
{
    // Bytes behind the main package's last block leave its end unknown to the reader in place:
    // the run-time unpacks the data set instead.
    packages.back() += std::string(3000, '\0');
    ASSERT_TRUE(write_installer("fallback", chunks_of_all()));
    std::string target = temp.file("target");
    RUN_RESULT run = install("fallback", target);
    ASSERT_EQ(run.status, 0) << run.output;
    EXPECT_NE(run.output.find("Data set unpacked to "), std::string::npos) << run.output;
    EXPECT_NE(run.output.find(": " + std::to_string(packages.size()) + " packages\n"), std::string::npos) << run.output;
    EXPECT_NE(run.output.find("8 installed, 0 skipped, 0 failed"), std::string::npos) << run.output;
    EXPECT_EQ(run.output.find("FAILED"), std::string::npos) << run.output;
    for (int i = 0; i < 8; ++i) {
        std::string path = target + "/d" + std::to_string(i % 3) + "/part" + std::to_string(i) + ".bin";
        EXPECT_TRUE(read_file(path) == contents[static_cast<size_t>(i)]) << path;
    }
    EXPECT_EQ(left_in_temp(), "");
}

TEST_F(UNPACKED_PACKAGES, layouts_that_do_not_hold_together_are_refused_as_damage)
{
    std::string whole = chunks_of_all();
    DATA_SET_HEADER header;
    INT_S32 chunks = 0;
    INT_U32 count = 99;

    // A chunk of length 0 at the very end leaves the main package empty; two in a row, or one at
    // the start, leave a package between them empty. Nothing stays beside the main name.
    const std::string cases[] = { whole + SEPARATOR, SEPARATOR + whole,
        chunks_of(packages[0]) + SEPARATOR + SEPARATOR + whole.substr(chunks_of(packages[0]).size() + 4) };
    for (const std::string& chunks_given : cases) {
        ASSERT_TRUE(write_installer("damaged", chunks_given));
        EXPECT_FALSE(unpack_installer(here, "damaged", here, "out.pkg", nullptr, &header, &chunks, &count));
        EXPECT_STREQ(last_error_text(), error_text(ERROR_READ, "data set (a package without chunks)"));
        EXPECT_EQ(count, 0u);
        for (size_t n = 1; n <= packages.size() + 1; ++n)
            EXPECT_NE(access(temp.file("out.pkg." + std::to_string(n)).c_str(), F_OK), 0) << n;
    }

    // End to end: refused before anything is installed, and nothing left in the temporary folder.
    ASSERT_TRUE(write_installer("damaged", whole + SEPARATOR));
    RUN_RESULT run = install("damaged", temp.file("target"));
    EXPECT_EQ(run.status, 2) << run.output;
    EXPECT_NE(run.output.find("ERROR: The installer file is damaged\n"), std::string::npos) << run.output;
    EXPECT_NE(access(temp.file("target").c_str(), F_OK), 0);
    EXPECT_EQ(left_in_temp(), "");
}

TEST_F(UNPACKED_PACKAGES, packages_the_database_does_not_name_are_refused_as_damage)
{
    // One package more in front: its database names one package fewer than the data set holds.
    ASSERT_TRUE(write_installer("extra", chunks_of(packages[0]) + SEPARATOR + chunks_of_all()));
    bool loaded = true, damaged = false;
    std::unique_ptr<DATABASE> database = load_unpacked("extra", &loaded, &damaged);
    EXPECT_FALSE(loaded);
    EXPECT_TRUE(damaged);
    std::string expected = "data set (" + std::to_string(packages.size() + 1)
        + " packages, more than its database names: no file is in installer.pkg." + std::to_string(packages.size()) + ")";
    EXPECT_STREQ(last_error_text(), error_text(ERROR_READ, expected.c_str()));
    EXPECT_EQ(database->members(), static_cast<MEMBER_STORE*>(database->package)) << "no store over the packages";

    // One package fewer: the records name a package the data set lacks.
    std::string fewer;
    for (size_t p = 1; p < packages.size(); ++p)
        fewer += (p > 1 ? SEPARATOR : std::string()) + chunks_of(packages[p]);
    ASSERT_TRUE(write_installer("fewer", fewer));
    database = load_unpacked("fewer", &loaded, &damaged);
    EXPECT_FALSE(loaded);
    EXPECT_TRUE(damaged);
    EXPECT_TRUE(std::string(last_error_text()).find("names a package it does not hold") != std::string::npos)
        << last_error_text();

    // Read in place, the same data set is refused the same way, before a file is placed.
    RUN_RESULT in_place = install("extra", temp.file("target"));
    EXPECT_EQ(in_place.status, 2) << in_place.output;
    EXPECT_EQ(in_place.output.find("Data set unpacked to "), std::string::npos) << in_place.output;
    EXPECT_NE(in_place.output.find("ERROR: The installer file is damaged\n"), std::string::npos) << in_place.output;
    EXPECT_NE(access(temp.file("target").c_str(), F_OK), 0);

    // Through the run-time's own unpacking (the main package made unreadable in place).
    packages.back() += std::string(3000, '\0');
    ASSERT_TRUE(write_installer("extra", chunks_of(packages[0]) + SEPARATOR + chunks_of_all()));
    RUN_RESULT run = install("extra", temp.file("target"));
    EXPECT_EQ(run.status, 2) << run.output;
    EXPECT_NE(run.output.find("Data set unpacked to "), std::string::npos) << run.output;
    EXPECT_NE(run.output.find("ERROR: The installer file is damaged\n"), std::string::npos) << run.output;
    EXPECT_NE(access(temp.file("target").c_str(), F_OK), 0);
    EXPECT_EQ(left_in_temp(), "");
}

TEST(UNPACKED_DATA_SET, only_a_package_number_and_a_slash_make_a_name_another_package_s)
{
    INT_U32 number = 0;
    const char* member = nullptr;
    EXPECT_TRUE(packed_name_package("installer.pkg.12/main0003", &number, &member));
    EXPECT_EQ(number, 12u);
    EXPECT_STREQ(member, "main0003");
    for (const char* plain : { "main0001", "installer.pkg./x", "installer.pkg.1", "installer.pkg.1x/y", "installer.pkg.1234567/y",
             "Installer.pkg.1/x" })
        EXPECT_FALSE(packed_name_package(plain, &number, &member)) << plain;
}
