// Package files: layout, members in and out, reuse of freed blocks, byte order and damage.

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "base/error_report.h"
#include "host/host.h"
#include "io/folder.h"
#include "io/package.h"
#include "test_support.h"

namespace {

class PACKAGE_FILE : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(folder.set_raw(temp.path().c_str())); }

    std::string path(const char* name) { return temp.file(name); }
    void write(const char* name, const std::string& bytes) { ASSERT_TRUE(write_file(path(name), bytes)); }

    static std::string pattern(size_t size, int seed)
    {
        std::string bytes(size, 0);
        for (size_t i = 0; i < size; ++i)
            bytes[i] = static_cast<char>((i * 131 + static_cast<size_t>(seed) * 7) & 0xFF);
        return bytes;
    }

    TEMP_FOLDER temp;
    FOLDER folder;
};

INT_U32 u32_at(const std::string& bytes, size_t at)
{
    INT_U32 value;
    memcpy(&value, bytes.data() + at, 4);
    return value;
}

void record_member(const char* name, INT_U64 size, void* context)
{
    static_cast<std::vector<std::string>*>(context)->push_back(std::string(name) + ":" + std::to_string(size));
}

} // namespace

TEST_F(PACKAGE_FILE, new_package_is_55_bytes_of_marker_header_and_root)
{
    {
        PACKAGE package(folder, "new.pkg", true, 1024, false, false);
        ASSERT_TRUE(package.is_open()) << last_error_text();
    }
    std::string bytes = read_file(path("new.pkg"));
    ASSERT_EQ(bytes.size(), 55u);
    EXPECT_EQ(bytes[0], 0); // native byte order
    EXPECT_EQ(bytes.substr(1, 8), std::string("ORLUPKG\0", 8));
    INT_S16 version;
    memcpy(&version, bytes.data() + 9, 2);
    EXPECT_EQ(version, 1);
    EXPECT_EQ(u32_at(bytes, 11), 1024u); // block size
    EXPECT_EQ(u32_at(bytes, 15), 26u);   // root position (logical)
    EXPECT_EQ(u32_at(bytes, 27), 4u);    // root name length
    EXPECT_EQ(bytes.substr(31, 4), "root");
}

TEST_F(PACKAGE_FILE, members_go_in_and_come_out_byte_for_byte)
{
    write("empty.bin", "");
    write("small.bin", "hello");
    write("exact.bin", pattern(1024, 1));
    write("large.bin", pattern(10000, 2));
    {
        PACKAGE package(folder, "p.pkg", true, 1024, false, false);
        ASSERT_TRUE(package.is_open());
        for (const char* name : { "empty.bin", "small.bin", "exact.bin", "large.bin" })
            ASSERT_TRUE(package.add_file(folder, name, nullptr)) << name << ": " << last_error_text();
        ASSERT_TRUE(package.add_file(folder, "small.bin", "folder/renamed"));
    }
    PACKAGE package(folder, "p.pkg", false, 0, false, true);
    ASSERT_TRUE(package.is_open());
    std::vector<std::string> members;
    ASSERT_TRUE(package.list_members(record_member, &members));
    EXPECT_EQ(members, (std::vector<std::string> { "empty.bin:0", "small.bin:5", "exact.bin:1024", "large.bin:10000", "folder/renamed:5" }));
    for (const char* name : { "empty.bin", "small.bin", "exact.bin", "large.bin" }) {
        std::string out = std::string("out-") + name;
        ASSERT_TRUE(package.extract_file(folder, out.c_str(), name)) << name;
        EXPECT_EQ(read_file(path(out.c_str())), read_file(path(name))) << name;
    }
    // A member of exactly one block: the source reports its end after it, so no empty block
    // follows; an empty source makes no block at all.
    PACKAGE_ENTRY entry;
    ASSERT_TRUE(package.find_entry("exact.bin", &entry));
    EXPECT_EQ(entry.first_block, entry.last_block);
    ASSERT_TRUE(package.find_entry("empty.bin", &entry));
    EXPECT_EQ(entry.first_block, 0u);
}

