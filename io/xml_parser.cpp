// XML_PARSER: expat fed from memory or a device, handlers given converted text.
//
// [SECTION] UTF-8 conversion
// [SECTION] Fatal report
// [SECTION] Expat callbacks
// [SECTION] Parser life and feeding
#include "io/xml_parser.h"

#include "base/data_device.h"
#include "host/host.h"

#include <expat.h>

#include <cstdio>
#include <cstring>

// =============================================================================================
// [SECTION] UTF-8 conversion
// =============================================================================================

INT_S32 utf8_convert(const char* bytes, INT_S32 size, char* out, INT_S32 out_size)
{
    if (!out || out_size < 1)
        return 0;
    out[0] = 0;
    if (!bytes)
        return 0;
    if (size < 0)
        size = static_cast<INT_S32>(strnlen(bytes, 0x7FFFFFFF));

    const unsigned char* in = reinterpret_cast<const unsigned char*>(bytes);
    INT_S32 length = 0;
    bool wide = false;
    INT_S32 at = 0;
    while (at < size) {
        unsigned lead = in[at];
        INT_S32 follow = 0;
        INT_U32 code = lead;
        if ((lead & 0xE0) == 0xC0) {
            follow = 1;
            code = lead & 0x1F;
        } else if ((lead & 0xF0) == 0xE0) {
            follow = 2;
            code = lead & 0x0F;
        } else if ((lead & 0xF8) == 0xF0) {
            follow = 3;
            code = lead & 0x07;
        }
        if (follow >= size - at)
            break;
        for (INT_S32 k = 1; k <= follow; ++k)
            code = (code << 6) | (in[at + k] & 0x3F);

        // One character's output: a marker byte when the run changes, then the character.
        char unit[12];
        INT_S32 unit_length = 0;
        if (code < 256) {
            if (wide)
                unit[unit_length++] = 1;
            unit[unit_length++] = static_cast<char>(code);
        } else {
            if (!wide)
                unit[unit_length++] = 1;
            unit_length += snprintf(unit + unit_length, sizeof unit - static_cast<size_t>(unit_length), ",%04X", code);
        }
        if (length + unit_length >= out_size)
            break;
        memcpy(out + length, unit, static_cast<size_t>(unit_length));
        length += unit_length;
        wide = code >= 256;
        at += 1 + follow;
    }
    out[length] = 0;
    return length;
}

// =============================================================================================
// [SECTION] Fatal report
// =============================================================================================

const char* xml_error_text(const char* message, const char* context, INT_S32 line)
{
    static char text[1024];
    int used = snprintf(text, sizeof text, "%s at line %d \n\n", message ? message : "", line);
    if (used < 0)
        used = 0;
    if (static_cast<size_t>(used) < sizeof text - 1 && context)
        snprintf(text + used, sizeof text - static_cast<size_t>(used), "%s", context);
    return text;
}

void xml_fatal_error(const char* text)
{
    // Standard error first: the box may have nowhere to show, and a log keeps the reason.
    fprintf(stderr, "XML parsing error: %s\n", text ? text : "");
    fflush(stderr);
    message_box("XML parsing error", text ? text : "");
    host_shutdown(nullptr);
}

// =============================================================================================
// [SECTION] Expat callbacks
// =============================================================================================

struct XML_PARSER_HOOKS {
    static void XMLCALL on_start(void* data, const XML_Char* name, const XML_Char** attributes)
    {
        XML_PARSER* parser = static_cast<XML_PARSER*>(data);
        if (parser->m_stopped)
            return;
        if (++parser->m_depth > XML_MAX_DEPTH) {
            parser->fail("Elements nested too deeply", name);
            return;
        }
        INT_S32 count = 0;
        while (attributes[count * 2])
            ++count;
        if (count > XML_MAX_ATTRIBUTES) {
            parser->fail("Too many attributes on one element", name);
            return;
        }

        // A reader that measures every value itself takes the attributes as expat gave them.
        if (parser->m_raw_attributes) {
            char raw_name[XML_ATTRIBUTE_TEXT + 1];
            utf8_convert(name, -1, raw_name, sizeof raw_name);
            parser->start_element(raw_name, attributes);
            return;
        }
        // Local tables: the converted texts live on this frame for the handler's call only.
        char converted_name[XML_ATTRIBUTE_TEXT + 1];
        char converted[XML_CONVERTED_ATTRIBUTES * 2][XML_ATTRIBUTE_TEXT + 1];
        const char* table[XML_MAX_ATTRIBUTES * 2 + 1];
        for (INT_S32 i = 0; i < count * 2; ++i) {
            if (i < XML_CONVERTED_ATTRIBUTES * 2) {
                utf8_convert(attributes[i], -1, converted[i], XML_ATTRIBUTE_TEXT + 1);
                table[i] = converted[i];
            } else {
                table[i] = attributes[i];
            }
        }
        table[count * 2] = nullptr;
        utf8_convert(name, -1, converted_name, sizeof converted_name);
        parser->start_element(converted_name, table);
    }

