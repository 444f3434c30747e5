// Fatal errors, warnings and the last-error slot.
//
// [SECTION] Error and warning tables
// [SECTION] Last-error slot
// [SECTION] Reports

#include "base/error_report.h"

#include <cstdio>
#include <cstring>
#include <new>

#include "base/report_output.h"

// ---------------------------------------------------------------------------------------------
// [SECTION] Error and warning tables
// ---------------------------------------------------------------------------------------------

namespace {

struct ERROR_TABLE_ENTRY {
    INT_U32 code;
    INT_U32 append_extra;
    const char* message;
    // Never shown; its presence makes the report ask for more information. Kept as the
    // documentation of the code.
    const char* more_info;
};

constexpr INT_U32 TABLE_END = 0xFFFFFFFFu;
const char* const NO_MEMORY = "Dynamic memory failed to allocate, this is normally due to a lack of free system memory";
const char* const CHECK_PATH = "Check that path and filename are correct";
const char* const CHECK_OPTIONS = "Check command line options specified";

const ERROR_TABLE_ENTRY error_table[] = {
    { 0x0000, 0, "Main window pointer invalid", "Unable to create main window" },
    { 0x0001, 0, "Unable to open screen mode", nullptr },
    { 0x0002, 0, "OpenGraphics() not called", "A graphics routine was called before the graphics were opened" },
    { 0x0003, 0, "COLOUR_INVISIBLE was passed as an invalid argument", "Transparent colour was used in an inavlid situation" },
    { 0x0004, 0, "No MicroSoft mouse driver installed", "Check that your mouse is configured properly" },
    { 0x0005, 0, "Two mouse handlers declared", "IBM PC's only support one mouse, but application has asked for two mouse handlers" },
    { 0x0006, 0, "Three joystick handlers declared", "IBM PC's only support two joysticks, but application has asked for three joystick handlers" },
    { 0x0007, 0, "Two keyboard handlers declared", "IBM PC only supports one keyboard, but application has asked for two keyboard handlers" },
    { 0x0008, 0, "Unable to allocate keyboard buffer", nullptr },
    { 0x0009, 1, "Unable to open keyboard configuration file", CHECK_PATH },
    { 0x000A, 0, "Receive buffer ssize supplied to TCPIP::TCPIP() was invalid", nullptr },
    { 0x000B, 0, "Unable to allocate dynamic memory for TCP/IP layer", NO_MEMORY },
    { 0x000C, 0, "Path type constant passed to function FOLDER::set() was invalid", nullptr },
    { 0x000D, 0, "Platform OS ID read from disk in function FOLDER::get_from_data_device() was invalid", nullptr },
    { 0x000E, 0, "Attempted to read data from a file that was opened for writing", nullptr },
    { 0x000F, 0, "Attempted to write to a file that was opened for reading", nullptr },
    { 0x0010, 0, "Unable to create swap image", "XCreateImage() failed to allocate image for swap_screens() function" },
    { 0x0011, 0, "Unable to allocate dynamic memory for colour mapping array", NO_MEMORY },
    { 0x0012, 0, "The desktop colour depth is not supported", "The current destop or display is in an unsupported colour mode, change the number of colours and try again" },
    { 0x0013, 1, "Unable to open the window", "Check that your graphics card supports the requested mode and if you have changed your disply setting return them back to defaults" },
    { 0x0014, 0, "Two sound handlers declared", "There is only support for one sound device, but application has asked for two" },
    { 0x0015, 0, "Unable to allocate dynamic memory for data file cache", NO_MEMORY },
    { 0x0020, 0, "Unable to allocate dynamic memory for image", NO_MEMORY },
    { 0x0021, 0, "Unable to startup the font system", nullptr },
    { 0x0022, 0, "Unable to load font from disk", "The font file was either not found or was corrupt, check all required font files are present and that they contain valid information" },
    { 0x0023, 0, "Unable to allocate dynamic memory for font", NO_MEMORY },
    { 0x0024, 0, "Unable to set the font pixel size", nullptr },
    { 0x0025, 0, "Unable to render font glyph", nullptr },
    { 0x0026, 1, "Unable to open PCX image file", CHECK_PATH },
    { 0x0027, 1, "Unable to read PCX header from file", "Check that file is a PCX file with 256 colour palette" },
    { 0x0028, 0, "Invalid number of sprite images specified", nullptr },
    { 0x0029, 0, "Unable to allocate memory for sprite image", nullptr },
    { 0x002A, 1, "No PCX palatte found in file", nullptr },
    { 0x0030, 0, "Invalid number of stars specified for starfeild", nullptr },
    { 0x0031, 0, "Invalid starfield dimentions specifed", nullptr },
    { 0x0032, 0, "Unable to allocate memory for starfield", nullptr },
    { 0x0040, 1, "Invalid argument format for command line option:", CHECK_OPTIONS },
    { 0x0041, 1, "No argument for command line option:", CHECK_OPTIONS },
    { 0x0042, 1, "Unrecognised command line option:", CHECK_OPTIONS },
    { 0x0050, 0, "Unable to allocate dynamic memory for http", NO_MEMORY },
    { 0x0051, 0, "Unable to open sockets", "Unable to open the listen sockets to allow incoming TCP/IP connections" },
    { 0x0060, 0, "Screen object has invalid size", "Either the width or height of this screen object was less than zero" },
    { 0x0061, 0, "Unable to allocate memory for button title", nullptr },
    { 0x0062, 0, "Invalid button size or title", nullptr },
    { 0x0063, 0, "Unable to allocate memory for dialog title", nullptr },
    { 0x0064, 0, "Invalid dialog size or title", nullptr },
    { 0x0065, 0, "Unable to allocate memory for script title", nullptr },
    { 0x0066, 0, "Unable to allocate memory for about box close button", nullptr },
    { 0x0067, 0, "Unable to allocate memory for about box scripts", nullptr },
    { 0x0068, 0, "Unable to allocate memory for keypad data members", nullptr },
    { 0x0069, 0, "Invalid area count supplied to page manager", "There must be at least one area supplied to the page manager" },
    { 0x006A, 0, "Two page managers declared", "Page manager is used to control the window manager system and there should be only one declared" },
    { 0x006B, 0, "Unable to allocate memory for page manager areas", nullptr },
    { 0x006C, 0, "Two page tool managers declared", "Page tool manager is used to control the window manager system and there should be only one declared" },
    { 0x0070, 0, "Srollbar slew values are invalid", nullptr },
    { 0x0071, 0, "Scrollbar is not on the drawable screen", nullptr },
    { 0x0072, 0, "The scrollbar slew variable pointer is invalid", nullptr },
    { 0x0073, 0, "Scrollbar slew variable is of the wrong type", "Scrollbar slew varible in not an integer based parameter, must be a INT_S8_TYPE, INT_TYPE, INT_S16_TYPE or INT_S32_TYPE" },
    { 0x0074, 0, "Invalid scrollbar type", nullptr },
    { 0x0080, 0, "Invalid dimensions passed to edit box constructor", nullptr },
    { 0x0081, 0, "Unable to allocate memory for edit box buffer", nullptr },
    { 0x0090, 0, "Unable to allocate memory for text window screen buffer", nullptr },
    { 0x0091, 0, "Unable to allocate memory for text window data buffer", NO_MEMORY },
    { 0x0100, 0, "Invalid number of rows passed to list box", nullptr },
    { 0x0101, 0, "List box start selection not found in list", nullptr },
    { 0x0110, 0, "Invalid dimensions passed to progress bar constructor", nullptr },
    { 0x0111, 0, "Unable to allocate memory for progress bar title", nullptr },
    { 0x1001, 0, "Invalid player attributes passed to constructor", "Invalid arguments passed to player constructor, check all arguments" },
    { 0x1010, 0, "Unable to open dungeon amp config file", "Check filename and path are correct" },
    { 0x1011, 0, "Unknown token read from dungeon map config file", nullptr },
    { 0x1020, 1, "Unable to allocate dynamic memory for table ", NO_MEMORY },
    { 0x1021, 0, "Unable to allocate dynamic memory for fixture", NO_MEMORY },
    { 0x1022, 0, "Unable to allocate dynamic memory for competition", NO_MEMORY },
    { 0x1023, 1, "Invalid race entry found in ", nullptr },
    { 0x1024, 1, "Invalid injury area found in ", nullptr },
    { 0x1025, 0, "Unable to open competition file", "Check that all the game data is present and in the correct place" },
    { TABLE_END, 0, nullptr, nullptr },
};

const ERROR_TABLE_ENTRY warning_table[] = {
    { 0x0000, 1, "DEBUG MESSAGE:", nullptr },
    { 0x0001, 1, "Unable to create debug file", nullptr },
    { 0x0002, 1, "Unable to open debug file", nullptr },
    { 0x0003, 1, "Sound layer was unable to start", nullptr },
    { 0x0010, 0, "Too many colour for a 256 Palette", "There were more that 256 colours when tring to save an image, all unsaved colours have been defaulted to palette entry 0" },
    { 0x0020, 0, "Scrollbar dimentions are invalid", nullptr },
    { 0x0021, 0, "Slider bar width is invalid", nullptr },
    { TABLE_END, 0, nullptr, nullptr },
};

const char* const MORE_INFO_QUESTION = "\n\nDo you require more information?";

// Formats a table report into a 1024-character buffer and answers whether it asks for more.
bool format_report(const ERROR_TABLE_ENTRY* table, const char* kind, const char* undefined,
    INT_U32 code, const char* extra, char* out, size_t size)
{
    const ERROR_TABLE_ENTRY* row = table;
    while (row->code != TABLE_END && row->code != code)
        ++row;
    if (row->code == TABLE_END) {
        snprintf(out, size, "%s", undefined);
        return false;
    }
    snprintf(out, size, "%s: %04X:\n%s ", kind, static_cast<unsigned>(row->code), row->message);
    if (extra && row->append_extra)
        strncat(out, extra, size - strlen(out) - 1);
    return row->more_info != nullptr;
}

char report_buffer[1024 + 64];

const char* report_text(const ERROR_TABLE_ENTRY* table, const char* kind, const char* undefined,
    INT_U32 code, const char* extra)
{
    char text[1024];
    bool more = format_report(table, kind, undefined, code, extra, text, sizeof text);
    snprintf(report_buffer, sizeof report_buffer, "%s%s", text, more ? MORE_INFO_QUESTION : "");
    return report_buffer;
}

} // namespace