TEST_F(PACKAGE_FILE, replacing_a_member_reuses_its_freed_blocks)
{
    write("a.bin", pattern(5000, 3));
    write("b.bin", pattern(4000, 4));
    for (bool cached : { false, true }) {
        std::string name = cached ? "cached.pkg" : "plain.pkg";
        {
            PACKAGE package(folder, name.c_str(), true, 1024, cached, false);
            ASSERT_TRUE(package.add_file(folder, "a.bin", "member"));
        }
        size_t before = read_file(path(name.c_str())).size();
        {
            PACKAGE package(folder, name.c_str(), false, 0, cached, false);
            ASSERT_TRUE(package.add_file(folder, "b.bin", "member")) << last_error_text();
        }
        // Five blocks were freed; four are taken again, so the file does not grow.
        EXPECT_EQ(read_file(path(name.c_str())).size(), before) << name;
        PACKAGE package(folder, name.c_str(), false, 0, false, true);
        ASSERT_TRUE(package.extract_file(folder, "out.bin", "member"));
        EXPECT_EQ(read_file(path("out.bin")), read_file(path("b.bin"))) << name;
    }
}

TEST_F(PACKAGE_FILE, cached_index_keeps_the_entry_list_linked_across_openings)
{
    write("one.bin", "1");
    write("two.bin", "22");
    for (const char* name : { "one.bin", "two.bin", "one.bin" }) {
        PACKAGE package(folder, "p.pkg", true, 64, true, false);
        ASSERT_TRUE(package.add_file(folder, name, nullptr));
    }
    PACKAGE package(folder, "p.pkg", false, 0, false, true);
    std::vector<std::string> members;
    ASSERT_TRUE(package.list_members(record_member, &members));
    EXPECT_EQ(members, (std::vector<std::string> { "one.bin:1", "two.bin:2" }));
}

TEST_F(PACKAGE_FILE, unknown_member_and_missing_package_report_their_texts)
{
    {
        PACKAGE package(folder, "p.pkg", true, 512, false, false);
        ASSERT_TRUE(package.is_open());
        EXPECT_FALSE(package.extract_file(folder, "out", "x"));
        EXPECT_STREQ(last_error_text(), "Error: File x not found in package.");
        EXPECT_EQ(package.open_member_data("x", FILE_READ, 0), nullptr);
    }
    PACKAGE missing(folder, "none.pkg", false, 0, false, true);
    EXPECT_FALSE(missing.is_open());
    EXPECT_EQ(last_error_code(), ERROR_FILE_NOT_FOUND);
    EXPECT_FALSE(missing.extract_file(folder, "out", "x"));
    EXPECT_EQ(last_error_code(), ERROR_PACKAGE_NOT_OPEN);
}

TEST_F(PACKAGE_FILE, wrong_magic_and_newer_version_are_refused)
{
    write("text.pkg", std::string(1, '\0') + "NOTAPKG-and-more-bytes-than-a-header-has-----------------");
    PACKAGE not_package(folder, "text.pkg", false, 0, false, true);
    EXPECT_FALSE(not_package.is_open());
    EXPECT_EQ(last_error_code(), ERROR_NOT_A_PACKAGE);
    EXPECT_STREQ(last_error_text(), "Error: text.pkg does not appear to be a package file.");

    { PACKAGE package(folder, "v.pkg", true, 1024, false, false); }
    std::string bytes = read_file(path("v.pkg"));
    bytes[9] = 2;
    write("v.pkg", bytes);
    PACKAGE newer(folder, "v.pkg", false, 0, false, true);
    EXPECT_FALSE(newer.is_open());
    EXPECT_EQ(last_error_code(), ERROR_PACKAGE_VERSION);
}

TEST_F(PACKAGE_FILE, package_written_on_the_other_byte_order_reads_the_same)
{
    // Build a package, then turn every number round and set the marker, as a machine of the
    // other byte order would have written it.
    write("data.bin", pattern(3000, 5));
    {
        PACKAGE package(folder, "p.pkg", true, 1024, false, false);
        ASSERT_TRUE(package.add_file(folder, "data.bin", "data"));
    }
    std::string bytes = read_file(path("p.pkg"));
    auto swap_at = [&](size_t logical) {
        std::swap(bytes[1 + logical], bytes[1 + logical + 3]);
        std::swap(bytes[1 + logical + 1], bytes[1 + logical + 2]);
    };
    std::swap(bytes[9], bytes[10]);
    for (size_t at : { 10u, 14u, 18u, 22u })
        swap_at(at);
    for (size_t at : { 26u, 34u, 38u, 42u, 46u, 50u })
        swap_at(at);
    // The entry at 54: name length, name "data", four numbers.
    swap_at(54);
    for (size_t at : { 62u, 66u, 70u, 74u })
        swap_at(at);
    // Blocks follow the entry: next, 1024 payload bytes, used.
    for (size_t block = 78; block + 1032 <= bytes.size() - 1; block += 1032) {
        swap_at(block);
        swap_at(block + 4 + 1024);
    }
    bytes[0] = 1;
    write("swapped.pkg", bytes);

    PACKAGE package(folder, "swapped.pkg", false, 0, false, true);
    ASSERT_TRUE(package.is_open()) << last_error_text();
    ASSERT_TRUE(package.extract_file(folder, "out.bin", "data")) << last_error_text();
    EXPECT_EQ(read_file(path("out.bin")), read_file(path("data.bin")));
}

