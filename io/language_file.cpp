// Language files on disk: reading through XML_PARSER::parse_file and writing through TEXT_FILE.
// Kept apart from the reader and the table so that programs which parse only from memory or
// from a device (tools, fuzz targets) do not pull in folders and files.
#include "io/data_file.h"
#include "io/folder.h"
#include "base/orlu_string.h"
#include "io/text_file.h"
#include "io/translation.h"
#include "io/xml_parser.h"

#include <cstdio>

bool XML_PARSER::parse_file(FOLDER* folder, const char* file_name)
{
    if (!folder || !file_name || !m_parser || m_stopped)
        return false;
    DATA_FILE* file = folder->open_data_file(file_name, FILE_READ, 0, false);
    if (!file)
        return false;
    bool parsed = parse_device(file);
    FOLDER::close_data_file(&file);
    return parsed;
}

bool load_language_into(TRANSLATION_TABLE* table, FOLDER* folder, const char* file_name)
{
    if (!table)
        return false;
    table->empty();
    TRANSLATION_PARSER parser(table);
    bool parsed = parser.parse_file(folder, file_name);
    return parsed && !parser.failed();
}

bool load_language(FOLDER* folder, const char* file_name)
{
    return load_language_into(&translation_table, folder, file_name);
}

const char* language_name_of(FOLDER* folder, const char* file_name)
{
    static char name[256];
    TRANSLATION_TABLE unused;
    TRANSLATION_PARSER parser(&unused, name, sizeof name);
    if (!parser.parse_file(folder, file_name) || parser.failed())
        return nullptr;
    return name;
}

namespace {

// The text with &, <, >, and quotes as entities, written as one piece.
bool write_encoded(TEXT_FILE* file, const char* text)
{
    ORLU_STRING encoded(text);
    encoded.encode_entities(false);
    return file->write_string(encoded.c_str());
}

bool write_entry(TEXT_FILE* file, const TRANSLATION_ENTRY* entry)
{
    // key_id keeps the low half of the key as a signed number; the reader widens it by sign.
    if (!file->write_format("\t<TRANSLATION key_id=\"%ld\">\n", static_cast<long>(static_cast<INT_S32>(entry->key))))
        return false;
    const TRANSLATION_EXTRA* extra = entry->extra;
    // Variable texts go through write_string: write_format stops at the line buffer's size.
    if (extra && extra->comment) {
        if (!file->write_string("\t\t<COMMENT>") || !write_encoded(file, extra->comment) || !file->write_string("</COMMENT>\n"))
            return false;
    }
    if (extra && extra->file) {
        if (!file->write_string("\t\t<KEY_LOCATION file=\"") || !file->write_string(extra->file)
            || !file->write_format("\" line=\"%ld\"/>\n", static_cast<long>(extra->line)))
            return false;
    }
    if (extra && extra->key_string) {
        if (!file->write_string("\t\t<KEY_STRING>") || !write_encoded(file, extra->key_string)
            || !file->write_string("</KEY_STRING>\n"))
            return false;
    }
    return file->write_string("\t\t<STRING>") && file->write_string(entry->text ? entry->text : "")
        && file->write_string("</STRING>\n") && file->write_string("\t</TRANSLATION>\n\n");
}

} // namespace

bool save_language(const TRANSLATION_TABLE* table, FOLDER* folder, const char* file_name)
{
    if (!table || !folder || !file_name)
        return false;
    TEXT_FILE* file = folder->open_text_file(file_name, FILE_WRITE, false);
    if (!file)
        return false;
    bool ok = file->write_string("<LANGUAGE name=\"") && file->write_string(table->language_name ? table->language_name : "")
        && file->write_string("\" author=\"") && file->write_string(table->language_author ? table->language_author : "")
        && file->write_string("\" comment=\"") && file->write_string(table->language_comment ? table->language_comment : "")
        && file->write_string("\">\n\n");
    for (INT_S32 i = 0; ok && i < table->count(); ++i)
        ok = write_entry(file, table->entry_at(i));
    ok = ok && file->write_string("</LANGUAGE>\n");
    FOLDER::close_text_file(&file);
    return ok;
}