// ---------------------------------------------------------------------------------------------
// [SECTION] Last-error slot
// ---------------------------------------------------------------------------------------------

namespace {
INT_U16 last_code = ERROR_NONE;
char last_detail[1024];
char last_text[1024];
} // namespace

bool set_last_error(INT_U16 code, const char* detail)
{
    last_code = code;
    snprintf(last_detail, sizeof last_detail, "%s", detail ? detail : "");
    return false;
}

INT_U16 last_error_code() { return last_code; }
const char* last_error_detail() { return last_detail; }
const char* last_error_text() { return error_text(last_code, last_detail); }

const char* error_text(INT_U16 code, const char* detail)
{
    const char* format = nullptr;
    switch (code) {
    case 0: format = "No Error"; break;
    case 256: format = "Warning: The requested entry was not found in the config file (%s)."; break;
    case 257: format = "Warning: Found end of config file before it was expected, this may indicate a corrupt file."; break;
    // Returned as it stands: its per cent signs are plain text.
    case 4096: return "Error: Colour darkening percentage was over 100% or less than -100% which makes no sense.";
    case 4097: format = "Error: A blank or invalid ID arg was requested from the config file."; break;
    case 4098: format = "Error: Error trying to open the config file %s."; break;
    case 4099: format = "Error: Trying to read entire config file without supplying a callback function."; break;
    case 4100: format = "Error: Unable to allocate dynamic memory for config file reader. Make sure that you have enough free memory by closing other running applications."; break;
    case 4101: format = "Error: Unable to open the package file %s in append mode."; break;
    case 4102: format = "Error: Unable to open the package file %s in write mode"; break;
    case 4103: format = "Error: Unable to read from file %s."; break;
    case 4104: format = "Error: Unable to write to file %s."; break;
    case 4105: format = "Error: %s does not appear to be a package file."; break;
    case 4106: format = "Error: %s has unsupported package version."; break;
    case 4107: format = "Error: Unable to allocate dynamic memory for package system. Make sure that you have enough free memory by closing other running applications."; break;
    case 4108: format = "Error: Can not open file %s as it was not found."; break;
    case 4109: format = "Error: Package file did not open correctly."; break;
    case 4110: format = "Error: Unable to open file %s for packing."; break;
    case 4111: format = "Error: Unable to create file %s."; break;
    case 4112: format = "Error: File %s not found in package."; break;
    default: return "Unknown Error Code";
    }
    // Each format holds at most one %s, so formatting with the detail is safe for all of them.
    const char* pct = strstr(format, "%s");
    if (!pct)
        return format;
    snprintf(last_text, sizeof last_text, "%.*s%s%s", static_cast<int>(pct - format), format,
        detail ? detail : "", pct + 2);
    return last_text;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Reports
// ---------------------------------------------------------------------------------------------

const char* fatal_error_text(INT_U32 code, const char* extra)
{
    return report_text(error_table, "ERROR", "ERROR: Undefined error encountered", code, extra);
}

const char* warning_text(INT_U32 code, const char* extra)
{
    return report_text(warning_table, "WARNING", "WARNING: Undefined warning encountered", code, extra);
}

void fatal_error(INT_U32 code, const char* extra)
{
    report_message_box("Error", fatal_error_text(code, extra));
    report_shutdown("Application was unable to continue");
}

void warning(INT_U32 code, const char* extra)
{
    report_message_box("Warning", warning_text(code, extra));
}

void report_message(const char* title, const char* text, bool ask_more)
{
    if (!ask_more) {
        report_message_box(title, text);
        return;
    }
    size_t size = strlen(text ? text : "") + strlen(MORE_INFO_QUESTION) + 1;
    char* joined = new (std::nothrow) char[size];
    if (!joined) {
        report_message_box(title, text);
        return;
    }
    snprintf(joined, size, "%s%s", text ? text : "", MORE_INFO_QUESTION);
    report_message_box(title, joined);
    delete[] joined;
}

void debug_message(const char* source_file, int line, const char* text)
{
    if (source_file)
        report_printf("Debug - File: %s Line %d: = ", source_file, line);
    report_printf("%s\n", text ? text : "");
}

void debug_to_file(const char* source_file, int line, const char* text, const char* path)
{
    // The default file is truncated by its first use in a run and appended to afterwards.
    static bool default_file_used = false;
    const char* name = path ? path : "debug.txt";
    const char* mode = "a";
    if (!path) {
        mode = default_file_used ? "a" : "w";
        default_file_used = true;
    }
    FILE* file = fopen(name, mode);
    if (!file) {
        warning(mode[0] == 'w' ? 0x0001 : 0x0002, name);
        return;
    }
    if (source_file)
        fprintf(file, "Debug - File: %s Line %d: = %s\n", source_file, line, text ? text : "");
    else
        fprintf(file, "%s\n", text ? text : "");
    fclose(file);
}