TEST_F(PACKAGE_FILE, members_open_as_devices_and_writes_land_at_close)
{
    {
        PACKAGE package(folder, "p.pkg", true, 256, true, false);
        PACKAGE_DATA_FILE* out = package.open_member_data("numbers", FILE_WRITE, ORDER_MARKER_IN_FILE);
        ASSERT_NE(out, nullptr);
        for (INT_U32 i = 0; i < 1000; ++i)
            ASSERT_TRUE(device_write(out, i));
        EXPECT_FALSE(package.has_member("numbers")); // not before the close
        PACKAGE::close_member_data(&out);
        EXPECT_EQ(out, nullptr);
        EXPECT_TRUE(package.has_member("numbers"));

        PACKAGE_DATA_FILE* in = package.open_member_data("numbers", FILE_READ, ORDER_MARKER_IN_FILE);
        ASSERT_NE(in, nullptr);
        INT_U32 value = 0;
        ASSERT_TRUE(in->seek(999 * 4, false));
        ASSERT_TRUE(device_read(in, &value));
        EXPECT_EQ(value, 999u);
        PACKAGE::close_member_data(&in);
    }
    // Nothing is left in the private temporary folder.
    FOLDER temp_folder("$TEMP");
    DIRECTORY_ENTRY* list = nullptr;
    INT_S32 count = 0;
    temp_folder.list_entries(false, 0, false, &list, &count, "*.tmp", 0, 8, 8);
    EXPECT_EQ(count, 0);
    free_directory_entries(&list, &count);
}

TEST_F(PACKAGE_FILE, damaged_packages_fail_cleanly)
{
    write("data.bin", pattern(5000, 6));
    {
        PACKAGE package(folder, "p.pkg", true, 1024, false, false);
        ASSERT_TRUE(package.add_file(folder, "data.bin", "data"));
    }
    std::string good = read_file(path("p.pkg"));

    // A chain that comes back on itself: the first block points at itself.
    std::string loop = good;
    INT_U32 first_block = u32_at(good, 1 + 54 + 8);
    memcpy(&loop[1 + first_block], &first_block, 4);
    write("loop.pkg", loop);
    {
        PACKAGE package(folder, "loop.pkg", false, 0, false, true);
        ASSERT_TRUE(package.is_open());
        EXPECT_FALSE(package.extract_file(folder, "out.bin", "data"));
        EXPECT_EQ(last_error_code(), ERROR_READ);
        // Read in place, piece by piece, the member stops at the loop and stays stopped.
        PACKAGE_MEMBER_READER reader;
        ASSERT_TRUE(reader.open(&package, "data"));
        char piece[4096];
        INT_S32 got = 0;
        for (int i = 0; i < 10000 && (got = reader.read(piece, sizeof piece)) > 0; ++i) {
        }
        EXPECT_EQ(got, -1);
        EXPECT_EQ(last_error_code(), ERROR_READ);
        EXPECT_EQ(reader.read(piece, sizeof piece), -1);
    }
    // A huge block size or a root beyond the end.
    std::string huge = good;
    INT_U32 big = 0xFFFFFFF0u;
    memcpy(&huge[11], &big, 4);
    write("huge.pkg", huge);
    EXPECT_FALSE(PACKAGE(folder, "huge.pkg", false, 0, false, true).is_open());
    std::string far = good;
    memcpy(&far[15], &big, 4);
    write("far.pkg", far);
    EXPECT_FALSE(PACKAGE(folder, "far.pkg", false, 0, false, true).is_open());
    // An entry name that claims more than the file holds.
    std::string name = good;
    memcpy(&name[1 + 54], &big, 4);
    write("name.pkg", name);
    EXPECT_FALSE(PACKAGE(folder, "name.pkg", false, 0, true, true).is_open());
    // Cut short anywhere: the last block is the end of the file, so the member can never come out
    // whole, and every refusal is a read or format error.
    for (size_t size = 0; size < good.size(); size += 97) {
        write("cut.pkg", good.substr(0, size));
        set_last_error(ERROR_NONE, nullptr);
        PACKAGE package(folder, "cut.pkg", false, 0, false, true);
        if (package.is_open()) {
            EXPECT_FALSE(package.extract_file(folder, "out.bin", "data")) << size;
        }
        EXPECT_TRUE(last_error_code() == ERROR_READ || last_error_code() == ERROR_NOT_A_PACKAGE
            || last_error_code() == ERROR_MEMBER_NOT_FOUND)
            << size << ": " << last_error_text();
    }
}

