// "packer build --jobs N": the chunks compressed on several threads are the bytes that one
// thread makes, and every chunk follows the cutting rule (a whole piece, unless its stream would
// not fit the cache, then the safe length).

#include <gtest/gtest.h>
#include <zlib.h>

#include <string>
#include <vector>

#include "installer/engine/data_set.h"
#include "io/data_file.h"
#include "io/folder.h"
#include "io/stamp.h"
#include "test_support.h"

namespace {

// Packs three files of mixed bytes with the given cache size, level and threads.
RUN_RESULT pack_mixed(const TEMP_FOLDER& temp, const std::string& output, const std::string& cache, int level, int jobs)
{
    std::string xml = "<INSTALLER file_cache_sz=\"" + cache + "\">\n\t<INSTALLATION name=\"main\">\n";
    for (int i = 0; i < 3; ++i) {
        std::string name = "part" + std::to_string(i);
        if (read_file(temp.file(name)).empty()) {
            EXPECT_TRUE(write_file(temp.file(name), mixed_bytes(150000 + 70000 * i, i + 1, 1000, 20000, 5, 7)));
        }
        xml += "\t\t<FILE src_name=\"" + name + "\"/>\n";
    }
    xml += "\t</INSTALLATION>\n</INSTALLER>\n";
    EXPECT_TRUE(write_file(temp.file("installer.xml"), xml));
    return run_program(packer_path(),
        { "build", "installer.xml", "-o", output, "--client", installer_path(), "--quiet", "--level",
            std::to_string(level), "--jobs", std::to_string(jobs) },
        { "SOURCE_DATE_EPOCH=1700000000" }, temp.path());
}

struct CHUNK {
    std::string stored;   // as it stands in the file
    std::string inflated; // its part of the package
};

// The chunks of a finished installer, read with the run-time's header reader.
bool read_chunks(const FOLDER& folder, const char* name, DATA_SET_HEADER* header, std::vector<CHUNK>* chunks)
{
    DATA_FILE* plain = folder.open_data_file(name, FILE_READ, 0, false);
    if (!plain)
        return false;
    STAMP_RECORD record;
    bool stamped = read_stamp(plain, &record);
    FOLDER::close_data_file(&plain);
    DATA_FILE* device = stamped ? folder.open_data_file(name, FILE_READ, ORDER_MARKER_IN_FILE, false) : nullptr;
    if (!device)
        return false;
    bool ok = read_data_set_header(device, record.data_offset, nullptr, header);
    while (ok && !device->at_end()) {
        INT_S32 length = 0;
        CHUNK chunk;
        ok = device_read(device, &length) && length > 0 && static_cast<INT_U32>(length) <= header->file_cache_size;
        if (!ok)
            break;
        chunk.stored.resize(static_cast<size_t>(length));
        ok = device->read(&chunk.stored[0], length) == length;
        chunk.inflated.resize(header->file_cache_size);
        uLongf size = header->file_cache_size;
        if (ok && header->compressed) {
            ok = uncompress(reinterpret_cast<Bytef*>(&chunk.inflated[0]), &size,
                     reinterpret_cast<const Bytef*>(chunk.stored.data()), static_cast<uLong>(length))
                == Z_OK;
            chunk.inflated.resize(size);
        } else {
            chunk.inflated = chunk.stored;
        }
        chunks->push_back(chunk);
    }
    FOLDER::close_data_file(&device);
    return ok;
}

std::string deflated(const std::string& bytes, int level)
{
    std::string out(compressBound(bytes.size()), '\0');
    uLongf size = out.size();
    if (compress2(reinterpret_cast<Bytef*>(&out[0]), &size, reinterpret_cast<const Bytef*>(bytes.data()), bytes.size(),
            level)
        != Z_OK)
        return std::string();
    out.resize(size);
    return out;
}

} // namespace

TEST(PACKER_CHUNKS, every_number_of_jobs_gives_the_bytes_of_one)
{
    TEMP_FOLDER temp;
    // Level 0 makes every piece short; level 6 on this data mixes whole and short pieces.
    for (int level : { 6, 0 }) {
        ASSERT_EQ(pack_mixed(temp, "one", "4096", level, 1).status, 0);
        std::string one = read_file(temp.file("one"));
        ASSERT_GT(one.size(), 100000u);
        for (int jobs : { 2, 3, 7 }) {
            RUN_RESULT run = pack_mixed(temp, "many", "4096", level, jobs);
            ASSERT_EQ(run.status, 0) << run.errors;
            EXPECT_TRUE(read_file(temp.file("many")) == one) << "level " << level << ", " << jobs << " jobs";
        }
    }
}

TEST(PACKER_CHUNKS, each_chunk_is_its_whole_piece_unless_that_does_not_fit)
{
    TEMP_FOLDER temp;
    RUN_RESULT run = pack_mixed(temp, "setup", "4096", 6, 3);
    ASSERT_EQ(run.status, 0) << run.errors;
    FOLDER here;
    ASSERT_TRUE(here.set_raw(temp.path().c_str()));
    DATA_SET_HEADER header;
    std::vector<CHUNK> chunks;
    ASSERT_TRUE(read_chunks(here, "setup", &header, &chunks));
    ASSERT_EQ(header.compressed, 1);
    std::string package;
    for (const CHUNK& chunk : chunks)
        package += chunk.inflated;

    size_t offset = 0, whole = 0, short_pieces = 0;
    for (size_t i = 0; i < chunks.size(); ++i) {
        const CHUNK& chunk = chunks[i];
        std::string piece = package.substr(offset, header.file_cache_size);
        if (chunk.inflated.size() == piece.size()) {
            ++whole;
        } else {
            // Short: the whole piece would not have fitted the cache.
            EXPECT_GT(deflated(piece, 6).size(), header.file_cache_size) << "chunk " << i;
            ++short_pieces;
        }
        EXPECT_EQ(chunk.stored, deflated(chunk.inflated, 6)) << "chunk " << i;
        offset += chunk.inflated.size();
    }
    EXPECT_GT(whole, 10u);
    EXPECT_GT(short_pieces, 10u);

    // The package the chunks give is the one the run-time unpacks and reads.
    INT_S32 count = 0;
    ASSERT_TRUE(unpack_installer(here, "setup", here, "installer.pkg", nullptr, &header, &count));
    EXPECT_EQ(static_cast<size_t>(count), chunks.size());
    EXPECT_TRUE(read_file(temp.file("installer.pkg")).substr(1) == package);
}

TEST(PACKER_CHUNKS, jobs_must_be_a_number_of_threads)
{
    for (const char* bad : { "0", "-2", "many", "65", "" }) {
        RUN_RESULT run = run_program(packer_path(), { "build", "x.xml", "-o", "y", "--jobs", bad });
        EXPECT_EQ(run.status, 2) << bad;
        EXPECT_EQ(run.errors, std::string("packer: --jobs takes a number from 1 to 64, not '") + bad + "'\n");
    }
}
