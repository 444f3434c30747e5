// Fuzz target for the language file reader: XML_PARSER over expat, the UTF-8 conversion and
// TRANSLATION_PARSER with its table. Errors are reported without ending the process, so that
// every path through the reader, bad files included, is explored.
#include "io/translation.h"

#include "memory_device.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace {

class SURVIVING_PARSER : public TRANSLATION_PARSER {
public:
    using TRANSLATION_PARSER::TRANSLATION_PARSER;
    void report_error(const char* message, const char* context, INT_S32 line) override
    {
        m_failed = true;
        // The report text itself must be buildable from whatever the reader hands over.
        (void)xml_error_text(message, context, line);
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size > 1 << 20)
        return 0;
    const char* bytes = reinterpret_cast<const char*>(data);

    // Fed from a device, the way language files are read.
    TRANSLATION_TABLE table;
    {
        MEMORY_DEVICE device(data, size);
        SURVIVING_PARSER parser(&table);
        (void)parser.parse_device(&device);
    }
    // The table must be sorted, hold texts, and find every entry by its key.
    for (INT_S32 i = 0; i < table.count(); ++i) {
        TRANSLATION_ENTRY* entry = table.entry_at(i);
        if (!entry || !entry->text || table.find_key(entry->key) != i)
            __builtin_trap();
        if (i > 0 && !(table.entry_at(i - 1)->key < entry->key))
            __builtin_trap();
        if (entry->extra && entry->extra->key_string) {
            bool found = false;
            const char* text = translate_in(&table, entry->extra->key_string, &found);
            if (!found || text != entry->text)
                __builtin_trap();
        }
    }

    // Name-only reading, fed in two pieces.
    char name[32];
    {
        SURVIVING_PARSER parser(&table, name, sizeof name);
        INT_S32 half = static_cast<INT_S32>(size / 2);
        if (parser.parse(bytes, half))
            (void)parser.parse(bytes + half, static_cast<INT_S32>(size) - half);
        if (strlen(name) >= sizeof name)
            __builtin_trap();
    }

    // The conversion on its own, with a tight buffer.
    char small[9];
    INT_S32 length = utf8_convert(bytes, static_cast<INT_S32>(size), small, sizeof small);
    if (length < 0 || length >= static_cast<INT_S32>(sizeof small))
        __builtin_trap();
    (void)utf8_to_text(bytes, static_cast<INT_S32>(size));
    (void)make_key(&table, utf8_to_text(bytes, static_cast<INT_S32>(size)));
    return 0;
}