TEST_F(PACKAGE_FILE, a_damaged_entry_list_is_not_taken_for_a_missing_member)
{
    write("a.bin", "first");
    write("b.bin", "second");
    {
        PACKAGE package(folder, "p.pkg", true, 1024, false, false);
        ASSERT_TRUE(package.add_file(folder, "a.bin", "a"));
        ASSERT_TRUE(package.add_file(folder, "b.bin", "b"));
        ASSERT_TRUE(package.close());
    }
    // The first entry ("a") lies behind the root record, at logical 54: its next_entry is the
    // third number behind its one-letter name. Point it past the end of the file.
    std::string bytes = read_file(path("p.pkg"));
    INT_U32 far = 0x00FFFFFF;
    memcpy(&bytes[1 + 54 + 4 + 1 + 8], &far, 4);
    write("p.pkg", bytes);

    PACKAGE package(folder, "p.pkg", false, 0, false, false);
    ASSERT_TRUE(package.is_open());
    EXPECT_TRUE(package.has_member("a"));
    EXPECT_FALSE(package.has_member("b"));
    EXPECT_EQ(last_error_code(), ERROR_READ);
    // Adding "b" again must not append a second entry of that name behind the damage.
    EXPECT_FALSE(package.add_file(folder, "b.bin", "b"));
    EXPECT_EQ(last_error_code(), ERROR_READ);
    EXPECT_EQ(package.open_member_data("b", FILE_WRITE, 0), nullptr);
    EXPECT_TRUE(package.close());
    EXPECT_EQ(read_file(path("p.pkg")), bytes);
}

TEST_F(PACKAGE_FILE, a_source_that_cannot_be_read_ends_the_copy)
{
    // A folder opens as a stream whose reads fail; on file systems that report a size for it the
    // copy would otherwise allocate blocks until the disk is full.
    mkdir(path("folder").c_str(), 0755);
    FILE* probe = fopen(path("folder").c_str(), "rb");
    ASSERT_NE(probe, nullptr);
    bool sized = fseek(probe, 0, SEEK_END) == 0 && ftell(probe) > 0;
    fclose(probe);
    if (!sized)
        GTEST_SKIP() << "this file system gives folders no size";
    std::string package_path = path("p.pkg");
    FOLDER here = folder;
    RUN_RESULT run = run_in_child([&] {
        // A guard for the fault: a runaway copy stops at 1 MiB instead of filling the disk.
        struct rlimit limit = { 1 << 20, 1 << 20 };
        setrlimit(RLIMIT_FSIZE, &limit);
        signal(SIGXFSZ, SIG_IGN);
        PACKAGE package(here, "p.pkg", true, 1024, false, false);
        bool added = package.add_file(here, "folder", "f");
        printf("%s %u %s", added ? "added" : "refused", last_error_code(), package.has_member("f") ? "member" : "none");
    });
    EXPECT_EQ(run.output, "refused 4103 member");
    EXPECT_LT(read_file(package_path).size(), 4096u);
}

