// XML_PARSER: a thin event-driven reader over expat. It feeds the library from a device and turns
// UTF-8 into the framework's 8-bit text with wide-character runs, so that a subclass's handlers
// see ordinary text: a character above 255 sits between two bytes of value 1 as ",%04X", and
// consecutive wide characters share one pair of markers.
//
// The base error handler ends the process: a malformed XML file is a fatal fault. A subclass that
// must survive bad input (a fuzz target, a tool) overrides report_error; the parse then stops and
// answers false.
//
// XML here is untrusted input, so the reader bounds what reaches the handlers: nesting deeper
// than XML_MAX_DEPTH or more than XML_MAX_ATTRIBUTES attributes on one element is reported as an
// error, and character data reaches character_data in pieces of at most XML_TEXT_PIECE input
// bytes (expat splits text anyway, so every handler already accepts pieces).
#pragma once

#include "base/orlu_types.h"

class DATA_DEVICE;
class FOLDER;
struct XML_ParserStruct;

constexpr INT_S32 XML_MAX_DEPTH = 256;
constexpr INT_S32 XML_MAX_ATTRIBUTES = 64;
// Attribute pairs converted from UTF-8; the rest reach start_element as expat gave them.
constexpr INT_S32 XML_CONVERTED_ATTRIBUTES = 19;
// Longest converted attribute name or value, terminator excluded.
constexpr INT_S32 XML_ATTRIBUTE_TEXT = 511;
constexpr INT_S32 XML_TEXT_PIECE = 4096;
// Bytes handed to expat per call when reading a device.
constexpr INT_S32 XML_FEED_SIZE = 32768;

class XML_PARSER {
public:
    // Creates the expat parser for "utf-8" and sets the element and text handlers. If the library
    // cannot make one, every parse answers false.
    XML_PARSER();
    virtual ~XML_PARSER();
    XML_PARSER(const XML_PARSER&) = delete;
    XML_PARSER& operator=(const XML_PARSER&) = delete;

    // Handlers, all converted text. `attributes` is name, value, name, value, ended by a null name.
    virtual void start_element(const char* name, const char** attributes);
    virtual void end_element(const char* name);
    virtual void character_data(const char* text, INT_S32 length);
    // Formats "%s at line %d \n\n" and the context, shows it in a box titled "XML parsing error"
    // and ends the process with status -1 (see xml_fatal_error).
    virtual void report_error(const char* message, const char* context, INT_S32 line);

    // Each piece is handed to expat with the final flag clear, so a document may come in several
    // calls. All answer false after an error, or when the parser could not be made.
    [[nodiscard]] bool parse(const char* text, INT_S32 size);
    // Reads the device XML_FEED_SIZE bytes at a time until a read gives nothing.
    [[nodiscard]] bool parse_device(DATA_DEVICE* device);
    // Opens the file in folder as a data file without order marker. A missing file answers false
    // without any report.
    [[nodiscard]] bool parse_file(FOLDER* folder, const char* file_name);

    [[nodiscard]] INT_S32 current_line() const;
    // True once an error has been reported; the parser takes no more input.
    [[nodiscard]] bool has_stopped() const { return m_stopped; }

protected:
    // For handlers of subclasses: reports the message with the current line and stops the parse.
    void fail(const char* message, const char* context);
    // With raw attributes set, start_element gets the attribute names and values as expat gave
    // them, UTF-8 and of any length, for readers that must refuse a value rather than see it cut
    // to XML_ATTRIBUTE_TEXT characters. Element names are converted as always.
    void set_raw_attributes(bool raw) { m_raw_attributes = raw; }

private:
    // The expat callbacks, which convert and forward to the handlers.
    friend struct XML_PARSER_HOOKS;
    void report_library_error();

    XML_ParserStruct* m_parser { nullptr };
    INT_S32 m_depth { 0 };
    bool m_stopped { false };
    bool m_raw_attributes { false };
};

// The text report_error shows: "%s at line %d \n\n" then the context, 1023 characters at most.
// Shared buffer, overwritten by the next call.
const char* xml_error_text(const char* message, const char* context, INT_S32 line);

// The one way out for bad XML: writes the text to standard error, shows it in a message box
// titled "XML parsing error" and ends the process through the host with exit status -1 (255 as
// the shell sees it).
[[noreturn]] void xml_fatal_error(const char* text);

// --- UTF-8 to the framework's text ---------------------------------------------------------
// A lead byte 110xxxxx, 1110xxxx or 11110xxx takes 1, 2 or 3 continuation bytes, unchecked; any
// other byte is a character of its own. A size of -1 means up to the terminator. A sequence cut
// off by the end of the input is dropped. A wide run still open at the end stays open.

// Converts into out (out_size bytes, terminator included). Output stops before a character that
// would not fit whole; answers the length written.
INT_S32 utf8_convert(const char* bytes, INT_S32 size, char* out, INT_S32 out_size);
// Buffer size that always holds the conversion of size input bytes, terminator included.
constexpr INT_S32 utf8_buffer_size(INT_S32 size) { return size * 4 + 8; }

class ORLU_STRING;
// Converts into one shared string and answers its text (never null; the empty text when memory
// runs out). Only the first 32767 input bytes are taken. The next call overwrites the result.
const char* utf8_to_text(const char* bytes, INT_S32 size);
// Converts into string. False when memory runs out; the string is then cleared.
bool utf8_to_string(const char* bytes, INT_S32 size, ORLU_STRING* string);
