// The pair-of-lines settings format, read and written through TEXT_FILE.
//
// [SECTION] Entries on a text file
// [SECTION] Image in memory
// [SECTION] Reading
// [SECTION] Writing

#include "io/config_file.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "base/debug_stream.h"
#include "base/error_report.h"
#include "io/text_file.h"

// ---------------------------------------------------------------------------------------------
// [SECTION] Entries on a text file
// ---------------------------------------------------------------------------------------------

namespace {

// Lines are read into a buffer much larger than any field, so that an over-long value is cut to
// its field instead of spilling into the next line.
constexpr INT_S32 LINE_BUFFER_SIZE = 8192;

enum ENTRY_RESULT { ENTRY_READ, ENTRY_NONE_LEFT, ENTRY_BROKEN };

const char* skip_blanks(const char* text)
{
    while (*text == ' ' || *text == '\t')
        ++text;
    return text;
}

bool is_skipped_line(const char* line)
{
    return line[0] == '#' || skip_blanks(line)[0] == 0;
}

void copy_field(char* field, INT_S32 size, const char* text)
{
    snprintf(field, static_cast<size_t>(size), "%s", text);
}

// Reads the next entry. Blank and comment lines in front of it are skipped, and copied to
// `copy_to` when that is set, so that a rewrite keeps them. The end of the file before an
// identifier is no error; an identifier without its value line is (257).
ENTRY_RESULT read_entry(TEXT_FILE* file, char* line, CONFIG_ENTRY* entry, TEXT_FILE* copy_to)
{
    for (;;) {
        if (!file->read_line_into(line, LINE_BUFFER_SIZE, true))
            return ENTRY_NONE_LEFT;
        if (!is_skipped_line(line))
            break;
        if (copy_to) {
            copy_to->write_string(line);
            copy_to->write_string("\n");
        }
    }
    copy_field(entry->id, CONFIG_ID_SIZE, skip_blanks(line));
    if (!file->read_line_into(line, LINE_BUFFER_SIZE, true))
        return ENTRY_BROKEN;
    copy_field(entry->value, CONFIG_VALUE_SIZE, skip_blanks(line));
    return ENTRY_READ;
}

bool write_entry(TEXT_FILE* file, const char* id, const char* value)
{
    return file->write_string(id) && file->write_string("\n\t") && file->write_string(value)
        && file->write_string("\n");
}

int compare_ids(const CONFIG_ENTRY* a, const CONFIG_ENTRY* b) { return strcmp(a->id, b->id); }

void delete_entry(void* item) { delete static_cast<CONFIG_ENTRY*>(item); }

} // namespace

// ---------------------------------------------------------------------------------------------
// [SECTION] Image in memory
// ---------------------------------------------------------------------------------------------

CONFIG_FILE::CONFIG_FILE()
    : m_folder("$APP")
    , m_entries(delete_entry)
{
}

CONFIG_FILE::~CONFIG_FILE() { m_entries.free_all(); }

void CONFIG_FILE::open(const char* file_name, bool cached)
{
    copy_field(m_file_name, sizeof m_file_name, file_name ? file_name : "");
    m_cached = cached;
    m_entries.free_all();
}

bool CONFIG_FILE::fail(INT_U16 code, const char* detail) const
{
    set_last_error(code, detail);
    if (platform_debug.flags())
        debug_write(&platform_debug, "code/config_file", 0, last_error_text(), true);
    return false;
}

bool CONFIG_FILE::exists(const FOLDER& folder) const
{
    return folder.exists(m_file_name);
}

void CONFIG_FILE::sort_by_id()
{
    void** items = m_entries.items();
    if (!items)
        return;
    // Stable, so that of two entries with one id the earlier in the file is found first.
    std::stable_sort(items, items + m_entries.count(), [](void* a, void* b) {
        return compare_ids(static_cast<CONFIG_ENTRY*>(a), static_cast<CONFIG_ENTRY*>(b)) < 0;
    });
}

