// The unattended install.

#include "installer/engine/unattended.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <strings.h>

#include "base/format.h"
#include "base/orlu_string.h"
#include "frame/application_frame.h"
#include "host/host.h"
#include "installer/engine/database.h"
#include "installer/engine/install_engine.h"
#include "installer/engine/installer_options.h"
#include "installer/engine/own_data_set.h"
#include "installer/engine/prior_installation.h"
#include "io/xml_parser.h"

namespace {

// The console side of the engine: one line per file, errors where they happen. A quiet run
// prints the errors only.
class CONSOLE_REPORTER : public INSTALL_REPORTER {
public:
    explicit CONSOLE_REPORTER(bool quiet)
        : m_quiet(quiet)
    {
    }

    void set_install_status(INT_S32, const char*) override {}
    void path_error() override
    {
        stopped = true;
        host_print("ERROR: the install folder or the log folder cannot be made\n");
    }
    void folder_error(const char* folder, const char* reason) override
    {
        stopped = true;
        host_printf("ERROR: the folder %s cannot be made: %s\n", folder, reason);
    }
    void log_error(const char* path) override
    {
        host_printf("WARNING: the log %s cannot be written; installing without it\n", path);
    }
    void file_error(const char*) override {}
    void file_failed(const char* path, const char* reason) override
    {
        host_printf("FAILED %s: %s\n", path, reason);
    }
    void shortcut_error(const char* name, const char* reason) override
    {
        ++shortcuts_failed;
        host_printf("FAILED shortcut \"%s\": %s\n", name, reason);
    }
    void data_error(const char* text) override
    {
        stopped = true;
        host_printf("ERROR: %s\n", text);
    }
    void file_done(const char* path, INSTALL_RESULT result) override
    {
        switch (result) {
        case INSTALL_INSTALLED:
            ++installed;
            if (!m_quiet)
                host_printf("Installed %s\n", path);
            break;
        case INSTALL_SKIPPED:
            ++skipped;
            if (!m_quiet)
                host_printf("Skipped %s\n", path);
            break;
        case INSTALL_FAILED:
            ++failed; // told with its reason by file_failed
            break;
        }
    }
    void finished(INT_S32) override { done = true; }

    bool stopped { false };
    bool done { false };
    INT_S32 installed { 0 };
    INT_S32 skipped { 0 };
    INT_S32 failed { 0 };
    INT_S32 shortcuts_failed { 0 };

private:
    bool m_quiet;
};

void show_unpack_progress(INT_S32, INT_U64 done, INT_U64 total, void* context)
{
    INT_S32* last = static_cast<INT_S32*>(context);
    INT_S32 percent = total ? static_cast<INT_S32>(done * 100 / total) : 100;
    if (percent / 10 == *last / 10)
        return;
    *last = percent;
    host_printf("Unpacking... %d%%\n", percent);
}

bool apply_options(DATABASE* database, const INSTALLER_OPTIONS& options, INT_S16 type)
{
    database->current_installation = type;
    const INSTALLATION_RECORD& installation = database->installations[type];
    bool fits = options.install_folder[0]
        ? install_folder_text(options.install_folder, database->install_path, sizeof database->install_path)
        : copy_text(database->install_path, installation.default_path);
    if (!fits) {
        host_printf("ERROR: the install folder's name is too long: %s\n", options.install_folder);
        return false;
    }
    if (options.system_paths >= 0)
        database->use_system_paths = static_cast<INT_U8>(options.system_paths);
    database->want_desktop_shortcut = options.desktop_shortcut;
    database->want_menu_shortcut = options.menu_shortcut;
    return true;
}

// A number from 1 to `count`, as an index; -1 when the text is no such number.
INT_S16 index_from_number(const char* text, INT_S16 count)
{
    char* end = nullptr;
    long number = strtol(text, &end, 10);
    if (!end || *end || end == text)
        return -1;
    return number >= 1 && number <= count ? static_cast<INT_S16>(number - 1) : -2;
}

// Appends one element to a path text, or takes the last one away for "..". `floor` is where ".."
// stops: the file system root of an absolute path; a variable's text keeps its ".." elements,
// since they lead above the variable's folder.
bool add_element(char* out, size_t size, size_t floor, const char* element, size_t length, bool keep_up)
{
    if (length == 0 || (length == 1 && element[0] == '.'))
        return true;
    size_t used = strlen(out);
    if (length == 2 && element[0] == '.' && element[1] == '.') {
        char* slash = strrchr(out, '/');
        bool above_floor = slash && static_cast<size_t>(slash - out) >= floor && strcmp(slash, "/..") != 0;
        if (above_floor) {
            *slash = 0;
            return true;
        }
        if (!keep_up)
            return true; // ".." at the root is the root
    }
    if (used + 1 + length >= size)
        return false;
    out[used] = '/';
    memcpy(out + used + 1, element, length);
    out[used + 1 + length] = 0;
    return true;
}

} // namespace

