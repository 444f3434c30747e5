// The packer's package made in file order: the same bytes as PACKAGE::add_file writes for the
// same members, handed out piece by piece, with files that change while they are read caught.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "io/folder.h"
#include "io/package.h"
#include "test_support.h"
#include "tools/packer/package_image.h"

namespace {

std::string bytes_of(size_t size, unsigned seed)
{
    std::string bytes(size, '\0');
    for (size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<char>((i * 131 + seed * 17) % 251);
    return bytes;
}

struct SOURCE_FILES {
    std::vector<IMAGE_MEMBER> members;
};

// Members of the lengths that the block rule cares about: empty, short, one block less one, one
// block, one more, several blocks, a whole number of blocks.
SOURCE_FILES make_sources(const TEMP_FOLDER& temp)
{
    const size_t sizes[] = { 0, 1, 1023, 1024, 1025, 5000, 3072, 70000 };
    SOURCE_FILES sources;
    unsigned seed = 1;
    for (size_t size : sizes) {
        std::string name = "member" + std::to_string(seed);
        EXPECT_TRUE(write_file(temp.file(name), bytes_of(size, seed)));
        sources.members.push_back(IMAGE_MEMBER { name == "member3" ? "a longer member name.bin" : name,
            temp.file(name), size });
        ++seed;
    }
    return sources;
}

// The package as PACKAGE builds it: a new file with a cached index, each member added once.
std::string package_by_add_file(const TEMP_FOLDER& temp, const SOURCE_FILES& sources)
{
    FOLDER folder;
    EXPECT_TRUE(folder.set_raw(temp.path().c_str()));
    {
        PACKAGE package(folder, "built.pkg", true, 1024, true, false);
        EXPECT_TRUE(package.is_open());
        for (const IMAGE_MEMBER& member : sources.members) {
            std::string file = member.path.substr(member.path.find_last_of('/') + 1);
            EXPECT_TRUE(package.add_file(folder, file.c_str(), member.name.c_str())) << member.name;
        }
    }
    return read_file(temp.file("built.pkg"));
}

} // namespace

TEST(PACKAGE_IMAGE, gives_the_bytes_that_add_file_writes)
{
    TEMP_FOLDER temp;
    SOURCE_FILES sources = make_sources(temp);
    std::string built = package_by_add_file(temp, sources);
    ASSERT_GT(built.size(), 80000u);

    PACKAGE_IMAGE image;
    ASSERT_TRUE(image.lay_out(std::vector<IMAGE_MEMBER>(sources.members), 1024));
    ASSERT_EQ(image.size(), built.size() - 1); // the package's byte-order byte is not part of it
    // Pieces of uneven lengths, each asked for twice (the writer goes back after a wrong
    // guess), with everything before them released.
    std::string made;
    INT_U64 offset = 0;
    size_t step = 1;
    while (offset < image.size()) {
        INT_U32 length = static_cast<INT_U32>(std::min<INT_U64>(step, image.size() - offset));
        std::string piece(length, '\0'), again(length, '\0');
        ASSERT_TRUE(image.read_at(offset, reinterpret_cast<INT_U8*>(&piece[0]), length)) << offset;
        ASSERT_TRUE(image.read_at(offset, reinterpret_cast<INT_U8*>(&again[0]), length)) << offset;
        EXPECT_EQ(piece, again);
        made += piece;
        offset += length;
        image.release_before(offset);
        // What was released is given back: the window holds the page being filled and at
        // most one more, whatever was made before.
        EXPECT_LE(image.held_bytes(), 2 * PACKAGE_IMAGE::WINDOW_PAGE) << offset;
        step = step * 3 % 4099 + 1;
    }
    EXPECT_TRUE(made == built.substr(1));
    EXPECT_EQ(image.members_done(), sources.members.size());

    // The package reads back with the framework's reader.
    FOLDER folder;
    ASSERT_TRUE(folder.set_raw(temp.path().c_str()));
    ASSERT_TRUE(write_file(temp.file("made.pkg"), std::string(1, '\0') + made));
    PACKAGE package(folder, "made.pkg", false, 0, true, true);
    ASSERT_TRUE(package.is_open());
    ASSERT_TRUE(package.extract_file(folder, "out", "member6"));
    EXPECT_EQ(read_file(temp.file("out")), bytes_of(5000, 6));
}

TEST(PACKAGE_IMAGE, an_empty_list_is_a_package_of_header_and_root)
{
    TEMP_FOLDER temp;
    FOLDER folder;
    ASSERT_TRUE(folder.set_raw(temp.path().c_str()));
    { PACKAGE package(folder, "empty.pkg", true, 1024, true, false); }
    PACKAGE_IMAGE image;
    ASSERT_TRUE(image.lay_out({}, 1024));
    std::string made(image.size(), '\0');
    ASSERT_TRUE(image.read_at(0, reinterpret_cast<INT_U8*>(&made[0]), static_cast<INT_U32>(made.size())));
    EXPECT_EQ(std::string(1, '\0') + made, read_file(temp.file("empty.pkg")));
}

TEST(PACKAGE_IMAGE, a_member_that_changed_length_fails_the_read_and_is_named)
{
    TEMP_FOLDER temp;
    SOURCE_FILES sources = make_sources(temp);
    for (size_t changed : { size_t(5), size_t(6) }) {
        PACKAGE_IMAGE image;
        ASSERT_TRUE(image.lay_out(std::vector<IMAGE_MEMBER>(sources.members), 1024));
        // One member grows by a byte, the other is cut short, after the layout was made.
        std::string bytes = read_file(sources.members[changed].path);
        ASSERT_TRUE(write_file(sources.members[changed].path, changed == 5 ? bytes + "x" : bytes.substr(10)));
        std::string all(image.size(), '\0');
        EXPECT_FALSE(image.read_at(0, reinterpret_cast<INT_U8*>(&all[0]), static_cast<INT_U32>(all.size())));
        EXPECT_EQ(image.failed_member(), static_cast<INT_S64>(changed));
        ASSERT_TRUE(write_file(sources.members[changed].path, bytes));
    }
    // A member that is gone.
    PACKAGE_IMAGE image;
    std::vector<IMAGE_MEMBER> members = { IMAGE_MEMBER { "gone", temp.file("not-there"), 10 } };
    ASSERT_TRUE(image.lay_out(std::move(members), 1024));
    INT_U8 byte = 0;
    EXPECT_TRUE(image.read_at(0, &byte, 1));
    std::string all(image.size(), '\0');
    EXPECT_FALSE(image.read_at(0, reinterpret_cast<INT_U8*>(&all[0]), static_cast<INT_U32>(all.size())));
    EXPECT_EQ(image.failed_member(), 0);
}

TEST(PACKAGE_IMAGE, refuses_what_one_package_cannot_hold)
{
    PACKAGE_IMAGE twice;
    EXPECT_FALSE(twice.lay_out({ IMAGE_MEMBER { "a", "/x", 1 }, IMAGE_MEMBER { "a", "/y", 1 } }, 1024));
    // Positions are 32 bits: 4 GiB of members cannot be laid out.
    PACKAGE_IMAGE large;
    EXPECT_FALSE(large.lay_out({ IMAGE_MEMBER { "big", "/x", 0xFFFFFFFFull } }, 1024));
    PACKAGE_IMAGE fits;
    EXPECT_TRUE(fits.lay_out({ IMAGE_MEMBER { "big", "/x", 0xF0000000ull } }, 1024));
    // Nothing is read before the first byte: a piece beyond the end is refused.
    INT_U8 byte = 0;
    EXPECT_FALSE(fits.read_at(fits.size(), &byte, 1));
}
