// Feeds arbitrary bytes to the settings reader in both modes, and rewrites the file uncached.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <initializer_list>

#include "io/config_file.h"
#include "io/folder.h"

namespace {

void ignore(const char*, const char*, void*) {}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static FOLDER folder("$TEMP");
    FILE* file = folder.open_stream("fuzz.cfg", "wb");
    if (!file)
        return 0;
    fwrite(data, 1, size, file);
    fclose(file);
    char value[CONFIG_VALUE_SIZE];
    INT_S32 number = 0;
    FLOAT_64 real = 0;
    for (bool cached : { false, true }) {
        CONFIG_FILE config;
        config.open("fuzz.cfg", cached);
        config.read_all(folder, ignore, nullptr);
        config.read_text(folder, "width", value);
        config.read_int(folder, "colour", &number, true);
        config.read_real(folder, "ratio", &real);
    }
    CONFIG_FILE writer;
    writer.open("fuzz.cfg", false);
    writer.write_text(folder, "width", "640");
    return 0;
}
