// A payload larger than one package: several packages parted by a chunk of length 0, the main
// one last, the file records naming the others' members by package; installed whole from the
// data set in place, with the same installation id as one package would give; `packer info`
// showing every package.

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "installer/engine/data_set.h"
#include "installer/engine/data_set_reader.h"
#include "installer/engine/database.h"
#include "io/data_file.h"
#include "io/folder.h"
#include "io/stamp.h"
#include "test_support.h"

namespace {

class PACKER_PACKAGES : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(here.set_raw(temp.path().c_str()));
        ASSERT_TRUE(write_several_packages_source(
            temp, [](size_t size, unsigned seed) { return interleaved_bytes(size, seed, 4, 11); }, &contents));
    }

    RUN_RESULT pack(const std::string& output, const std::vector<std::string>& extra = {})
    {
        std::vector<std::string> arguments = { "build", "installer.xml", "-o", output, "--client", installer_path(), "--quiet" };
        arguments.insert(arguments.end(), extra.begin(), extra.end());
        return run_program(packer_path(), arguments, { "SOURCE_DATE_EPOCH=1700000000" }, temp.path());
    }

    // The chunk lengths of a finished installer, separators (0) included.
    std::vector<INT_S32> chunk_lengths(const char* name)
    {
        std::vector<INT_S32> lengths;
        DATA_FILE* plain = here.open_data_file(name, FILE_READ, 0, false);
        STAMP_RECORD record;
        bool stamped = plain && read_stamp(plain, &record);
        FOLDER::close_data_file(&plain);
        DATA_FILE* device = stamped ? here.open_data_file(name, FILE_READ, ORDER_MARKER_IN_FILE, false) : nullptr;
        DATA_SET_HEADER header;
        if (device && read_data_set_header(device, record.data_offset, nullptr, &header)) {
            INT_S32 length = 0;
            while (!device->at_end() && device_read(device, &length)) {
                lengths.push_back(length);
                if (length > 0 && !device->seek(device->tell() + static_cast<INT_U32>(length), false))
                    break;
            }
        }
        FOLDER::close_data_file(&device);
        return lengths;
    }

    std::unique_ptr<DATABASE> database_of(const char* name)
    {
        INT_S32 chunks = 0;
        DATA_SET_HEADER header;
        EXPECT_TRUE(unpack_installer(here, name, here, "main.pkg", nullptr, &header, &chunks));
        std::unique_ptr<DATABASE> database(new DATABASE);
        EXPECT_TRUE(database->data_folder.set_raw(temp.path().c_str()));
        EXPECT_TRUE(database->load_data_set("main.pkg"));
        return database;
    }

    TEMP_FOLDER temp;
    FOLDER here;
    std::vector<std::string> contents;
};

} // namespace

