// Settings files and file delivery of debug streams: "<name>_release.cfg" and "<name>.txt"
// under $USERPREFS/debug.

#include "io/debug_stream_files.h"

#include <cstdio>
#include <cstring>

#include "io/config_file.h"
#include "io/folder.h"
#include "host/host.h"
#include "io/text_file.h"

namespace {

struct FLAG_KEY {
    const char* key;
    INT_U16 bit;
    bool read_back;
};

// The keys in the order they are written; "trigger_breakpoint" is written but never read back.
const FLAG_KEY flag_keys[] = {
    { "write_to_console", DEBUG_TO_CONSOLE, true },
    { "write_to_popup_dialog", DEBUG_TO_POPUP, true },
    { "write_to_file", DEBUG_TO_FILE, true },
    { "truncate_file_on_first_write", DEBUG_TRUNCATE_ON_FIRST_WRITE, true },
    { "keep_file_open", DEBUG_KEEP_FILE_OPEN, true },
    { "write_file_header", DEBUG_WRITE_FILE_HEADER, true },
    { "write_stream_name", DEBUG_WRITE_STREAM_NAME, true },
    { "write_code_location", DEBUG_WRITE_CODE_LOCATION, true },
    { "trigger_breakpoint", DEBUG_TRIGGER_BREAKPOINT, false },
    { "file_rolling_backup", DEBUG_FILE_ROLLING_BACKUP, true },
};

// A settings file names the output file, but it may not send it out of the debug folder.
bool is_plain_file_name(const char* name)
{
    return name[0] && !strchr(name, '/') && !strstr(name, "..");
}

} // namespace

void DEBUG_STREAM::load_settings()
{
    m_settings_pending = 0;
    m_flags = 0;
    snprintf(m_file_name, sizeof m_file_name, "%.251s.txt", m_name);

    FOLDER folder;
    if (!folder.set("$USERPREFS/debug", false))
        return;
    char config_name[300];
    snprintf(config_name, sizeof config_name, "%s_release.cfg", m_name);
    CONFIG_FILE config;
    config.open(config_name, false);
    if (!config.exists(folder))
        return;

    char value[CONFIG_VALUE_SIZE];
    if (config.read_text(folder, "filename", value)) {
        if (is_plain_file_name(value))
            set_file_name(value);
        else
            host_printf("Debug stream \"%s\": output file \"%s\" refused, it must lie in the debug folder\n", m_name, value);
    }
    INT_S32 number = 0;
    config.read_int(folder, "disabled", &number, false);
    if (number)
        return;
    for (const FLAG_KEY& key : flag_keys) {
        if (!key.read_back)
            continue;
        number = 0;
        if (config.read_int(folder, key.key, &number, false) && number)
            m_flags |= key.bit;
    }
    number = 100;
    config.read_int(folder, "file_rolling_limit", &number, false);
    m_rolling_limit = static_cast<INT_S16>(number);
}

bool DEBUG_STREAM::save_settings() const
{
    FOLDER folder;
    if (!folder.set("$USERPREFS/debug", true, nullptr, true))
        return false;
    char config_name[300];
    snprintf(config_name, sizeof config_name, "%s_release.cfg", m_name);
    CONFIG_FILE config;
    config.open(config_name, true);
    bool ok = config.write_text(folder, "filename", m_file_name);
    ok = ok && config.write_int(folder, "disabled", m_flags == 0, false);
    for (const FLAG_KEY& key : flag_keys)
        ok = ok && config.write_int(folder, key.key, (m_flags & key.bit) != 0, false);
    ok = ok && config.write_int(folder, "file_rolling_limit", m_rolling_limit, false);
    return ok;
}

void DEBUG_STREAM::write_to_file(const char* prefix, const char* text, bool add_newline)
{
    // The folder is resolved anew for each write, so a stream follows a changed $USERPREFS.
    FOLDER folder;
    if (!folder.set("$USERPREFS/debug", true, nullptr, true))
        return;

    if ((m_flags & DEBUG_FILE_ROLLING_BACKUP) && m_writes_since_roll >= m_rolling_limit) {
        close_file();
        char backup[sizeof m_file_name + 8];
        snprintf(backup, sizeof backup, "%s.bak", m_file_name);
        (void)folder.delete_file(backup);
        (void)folder.rename_file(m_file_name, folder, backup);
        m_writes_since_roll = 0;
    }
    if (!m_file) {
        bool truncate = m_first_write && (m_flags & DEBUG_TRUNCATE_ON_FIRST_WRITE);
        m_file = folder.open_text_file(m_file_name, truncate ? FILE_WRITE : FILE_UPDATE, false);
        if (!m_file)
            return; // only this delivery is lost; the next write tries again
    }
    if (m_first_write && (m_flags & DEBUG_WRITE_FILE_HEADER)) {
        m_file->write_string("======================================\n");
        m_file->write_string("> Debug stream: ");
        m_file->write_string(m_name);
        m_file->write_string("\n> Written: ");
        m_file->write_string(time_stamp_now());
        m_file->write_string("\n\n");
    }
    m_file->write_string(prefix);
    m_file->write_string(text);
    if (add_newline)
        m_file->write_string("\n");
    ++m_writes_since_roll;
    if (!(m_flags & DEBUG_KEEP_FILE_OPEN))
        close_file();
    m_first_write = 0;
}

void DEBUG_STREAM::close_file()
{
    FOLDER::close_text_file(&m_file);
}

void attach_debug_stream_files()
{
    static const DEBUG_STREAM_FILES files = {
        [](DEBUG_STREAM* stream) { stream->load_settings(); },
        [](const DEBUG_STREAM* stream) { return stream->save_settings(); },
        [](DEBUG_STREAM* stream, const char* prefix, const char* text, bool add_newline) {
            stream->write_to_file(prefix, text, add_newline);
        },
        [](DEBUG_STREAM* stream) { stream->close_file(); },
    };
    set_debug_stream_files(&files);
}

void load_pending_debug_settings()
{
    attach_debug_stream_files();
    for (INT_S16 i = 0; i < debug_stream_count(); ++i)
        debug_stream_at(i)->apply_pending_settings();
}