CONFIG_ENTRY* CONFIG_FILE::find_cached(const char* id) const
{
    void** items = m_entries.items();
    INT_S32 low = 0, high = m_entries.count();
    while (low < high) {
        INT_S32 middle = low + (high - low) / 2;
        if (strcmp(static_cast<CONFIG_ENTRY*>(items[middle])->id, id) < 0)
            low = middle + 1;
        else
            high = middle;
    }
    if (low < m_entries.count() && strcmp(static_cast<CONFIG_ENTRY*>(items[low])->id, id) == 0)
        return static_cast<CONFIG_ENTRY*>(items[low]);
    return nullptr;
}

bool CONFIG_FILE::load(const FOLDER& folder, bool must_exist)
{
    m_entries.free_all();
    TEXT_FILE* file = folder.open_text_file(m_file_name, FILE_READ, false);
    if (!file)
        return must_exist ? fail(ERROR_CONFIG_OPEN, m_file_name) : true;
    char* line = new (std::nothrow) char[LINE_BUFFER_SIZE];
    if (!line) {
        FOLDER::close_text_file(&file);
        return fail(ERROR_CONFIG_MEMORY, nullptr);
    }
    file->set_line_limit(1024);
    bool ok = true;
    for (;;) {
        CONFIG_ENTRY* entry = new (std::nothrow) CONFIG_ENTRY();
        if (!entry) {
            ok = fail(ERROR_CONFIG_MEMORY, nullptr);
            break;
        }
        ENTRY_RESULT result = read_entry(file, line, entry, nullptr);
        if (result != ENTRY_READ) {
            delete entry;
            if (result == ENTRY_BROKEN)
                ok = fail(ERROR_CONFIG_UNEXPECTED_END, nullptr);
            break;
        }
        // The sequence is a 16-bit place; a file with more entries than that is no settings file.
        if (m_entries.count() >= 0x7FFF) {
            delete entry;
            break;
        }
        entry->sequence = static_cast<INT_S16>(m_entries.count());
        if (!m_entries.add(entry)) {
            delete entry;
            ok = fail(ERROR_CONFIG_MEMORY, nullptr);
            break;
        }
    }
    delete[] line;
    FOLDER::close_text_file(&file);
    sort_by_id();
    return ok;
}

