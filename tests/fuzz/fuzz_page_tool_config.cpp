// Feeds arbitrary bytes to the page tool registry's folder readers: the same file read as a
// colour table, an image table and a constant table (".cfg"), and as a style set (".ss").

#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "io/folder.h"
#include "wm/core/wm_page_tool_manager.h"

namespace {

bool write_bytes(const FOLDER& folder, const char* name, const uint8_t* data, size_t size)
{
    FILE* file = folder.open_stream(name, "wb");
    if (!file)
        return false;
    fwrite(data, 1, size, file);
    fclose(file);
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static FOLDER base("$TEMP");
    static FOLDER tables = [] {
        FOLDER folder(base);
        folder.enter("ptm_fuzz_tables", true);
        return folder;
    }();
    static FOLDER styles = [] {
        FOLDER folder(base);
        folder.enter("ptm_fuzz_styles", true);
        return folder;
    }();
    if (!write_bytes(tables, "fuzz.cfg", data, size) || !write_bytes(styles, "fuzz.ss", data, size))
        return 0;
    WM_PAGE_TOOL_MANAGER tool;
    tool.load_colours(&tables);
    tool.load_constants(&tables);
    tool.load_images(&tables);
    tool.load_style_sets(&styles, false);
    (void)tool.colour("window");
    (void)tool.constant("speed");
    (void)tool.style_set("Style Set 1");
    return 0;
}