TEST_F(PACKAGE_FILE, a_member_name_too_long_to_put_back_is_refused_for_writing)
{
    PACKAGE package(folder, "p.pkg", true, 1024, false, false);
    std::string name(300, 'n');
    EXPECT_EQ(package.open_member_data(name.c_str(), FILE_WRITE, 0), nullptr);
    EXPECT_EQ(last_error_code(), ERROR_CREATE);
    EXPECT_EQ(package.open_member_text(name.c_str(), FILE_WRITE, false), nullptr);
    EXPECT_FALSE(package.has_member(name.substr(0, 255).c_str()));
    // 255 bytes still fit.
    PACKAGE_DATA_FILE* fits = package.open_member_data(name.substr(0, 255).c_str(), FILE_WRITE, 0);
    ASSERT_NE(fits, nullptr);
    EXPECT_TRUE(device_write_bytes(fits, "x", 1));
    EXPECT_TRUE(PACKAGE::close_member_data(&fits));
    EXPECT_TRUE(package.has_member(name.substr(0, 255).c_str()));
}

TEST_F(PACKAGE_FILE, a_member_that_cannot_be_put_back_keeps_its_bytes_and_says_where)
{
    write("old.bin", "old");
    {
        PACKAGE package(folder, "p.pkg", true, 1024, false, false);
        ASSERT_TRUE(package.add_file(folder, "old.bin", "m"));
    }
    FOLDER here = folder;
    RUN_RESULT run = run_in_child([&] {
        // The member's temporary file may not grow past 64 KiB: its last bytes never arrive.
        PACKAGE package(here, "p.pkg", false, 0, false, false);
        PACKAGE_DATA_FILE* member = package.open_member_data("m", FILE_WRITE, 0);
        if (!member)
            return;
        struct rlimit limit = { 1 << 16, 1 << 16 };
        setrlimit(RLIMIT_FSIZE, &limit);
        signal(SIGXFSZ, SIG_IGN);
        std::string big(200000, 'b');
        (void)device_write_bytes(member, big.data(), static_cast<INT_S32>(big.size()));
        bool back = PACKAGE::close_member_data(&member);
        printf("%s|%s", back ? "put back" : "not put back", last_error_text());
    });
    EXPECT_EQ(run.output.substr(0, 13), "not put back|") << run.output;
    size_t kept = run.output.find("kept in ");
    ASSERT_NE(kept, std::string::npos) << run.output;
    std::string kept_path = run.output.substr(kept + 8, run.output.find(')', kept) - kept - 8);
    EXPECT_EQ(read_file(kept_path).size(), 65536u) << kept_path;
    unlink(kept_path.c_str());
    // The member is as it was.
    PACKAGE package(folder, "p.pkg", false, 0, false, true);
    ASSERT_TRUE(package.extract_file(folder, "out.bin", "m"));
    EXPECT_EQ(read_file(path("out.bin")), "old");

    // The same when the package is gone before the member is closed: the bytes stay.
    PACKAGE writable(folder, "p.pkg", false, 0, false, false);
    PACKAGE_DATA_FILE* member = writable.open_member_data("m", FILE_WRITE, 0);
    ASSERT_NE(member, nullptr);
    EXPECT_TRUE(device_write_bytes(member, "new", 3));
    EXPECT_TRUE(writable.close());
    EXPECT_FALSE(PACKAGE::close_member_data(&member));
    std::string text = last_error_text();
    kept = text.find("kept in ");
    ASSERT_NE(kept, std::string::npos) << text;
    kept_path = text.substr(kept + 8, text.find(')', kept) - kept - 8);
    EXPECT_EQ(read_file(kept_path), "new");
    unlink(kept_path.c_str());
}

TEST_F(PACKAGE_FILE, closing_reports_the_write_that_did_not_arrive)
{
    write("data.bin", pattern(30000, 4));
    FOLDER here = folder;
    RUN_RESULT run = run_in_child([&] {
        // The blocks wait in the device's cache; the file may not grow past 8 KiB, so they fail
        // only when the package is closed.
        struct rlimit limit = { 8192, 8192 };
        setrlimit(RLIMIT_FSIZE, &limit);
        signal(SIGXFSZ, SIG_IGN);
        PACKAGE package(here, "p.pkg", true, 1024, true, false);
        bool added = package.add_file(here, "data.bin", "data");
        bool closed = package.close();
        printf("%s %s %u", added ? "added" : "refused", closed ? "closed" : "not closed", last_error_code());
    });
    EXPECT_EQ(run.output, "added not closed 4104");
}