bool CONFIG_FILE::ensure_loaded(const FOLDER& folder, bool must_exist)
{
    if (m_entries.count() > 0)
        return true;
    return load(folder, must_exist);
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Reading
// ---------------------------------------------------------------------------------------------

void CONFIG_FILE::read_all(const FOLDER& folder, CONFIG_CALLBACK callback, void* context)
{
    set_last_error(ERROR_NONE, nullptr);
    if (!callback) {
        fail(ERROR_CONFIG_NO_CALLBACK, nullptr);
        return;
    }
    if (m_cached) {
        if (!ensure_loaded(folder, true))
            return;
        for (INT_S32 i = 0; i < m_entries.count(); ++i) {
            const CONFIG_ENTRY* entry = static_cast<const CONFIG_ENTRY*>(m_entries.at(i));
            callback(entry->id, entry->value, context);
        }
        return;
    }
    TEXT_FILE* file = folder.open_text_file(m_file_name, FILE_READ, false);
    if (!file) {
        fail(ERROR_CONFIG_OPEN, m_file_name);
        return;
    }
    char* line = new (std::nothrow) char[LINE_BUFFER_SIZE];
    CONFIG_ENTRY* entry = new (std::nothrow) CONFIG_ENTRY();
    if (line && entry) {
        ENTRY_RESULT result;
        while ((result = read_entry(file, line, entry, nullptr)) == ENTRY_READ)
            callback(entry->id, entry->value, context);
        if (result == ENTRY_BROKEN)
            fail(ERROR_CONFIG_UNEXPECTED_END, nullptr);
    } else {
        fail(ERROR_CONFIG_MEMORY, nullptr);
    }
    delete entry;
    delete[] line;
    FOLDER::close_text_file(&file);
}

bool CONFIG_FILE::read_text(const FOLDER& folder, const char* id, char* buffer)
{
    set_last_error(ERROR_NONE, nullptr);
    if (!id || !id[0])
        return fail(ERROR_CONFIG_BAD_ID, nullptr);
    if (m_cached) {
        if (!ensure_loaded(folder, true))
            return false;
        const CONFIG_ENTRY* entry = find_cached(id);
        if (!entry)
            return fail(ERROR_CONFIG_ENTRY_NOT_FOUND, id);
        copy_field(buffer, CONFIG_VALUE_SIZE, entry->value);
        return true;
    }

    TEXT_FILE* file = folder.open_text_file(m_file_name, FILE_READ, false);
    if (!file)
        return fail(ERROR_CONFIG_OPEN, m_file_name);
    file->set_line_limit(1024);
    char* line = new (std::nothrow) char[LINE_BUFFER_SIZE];
    CONFIG_ENTRY* entry = new (std::nothrow) CONFIG_ENTRY();
    bool found = false;
    if (line && entry) {
        ENTRY_RESULT result;
        while ((result = read_entry(file, line, entry, nullptr)) == ENTRY_READ) {
            if (strcmp(entry->id, id) == 0) {
                copy_field(buffer, CONFIG_VALUE_SIZE, entry->value);
                found = true;
                break;
            }
        }
        if (result == ENTRY_BROKEN)
            fail(ERROR_CONFIG_UNEXPECTED_END, nullptr);
    } else {
        fail(ERROR_CONFIG_MEMORY, nullptr);
    }
    delete entry;
    delete[] line;
    FOLDER::close_text_file(&file);
    if (!found && last_error_code() == ERROR_NONE)
        return fail(ERROR_CONFIG_ENTRY_NOT_FOUND, id);
    return found;
}

bool CONFIG_FILE::read_int(const FOLDER& folder, const char* id, INT_S32* out, bool hexadecimal)
{
    char value[CONFIG_VALUE_SIZE];
    if (!read_text(folder, id, value))
        return false;
    if (hexadecimal) {
        unsigned int parsed = 0;
        if (sscanf(value, "%X", &parsed) == 1)
            *out = static_cast<INT_S32>(parsed);
    } else {
        int parsed = 0;
        if (sscanf(value, "%d", &parsed) == 1)
            *out = parsed;
    }
    return true;
}

bool CONFIG_FILE::read_real(const FOLDER& folder, const char* id, FLOAT_64* out)
{
    char value[CONFIG_VALUE_SIZE];
    if (!read_text(folder, id, value))
        return false;
    double parsed = 0;
    if (sscanf(value, "%lf", &parsed) == 1)
        *out = parsed;
    return true;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Writing
// ---------------------------------------------------------------------------------------------

namespace {

// Writes a new version of a file beside it under a private temporary name; `commit` renames it
// over the old one, so a crash leaves either the old file or the new one, never half of it.
struct REPLACEMENT {
    const FOLDER& folder;
    const char* name;
    char temp_name[64] {};
    TEXT_FILE* file { nullptr };

    REPLACEMENT(const FOLDER& in, const char* file_name) : folder(in), name(file_name) {}
    ~REPLACEMENT()
    {
        FOLDER::close_text_file(&file);
        if (temp_name[0])
            (void)folder.delete_file(temp_name);
    }

    bool begin()
    {
        if (!folder.make_temp_name(temp_name, sizeof temp_name, ".tmp")) {
            temp_name[0] = 0;
            return false;
        }
        file = folder.open_text_file(temp_name, FILE_WRITE, false);
        return file != nullptr;
    }

    bool commit()
    {
        FOLDER::close_text_file(&file);
        if (!folder.rename_file(temp_name, folder, name))
            return false;
        temp_name[0] = 0;
        return true;
    }
};

} // namespace

bool CONFIG_FILE::save(const FOLDER& folder)
{
    REPLACEMENT replacement(folder, m_file_name);
    if (!replacement.begin())
        return fail(ERROR_CONFIG_OPEN, m_file_name);
    void** items = m_entries.items();
    if (items) {
        std::stable_sort(items, items + m_entries.count(), [](void* a, void* b) {
            return static_cast<CONFIG_ENTRY*>(a)->sequence < static_cast<CONFIG_ENTRY*>(b)->sequence;
        });
    }
    bool ok = true;
    for (INT_S32 i = 0; i < m_entries.count() && ok; ++i) {
        const CONFIG_ENTRY* entry = static_cast<const CONFIG_ENTRY*>(m_entries.at(i));
        ok = write_entry(replacement.file, entry->id, entry->value);
    }
    sort_by_id();
    if (!ok || !replacement.commit())
        return fail(ERROR_CONFIG_OPEN, m_file_name);
    return true;
}

bool CONFIG_FILE::write_uncached(const FOLDER& folder, const char* id, const char* value)
{
    REPLACEMENT replacement(folder, m_file_name);
    if (!replacement.begin())
        return fail(ERROR_CONFIG_OPEN, m_file_name);
    bool ok = true;
    bool matched = false;
    TEXT_FILE* old_file = folder.open_text_file(m_file_name, FILE_READ, false);
    if (old_file) {
        char* line = new (std::nothrow) char[LINE_BUFFER_SIZE];
        CONFIG_ENTRY* entry = new (std::nothrow) CONFIG_ENTRY();
        if (!line || !entry) {
            delete entry;
            delete[] line;
            FOLDER::close_text_file(&old_file);
            return fail(ERROR_CONFIG_MEMORY, nullptr);
        }
        // Comments, blank lines and order pass through; every entry with the id takes the value.
        while (ok && read_entry(old_file, line, entry, replacement.file) == ENTRY_READ) {
            bool hit = strcmp(entry->id, id) == 0;
            matched = matched || hit;
            ok = write_entry(replacement.file, entry->id, hit ? value : entry->value);
        }
        delete entry;
        delete[] line;
        FOLDER::close_text_file(&old_file);
    }
    if (ok && !matched)
        ok = write_entry(replacement.file, id, value);
    if (!ok || !replacement.commit())
        return fail(ERROR_CONFIG_OPEN, m_file_name);
    return true;
}

bool CONFIG_FILE::write_text(const FOLDER& folder, const char* id, const char* value)
{
    set_last_error(ERROR_NONE, nullptr);
    if (!id || !id[0])
        return fail(ERROR_CONFIG_BAD_ID, nullptr);
    if (!value)
        value = "";
    if (!m_cached)
        return write_uncached(folder, id, value);

    if (!ensure_loaded(folder, false))
        return false;
    CONFIG_ENTRY* entry = find_cached(id);
    if (entry) {
        copy_field(entry->value, CONFIG_VALUE_SIZE, value);
        return save(folder);
    }
    entry = new (std::nothrow) CONFIG_ENTRY();
    if (!entry)
        return fail(ERROR_CONFIG_MEMORY, nullptr);
    entry->sequence = static_cast<INT_S16>(m_entries.count());
    copy_field(entry->id, CONFIG_ID_SIZE, id);
    copy_field(entry->value, CONFIG_VALUE_SIZE, value);
    if (!m_entries.add(entry)) {
        delete entry;
        return fail(ERROR_CONFIG_MEMORY, nullptr);
    }
    sort_by_id();
    return save(folder);
}

bool CONFIG_FILE::write_int(const FOLDER& folder, const char* id, INT_S32 value, bool hexadecimal)
{
    char text[16];
    if (hexadecimal)
        snprintf(text, sizeof text, "%X", static_cast<unsigned int>(value));
    else
        snprintf(text, sizeof text, "%d", value);
    return write_text(folder, id, text);
}

bool CONFIG_FILE::write_real(const FOLDER& folder, const char* id, FLOAT_64 value, INT_S32 decimals)
{
    char text[400];
    snprintf(text, sizeof text, "%.*f", decimals < 0 ? 0 : (decimals > 60 ? 60 : decimals), value);
    return write_text(folder, id, text);
}