    static void XMLCALL on_end(void* data, const XML_Char* name)
    {
        XML_PARSER* parser = static_cast<XML_PARSER*>(data);
        if (parser->m_stopped)
            return;
        --parser->m_depth;
        char converted_name[XML_ATTRIBUTE_TEXT + 1];
        utf8_convert(name, -1, converted_name, sizeof converted_name);
        parser->end_element(converted_name);
    }

    static void XMLCALL on_text(void* data, const XML_Char* text, int length)
    {
        XML_PARSER* parser = static_cast<XML_PARSER*>(data);
        char converted[utf8_buffer_size(XML_TEXT_PIECE)];
        INT_S32 at = 0;
        while (at < length && !parser->m_stopped) {
            INT_S32 piece = length - at;
            if (piece > XML_TEXT_PIECE) {
                // Cut in front of a lead byte, never inside a character.
                piece = XML_TEXT_PIECE;
                while (piece > XML_TEXT_PIECE - 4 && (static_cast<unsigned char>(text[at + piece]) & 0xC0) == 0x80)
                    --piece;
            }
            INT_S32 converted_length = utf8_convert(text + at, piece, converted, sizeof converted);
            parser->character_data(converted, converted_length);
            at += piece;
        }
    }
};

// =============================================================================================
// [SECTION] Parser life and feeding
// =============================================================================================

XML_PARSER::XML_PARSER()
{
    m_parser = XML_ParserCreate("utf-8");
    if (!m_parser)
        return;
    XML_SetUserData(m_parser, this);
    XML_SetElementHandler(m_parser, XML_PARSER_HOOKS::on_start, XML_PARSER_HOOKS::on_end);
    XML_SetCharacterDataHandler(m_parser, XML_PARSER_HOOKS::on_text);
}

XML_PARSER::~XML_PARSER()
{
    if (m_parser)
        XML_ParserFree(m_parser);
}

void XML_PARSER::start_element(const char*, const char**) {}
void XML_PARSER::end_element(const char*) {}
void XML_PARSER::character_data(const char*, INT_S32) {}

void XML_PARSER::report_error(const char* message, const char* context, INT_S32 line)
{
    xml_fatal_error(xml_error_text(message, context, line));
}

INT_S32 XML_PARSER::current_line() const
{
    if (!m_parser)
        return 0;
    return static_cast<INT_S32>(XML_GetCurrentLineNumber(m_parser));
}

void XML_PARSER::fail(const char* message, const char* context)
{
    if (m_stopped)
        return;
    m_stopped = true;
    if (m_parser)
        XML_StopParser(m_parser, XML_FALSE);
    report_error(message, context, current_line());
}

void XML_PARSER::report_library_error()
{
    // A few bytes either side of where the library stopped, so the report shows the offending text.
    char context[81] = "";
    int offset = 0;
    int size = 0;
    const char* buffer = XML_GetInputContext(m_parser, &offset, &size);
    if (buffer && offset >= 0 && offset <= size) {
        int start = offset > 40 ? offset - 40 : 0;
        int end = size - offset > 40 ? offset + 40 : size;
        memcpy(context, buffer + start, static_cast<size_t>(end - start));
        context[end - start] = 0;
    }
    const char* message = XML_ErrorString(XML_GetErrorCode(m_parser));
    fail(message ? message : "unknown error", context);
}

bool XML_PARSER::parse(const char* text, INT_S32 size)
{
    if (!m_parser || m_stopped || !text || size < 0)
        return false;
    if (XML_Parse(m_parser, text, size, XML_FALSE) == XML_STATUS_OK)
        return true;
    if (!m_stopped)
        report_library_error();
    return false;
}

bool XML_PARSER::parse_device(DATA_DEVICE* device)
{
    if (!device || !m_parser || m_stopped)
        return false;
    // The piece goes straight into expat's own buffer: no copy of ours in between.
    for (;;) {
        void* buffer = XML_GetBuffer(m_parser, XML_FEED_SIZE);
        if (!buffer)
            return false;
        INT_S32 got = device->read(buffer, XML_FEED_SIZE);
        if (got <= 0)
            return true;
        if (XML_ParseBuffer(m_parser, got, XML_FALSE) != XML_STATUS_OK) {
            if (!m_stopped)
                report_library_error();
            return false;
        }
    }
}
