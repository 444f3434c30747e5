// Settings files and file delivery of debug streams: "<name>_release.cfg" and "<name>.txt"
// under $USERPREFS/debug.
//
// These need folders, text files and config files. Until those exist a stream has no settings
// file (its flags stay as constructed) and file delivery is skipped, which is exactly what a
// stream does when its folder cannot be opened.

#include "debug_stream.h"

#include <cstdio>

void DEBUG_STREAM::load_settings()
{
    m_settings_pending = 0;
    m_flags = 0;
    snprintf(m_file_name, sizeof m_file_name, "%.251s.txt", m_name);
}

bool DEBUG_STREAM::save_settings() const
{
    return false;
}

void DEBUG_STREAM::write_to_file(const char*, const char*, bool) {}

void DEBUG_STREAM::close_file() {}

void load_pending_debug_settings()
{
    for (INT_S16 i = 0; i < debug_stream_count(); ++i)
        debug_stream_at(i)->apply_pending_settings();
}
