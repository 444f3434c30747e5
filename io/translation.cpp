// Translations: the table, the language file reader and writer, keys and look-up.
//
// [SECTION] Text helpers
// [SECTION] Entries and the table
// [SECTION] Keys and look-up
// [SECTION] Reader: elements
// [SECTION] Reader: text and closing elements
// [SECTION] Loading and saving
#include "io/translation.h"

#include "base/data_device.h"
#include "base/debug_stream.h"
#include "base/orlu_string.h"

#include <cctype>
#include <cstdio>
#include <cstring>
#include <new>
#include <strings.h>

TRANSLATION_TABLE translation_table;

// =============================================================================================
// [SECTION] Text helpers
// =============================================================================================

namespace {

const char* const BUILT_IN_LANGUAGE = "English (Built in)";

char* copy_text(const char* text)
{
    if (!text)
        text = "";
    size_t length = strlen(text);
    char* copy = new (std::nothrow) char[length + 1];
    if (!copy)
        return nullptr;
    memcpy(copy, text, length + 1);
    return copy;
}

// Replaces *text with its entity-decoded form. False when memory runs out; *text is kept.
bool decode_in_place(char** text)
{
    ORLU_STRING decoded(*text);
    if (!decoded.text() && *text && **text)
        return false;
    decoded.decode_entities();
    char* copy = copy_text(decoded.c_str());
    if (!copy)
        return false;
    delete[] *text;
    *text = copy;
    return true;
}

const char* attribute_named(const char** attributes, const char* name)
{
    for (INT_S32 i = 0; attributes && attributes[i]; i += 2) {
        if (strcasecmp(attributes[i], name) == 0)
            return attributes[i + 1];
    }
    return nullptr;
}

bool is_named(const char* name, const char* wanted)
{
    return strcasecmp(name, wanted) == 0;
}

void delete_translation_entry(void* item)
{
    delete static_cast<TRANSLATION_ENTRY*>(item);
}

} // namespace

// =============================================================================================
// [SECTION] Entries and the table
// =============================================================================================

TRANSLATION_EXTRA::~TRANSLATION_EXTRA()
{
    delete[] comment;
    delete[] key_string;
    delete[] file;
}

TRANSLATION_ENTRY::~TRANSLATION_ENTRY()
{
    delete[] text;
    delete extra;
}

TRANSLATION_TABLE::TRANSLATION_TABLE()
    : PTRARRAY(delete_translation_entry)
{
}

TRANSLATION_TABLE::~TRANSLATION_TABLE()
{
    delete[] language_name;
    delete[] language_author;
    delete[] language_comment;
}

void TRANSLATION_TABLE::empty()
{
    free_all();
    delete[] language_name;
    delete[] language_author;
    delete[] language_comment;
    language_name = language_author = language_comment = nullptr;
}

bool TRANSLATION_TABLE::set_text(char** field, const char* text)
{
    char* copy = copy_text(text);
    delete[] *field;
    *field = copy;
    return copy != nullptr;
}

const char* TRANSLATION_TABLE::name() const
{
    return language_name ? language_name : BUILT_IN_LANGUAGE;
}

namespace {

// Keys order as two unsigned halves, high half first: the same as one unsigned 64-bit compare.
// Answers the first index whose key is not below key.
INT_S32 lower_bound(const TRANSLATION_TABLE* table, INT_U64 key)
{
    INT_S32 low = 0;
    INT_S32 high = table->count();
    while (low < high) {
        INT_S32 middle = low + (high - low) / 2;
        if (table->entry_at(middle)->key < key)
            low = middle + 1;
        else
            high = middle;
    }
    return low;
}

} // namespace

INT_S32 TRANSLATION_TABLE::find_key(INT_U64 key) const
{
    INT_S32 index = lower_bound(this, key);
    if (index < count() && entry_at(index)->key == key)
        return index;
    return -1;
}

