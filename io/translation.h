// Translations: language files read into a table sorted by key, and the run-time look-up from a
// program string to its translated text.
//
// A key is a weak 64-bit hash of the text (make_key). Two texts with the same key share a
// translation; that is accepted, because the key is a stable id that can be written into a
// language file by hand.
//
// Language files are UTF-8 XML:
//   <LANGUAGE name="" author="" comment="">
//     <TRANSLATION key_id="">           key_id optional, decimal
//       <COMMENT>..</COMMENT>           optional
//       <KEY_LOCATION file="" line=""/> optional
//       <KEY_STRING>..</KEY_STRING>     the original text; needed when there is no key_id
//       <STRING>..</STRING>             the translation, not empty
//     </TRANSLATION>
//   </LANGUAGE>
// Element and attribute names are compared without regard to case. A malformed file is a fatal
// error with the reason and line in a message box.
#pragma once

#include "base/containers.h"
#include "base/orlu_types.h"
#include "io/xml_parser.h"

class DATA_DEVICE;
class FOLDER;

// Optional data of an entry, kept for translators and for saving the file again.
struct TRANSLATION_EXTRA {
    TRANSLATION_EXTRA() = default;
    ~TRANSLATION_EXTRA();
    TRANSLATION_EXTRA(const TRANSLATION_EXTRA&) = delete;
    TRANSLATION_EXTRA& operator=(const TRANSLATION_EXTRA&) = delete;

    char* comment { nullptr };
    char* key_string { nullptr };
    char* file { nullptr };
    INT_S32 line { 0 };
};

struct TRANSLATION_ENTRY {
    TRANSLATION_ENTRY() = default;
    ~TRANSLATION_ENTRY();
    TRANSLATION_ENTRY(const TRANSLATION_ENTRY&) = delete;
    TRANSLATION_ENTRY& operator=(const TRANSLATION_ENTRY&) = delete;

    INT_U64 key { 0 };
    char* text { nullptr };
    TRANSLATION_EXTRA* extra { nullptr };
};

// Owns its entries, kept sorted by key (unsigned, high half first).
class TRANSLATION_TABLE : public PTRARRAY {
public:
    TRANSLATION_TABLE();
    ~TRANSLATION_TABLE() override;

    // Deletes every entry and empties the three language texts.
    void empty();
    // Index of the entry with this key, or -1.
    [[nodiscard]] INT_S32 find_key(INT_U64 key) const;
    [[nodiscard]] TRANSLATION_ENTRY* entry_at(INT_S32 index) const { return static_cast<TRANSLATION_ENTRY*>(at(index)); }
    // Takes ownership of entry and keeps the table sorted. False when the key is in use or memory
    // runs out; the entry then stays the caller's.
    [[nodiscard]] bool add_entry(TRANSLATION_ENTRY* entry);
    // Replaces one of the three texts with a copy (null gives the empty text). False when memory
    // runs out; the field is then null.
    bool set_text(char** field, const char* text);
    // The language name, "English (Built in)" when none was ever read.
    [[nodiscard]] const char* name() const;

    char* language_name { nullptr };
    char* language_author { nullptr };
    char* language_comment { nullptr };
};

// The program's table, used by translate and load_language.
extern TRANSLATION_TABLE translation_table;

// Longest text kept for one comment, key string or translation; a longer one is an error.
constexpr INT_S32 TRANSLATION_MAX_TEXT = 65536;

class TRANSLATION_PARSER : public XML_PARSER {
public:
    // Fills table. With name_target set, only the language name is read, into that buffer of
    // name_size bytes, and the table is left alone.
    TRANSLATION_PARSER(TRANSLATION_TABLE* table, char* name_target = nullptr, INT_S32 name_size = 0);
    ~TRANSLATION_PARSER() override;

    void start_element(const char* name, const char** attributes) override;
    void end_element(const char* name) override;
    void character_data(const char* text, INT_S32 length) override;
    // Sets failed, then reports as the base does (the process ends).
    void report_error(const char* message, const char* context, INT_S32 line) override;

    [[nodiscard]] bool failed() const { return m_failed; }

protected:
    enum STATE_BIT : INT_U16 {
        IN_LANGUAGE = 0x01,
        HAS_KEY_ID = 0x02,
        IN_COMMENT = 0x04,
        IN_KEY_STRING = 0x08,
        IN_STRING = 0x10,
    };

    bool m_failed { false };

private:
    void start_language(const char** attributes);
    void start_translation(const char** attributes);
    // Common checks of COMMENT, KEY_LOCATION, KEY_STRING and STRING; false after a report.
    [[nodiscard]] bool may_open_part(const char* outside_message);
    [[nodiscard]] bool make_extra();
    void end_translation();
    [[nodiscard]] bool append(char** target, const char* text, INT_S32 length, const char* context);

    INT_U16 m_state { 0 };
    TRANSLATION_TABLE* m_table { nullptr };
    TRANSLATION_ENTRY* m_current { nullptr };
    char* m_name_target { nullptr };
    INT_S32 m_name_size { 0 };
    // The text being appended to and its allocated size; forgotten at every element event, since
    // texts are only replaced or freed there.
    char* m_append_buffer { nullptr };
    size_t m_append_capacity { 0 };
};

// --- keys and look-up -------------------------------------------------------------------------

// The key of a text; 0 for null or empty. Low half: breaks (isspace or ispunct) << 24, length
// modulo 256 << 16, low 16 bits of the position-weighted sum. High half: last character << 24,
// first character << 16, low 16 bits of the sum of odd positions.
[[nodiscard]] INT_U64 make_key(const TRANSLATION_TABLE* table, const char* text);

// The translation of text from the program's table. Null text gives "", a text without an entry
// gives the text itself. found, when not null, is set to whether an entry was found.
const char* translate(const char* text, bool* found);
const char* translate_in(const TRANSLATION_TABLE* table, const char* text, bool* found);

// --- language files ---------------------------------------------------------------------------

// Empties the program's table and fills it from the file. False when the file is missing (the
// table stays empty, so translate answers each text unchanged) or the parse failed.
bool load_language(FOLDER* folder, const char* file_name);
bool load_language_into(TRANSLATION_TABLE* table, FOLDER* folder, const char* file_name);
// The same from an open device; the table is emptied first.
bool load_language_from_device(TRANSLATION_TABLE* table, DATA_DEVICE* device);
// The language name of a file without storing any entry, in a shared buffer; null when the file
// cannot be read.
const char* language_name_of(FOLDER* folder, const char* file_name);
// Writes the table as a language file. False when the file cannot be made or written.
bool save_language(const TRANSLATION_TABLE* table, FOLDER* folder, const char* file_name);
// Empties the program's table.
void clear_language();
