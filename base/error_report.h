// Fatal errors, warnings and the last-error slot.
//
// Three mechanisms that stay separate:
//  - fatal_error(code, extra): looks the code up in the error table, shows the report in a
//    message box titled "Error" and ends the process with status -1. Never returns.
//  - warning(code, extra): the same with the warning table and the title "Warning"; returns.
//  - the last-error slot: one code and a detail text, set by recoverable file work (config
//    files, packages, image files) and read by the caller as text.
#pragma once

#include "base/orlu_types.h"

// Codes of the last-error slot.
enum LAST_ERROR_CODE : INT_U16 {
    ERROR_NONE = 0,
    ERROR_CONFIG_ENTRY_NOT_FOUND = 256,
    ERROR_CONFIG_UNEXPECTED_END = 257,
    ERROR_COLOUR_PERCENTAGE = 4096,
    ERROR_CONFIG_BAD_ID = 4097,
    ERROR_CONFIG_OPEN = 4098,
    ERROR_CONFIG_NO_CALLBACK = 4099,
    ERROR_CONFIG_MEMORY = 4100,
    ERROR_PACKAGE_APPEND = 4101,
    ERROR_PACKAGE_WRITE_MODE = 4102,
    ERROR_READ = 4103,
    ERROR_WRITE = 4104,
    ERROR_NOT_A_PACKAGE = 4105,
    ERROR_PACKAGE_VERSION = 4106,
    ERROR_PACKAGE_MEMORY = 4107,
    ERROR_FILE_NOT_FOUND = 4108,
    ERROR_PACKAGE_NOT_OPEN = 4109,
    ERROR_PACK_OPEN = 4110,
    ERROR_CREATE = 4111,
    ERROR_MEMBER_NOT_FOUND = 4112,
};

// Stores the code and at most 1023 characters of detail (null stores the empty text).
// Always answers false, so that a failing path is one line: `return set_last_error(4112, name);`
bool set_last_error(INT_U16 code, const char* detail);
INT_U16 last_error_code();
const char* last_error_detail();
// The text for the slot, or for a given pair. The result lies in a shared buffer that the next
// call overwrites: copy it at once.
const char* last_error_text();
const char* error_text(INT_U16 code, const char* detail);

// Ends the process with status -1 after showing the report. Never returns.
[[noreturn]] void fatal_error(INT_U32 code, const char* extra);
void warning(INT_U32 code, const char* extra);

// The text fatal_error / warning would show for a code, without showing it. Shared buffer.
const char* fatal_error_text(INT_U32 code, const char* extra);
const char* warning_text(INT_U32 code, const char* extra);

// Message box with "Do you require more information?" appended when ask_more is set.
void report_message(const char* title, const char* text, bool ask_more);

// Console only: "Debug - File: %s Line %d: = <text>\n" (the text alone without a source file).
void debug_message(const char* source_file, int line, const char* text);
// Appends one such line to path, or to "debug.txt" in the working folder when path is null.
void debug_to_file(const char* source_file, int line, const char* text, const char* path);