bool TRANSLATION_TABLE::add_entry(TRANSLATION_ENTRY* entry)
{
    if (!entry || find_key(entry->key) >= 0)
        return false;
    INT_S32 index = lower_bound(this, entry->key);
    if (!add(entry))
        return false;
    // Move the new last element into its place: the table stays sorted after every entry.
    void** slots = items();
    memmove(slots + index + 1, slots + index, sizeof(void*) * static_cast<size_t>(count() - 1 - index));
    slots[index] = entry;
    return true;
}

// =============================================================================================
// [SECTION] Keys and look-up
// =============================================================================================

INT_U64 make_key(const TRANSLATION_TABLE*, const char* text)
{
    if (!text || !text[0])
        return 0;
    INT_S64 weighted = 0;
    INT_S64 odd_sum = 0;
    INT_U32 breaks = 0;
    size_t length = strlen(text);
    for (size_t k = 0; k < length; ++k) {
        INT_S32 character = static_cast<signed char>(text[k]);
        weighted += static_cast<INT_S64>(character) * static_cast<INT_S64>(k + 1);
        if (k & 1)
            odd_sum += character;
        unsigned char byte = static_cast<unsigned char>(text[k]);
        if (isspace(byte) || ispunct(byte))
            ++breaks;
    }
    INT_U32 low = (breaks << 24) | (static_cast<INT_U32>(length % 256) << 16)
        | (static_cast<INT_U32>(weighted) & 0xFFFF);
    INT_U32 last = static_cast<INT_U32>(static_cast<INT_S32>(static_cast<signed char>(text[length - 1])));
    INT_U32 first = static_cast<unsigned char>(text[0]);
    INT_U32 high = (last << 24) | (first << 16) | (static_cast<INT_U32>(odd_sum) & 0xFFFF);
    return (static_cast<INT_U64>(high) << 32) | low;
}

const char* translate_in(const TRANSLATION_TABLE* table, const char* text, bool* found)
{
    if (found)
        *found = false;
    if (!text)
        return "";
    if (!table)
        return text;
    INT_S32 index = table->find_key(make_key(table, text));
    if (index < 0)
        return text;
    if (found)
        *found = true;
    return table->entry_at(index)->text;
}

const char* translate(const char* text, bool* found)
{
    return translate_in(&translation_table, text, found);
}

void clear_language()
{
    translation_table.empty();
}

// =============================================================================================
// [SECTION] Reader: elements
// =============================================================================================

TRANSLATION_PARSER::TRANSLATION_PARSER(TRANSLATION_TABLE* table, char* name_target, INT_S32 name_size)
    : m_table(table)
    , m_name_target(name_size > 0 ? name_target : nullptr)
    , m_name_size(name_size)
{
    if (m_name_target)
        snprintf(m_name_target, static_cast<size_t>(m_name_size), "%s", BUILT_IN_LANGUAGE);
}

TRANSLATION_PARSER::~TRANSLATION_PARSER()
{
    delete m_current;
}

void TRANSLATION_PARSER::report_error(const char* message, const char* context, INT_S32 line)
{
    m_failed = true;
    XML_PARSER::report_error(message, context, line);
}