TEST_F(PACKER_PACKAGES, a_payload_larger_than_one_package_goes_into_several_and_installs_whole)
{
    RUN_RESULT run = pack("several", { "--package-limit", "200000" });
    ASSERT_EQ(run.status, 0) << run.errors;
    ASSERT_EQ(pack("one").status, 0);

    std::vector<INT_S32> lengths = chunk_lengths("several");
    int separators = 0;
    for (INT_S32 length : lengths)
        separators += length == 0;
    EXPECT_GE(separators, 2);
    for (INT_S32 length : chunk_lengths("one"))
        EXPECT_GT(length, 0);

    // The main package (unpacked, the last) holds the database; the first files are named by
    // their package. The id is the one a single package gives: the same bytes in the same order.
    std::unique_ptr<DATABASE> several = database_of("several");
    std::unique_ptr<DATABASE> one = database_of("one");
    ASSERT_EQ(several->installation_count, 1);
    const INSTALLATION_RECORD& files = several->installations[0];
    ASSERT_EQ(files.file_count, 8);
    EXPECT_STREQ(files.files[0].packed_name, "installer.pkg.1/main0001");
    EXPECT_STREQ(files.files[7].packed_name, "main0008");
    EXPECT_EQ(several->installation_id, one->installation_id);
    EXPECT_NE(several->installation_id, 0u);
    EXPECT_TRUE(several->has_readme());

    // Read in place: every member by its name, a package the data set lacks by none.
    DATA_SET_HEADER header;
    {
        DATA_FILE* plain = here.open_data_file("several", FILE_READ, 0, false);
        STAMP_RECORD record;
        ASSERT_TRUE(read_stamp(plain, &record));
        FOLDER::close_data_file(&plain);
        DATA_FILE* device = here.open_data_file("several", FILE_READ, ORDER_MARKER_IN_FILE, false);
        ASSERT_TRUE(read_data_set_header(device, record.data_offset, nullptr, &header));
        FOLDER::close_data_file(&device);
    }
    DATA_SET_READER reader;
    ASSERT_TRUE(reader.open(here, "several", header));
    EXPECT_EQ(reader.package_count(), static_cast<INT_U32>(separators + 1));
    for (INT_S16 f = 0; f < files.file_count; ++f)
        EXPECT_TRUE(reader.has_member(files.files[f].packed_name)) << files.files[f].packed_name;
    EXPECT_FALSE(reader.has_member("installer.pkg.0/main0001"));
    EXPECT_FALSE(reader.has_member("installer.pkg.99/main0001"));
    EXPECT_FALSE(reader.has_member("installer.pkg.1/main0008"));

    // Installed, every file is whole.
    std::string target = temp.file("target");
    RUN_RESULT installed = run_program(temp.file("several"), { "-a", "-i", target, "-k", "none" },
        { "HOME=" + temp.path(), "DISPLAY=" });
    ASSERT_EQ(installed.status, 0) << installed.output;
    for (int i = 0; i < 8; ++i) {
        std::string path = target + "/d" + std::to_string(i % 3) + "/part" + std::to_string(i) + ".bin";
        EXPECT_TRUE(read_file(path) == contents[static_cast<size_t>(i)]) << path;
    }
    EXPECT_NE(installed.output.find("8 installed, 0 skipped, 0 failed"), std::string::npos) << installed.output;

    // packer info shows every package in data set order, the main one last, each with its
    // chunks and members, and the database from the main one.
    RUN_RESULT info = run_program(packer_path(), { "info", temp.file("several") });
    EXPECT_EQ(info.status, 0) << info.errors;
    EXPECT_NE(info.output.find("the data set matches"), std::string::npos) << info.output;
    EXPECT_NE(info.output.find("  " + std::to_string(separators + 1) + " packages, parted by chunks of length 0\n"),
        std::string::npos) << info.output;
    std::vector<size_t> starts;
    for (int n = 1; n <= separators + 1; ++n) {
        std::string name = n <= separators ? "installer.pkg." + std::to_string(n) : std::string("installer.pkg");
        size_t at = info.output.find("Package " + name + ", block size 1024, ");
        ASSERT_NE(at, std::string::npos) << name << "\n" << info.output;
        EXPECT_TRUE(starts.empty() || at > starts.back()) << name;
        starts.push_back(at);
    }
    size_t database_at = info.output.find("\nDatabase\n");
    ASSERT_NE(database_at, std::string::npos);
    EXPECT_GT(database_at, starts.back());
    starts.push_back(database_at);
    for (INT_S16 f = 0; f < files.file_count; ++f) {
        const char* packed = files.files[f].packed_name;
        const char* slash = strchr(packed, '/');
        size_t package = slash ? static_cast<size_t>(atoi(packed + 14)) - 1 : static_cast<size_t>(separators);
        std::string section = info.output.substr(starts[package], starts[package + 1] - starts[package]);
        EXPECT_NE(section.find("  " + std::string(slash ? slash + 1 : packed) + "\n"), std::string::npos)
            << packed << " in\n" << section;
    }
    EXPECT_NE(info.output.substr(starts[static_cast<size_t>(separators)]).find("  database.bin\n"), std::string::npos);

    // A chunk of length 0 at the very end leaves the main package empty: shown as damage, with
    // the chunks read.
    ASSERT_TRUE(write_file(temp.file("cut"), read_file(temp.file("several")) + std::string(4, '\0')));
    RUN_RESULT cut = run_program(packer_path(), { "info", temp.file("cut") });
    EXPECT_EQ(cut.status, 1);
    EXPECT_NE(cut.errors.find("the data set's chunks are damaged: "), std::string::npos) << cut.errors;
    EXPECT_NE(cut.errors.find("a package without chunks"), std::string::npos) << cut.errors;
    EXPECT_EQ(cut.output.find("Package installer.pkg"), std::string::npos) << cut.output;
}

TEST_F(PACKER_PACKAGES, a_file_larger_than_a_package_and_bad_limits_are_refused)
{
    RUN_RESULT run = pack("out", { "--package-limit", "100000" });
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.errors.find("installer.xml:5: '" + temp.path() + "/part0.bin' is larger than one package can hold (100000 bytes)"),
        std::string::npos)
        << run.errors;
    // An install type whose packed names would read as members of another package.
    std::string xml = read_file(temp.file("installer.xml"));
    std::string renamed = xml;
    renamed.replace(renamed.find("name=\"main\""), 11, "name=\"installer.pkg.2\"");
    ASSERT_TRUE(write_file(temp.file("installer.xml"), renamed));
    RUN_RESULT clash = pack("out", { "--package-limit", "200000" });
    EXPECT_EQ(clash.status, 1);
    EXPECT_NE(clash.errors.find("the install type \"installer.pkg.2\" cannot be packed into several packages"),
        std::string::npos) << clash.errors;
    EXPECT_EQ(pack("out").status, 0) << "one package names every member by itself";
    ASSERT_TRUE(write_file(temp.file("installer.xml"), xml));

    for (const char* bad : { "100", "x", "-5", "4294967296" }) {
        RUN_RESULT refused = pack("out", { "--package-limit", bad });
        EXPECT_EQ(refused.status, 2) << bad;
        EXPECT_NE(refused.errors.find("--package-limit takes a number of bytes from 65536 to 4294967295"), std::string::npos)
            << refused.errors;
    }
}