TEST_F(PACKAGE_FILE, many_members_are_found_by_name_with_and_without_the_cached_index)
{
    // Enough members for the name table to grow several times; names that differ only at the
    // end, as packed names do.
    const int count = 700;
    for (int kind = 0; kind < 7; ++kind)
        write(("source" + std::to_string(kind)).c_str(), pattern(static_cast<size_t>(kind * 30), kind));
    {
        PACKAGE package(folder, "many.pkg", true, 64, true, false);
        ASSERT_TRUE(package.is_open());
        for (int i = 0; i < count; ++i) {
            char name[32];
            snprintf(name, sizeof name, "main%04X", i);
            ASSERT_TRUE(package.add_file(folder, ("source" + std::to_string(i % 7)).c_str(), name)) << name;
        }
        // Replacing a member keeps it findable and gives the new bytes.
        write("source", "replaced");
        ASSERT_TRUE(package.add_file(folder, "source", "main0100"));
        EXPECT_FALSE(package.has_member("main02BC"));
        EXPECT_FALSE(package.has_member("main"));
    }
    for (bool cached : { true, false }) {
        PACKAGE package(folder, "many.pkg", false, 0, cached, true);
        ASSERT_TRUE(package.is_open());
        for (int i : { 0, 1, 255, 400, 699 }) {
            char name[32];
            snprintf(name, sizeof name, "main%04X", i);
            INT_U64 size = 0;
            ASSERT_TRUE(package.member_size(name, &size)) << name;
            EXPECT_EQ(size, static_cast<INT_U64>(i % 7 * 30)) << name;
            ASSERT_TRUE(package.extract_file(folder, "out", name));
            EXPECT_EQ(read_file(path("out")), pattern(static_cast<size_t>(i % 7 * 30), i % 7)) << name;
        }
        ASSERT_TRUE(package.extract_file(folder, "out", "main0100"));
        EXPECT_EQ(read_file(path("out")), "replaced");
        EXPECT_FALSE(package.has_member("main02BC"));
    }
}

TEST_F(PACKAGE_FILE, members_read_in_place_give_their_bytes_across_blocks)
{
    write("a.bin", pattern(5000, 1));
    write("b.bin", pattern(1024, 2));
    {
        PACKAGE package(folder, "p.pkg", true, 1024, true, false);
        ASSERT_TRUE(package.add_file(folder, "a.bin", "a"));
        ASSERT_TRUE(package.add_file(folder, "b.bin", "b"));
    }
    PACKAGE package(folder, "p.pkg", false, 0, true, true);
    // Two readers at once on one package, in pieces that straddle the blocks.
    PACKAGE_MEMBER_READER a, b;
    ASSERT_TRUE(a.open(&package, "a"));
    ASSERT_TRUE(b.open(&package, "b"));
    std::string got_a, got_b;
    char piece[700];
    for (INT_S32 got; (got = a.read(piece, sizeof piece)) > 0;) {
        got_a.append(piece, static_cast<size_t>(got));
        INT_S32 more = b.read(piece, 333);
        ASSERT_GE(more, 0);
        got_b.append(piece, static_cast<size_t>(more));
    }
    EXPECT_EQ(got_a, pattern(5000, 1));
    EXPECT_EQ(got_b, pattern(1024, 2));
    EXPECT_EQ(a.read(piece, sizeof piece), 0);

    PACKAGE_MEMBER_READER missing;
    EXPECT_FALSE(missing.open(&package, "c"));
    EXPECT_EQ(last_error_code(), ERROR_MEMBER_NOT_FOUND);
}

namespace {

// The byte offset in the file of a logical position (behind the byte-order byte).
size_t at_logical(INT_U32 position) { return 1 + static_cast<size_t>(position); }

struct COUNTING_SINK {
    INT_U64 bytes { 0 };
};

bool count_bytes(const void*, INT_U32 size, void* context)
{
    static_cast<COUNTING_SINK*>(context)->bytes += size;
    return true;
}

} // namespace

