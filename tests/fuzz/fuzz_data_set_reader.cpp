// Feeds arbitrary bytes to the reader of a data set in place, as the chunks behind an installer:
// the first byte is the byte-order marker (and, odd, says the chunks are zlib streams), then
// chunks. Opening, the database, the members behind the payload, and a walk of the payload must
// neither crash, hang nor allocate without bound.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <new>

#include "installer/engine/data_set_reader.h"
#include "installer/engine/database.h"
#include "io/folder.h"

namespace {

bool drop(const void*, INT_U32, void*) { return true; }

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 2)
        return 0;
    static FOLDER folder("$TEMP");
    FILE* file = folder.open_stream("fuzz.set", "wb");
    if (!file)
        return 0;
    fwrite(data, 1, size, file);
    fclose(file);

    DATA_SET_HEADER header;
    header.file_cache_size = 4096;
    header.compressed = data[0] & 1;
    header.chunk_start = 0;
    header.data_end = static_cast<INT_U32>(size - 1);
    DATA_SET_READER* reader = new (std::nothrow) DATA_SET_READER;
    if (!reader)
        return 0;
    if (!reader->open(folder, "fuzz.set", header)) {
        delete reader;
        return 0;
    }
    DATABASE* database = new (std::nothrow) DATABASE;
    if (!database) {
        delete reader;
        return 0;
    }
    database->use_data_set(reader);
    if (database->load_data_set("fuzz.set")) {
        for (INT_S16 i = 0; i < database->installation_count; ++i) {
            const INSTALLATION_RECORD& installation = database->installations[i];
            for (INT_S16 f = 0; f < installation.file_count && f < 64; ++f)
                (void)reader->read_member(installation.files[f].packed_name, drop, nullptr);
        }
    }
    (void)reader->has_member("licence-0");
    (void)reader->read_member("main0001", drop, nullptr);
    delete database;
    (void)folder.delete_file("fuzz.set");
    return 0;
}
