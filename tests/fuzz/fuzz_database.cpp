// Feeds arbitrary bytes to the installation database's stream reader, as a damaged
// "database.bin" would reach it, then writes what was read and reads that back: whatever a
// damaged stream leaves behind must still be a database that streams.

#include <cstddef>
#include <cstdint>
#include <new>

#include "installer/engine/database.h"
#include "memory_device.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static DATABASE* database = new (std::nothrow) DATABASE;
    static DATABASE* copy = new (std::nothrow) DATABASE;
    if (!database || !copy)
        return 0;
    MEMORY_DEVICE device(data, size);
    bool whole = database->get_from_data_device(&device);
    (void)database->next_page();
    (void)database->previous_page();
    for (INT_S16 i = 0; i < database->installation_count; ++i) {
        for (INT_S16 f = 0; f < database->installations[i].file_count; ++f)
            (void)database->matches_platform(database->installations[i].files[f].platform.c_str());
    }
    database->count_files_and_shortcuts();

    MEMORY_DEVICE written;
    if (!database->put_to_data_device(&written))
        __builtin_trap();
    written.rewind();
    // A whole stream reads back whole; a cut one was completed with defaults, which stream too.
    if (!copy->get_from_data_device(&written) && whole)
        __builtin_trap();
    return 0;
}