void TRANSLATION_PARSER::start_element(const char* name, const char** attributes)
{
    m_append_buffer = nullptr;
    if (is_named(name, "LANGUAGE")) {
        start_language(attributes);
        return;
    }
    if (m_name_target)
        return;
    if (!(m_state & IN_LANGUAGE))
        return fail("Language tag not found", name);
    if (is_named(name, "TRANSLATION"))
        return start_translation(attributes);

    if (is_named(name, "COMMENT")) {
        if (!may_open_part("Comment tag found outside a translation tag"))
            return;
        if (m_current->extra->comment)
            return fail("Comment already found for this translation", name);
        if (!(m_current->extra->comment = copy_text("")))
            return fail("Unable to allocate memory for string", "Comment String");
        m_state |= IN_COMMENT;
        return;
    }
    if (is_named(name, "KEY_LOCATION")) {
        if (!may_open_part("key_lcoation tag found outside a translation tag"))
            return;
        TRANSLATION_EXTRA* extra = m_current->extra;
        if (extra->file)
            return fail("key_location already found for this translation", name);
        if (const char* file = attribute_named(attributes, "file")) {
            if (!(extra->file = copy_text(file)))
                return fail("Unable to allocate memory for string", "File");
        }
        const char* line = attribute_named(attributes, "line");
        int number = 0;
        if (line && sscanf(line, "%d", &number) == 1)
            extra->line = number;
        return;
    }
    if (is_named(name, "KEY_STRING")) {
        if (!may_open_part("key_string tag found outside a translation tag"))
            return;
        if (m_current->extra->key_string)
            return fail("key_string already found for this translation", name);
        if (!(m_current->extra->key_string = copy_text("")))
            return fail("Unable to allocate memory for string", "Key String");
        m_state |= IN_KEY_STRING;
        return;
    }
    if (is_named(name, "STRING")) {
        if (!m_current)
            return fail("string tag found outside a translation tag", name);
        if (m_state & (IN_COMMENT | IN_KEY_STRING | IN_STRING))
            return fail("Main tag already open", name);
        if (m_current->text)
            return fail("string already found for this translation", name);
        if (!(m_current->text = copy_text("")))
            return fail("Unable to allocate memory for string", "String");
        m_state |= IN_STRING;
        return;
    }
    fail("Unknown tag found", name);
}

void TRANSLATION_PARSER::start_language(const char** attributes)
{
    if (m_state & IN_LANGUAGE)
        return fail("Two language tags found", "LANGUAGE");
    m_state |= IN_LANGUAGE;
    if (!m_name_target) {
        bool ok = m_table->set_text(&m_table->language_name, "")
            && m_table->set_text(&m_table->language_author, "")
            && m_table->set_text(&m_table->language_comment, "");
        if (!ok)
            return fail("Unable to allocate memory for string", "Language");
    }
    for (INT_S32 i = 0; attributes[i]; i += 2) {
        const char* value = attributes[i + 1];
        if (is_named(attributes[i], "name")) {
            if (m_name_target)
                snprintf(m_name_target, static_cast<size_t>(m_name_size), "%s", value);
            else if (!m_table->set_text(&m_table->language_name, value))
                return fail("Unable to allocate memory for string", "Language");
            continue;
        }
        if (m_name_target)
            continue;
        if (is_named(attributes[i], "author") && !m_table->set_text(&m_table->language_author, value))
            return fail("Unable to allocate memory for string", "Language");
        if (is_named(attributes[i], "comment") && !m_table->set_text(&m_table->language_comment, value))
            return fail("Unable to allocate memory for string", "Language");
    }
    if (!m_name_target && !m_table->language_name[0])
        fail("Language has no name", "LANGUAGE");
}

void TRANSLATION_PARSER::start_translation(const char** attributes)
{
    if (m_current)
        return fail("Translation tag found inside another translation tag", "TRANSLATION");
    m_current = new (std::nothrow) TRANSLATION_ENTRY;
    if (!m_current)
        return fail("Unable to allocate memory for string", "Translation");
    m_state = IN_LANGUAGE;
    const char* key_id = attribute_named(attributes, "key_id");
    int number = 0;
    if (key_id && sscanf(key_id, "%d", &number) == 1) {
        // The file holds the low half only, as a signed number; it widens by sign.
        m_current->key = static_cast<INT_U64>(static_cast<INT_S64>(number));
        m_state |= HAS_KEY_ID;
    }
}

bool TRANSLATION_PARSER::may_open_part(const char* outside_message)
{
    if (!m_current) {
        fail(outside_message, "");
        return false;
    }
    if (m_state & (IN_COMMENT | IN_KEY_STRING | IN_STRING)) {
        fail("Main tag already open", "");
        return false;
    }
    return make_extra();
}

bool TRANSLATION_PARSER::make_extra()
{
    if (m_current->extra)
        return true;
    m_current->extra = new (std::nothrow) TRANSLATION_EXTRA;
    if (m_current->extra)
        return true;
    fail("Unable to create optional data", "");
    return false;
}

// =============================================================================================
// [SECTION] Reader: text and closing elements
// =============================================================================================

