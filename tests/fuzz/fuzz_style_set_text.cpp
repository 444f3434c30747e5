// Feeds arbitrary bytes to the style set reader as a `.ss` file, at the top level and as a group,
// and writes what was read back out, so that any value a file can give also survives the writer.

#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "io/folder.h"
#include "wm/core/wm_style_set.h"

namespace {

INT_S32 lookup(const char* font_name, void*) { return font_name[0] ? static_cast<INT_U8>(font_name[0]) : -1; }
const char* font_name(INT_U8 id, void*) { return id == 'a' ? "a-font" : nullptr; }

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static FOLDER folder("$TEMP");
    FILE* file = folder.open_stream("fuzz.ss", "wb");
    if (!file)
        return 0;
    fwrite(data, 1, size, file);
    fclose(file);
    WM_STYLE_SET set;
    if (set.load_file(folder, "fuzz.ss", nullptr, lookup, nullptr))
        (void)set.save_file(folder, "fuzz_out.ss", nullptr, font_name, nullptr);
    WM_STYLE_SET grouped;
    (void)grouped.load_file(folder, "fuzz.ss", "g", lookup, nullptr);
    return 0;
}
