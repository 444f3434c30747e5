// The packer's package commands, run as a publisher runs them.

#include <gtest/gtest.h>

#include <string>

#include "test_support.h"

namespace {

RUN_RESULT packer(const std::vector<std::string>& arguments, const std::string& folder)
{
    return run_program(packer_path(), arguments, {}, folder);
}

} // namespace

TEST(PACKER_PKG, create_add_list_and_extract_and_add_creates_a_missing_package)
{
    TEMP_FOLDER temp;
    ASSERT_TRUE(write_file(temp.file("readme.txt"), "read me\n"));
    ASSERT_TRUE(write_file(temp.file("big.bin"), std::string(5000, 'b')));

    EXPECT_EQ(packer({ "pkg", "create", "data.pkg", "512" }, temp.path()).status, 0);
    EXPECT_EQ(packer({ "pkg", "add", "data.pkg", "readme.txt" }, temp.path()).status, 0);
    EXPECT_EQ(packer({ "pkg", "add", temp.file("data.pkg"), temp.file("big.bin"), "payload/big" }, "/").status, 0);

    RUN_RESULT list = packer({ "pkg", "list", "data.pkg" }, temp.path());
    EXPECT_EQ(list.status, 0);
    EXPECT_EQ(list.output,
        "           8  readme.txt\n"
        "        5000  payload/big\n"
        "2 members, 5008 bytes, block size 512\n");

    EXPECT_EQ(packer({ "pkg", "extract", "data.pkg", "payload/big", "copy.bin" }, temp.path()).status, 0);
    EXPECT_EQ(read_file(temp.file("copy.bin")), std::string(5000, 'b'));

    // Adding to a package that is not there creates it, with blocks of 1024 bytes.
    EXPECT_EQ(packer({ "pkg", "add", "new.pkg", "readme.txt" }, temp.path()).status, 0);
    EXPECT_NE(packer({ "pkg", "list", "new.pkg" }, temp.path()).output.find("block size 1024"), std::string::npos);
}

TEST(PACKER_PKG, every_failure_says_what_and_exits_non_zero)
{
    TEMP_FOLDER temp;
    ASSERT_TRUE(write_file(temp.file("plain.txt"), "not a package, but long enough to hold a header and more"));
    EXPECT_EQ(packer({ "pkg", "create", "p.pkg" }, temp.path()).status, 0);

    struct CASE {
        std::vector<std::string> arguments;
        int status;
        const char* message;
    };
    const CASE cases[] = {
        { { "pkg", "extract", "p.pkg", "nothing", "out" }, 1, "packer: cannot extract 'nothing' from 'p.pkg': Error: File nothing not found in package.\n" },
        { { "pkg", "list", "plain.txt" }, 1, "packer: cannot open package 'plain.txt': Error: plain.txt does not appear to be a package file.\n" },
        { { "pkg", "list", "missing.pkg" }, 1, "packer: cannot open package 'missing.pkg': Error: Can not open file missing.pkg as it was not found.\n" },
        { { "pkg", "add", "p.pkg", "missing.txt" }, 1, "packer: cannot read 'missing.txt'\n" },
        { { "pkg", "create", "p.pkg" }, 1, "packer: 'p.pkg' exists already; remove it first\n" },
        { { "pkg", "create", "q.pkg", "0" }, 1, "packer: block size must be a number from 1 to 67108864, not '0'\n" },
        { { "pkg", "list", "no/such/folder/p.pkg" }, 1, "packer: cannot find the folder of 'no/such/folder/p.pkg'\n" },
        { { "pkg", "frobnicate" }, 2, "packer: unknown or incomplete command: pkg frobnicate (see packer pkg --help)\n" },
        { { "unknown" }, 2, "packer: unknown command 'unknown' (see packer --help)\n" },
    };
    for (const CASE& test : cases) {
        RUN_RESULT run = packer(test.arguments, temp.path());
        EXPECT_EQ(run.status, test.status) << test.message;
        EXPECT_EQ(run.errors, test.message);
    }
    EXPECT_NE(packer({ "pkg", "--help" }, temp.path()).output.find("packer pkg list FILE"), std::string::npos);
    EXPECT_NE(packer({ "--help" }, temp.path()).output.find("pkg list|extract|add|create"), std::string::npos);
}
