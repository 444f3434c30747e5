// Feeds arbitrary bytes to the packer's reading of "installer.xml": the XML into its tree, the
// tree into the database and the plan of the package, with every element, attribute, number,
// path variable and file reference checked. Whatever the bytes, the reading must end with a
// database or with messages, never a crash, a hang or memory without bound. The files a
// configuration names are looked for beside it, in a folder of its own that holds nothing else.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <new>
#include <string>

#include "installer/engine/database.h"
#include "installer/engine/installer_options.h"
#include "io/folder.h"
#include "tools/packer/installer_config.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static FOLDER own("$TEMP");
    static bool entered = own.enter("fuzz-installer-xml", true);
    if (!entered)
        return 0;
    std::string path = std::string(own.path()) + "/installer.xml";
    FILE* file = fopen(path.c_str(), "wb");
    if (!file)
        return 0;
    fwrite(data, 1, size, file);
    fclose(file);

    DATABASE* database = new (std::nothrow) DATABASE;
    if (!database)
        return 0;
    PACK_PLAN plan;
    CONFIG_ERRORS errors;
    bool read = read_installer_config(path.c_str(), platform_code_from_name("linux"), database, &plan, &errors);
    // A configuration that was taken has no errors, and its languages can be asked for what
    // they lack; one that was refused says why.
    if (read && !errors.empty())
        __builtin_trap();
    if (read) {
        for (INT_S16 language = 0; language < database->language_count; ++language)
            (void)missing_wizard_texts(*database, language);
    } else if (errors.lines.empty() && errors.missing.empty()) {
        __builtin_trap();
    }
    delete database;
    return 0;
}