TEST_F(PACKAGE_FILE, an_entry_list_that_turns_back_is_refused_at_the_turn)
{
    write("a.bin", pattern(200000, 1));
    write("b.bin", pattern(10, 2));
    {
        PACKAGE package(folder, "p.pkg", true, 1024, false, false);
        ASSERT_TRUE(package.add_file(folder, "a.bin", "a"));
        ASSERT_TRUE(package.add_file(folder, "b.bin", "b"));
    }
    std::string bytes = read_file(path("p.pkg"));
    // Entry "a" lies at 54 (its next_entry at 54 + 4 + 1 + 8); "b" lies behind a's blocks. "b"
    // is made to point back at "a": a loop whose every turn crosses the whole file.
    INT_U32 b_position = u32_at(bytes, at_logical(67));
    ASSERT_GT(b_position, 200000u);
    INT_U32 a_position = 54;
    memcpy(&bytes[at_logical(b_position + 4 + 1 + 8)], &a_position, 4);
    write("loop.pkg", bytes);

    PACKAGE plain(folder, "loop.pkg", false, 0, false, true);
    ASSERT_TRUE(plain.is_open());
    EXPECT_TRUE(plain.has_member("b"));
    EXPECT_FALSE(plain.has_member("missing"));
    std::vector<std::string> names;
    EXPECT_FALSE(plain.list_members(record_member, &names));
    EXPECT_EQ(last_error_code(), ERROR_READ);
    EXPECT_EQ(names, (std::vector<std::string> { "a:200000", "b:10" }));
    // With a cached index the package does not open at all.
    EXPECT_FALSE(PACKAGE(folder, "loop.pkg", false, 0, true, true).is_open());

    // An entry that points at itself, or into its own record, is a turn back too.
    std::string self = read_file(path("p.pkg"));
    INT_U32 into_itself = 54 + 10;
    memcpy(&self[at_logical(67)], &into_itself, 4);
    write("self.pkg", self);
    EXPECT_FALSE(PACKAGE(folder, "self.pkg", false, 0, true, true).is_open());
}

TEST_F(PACKAGE_FILE, a_cyclic_chain_is_found_within_twice_its_length)
{
    const size_t size = 400 * 1024;
    write("data.bin", pattern(size, 3));
    {
        PACKAGE package(folder, "p.pkg", true, 1024, false, false);
        ASSERT_TRUE(package.add_file(folder, "data.bin", "data"));
    }
    std::string good = read_file(path("p.pkg"));
    INT_U32 first = u32_at(good, at_logical(54 + 4 + 4));
    INT_U32 last = u32_at(good, at_logical(54 + 4 + 4 + 4));
    ASSERT_NE(first, last);

    // The last block leads back to the first: a loop as long as the member, with no lead-in; and
    // one that comes back to a block in the middle, after a lead-in.
    for (INT_U32 back_to : { first, first + (last - first) / 2 / 1032 * 1032 }) {
        std::string loop = good;
        memcpy(&loop[at_logical(last)], &back_to, 4);
        write("loop.pkg", loop);
        PACKAGE package(folder, "loop.pkg", false, 0, false, true);
        ASSERT_TRUE(package.is_open());
        COUNTING_SINK sink;
        EXPECT_FALSE(package.read_member("data", count_bytes, &sink));
        EXPECT_EQ(last_error_code(), ERROR_READ);
        EXPECT_STREQ(last_error_text(), "Error: Unable to read from file member chain loops.");
        EXPECT_GE(sink.bytes, size);
        EXPECT_LE(sink.bytes, 2 * size + 1024);
        INT_U64 length = 0;
        EXPECT_FALSE(package.member_size("data", &length));
    }

    // The sound package reads whole, and the sink can stop it.
    PACKAGE package(folder, "p.pkg", false, 0, false, true);
    COUNTING_SINK sink;
    EXPECT_TRUE(package.read_member("data", count_bytes, &sink));
    EXPECT_EQ(sink.bytes, size);
    EXPECT_FALSE(package.read_member("data", [](const void*, INT_U32, void*) { return false; }, nullptr));
    EXPECT_FALSE(package.read_member("missing", count_bytes, &sink));
    EXPECT_EQ(last_error_code(), ERROR_MEMBER_NOT_FOUND);
}

TEST_F(PACKAGE_FILE, a_requested_stop_ends_reading_and_adding)
{
    write("data.bin", pattern(50000, 4));
    PACKAGE package(folder, "p.pkg", true, 1024, false, false);
    ASSERT_TRUE(package.add_file(folder, "data.bin", "data"));
    host_request_stop(2);
    COUNTING_SINK sink;
    EXPECT_FALSE(package.read_member("data", count_bytes, &sink));
    EXPECT_EQ(sink.bytes, 0u);
    EXPECT_FALSE(package.add_file(folder, "data.bin", "again"));
    host_clear_stop();
    EXPECT_TRUE(package.read_member("data", count_bytes, &sink));
    EXPECT_EQ(sink.bytes, 50000u);
}