const char* console_text(const char* latin1)
{
    static char ring[4][ORLU_MAX_PATH * 2];
    static int next = 0;
    char* out = ring[next];
    next = (next + 1) % 4;
    size_t used = 0;
    for (const unsigned char* p = reinterpret_cast<const unsigned char*>(latin1 ? latin1 : ""); *p; ++p) {
        size_t need = *p < 0x80 ? 1 : 2;
        if (used + need >= sizeof ring[0])
            break;
        if (need == 1) {
            out[used++] = static_cast<char>(*p);
        } else {
            out[used++] = static_cast<char>(0xC0 | (*p >> 6));
            out[used++] = static_cast<char>(0x80 | (*p & 0x3F));
        }
    }
    out[used] = 0;
    return out;
}

namespace {

// The command line is UTF-8 and the data set's texts Latin-1: a name given by the user matches a
// text either as it stands or in Latin-1.
bool same_name(const char* text, const char* wanted)
{
    if (strcasecmp(text, wanted) == 0)
        return true;
    ORLU_STRING latin1;
    return utf8_to_string(wanted, -1, &latin1) && strcasecmp(text, latin1.c_str()) == 0;
}

} // namespace

INT_S16 find_install_type(const DATABASE& database, const char* wanted)
{
    if (!wanted || !wanted[0])
        return database.installation_count > 0 ? 0 : -1;
    INT_S16 number = index_from_number(wanted, database.installation_count);
    if (number != -1)
        return number >= 0 ? number : -1;
    for (INT_S16 i = 0; i < database.installation_count; ++i) {
        if (same_name(database.installations[i].name, wanted))
            return i;
        const LANGUAGE_RECORD* language = database.language();
        if (language && same_name(language->installation_name(i), wanted))
            return i;
    }
    return -1;
}

INT_S16 find_language(const DATABASE& database, const char* wanted)
{
    if (!wanted || !wanted[0])
        return -1;
    INT_S16 number = index_from_number(wanted, database.language_count);
    if (number != -1)
        return number >= 0 ? number : -1;
    for (INT_S16 i = 0; i < database.language_count; ++i) {
        const LANGUAGE_RECORD& language = database.languages[i];
        if (same_name(language.name, wanted) || same_name(language.text(LANGUAGE_KEY::LANGUAGE_TITLE), wanted))
            return i;
    }
    return -1;
}

bool choose_language(DATABASE* database, const char* wanted)
{
    if (!wanted || !wanted[0])
        return true;
    INT_S16 found = find_language(*database, wanted);
    if (found >= 0) {
        database->current_language = found;
        return true;
    }
    host_printf("ERROR: there is no language \"%s\"; the languages are:\n", wanted);
    for (INT_S16 i = 0; i < database->language_count; ++i) {
        const LANGUAGE_RECORD& language = database->languages[i];
        host_printf("  %d  %s (%s)\n", i + 1, console_text(language.name),
            console_text(language.text(LANGUAGE_KEY::LANGUAGE_TITLE)));
    }
    return false;
}