void TRANSLATION_PARSER::character_data(const char* text, INT_S32 length)
{
    if (m_name_target || !m_current || length <= 0)
        return;
    if (m_state & IN_COMMENT)
        (void)append(&m_current->extra->comment, text, length, "Comment String");
    else if (m_state & IN_KEY_STRING)
        (void)append(&m_current->extra->key_string, text, length, "Key String");
    else if (m_state & IN_STRING)
        (void)append(&m_current->text, text, length, "String");
}

bool TRANSLATION_PARSER::append(char** target, const char* text, INT_S32 length, const char* context)
{
    // Expat hands text over in pieces; grow the held text by doubling so that many small pieces
    // do not copy it over and over.
    size_t held = *target ? strlen(*target) : 0;
    size_t total = held + static_cast<size_t>(length);
    if (total > static_cast<size_t>(TRANSLATION_MAX_TEXT)) {
        fail("String too long", context);
        return false;
    }
    if (*target != m_append_buffer || total + 1 > m_append_capacity) {
        size_t capacity = *target == m_append_buffer ? m_append_capacity * 2 : 64;
        while (capacity < total + 1)
            capacity *= 2;
        char* grown = new (std::nothrow) char[capacity];
        if (!grown) {
            fail("Unable to allocate memory for string", context);
            return false;
        }
        memcpy(grown, *target ? *target : "", held);
        delete[] *target;
        *target = grown;
        m_append_buffer = grown;
        m_append_capacity = capacity;
    }
    memcpy(*target + held, text, static_cast<size_t>(length));
    (*target)[total] = 0;
    return true;
}

void TRANSLATION_PARSER::end_element(const char* name)
{
    m_append_buffer = nullptr;
    if (is_named(name, "LANGUAGE")) {
        m_state &= static_cast<INT_U16>(~IN_LANGUAGE);
        if (m_current || (m_state & (IN_COMMENT | IN_KEY_STRING | IN_STRING)))
            fail("Closing language tag whilst another tag is still open", name);
        return;
    }
    if (m_name_target)
        return;
    if (is_named(name, "COMMENT"))
        m_state &= static_cast<INT_U16>(~IN_COMMENT);
    else if (is_named(name, "KEY_STRING"))
        m_state &= static_cast<INT_U16>(~IN_KEY_STRING);
    else if (is_named(name, "STRING"))
        m_state &= static_cast<INT_U16>(~IN_STRING);
    else if (is_named(name, "TRANSLATION") && m_current)
        end_translation();
}

void TRANSLATION_PARSER::end_translation()
{
    TRANSLATION_ENTRY* entry = m_current;
    char* key_string = entry->extra ? entry->extra->key_string : nullptr;
    if (key_string && !decode_in_place(&entry->extra->key_string))
        return fail("Unable to allocate memory for string", "Key String");
    key_string = entry->extra ? entry->extra->key_string : nullptr;

    if (!(m_state & HAS_KEY_ID)) {
        if (!key_string)
            return fail("No key string or key id found", "TRANSLATION");
        entry->key = make_key(m_table, key_string);
        debug_printf(&translation_debug, "New key: %lld made from: \"%s\"\n",
            static_cast<long long>(entry->key), key_string);
    } else if (key_string && make_key(m_table, key_string) != entry->key) {
        return fail("Key ID does not match key string", key_string);
    }

    if (!entry->text || !entry->text[0])
        return fail("Translation entry without a string", "TRANSLATION");
    if (!decode_in_place(&entry->text))
        return fail("Unable to allocate memory for string", "String");

    if (m_table->find_key(entry->key) >= 0)
        return fail("translation key id already in use", entry->text);
    if (!m_table->add_entry(entry))
        return fail("Unable to allocate memory for string", "Translation");
    m_current = nullptr;
    m_state = IN_LANGUAGE;
}

// =============================================================================================
// [SECTION] Loading and saving
// =============================================================================================

bool load_language_from_device(TRANSLATION_TABLE* table, DATA_DEVICE* device)
{
    if (!table)
        return false;
    table->empty();
    if (!device)
        return false;
    TRANSLATION_PARSER parser(table);
    bool read = parser.parse_device(device);
    return read && !parser.failed();
}
