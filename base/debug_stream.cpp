// Named debug streams and their registry.
//
// [SECTION] Registry
// [SECTION] Construction
// [SECTION] Writing
// [SECTION] Framework channels

#include "base/debug_stream.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/report_output.h"

// ---------------------------------------------------------------------------------------------
// [SECTION] Registry
// ---------------------------------------------------------------------------------------------

namespace {

// Grown by one slot per stream, freed when the last stream goes. Streams are static objects, so
// the registry is built during static start-up and this must not depend on constructed state:
// plain zero-initialised pointers are.
DEBUG_STREAM** registry = nullptr;
INT_S16 registry_count = 0;

void register_stream(DEBUG_STREAM* stream)
{
    void* grown = realloc(registry, sizeof(DEBUG_STREAM*) * (registry_count + 1));
    if (!grown)
        return; // the stream works, it only has no channel number
    registry = static_cast<DEBUG_STREAM**>(grown);
    registry[registry_count++] = stream;
}

void unregister_stream(DEBUG_STREAM* stream)
{
    for (INT_S16 i = 0; i < registry_count; ++i) {
        if (registry[i] != stream)
            continue;
        memmove(registry + i, registry + i + 1, sizeof(DEBUG_STREAM*) * (registry_count - i - 1));
        --registry_count;
        break;
    }
    if (registry_count == 0) {
        free(registry);
        registry = nullptr;
    }
}

} // namespace

DEBUG_STREAM* find_debug_stream(const char* name)
{
    if (!name)
        return nullptr;
    for (INT_S16 i = 0; i < registry_count; ++i) {
        if (strcmp(registry[i]->name(), name) == 0)
            return registry[i];
    }
    return nullptr;
}

INT_S16 debug_stream_count() { return registry_count; }

DEBUG_STREAM* debug_stream_at(INT_S16 index)
{
    if (index < 0 || index >= registry_count)
        return nullptr;
    return registry[index];
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Construction
// ---------------------------------------------------------------------------------------------

DEBUG_STREAM::DEBUG_STREAM(const char* name, INT_U16 flags, bool load_config)
{
    register_stream(this);
    if (!name || !name[0])
        snprintf(m_name, sizeof m_name, "Debug Stream %p", static_cast<void*>(this));
    else
        snprintf(m_name, sizeof m_name, "%s", name);
    m_flags = flags;
    snprintf(m_file_name, sizeof m_file_name, "%.251s.txt", m_name);
    m_rolling_limit = 100;
    m_settings_pending = load_config;
    m_first_write = 1;
    m_file = nullptr;
}

namespace {
const DEBUG_STREAM_FILES* stream_files = nullptr;
} // namespace

void set_debug_stream_files(const DEBUG_STREAM_FILES* files)
{
    stream_files = files;
}

void DEBUG_STREAM::apply_pending_settings()
{
    if (!m_settings_pending || !stream_files)
        return;
    stream_files->load_settings(this);
    // Whatever "file_rolling_limit" a settings file gave, the limit in force is 100.
    m_rolling_limit = 100;
}

DEBUG_STREAM::~DEBUG_STREAM()
{
    if ((m_flags & DEBUG_SAVE_ON_DESTROY) && stream_files)
        stream_files->save_settings(this);
    unregister_stream(this);
    if (stream_files)
        stream_files->close_file(this);
}

void DEBUG_STREAM::set_file_name(const char* file_name)
{
    snprintf(m_file_name, sizeof m_file_name, "%s", file_name ? file_name : "");
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Writing
// ---------------------------------------------------------------------------------------------

void DEBUG_STREAM::write(const char* source_file, int line, const char* text, bool add_newline)
{
    apply_pending_settings();
    if (!text)
        text = "";
    char prefix[2048];
    prefix[0] = 0;
    size_t used = 0;
    auto add = [&](const char* format, auto... args) {
        if (used < sizeof prefix)
            used += snprintf(prefix + used, sizeof prefix - used, format, args...);
        if (used > sizeof prefix - 1)
            used = sizeof prefix - 1;
    };
    if (m_flags & DEBUG_WRITE_STREAM_NAME)
        add("<%s>: ", m_name);
    size_t popup_start = used; // the box is titled with the name, so its text skips it
    if (m_flags & DEBUG_WRITE_TIME_STAMP)
        add("%s ", report_time_stamp());
    if ((m_flags & DEBUG_WRITE_CODE_LOCATION) && source_file)
        add("(%s,%d) ", source_file, line);

    if (m_flags & DEBUG_TO_CONSOLE)
        report_printf("%s%s%s", prefix, text, add_newline ? "\n" : "");
    if ((m_flags & DEBUG_TO_FILE) && stream_files)
        stream_files->write_to_file(this, prefix, text, add_newline);
    if (m_flags & DEBUG_TO_POPUP) {
        add("%s", text);
        report_message_box(m_name, prefix + popup_start);
    }
}

void debug_write(DEBUG_STREAM* stream, const char* source_file, int line, const char* text, bool add_newline)
{
    if (stream)
        stream->write(source_file, line, text, add_newline);
}

void debug_printf(DEBUG_STREAM* stream, const char* format, ...)
{
    if (!stream || !format)
        return;
    char text[2048];
    va_list args;
    va_start(args, format);
    vsnprintf(text, sizeof text, format, args);
    va_end(args);
    stream->write(nullptr, 0, text, false);
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Framework channels
// ---------------------------------------------------------------------------------------------

#include "base/static_order.h"

DEBUG_STREAM platform_debug ORLU_INIT_DEBUG_STREAMS ("ORLU Platform", 0, true);
DEBUG_STREAM modules_debug ORLU_INIT_DEBUG_STREAMS ("ORLU Modules", 0, true);
DEBUG_STREAM path_trace_debug ORLU_INIT_DEBUG_STREAMS ("Default Path Trace", 0, true);
DEBUG_STREAM image_debug ORLU_INIT_DEBUG_STREAMS ("Image Class Debug", 0, true);
DEBUG_STREAM http_debug ORLU_INIT_DEBUG_STREAMS ("HTTP Request Trace", 0, true);
DEBUG_STREAM translation_debug ORLU_INIT_DEBUG_STREAMS ("Translation Debug", 0, true);
DEBUG_STREAM wav_debug ORLU_INIT_DEBUG_STREAMS ("WAV file loading debug", 0, true);
DEBUG_STREAM sound_debug ORLU_INIT_DEBUG_STREAMS ("Sound Manager Debug", 0, true);