INT_S16 choose_install_type(const DATABASE& database, const char* wanted)
{
    INT_S16 type = find_install_type(database, wanted);
    if (type >= 0)
        return type;
    host_printf("ERROR: there is no install type \"%s\"\n", wanted ? wanted : "");
    if (database.installation_count == 0)
        return -1;
    host_print("The install types are:\n");
    const LANGUAGE_RECORD* language = database.language();
    for (INT_S16 i = 0; i < database.installation_count; ++i) {
        const char* name = database.installations[i].name;
        const char* shown = language ? language->installation_name(i) : "";
        if (shown[0] && strcmp(shown, name) != 0)
            host_printf("  %d  %s (%s)\n", i + 1, console_text(name), console_text(shown));
        else
            host_printf("  %d  %s\n", i + 1, console_text(name));
    }
    return -1;
}

bool install_folder_text(const char* given, char* out, size_t size)
{
    if (!given || !out || size == 0)
        return false;
    out[0] = 0;
    char joined[ORLU_MAX_PATH * 2];
    const char* rest = given;
    size_t floor = 0;
    bool keep_up = false;
    if (given[0] == '$') {
        size_t length = strcspn(given, "/");
        if (length >= size)
            return false;
        memcpy(out, given, length);
        out[length] = 0;
        rest = given + length;
        floor = length;
        keep_up = true;
    } else {
        if (!copy_text(out, size, "$ROOT1"))
            return false;
        floor = strlen(out);
        if (given[0] != '/') {
            char here[ORLU_MAX_PATH];
            if (!host_working_folder(here, sizeof here))
                (void)copy_text(here, "/");
            if (!format_text(joined, sizeof joined, "%s/%s", here, given)) {
                out[0] = 0;
                return false;
            }
            rest = joined;
        }
    }
    for (const char* p = rest; *p;) {
        while (*p == '/')
            ++p;
        size_t length = strcspn(p, "/");
        if (!add_element(out, size, floor, p, length, keep_up)) {
            out[0] = 0;
            return false;
        }
        p += length;
    }
    return true;
}

namespace {

// The status and the last line of a run that a signal ended: 128 and the signal's number, as a
// shell reports a program that a signal killed. The line also goes to standard error, since a
// closed pipe may be what ended the run.
INT_S32 interrupted(const char* what)
{
    int signal_number = host_stop_signal();
    const char* name = signal_number ? host_signal_name(signal_number) : "a signal";
    char line[512];
    (void)format_text(line, sizeof line, "Interrupted by %s %s\n", name, what);
    host_print(line);
    host_print_error(line);
    return signal_number ? 128 + signal_number : 1;
}

bool stop_requested()
{
    handle_pending_signals();
    return quit_requested || host_stop_requested();
}

} // namespace

INT_S32 load_installer_data(DATABASE* database, bool quiet)
{
    // Nobody is there to answer a polite question: a terminate signal ends the run like the
    // others.
    set_terminate_quits(true);
    if (!quiet)
        host_print("Loading automatic pack...\n");
    INT_S32 last_percent = -10;
    switch (unpack_own_data_set(database, nullptr, quiet ? nullptr : show_unpack_progress, &last_percent)) {
    case UNPACK_DAMAGED:
        host_print("ERROR: The installer file is damaged\n"
                   "It is shorter than it should be or its contents changed; download or copy it again.\n");
        return 2;
    case UNPACK_FAILED:
        host_print("ERROR: the installation data cannot be unpacked (is the temporary folder full?)\n");
        delete_temporary_package();
        return 1;
    case UNPACK_INTERRUPTED:
        delete_temporary_package();
        return interrupted("while unpacking the installation data; nothing was installed");
    case UNPACK_NO_DATA_SET:
    case UNPACK_DONE:
        break;
    }
    bool damaged = false;
    if (!database->load_data_set("installer.pkg", &damaged)) {
        delete_temporary_package();
        if (stop_requested())
            return interrupted("while loading the installation data; nothing was installed");
        if (damaged) {
            host_print("ERROR: The installer file is damaged\n"
                       "Its installation data cannot be read whole; download or copy it again.\n");
            return 2;
        }
        host_print("ERROR: unable to load data\n");
        if (!quiet)
            host_print("Done\n");
        return 1;
    }
    return -1;
}

