// Named debug streams: static objects that carry a channel of trace output to the console, to a
// rolling file under $USERPREFS/debug, to a message box, or nowhere. Every stream is silent until
// its "<name>_release.cfg" or the command line switches it on.
#pragma once

#include "base/orlu_types.h"

class TEXT_FILE;

enum DEBUG_STREAM_FLAG : INT_U16 {
    DEBUG_TO_CONSOLE = 0x0001,
    DEBUG_TO_POPUP = 0x0002,
    DEBUG_TO_FILE = 0x0004,
    DEBUG_TRUNCATE_ON_FIRST_WRITE = 0x0008,
    DEBUG_KEEP_FILE_OPEN = 0x0010,
    DEBUG_WRITE_FILE_HEADER = 0x0020,
    DEBUG_WRITE_STREAM_NAME = 0x0040,
    DEBUG_WRITE_CODE_LOCATION = 0x0080,
    DEBUG_TRIGGER_BREAKPOINT = 0x0100,
    DEBUG_FILE_ROLLING_BACKUP = 0x0200,
    DEBUG_SAVE_ON_DESTROY = 0x0400,
    DEBUG_WRITE_TIME_STAMP = 0x0800,
};

class DEBUG_STREAM {
public:
    DEBUG_STREAM(const char* name, INT_U16 flags, bool load_config);
    ~DEBUG_STREAM();
    DEBUG_STREAM(const DEBUG_STREAM&) = delete;
    DEBUG_STREAM& operator=(const DEBUG_STREAM&) = delete;

    // Writes a finished text, prefixed as the flags ask, with an optional code location and an
    // optional newline.
    void write(const char* source_file, int line, const char* text, bool add_newline);

    // Reads "<name>_release.cfg" from $USERPREFS/debug; flags stay clear when it is missing or
    // says "disabled". save_settings writes the same file back, creating the folder.
    void load_settings();
    bool save_settings() const;
    // Streams are static objects, built before the folders they read their settings from can be
    // resolved; a stream built with load_config reads them at the frame's start (or at its first
    // write, whichever comes first), and then the rolling limit in force is 100 again.
    void apply_pending_settings();

    [[nodiscard]] const char* name() const { return m_name; }
    [[nodiscard]] const char* file_name() const { return m_file_name; }
    [[nodiscard]] INT_U16 flags() const { return m_flags; }
    [[nodiscard]] bool is_active() const { return m_flags & (DEBUG_TO_CONSOLE | DEBUG_TO_POPUP | DEBUG_TO_FILE); }
    [[nodiscard]] INT_S16 rolling_limit() const { return m_rolling_limit; }
    [[nodiscard]] INT_S16 writes_since_roll() const { return m_writes_since_roll; }
    void set_flags(INT_U16 flags)
    {
        m_flags = flags;
        m_settings_pending = 0;
    }
    void set_file_name(const char* file_name);

    // The stream's output file, kept by the io layer (which knows folders) through
    // DEBUG_STREAM_FILES; base code never calls these directly.
    void write_to_file(const char* prefix, const char* text, bool add_newline);
    void close_file();

private:

    char m_name[256] {};
    char m_file_name[256] {};
    INT_U16 m_flags { 0 };
    INT_U8 m_first_write { 1 };
    TEXT_FILE* m_file { nullptr };
    INT_S16 m_writes_since_roll { 0 };
    INT_S16 m_rolling_limit { 100 };
    INT_U8 m_settings_pending { 0 };
};

// printf-style write through a 2048-character buffer; no newline is added. A null format does
// nothing. The text is formatted before the flags are looked at, so guard it on hot paths.
void debug_printf(DEBUG_STREAM* stream, const char* format, ...) __attribute__((format(printf, 2, 3)));
void debug_write(DEBUG_STREAM* stream, const char* source_file, int line, const char* text, bool add_newline);

// Where streams keep their settings and their output files. Streams live in base, which knows no
// folders; the io layer attaches itself when the frame starts (attach_debug_stream_files in
// io/debug_stream_files.h). Until then a stream writes to the console only, and its settings
// wait.
struct DEBUG_STREAM_FILES {
    void (*load_settings)(DEBUG_STREAM* stream);
    bool (*save_settings)(const DEBUG_STREAM* stream);
    void (*write_to_file)(DEBUG_STREAM* stream, const char* prefix, const char* text, bool add_newline);
    void (*close_file)(DEBUG_STREAM* stream);
};
void set_debug_stream_files(const DEBUG_STREAM_FILES* files);

// Exact, case-sensitive search of the registry in registration order; null if none.
DEBUG_STREAM* find_debug_stream(const char* name);
// The registry: registration order gives the channel numbers of --orlu-showdebug.
INT_S16 debug_stream_count();
DEBUG_STREAM* debug_stream_at(INT_S16 index);

// The framework's own channels, registered in this order (ids 1 to 8; the application's
// "Installer Debug" is 0).
extern DEBUG_STREAM platform_debug;     // "ORLU Platform"
extern DEBUG_STREAM modules_debug;      // "ORLU Modules"
extern DEBUG_STREAM path_trace_debug;   // "Default Path Trace"
extern DEBUG_STREAM image_debug;        // "Image Class Debug"
extern DEBUG_STREAM http_debug;         // "HTTP Request Trace"
extern DEBUG_STREAM translation_debug;  // "Translation Debug"
extern DEBUG_STREAM wav_debug;          // "WAV file loading debug"
extern DEBUG_STREAM sound_debug;        // "Sound Manager Debug"
