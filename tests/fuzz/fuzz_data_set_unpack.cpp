// Feeds arbitrary bytes to the unpacking of a data set, the way the run-time takes when it cannot
// read one in place: the first byte is the byte-order marker (and, odd, says the chunks are zlib
// streams), then chunks, chunks of length 0 parting packages. The unpacking into package files,
// the database over all of them with its check of the packages it names, and reading the members
// it names must neither crash, hang nor allocate without bound, and leave no package behind.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <new>

#include "installer/engine/data_set.h"
#include "installer/engine/database.h"
#include "io/folder.h"
#include "io/member_store.h"

namespace {

bool drop(const void*, INT_U32, void*) { return true; }

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 2)
        return 0;
    static FOLDER folder("$TEMP");
    FILE* file = folder.open_stream("fuzz.unpack", "wb");
    if (!file)
        return 0;
    fwrite(data, 1, size, file);
    fclose(file);

    DATA_SET_HEADER header;
    header.file_cache_size = 4096;
    header.compressed = data[0] & 1;
    header.chunk_start = 0;
    header.data_end = size - 1;
    DATA_SET_UNPACKED unpacked;
    if (unpack_data_set(folder, "fuzz.unpack", header, folder, "fuzz.pkg", &unpacked, nullptr, nullptr)) {
        DATABASE* database = new (std::nothrow) DATABASE;
        if (database) {
            database->data_folder = folder;
            database->use_unpacked_packages(unpacked.packages);
            if (database->load_data_set("fuzz.pkg")) {
                MEMBER_STORE* store = database->members();
                for (INT_S16 i = 0; store && i < database->installation_count; ++i) {
                    const INSTALLATION_RECORD& installation = database->installations[i];
                    for (INT_S16 f = 0; f < installation.file_count && f < 64; ++f)
                        (void)store->read_member(installation.files[f].packed_name, drop, nullptr);
                }
                if (store)
                    (void)store->has_member("installer.pkg.1/main0001");
            }
            delete database;
        }
        delete_side_packages(folder, "fuzz.pkg", unpacked.packages);
    }
    (void)folder.delete_file("fuzz.pkg");
    (void)folder.delete_file("fuzz.unpack");
    return 0;
}