INT_S32 run_unattended(DATABASE* database, const INSTALLER_OPTIONS& options)
{
    // Nobody is there to answer a polite question: a terminate signal ends the run like the
    // others, after the file in hand.
    set_terminate_quits(true);
    INT_S32 status = load_installer_data(database, options.quiet);
    if (status >= 0)
        return status;

    // What the wizard's pages would have asked: the language, the licence, the install type.
    INT_S16 type = -1;
    bool ready = choose_language(database, options.language);
    if (ready && database->has_licence() && !options.accept_licence) {
        host_print("ERROR: this installer comes with a licence, and installs only when you accept it.\n"
                   "Read it with -r, then run the install again with -y to accept it.\n");
        ready = false;
    }
    if (ready)
        type = choose_install_type(*database, options.install_type);
    if (type < 0 || !apply_options(database, options, type)) {
        delete_temporary_package();
        return 1;
    }
    // A patch goes only where the installation it patches lies, as its wizard checks too.
    if (database->patch_do_check) {
        char why[ORLU_MAX_PATH * 3];
        if (!has_prior_installation(database, why, sizeof why)) {
            host_printf("ERROR: this is a patch for an installation of \"%s\" in %s, and none was found there:\n"
                        "%s. Give the installation's folder with -i.\n",
                database->app_string, expand_text(database->install_path, nullptr), why);
            delete_temporary_package();
            return 1;
        }
    }
    if (!options.quiet)
        host_printf("Installing \"%s\" into %s\n", console_text(database->installations[type].name), database->install_path);

    CONSOLE_REPORTER reporter(options.quiet);
    INSTALL_ENGINE engine;
    // Nobody watches the files go by one at a time: they are placed on writer threads.
    engine.set_writers(install_writer_count());
    database->current_page = PAGE_INSTALLING;
    bool stopped = stop_requested();
    while (!reporter.stopped && !stopped) {
        engine.step(database, &reporter);
        stopped = stop_requested();
        if (stopped || engine.data_failed())
            break;
        if (engine.at_rest()) {
            host_print("ERROR: the installation data cannot be opened\n");
            reporter.stopped = true;
            break;
        }
        if (engine.done())
            break;
    }
    // A signal that comes with the last step finds the work done: that is no interruption.
    if (stopped && engine.done())
        stopped = false;
    if (stopped) {
        int signal_number = host_stop_signal();
        engine.interrupt(signal_number ? host_signal_name(signal_number) : "a signal");
    }
    engine.reset();
    database->current_page = PAGE_START;
    delete_temporary_package();
    if (stopped) {
        char what[160];
        (void)format_text(what, sizeof what,
            "while installing: %d installed, %d skipped, %d failed; the rest was not installed (install_log.txt lists what was done)",
            reporter.installed, reporter.skipped, reporter.failed);
        return interrupted(what);
    }
    if (reporter.stopped)
        return 1;
    if (!options.quiet) {
        host_printf("%d installed, %d skipped, %d failed\n", reporter.installed, reporter.skipped, reporter.failed);
        if (reporter.shortcuts_failed)
            host_printf("%d shortcut%s could not be made\n", reporter.shortcuts_failed, reporter.shortcuts_failed == 1 ? "" : "s");
        host_print("Done\n");
    }
    return reporter.failed || reporter.shortcuts_failed || engine.error_count() ? 1 : 0;
}
