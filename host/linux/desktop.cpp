// Desktop shortcuts, menu entries, browser and file opening, and speech on a Linux desktop.
//
// Titles, paths and arguments come from a data set, so they are never trusted to be plain: a
// desktop entry gets them through the entry format's own escapes (a line feed in a title must not
// add a key), Exec lines quote every argument by the entry rules, the menu file quotes its values,
// and control characters that no escape covers make the entry fail rather than be written.
//
// [SECTION] Names and paths
// [SECTION] Building texts
// [SECTION] Desktop shortcuts
// [SECTION] Menu entries
// [SECTION] Browser and files
// [SECTION] Speech

#include "host/desktop.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <strings.h>

#include "host/linux/host_internal.h"
#include "host/system_info.h"

extern char** environ;

// ---------------------------------------------------------------------------------------------
// [SECTION] Names and paths
// ---------------------------------------------------------------------------------------------

namespace {

char system_menu_folder[ORLU_MAX_PATH] = "/usr/lib/menu";
char xdg_desktop_menu[ORLU_MAX_PATH] = "/usr/bin/xdg-desktop-menu";
char update_menus[ORLU_MAX_PATH] = "/usr/bin/update-menus";

const char* text_or_empty(const char* text) { return text ? text : ""; }

bool file_opens(const char* path) { return access(path, R_OK) == 0; }

// folder + "/" (unless it ends in one) + name. False, with errno ENAMETOOLONG, when the path
// would not fit: a cut path names another file.
bool join_path(const char* folder, const char* name, char* out, size_t size)
{
    size_t length = strlen(folder);
    const char* separator = length > 0 && folder[length - 1] == '/' ? "" : "/";
    int written = snprintf(out, size, "%s%s%s", folder, separator, name);
    if (written < 0 || static_cast<size_t>(written) >= size) {
        out[0] = 0;
        errno = ENAMETOOLONG;
        return false;
    }
    return true;
}

void replace_non_alphanumeric(char* text)
{
    for (; *text; ++text) {
        if (!isalnum(static_cast<unsigned char>(*text)))
            *text = '_';
    }
}

// The Base Directory defaults, for helpers started from a minimal environment (root under sudo,
// a service): without them xdg-desktop-menu takes an empty data folder list for "/" and writes
// its menus at the file system root.
const char* const DATA_DIRS_DEFAULT = "XDG_DATA_DIRS=/usr/local/share/:/usr/share/";
const char* const CONFIG_DIRS_DEFAULT = "XDG_CONFIG_DIRS=/etc/xdg";

bool variable_is_set(const char* name)
{
    const char* value = getenv(name);
    return value && value[0];
}

// Runs a desktop helper by argument vector and waits for it, its output thrown away. The
// environment is ours, plus the Base Directory defaults where they are unset or empty.
int run_helper(const char* const* argv)
{
    size_t count = 0;
    while (environ && environ[count])
        ++count;
    char** helper_environment = static_cast<char**>(calloc(count + 3, sizeof(char*)));
    if (!helper_environment)
        return -1;
    size_t at = 0;
    for (size_t i = 0; i < count; ++i) {
        // Empty values are replaced, not kept beside the defaults.
        if (strcmp(environ[i], "XDG_DATA_DIRS=") == 0 || strcmp(environ[i], "XDG_CONFIG_DIRS=") == 0)
            continue;
        helper_environment[at++] = environ[i];
    }
    if (!variable_is_set("XDG_DATA_DIRS"))
        helper_environment[at++] = const_cast<char*>(DATA_DIRS_DEFAULT);
    if (!variable_is_set("XDG_CONFIG_DIRS"))
        helper_environment[at++] = const_cast<char*>(CONFIG_DIRS_DEFAULT);
    helper_environment[at] = nullptr;

    fflush(stdout);
    pid_t pid = fork();
    if (pid < 0) {
        free(helper_environment);
        return -1;
    }
    if (pid == 0) {
        int null_fd = open("/dev/null", O_RDWR);
        if (null_fd >= 0) {
            dup2(null_fd, STDOUT_FILENO);
            dup2(null_fd, STDERR_FILENO);
        }
        environ = helper_environment;
        execvp(argv[0], const_cast<char* const*>(argv));
        _exit(127);
    }
    free(helper_environment);
    int status = 0;
    while (waitpid(pid, &status, 0) < 0) {
        if (errno != EINTR)
            return -1;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// Starts a program by argument vector and leaves it running by itself; 0 once it was started.
int start_detached(const char* const* argv)
{
    fflush(stdout);
    pid_t pid = fork();
    if (pid < 0)
        return -1;
    if (pid == 0) {
        // A second fork leaves the program to init, so no zombie waits for us.
        if (fork() != 0)
            _exit(0);
        setsid();
        int null_fd = open("/dev/null", O_RDWR);
        if (null_fd >= 0) {
            dup2(null_fd, STDIN_FILENO);
            dup2(null_fd, STDOUT_FILENO);
            dup2(null_fd, STDERR_FILENO);
        }
        execvp(argv[0], const_cast<char* const*>(argv));
        _exit(127);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    return 0;
}

// A folder of our own for the files handed to xdg-desktop-menu, made fresh for each call, so
// nobody else can plant or redirect them.
bool make_private_folder(char* out, size_t size)
{
    const char* base = getenv("TMPDIR");
    int written = snprintf(out, size, "%s/orlu-menu-XXXXXX", base && base[0] == '/' ? base : "/tmp");
    if (written < 0 || static_cast<size_t>(written) >= size)
        return false;
    return mkdtemp(out) != nullptr;
}

// Writes a whole text file, created with the given mode. False on any failure, with errno set.
bool write_text_file(const char* path, const char* text, mode_t mode)
{
    int fd = open(path, O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, mode);
    if (fd < 0)
        return false;
    size_t length = strlen(text);
    bool ok = write(fd, text, length) == static_cast<ssize_t>(length);
    int saved = errno;
    fchmod(fd, mode);
    ok = close(fd) == 0 && ok;
    if (!ok && errno == 0)
        errno = saved ? saved : EIO;
    return ok;
}

// The value of XDG_DESKTOP_DIR in a user-dirs.dirs text: the line's value, unquoted, with "$HOME"
// at its start turned into the home directory. False when the file has no such line or the
// value is neither under $HOME nor absolute.
bool desktop_from_user_dirs(const char* path, char* out, size_t size)
{
    FILE* file = fopen(path, "r");
    if (!file)
        return false;
    char line[ORLU_MAX_PATH * 2];
    bool found = false;
    while (!found && fgets(line, sizeof line, file)) {
        const char* p = line;
        while (*p == ' ' || *p == '\t')
            ++p;
        if (strncmp(p, "XDG_DESKTOP_DIR=", 16) != 0)
            continue;
        p += 16;
        char value[ORLU_MAX_PATH * 2];
        size_t used = 0;
        if (*p == '"') {
            // The file is written for a shell: a backslash keeps the next character.
            for (++p; *p && *p != '"' && used + 1 < sizeof value; ++p) {
                if (*p == '\\' && p[1])
                    ++p;
                value[used++] = *p;
            }
        } else {
            for (; *p && *p != '\n' && *p != '\r' && *p != ' ' && used + 1 < sizeof value; ++p)
                value[used++] = *p;
        }
        value[used] = 0;
        int written = -1;
        if (strncmp(value, "$HOME", 5) == 0 && (value[5] == 0 || value[5] == '/'))
            written = snprintf(out, size, "%s%s", home_directory(), value + 5);
        else if (value[0] == '/')
            written = snprintf(out, size, "%s", value);
        found = written > 0 && static_cast<size_t>(written) < size;
    }
    fclose(file);
    return found;
}

} // namespace

void set_desktop_tools(const DESKTOP_TOOLS& tools)
{
    if (tools.system_menu_folder)
        snprintf(system_menu_folder, sizeof system_menu_folder, "%s", tools.system_menu_folder);
    if (tools.xdg_desktop_menu)
        snprintf(xdg_desktop_menu, sizeof xdg_desktop_menu, "%s", tools.xdg_desktop_menu);
    if (tools.update_menus)
        snprintf(update_menus, sizeof update_menus, "%s", tools.update_menus);
}

bool desktop_folder(char* out, size_t size)
{
    if (!out || size == 0)
        return false;
    char config[ORLU_MAX_PATH];
    const char* config_home = getenv("XDG_CONFIG_HOME");
    int written = config_home && config_home[0] == '/'
        ? snprintf(config, sizeof config, "%s/user-dirs.dirs", config_home)
        : snprintf(config, sizeof config, "%s/.config/user-dirs.dirs", home_directory());
    if (written > 0 && static_cast<size_t>(written) < sizeof config && desktop_from_user_dirs(config, out, size))
        return true;
    const char* variable = getenv("XDG_DESKTOP_DIR");
    if (variable && variable[0] == '/')
        written = snprintf(out, size, "%s", variable);
    else
        written = snprintf(out, size, "%s/Desktop", home_directory());
    if (written < 0 || static_cast<size_t>(written) >= size) {
        out[0] = 0;
        return false;
    }
    return true;
}

void desktop_file_name(const char* title, char* out, size_t size)
{
    snprintf(out, size, "%s", text_or_empty(title));
    replace_non_alphanumeric(out);
}

void menu_identifier(const char* menu_path, const char* title, char* out, size_t size)
{
    if (snprintf(out, size, "local.%s_%s", text_or_empty(menu_path), text_or_empty(title)) < 0)
        out[0] = 0;
    if (strlen(out) > 6)
        replace_non_alphanumeric(out + 6);
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Building texts
// ---------------------------------------------------------------------------------------------

namespace {

// Appends to a fixed buffer and remembers whether everything fit and was allowed.
class TEXT_BUILDER {
public:
    TEXT_BUILDER(char* buffer, size_t size)
        : m_buffer(buffer)
        , m_size(size)
    {
        m_buffer[0] = 0;
    }

    void add(char c)
    {
        if (m_used + 1 >= m_size) {
            m_ok = false;
            return;
        }
        m_buffer[m_used++] = c;
        m_buffer[m_used] = 0;
    }
    void add(const char* text)
    {
        for (; *text; ++text)
            add(*text);
    }
    void refuse() { m_ok = false; }
    [[nodiscard]] bool ok() const { return m_ok; }

private:
    char* m_buffer;
    size_t m_size;
    size_t m_used { 0 };
    bool m_ok { true };
};

bool is_control(unsigned char c) { return c < 0x20 || c == 0x7F; }

// A desktop entry string value: backslash, line feed, tab and carriage return by their escapes,
// a leading blank as "\s" (readers trim blanks after "="). Any other control character has no
// escape and is refused.
void add_entry_value(TEXT_BUILDER* out, const char* text)
{
    for (const char* p = text; *p; ++p) {
        unsigned char c = static_cast<unsigned char>(*p);
        if (c == '\\')
            out->add("\\\\");
        else if (c == '\n')
            out->add("\\n");
        else if (c == '\t')
            out->add("\\t");
        else if (c == '\r')
            out->add("\\r");
        else if (c == ' ' && p == text)
            out->add("\\s");
        else if (is_control(c))
            out->refuse();
        else
            out->add(static_cast<char>(c));
    }
}

// One argument of an Exec line: quoted when it holds one of the reserved characters (or when
// asked), with '"', '`', '$' and '\' escaped inside the quotes; '%' is doubled, since a single
// one starts a field code.
void add_exec_argument(TEXT_BUILDER* out, const char* word, bool always_quote)
{
    bool quote = always_quote || !word[0] || strpbrk(word, " \t\n\"'\\><~|&;$*?#()`") != nullptr;
    if (quote)
        out->add('"');
    for (const char* p = word; *p; ++p) {
        if (quote && strchr("\"`$\\", *p))
            out->add('\\');
        if (*p == '%')
            out->add('%');
        out->add(*p);
    }
    if (quote)
        out->add('"');
}

// Splits an argument text as a shell would, expanding nothing: blanks separate words, '...'
// keeps everything, "..." keeps everything but a backslash before '"', '\', '$' or '`', and a
// backslash outside quotes keeps the next character. Each word goes to `word_out` with its
// context. False for an unclosed quote or a word too long.
template <typename WORD_OUT>
bool split_arguments(const char* text, WORD_OUT word_out)
{
    char word[ORLU_MAX_PATH];
    const char* p = text;
    for (;;) {
        while (*p == ' ' || *p == '\t')
            ++p;
        if (!*p)
            return true;
        size_t used = 0;
        auto put = [&](char c) {
            if (used + 1 >= sizeof word)
                return false;
            word[used++] = c;
            return true;
        };
        while (*p && *p != ' ' && *p != '\t') {
            if (*p == '\'') {
                for (++p; *p && *p != '\''; ++p) {
                    if (!put(*p))
                        return false;
                }
                if (!*p)
                    return false;
                ++p;
            } else if (*p == '"') {
                for (++p; *p && *p != '"'; ++p) {
                    if (*p == '\\' && p[1] && strchr("\"\\$`", p[1]))
                        ++p;
                    if (!put(*p))
                        return false;
                }
                if (!*p)
                    return false;
                ++p;
            } else {
                if (*p == '\\' && p[1])
                    ++p;
                if (!put(*p))
                    return false;
                ++p;
            }
        }
        word[used] = 0;
        word_out(word);
    }
}

// The Exec value of a program with its argument text: the program always quoted, each argument
// quoted where the rules ask for it, then the whole as an entry string.
bool exec_value(const char* program, const char* arguments, char* out, size_t size)
{
    char line[ORLU_MAX_PATH * 4];
    TEXT_BUILDER exec(line, sizeof line);
    add_exec_argument(&exec, program, true);
    bool split = split_arguments(text_or_empty(arguments), [&](const char* word) {
        exec.add(' ');
        add_exec_argument(&exec, word, false);
    });
    if (!split || !exec.ok())
        return false;
    TEXT_BUILDER value(out, size);
    add_entry_value(&value, line);
    return value.ok();
}

// A value of the menu file, which stands between double quotes: '"' and '\' get a backslash, and
// control characters are refused, since a line feed would end the entry.
void add_menu_value(TEXT_BUILDER* out, const char* text)
{
    for (const char* p = text; *p; ++p) {
        if (is_control(static_cast<unsigned char>(*p))) {
            out->refuse();
            continue;
        }
        if (*p == '"' || *p == '\\')
            out->add('\\');
        out->add(*p);
    }
}

// A word for a shell command line, in single quotes: a quote inside becomes '\''.
void add_shell_word(TEXT_BUILDER* out, const char* text)
{
    out->add('\'');
    for (const char* p = text; *p; ++p) {
        if (*p == '\'')
            out->add("'\\''");
        else
            out->add(*p);
    }
    out->add('\'');
}

// Refuses texts with control characters other than those the entry format escapes.
bool plain_text(const char* text)
{
    for (const char* p = text_or_empty(text); *p; ++p) {
        if (is_control(static_cast<unsigned char>(*p)))
            return false;
    }
    return true;
}

} // namespace

// ---------------------------------------------------------------------------------------------
// [SECTION] Desktop shortcuts
// ---------------------------------------------------------------------------------------------

namespace {

char failure_text[ORLU_MAX_PATH * 2] = "";

// Keeps the reason of a failure for desktop_error_text; always answers false.
bool desktop_failure(const char* format, ...) __attribute__((format(printf, 1, 2)));
bool desktop_failure(const char* format, ...)
{
    int saved = errno;
    va_list args;
    va_start(args, format);
    if (vsnprintf(failure_text, sizeof failure_text, format, args) < 0)
        failure_text[0] = 0;
    va_end(args);
    errno = saved;
    return false;
}

// The desktop file of a title: the desktop folder, the title made safe, ".desktop".
bool desktop_entry_path(const char* title, char* out, size_t size)
{
    char folder[ORLU_MAX_PATH];
    if (!desktop_folder(folder, sizeof folder))
        return desktop_failure("the desktop folder's name is too long");
    char file_name[1024];
    desktop_file_name(title, file_name, sizeof file_name);
    char leaf[1100];
    int written = snprintf(leaf, sizeof leaf, "%s.desktop", file_name);
    if (written < 0 || static_cast<size_t>(written) >= sizeof leaf || !join_path(folder, leaf, out, size))
        return desktop_failure("the shortcut's file name is too long");
    return true;
}

// The target with its folder, or alone without one.
bool target_path_of(const char* folder, const char* target, char* out, size_t size)
{
    if (folder && folder[0])
        return join_path(folder, text_or_empty(target), out, size);
    int written = snprintf(out, size, "%s", text_or_empty(target));
    return written >= 0 && static_cast<size_t>(written) < size;
}

bool icon_path_of(const char* file, const char* folder, char* out, size_t size)
{
    out[0] = 0;
    if (file && file[0] && folder && folder[0])
        return join_path(folder, file, out, size);
    return true;
}

} // namespace

const char* desktop_error_text() { return failure_text; }

bool add_desktop_shortcut(INT_U8 kind, const char* target, const char* arguments, const char* title,
    const char* target_folder, const char* icon_file, const char* icon_folder)
{
    if (kind < SHORTCUT_PROGRAM || kind > SHORTCUT_FILE) {
        errno = EINVAL;
        return desktop_failure("unknown shortcut kind %d", kind);
    }
    char path[ORLU_MAX_PATH * 2];
    if (!desktop_entry_path(title, path, sizeof path))
        return false;
    char target_path[ORLU_MAX_PATH * 2], icon[ORLU_MAX_PATH * 2];
    if (!target_path_of(target_folder, target, target_path, sizeof target_path)
        || !icon_path_of(icon_file, icon_folder, icon, sizeof icon))
        return desktop_failure("a path of the shortcut is too long");

    static char entry[ORLU_MAX_PATH * 16];
    TEXT_BUILDER text(entry, sizeof entry);
    text.add("[Desktop Entry]\nEncoding=UTF-8\nValue=1.0\n");
    text.add(kind == SHORTCUT_PROGRAM ? "Type=Application\nName=" : "Type=Link\nName=");
    add_entry_value(&text, text_or_empty(title));
    if (kind == SHORTCUT_PROGRAM) {
        char exec[ORLU_MAX_PATH * 8];
        if (!exec_value(target_path, arguments, exec, sizeof exec)) {
            errno = EINVAL;
            return desktop_failure("the program or its arguments cannot be written as a command: %s %s", target_path,
                text_or_empty(arguments));
        }
        text.add("\nComment=");
        add_entry_value(&text, text_or_empty(title));
        text.add("\nExec=");
        text.add(exec);
        text.add("\nIcon=");
        add_entry_value(&text, icon);
    } else {
        text.add("\nIcon=");
        add_entry_value(&text, icon[0] ? icon : kind == SHORTCUT_WEB_PAGE ? "www" : "ascii");
        text.add("\nURL=");
        if (kind == SHORTCUT_WEB_PAGE) {
            add_entry_value(&text, text_or_empty(target));
        } else {
            char quoted[ORLU_MAX_PATH * 4];
            int written = snprintf(quoted, sizeof quoted, "\"%s\" %s", target_path, text_or_empty(arguments));
            if (written < 0 || static_cast<size_t>(written) >= sizeof quoted)
                text.refuse();
            else
                add_entry_value(&text, quoted);
        }
    }
    text.add("\n");
    if (!text.ok()) {
        errno = EINVAL;
        return desktop_failure("the shortcut \"%s\" holds control characters or is too long", text_or_empty(title));
    }
    if (!write_text_file(path, entry, 0755))
        return desktop_failure("%s: %s", path, strerror(errno));
    failure_text[0] = 0;
    return true;
}

bool remove_desktop_shortcut(const char* title)
{
    char path[ORLU_MAX_PATH * 2];
    return desktop_entry_path(title, path, sizeof path) && unlink(path) == 0;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Menu entries
// ---------------------------------------------------------------------------------------------

namespace {

constexpr size_t LEVEL_PATH_SIZE = ORLU_MAX_PATH + 1024 + 32;

// The ".directory" files for each level of a menu path ("Games/Puzzles" gives "Games" and
// "Games-Puzzles"), written into `folder` when it is not null. Answers how many levels there are;
// their paths go into `paths`.
int directory_files(const char* menu_path, const char* folder, char paths[][LEVEL_PATH_SIZE], int most)
{
    char cumulative[1024] = "";
    const char* level = text_or_empty(menu_path);
    int count = 0;
    while (*level && count < most) {
        const char* end = strchr(level, '/');
        size_t length = end ? static_cast<size_t>(end - level) : strlen(level);
        if (length > 0) {
            char name[256];
            snprintf(name, sizeof name, "%.*s", static_cast<int>(length < 255 ? length : 255), level);
            size_t used = strlen(cumulative);
            if (used + length + 2 >= sizeof cumulative)
                break;
            // Each level is made safe on its own, so the "-" between levels stays visible.
            char safe[sizeof name];
            memcpy(safe, name, sizeof name);
            replace_non_alphanumeric(safe);
            snprintf(cumulative + used, sizeof cumulative - used, "%s%s", used ? "-" : "", safe);
            int written = snprintf(paths[count], LEVEL_PATH_SIZE, "%s/orlu-%s.directory", folder ? folder : "", cumulative);
            if (written < 0 || static_cast<size_t>(written) >= LEVEL_PATH_SIZE)
                break;
            if (folder) {
                char text[1024];
                TEXT_BUILDER directory(text, sizeof text);
                directory.add("[Desktop Entry]\nValue=1.0\nType=Directory\nName=");
                add_entry_value(&directory, name);
                directory.add("\nIcon=folder\n");
                if (directory.ok())
                    write_text_file(paths[count], text, 0644);
            }
            ++count;
        }
        level += length;
        if (*level == '/')
            ++level;
    }
    return count;
}

constexpr int MOST_MENU_LEVELS = 16;

void run_update_menus()
{
    const char* argv[] = { update_menus, nullptr };
    run_helper(argv);
}

enum OPENER { OPENER_BROWSER_VARIABLE, OPENER_KDE, OPENER_GNOME, OPENER_KONQUEROR };

OPENER choose_opener(bool look_at_browser)
{
    const char* browser = getenv("BROWSER");
    if (look_at_browser && browser && browser[0])
        return OPENER_BROWSER_VARIABLE;
    const char* desktop = getenv("DESKTOP");
    if (!desktop)
        desktop = getenv("DESKTOP_SESSION");
    if (desktop && strcasestr(desktop, "kde"))
        return OPENER_KDE;
    if (desktop && strcasestr(desktop, "gnome"))
        return OPENER_GNOME;
    if (file_opens("/usr/bin/kfmclient"))
        return OPENER_KDE;
    if (file_opens("/usr/bin/gnome-open"))
        return OPENER_GNOME;
    return OPENER_KONQUEROR;
}

// Blanks become "%20" on the path through BROWSER, which hands the address to an arbitrary
// program.
void encode_blanks(const char* url, char* out, size_t size)
{
    size_t at = 0;
    for (; *url && at + 4 < size; ++url) {
        if (*url == ' ') {
            memcpy(out + at, "%20", 3);
            at += 3;
        } else {
            out[at++] = *url;
        }
    }
    out[at] = 0;
}

constexpr int MOST_OPENER_WORDS = 40;

// The argument vector that opens `target`. BROWSER may hold a program with its own options; it
// is split at blanks, as a shell would for an unquoted value. The words point into the two
// static buffers or at `target`.
int opener_argv(OPENER opener, const char* target, const char** argv)
{
    static char browser_words[ORLU_MAX_PATH];
    static char encoded[ORLU_MAX_PATH * 3];
    int at = 0;
    switch (opener) {
    case OPENER_BROWSER_VARIABLE: {
        snprintf(browser_words, sizeof browser_words, "%s", text_or_empty(getenv("BROWSER")));
        for (char* word = strtok(browser_words, " \t"); word && at < MOST_OPENER_WORDS - 4; word = strtok(nullptr, " \t"))
            argv[at++] = word;
        encode_blanks(target, encoded, sizeof encoded);
        argv[at++] = encoded;
        break;
    }
    case OPENER_KDE:
        argv[at++] = "kfmclient";
        argv[at++] = "exec";
        argv[at++] = target;
        break;
    case OPENER_GNOME:
        argv[at++] = "gnome-open";
        argv[at++] = target;
        break;
    case OPENER_KONQUEROR:
        argv[at++] = "konqueror";
        argv[at++] = target;
        break;
    }
    argv[at] = nullptr;
    return at;
}

// The Exec value that runs an argument vector.
bool exec_value_of_words(const char* const* argv, char* out, size_t size)
{
    char line[ORLU_MAX_PATH * 4];
    TEXT_BUILDER exec(line, sizeof line);
    for (int i = 0; argv[i]; ++i) {
        if (i)
            exec.add(' ');
        add_exec_argument(&exec, argv[i], false);
    }
    if (!exec.ok())
        return false;
    TEXT_BUILDER value(out, size);
    add_entry_value(&value, line);
    return value.ok();
}

// The shell command of the menu file and the Exec value of the entry for one shortcut.
bool menu_commands(INT_U8 kind, const char* target_path, const char* arguments, char* command, size_t command_size,
    char* exec, size_t exec_size)
{
    TEXT_BUILDER shell(command, command_size);
    if (kind == SHORTCUT_PROGRAM) {
        // The argument text is the publisher's command line: it goes to the shell as written, but a
        // line feed or another control character would end the menu line.
        if (!plain_text(arguments))
            return false;
        add_shell_word(&shell, target_path);
        if (arguments && arguments[0]) {
            shell.add(' ');
            shell.add(arguments);
        }
        return shell.ok() && exec_value(target_path, arguments, exec, exec_size);
    }
    OPENER opener = kind == SHORTCUT_FILE ? choose_opener(false) : choose_opener(true);
    const char* argv[MOST_OPENER_WORDS];
    opener_argv(opener, target_path, argv);
    if (kind == SHORTCUT_WEB_PAGE) {
        shell.add(open_in_browser_command(target_path, false));
    } else {
        shell.add(opener == OPENER_KDE ? "kfmclient exec " : opener == OPENER_GNOME ? "gnome-open " : "konqueror ");
        add_shell_word(&shell, target_path);
        shell.add(" &");
    }
    return shell.ok() && plain_text(command) && exec_value_of_words(argv, exec, exec_size);
}

} // namespace

bool add_menu_entry(INT_U8 kind, const char* target, const char* arguments, const char* title,
    const char* menu_path, const char* target_folder, const char* icon_file, const char* icon_folder)
{
    if (kind < SHORTCUT_PROGRAM || kind > SHORTCUT_FILE) {
        errno = EINVAL;
        return desktop_failure("unknown shortcut kind %d", kind);
    }
    char identifier[ORLU_MAX_PATH];
    menu_identifier(menu_path, title, identifier, sizeof identifier);
    char target_path[ORLU_MAX_PATH * 2], icon[ORLU_MAX_PATH * 2];
    if (!target_path_of(target_folder, target, target_path, sizeof target_path)
        || !icon_path_of(icon_file, icon_folder, icon, sizeof icon))
        return desktop_failure("a path of the menu entry is too long");
    const char* shown_icon = icon[0] ? icon : kind == SHORTCUT_PROGRAM ? "exec" : kind == SHORTCUT_WEB_PAGE ? "www" : "ascii";

    // Both texts are made before anything is written, so a refused one leaves nothing behind.
    static char command[ORLU_MAX_PATH * 4];
    static char exec[ORLU_MAX_PATH * 8];
    static char menu_text[ORLU_MAX_PATH * 16];
    static char entry_text[ORLU_MAX_PATH * 16];
    bool commands = menu_commands(kind, target_path, arguments, command, sizeof command, exec, sizeof exec);
    TEXT_BUILDER menu(menu_text, sizeof menu_text);
    menu.add("?package(");
    menu.add(identifier);
    menu.add("): command=\"");
    add_menu_value(&menu, command);
    menu.add("\" icon=\"");
    add_menu_value(&menu, shown_icon);
    menu.add("\" section=\"");
    add_menu_value(&menu, text_or_empty(menu_path));
    menu.add("\" title=\"");
    add_menu_value(&menu, text_or_empty(title));
    menu.add("\" needs=\"x11\" startup_notify=\"true\"\n");
    TEXT_BUILDER entry(entry_text, sizeof entry_text);
    entry.add("[Desktop Entry]\nValue=1.0\nType=Application\nName=");
    add_entry_value(&entry, text_or_empty(title));
    entry.add("\nExec=");
    entry.add(exec);
    entry.add("\nIcon=");
    add_entry_value(&entry, shown_icon);
    entry.add("\n");
    if (!commands || !menu.ok() || !entry.ok()) {
        errno = EINVAL;
        return desktop_failure("the menu entry \"%s\" holds control characters or is too long", text_or_empty(title));
    }

    char menu_file[ORLU_MAX_PATH * 2];
    int written = snprintf(menu_file, sizeof menu_file, "%s/%s.desktop", system_menu_folder, identifier);
    int menu_fd = written > 0 && static_cast<size_t>(written) < sizeof menu_file
        ? open(menu_file, O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0755)
        : -1;
    if (menu_fd < 0) {
        char user_menus[ORLU_MAX_PATH + 16];
        written = snprintf(user_menus, sizeof user_menus, "%s/%s", home_directory(), ".menu");
        if (written < 0 || static_cast<size_t>(written) >= sizeof user_menus)
            return desktop_failure("the home folder's name is too long");
        mkdir(user_menus, 0777);
        written = snprintf(menu_file, sizeof menu_file, "%s/%s.desktop", user_menus, identifier);
        if (written < 0 || static_cast<size_t>(written) >= sizeof menu_file)
            return desktop_failure("the menu entry's file name is too long");
        menu_fd = open(menu_file, O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0755);
        if (menu_fd < 0)
            return desktop_failure("%s: %s", menu_file, strerror(errno));
    }
    fchmod(menu_fd, 0755);
    size_t length = strlen(menu_text);
    bool ok = write(menu_fd, menu_text, length) == static_cast<ssize_t>(length);
    ok = close(menu_fd) == 0 && ok;
    if (!ok)
        desktop_failure("%s: %s", menu_file, strerror(errno));

    char folder[ORLU_MAX_PATH];
    if (ok && access(xdg_desktop_menu, X_OK) == 0) {
        if (!make_private_folder(folder, sizeof folder))
            return desktop_failure("no private folder for the menu tool: %s", strerror(errno));
        char entry_file[ORLU_MAX_PATH * 2];
        written = snprintf(entry_file, sizeof entry_file, "%s/orlu-%s.desktop", folder, identifier);
        if (written > 0 && static_cast<size_t>(written) < sizeof entry_file && write_text_file(entry_file, entry_text, 0644)) {
            static char levels[MOST_MENU_LEVELS][LEVEL_PATH_SIZE];
            int count = directory_files(menu_path, folder, levels, MOST_MENU_LEVELS);
            const char* argv[MOST_MENU_LEVELS + 4];
            int at = 0;
            argv[at++] = xdg_desktop_menu;
            argv[at++] = "install";
            for (int i = 0; i < count; ++i)
                argv[at++] = levels[i];
            argv[at++] = entry_file;
            argv[at] = nullptr;
            int status = run_helper(argv);
            if (status != 0)
                ok = desktop_failure("%s install ended with status %d", xdg_desktop_menu, status);
            for (int i = 0; i < count; ++i)
                unlink(levels[i]);
            unlink(entry_file);
        } else {
            ok = desktop_failure("the entry for the menu tool cannot be written: %s", strerror(errno));
        }
        rmdir(folder);
    }
    run_update_menus();
    if (ok)
        failure_text[0] = 0;
    return ok;
}

void remove_menu_entry(const char* title, const char* menu_path)
{
    char identifier[ORLU_MAX_PATH];
    menu_identifier(menu_path, title, identifier, sizeof identifier);
    char path[ORLU_MAX_PATH * 2];
    int written = snprintf(path, sizeof path, "%s/%s.desktop", system_menu_folder, identifier);
    if (written > 0 && static_cast<size_t>(written) < sizeof path)
        unlink(path);
    written = snprintf(path, sizeof path, "%s/%s/%s.desktop", home_directory(), ".menu", identifier);
    if (written > 0 && static_cast<size_t>(written) < sizeof path)
        unlink(path);

    if (access(xdg_desktop_menu, X_OK) == 0) {
        // xdg-desktop-menu goes by the files' names only, so they need not exist.
        static char levels[MOST_MENU_LEVELS][LEVEL_PATH_SIZE];
        int count = directory_files(menu_path, nullptr, levels, MOST_MENU_LEVELS);
        char entry_name[ORLU_MAX_PATH + 32];
        written = snprintf(entry_name, sizeof entry_name, "orlu-%s.desktop", identifier);
        if (written > 0 && static_cast<size_t>(written) < sizeof entry_name) {
            const char* argv[MOST_MENU_LEVELS + 4];
            int at = 0;
            argv[at++] = xdg_desktop_menu;
            argv[at++] = "uninstall";
            for (int i = 0; i < count; ++i) {
                char* base = strrchr(levels[i], '/');
                argv[at++] = base ? base + 1 : levels[i];
            }
            argv[at++] = entry_name;
            argv[at] = nullptr;
            run_helper(argv);
        }
    }
    run_update_menus();
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Browser and files
// ---------------------------------------------------------------------------------------------

const char* open_in_browser_command(const char* url, bool background)
{
    static char command[2048];
    url = text_or_empty(url);
    TEXT_BUILDER text(command, sizeof command);
    OPENER opener = choose_opener(true);
    switch (opener) {
    case OPENER_BROWSER_VARIABLE: {
        static char encoded[2048];
        encode_blanks(url, encoded, sizeof encoded);
        text.add("$BROWSER ");
        add_shell_word(&text, encoded);
        break;
    }
    case OPENER_KDE:
        text.add("kfmclient exec ");
        add_shell_word(&text, url);
        break;
    case OPENER_GNOME:
        text.add("gnome-open ");
        add_shell_word(&text, url);
        break;
    case OPENER_KONQUEROR:
        text.add("konqueror ");
        add_shell_word(&text, url);
        break;
    }
    if (background)
        text.add(" &");
    // A command cut short would open something else: it is left empty instead.
    if (!text.ok())
        command[0] = 0;
    return command;
}

bool open_in_browser(const char* url)
{
    if (!url)
        return false;
    const char* argv[MOST_OPENER_WORDS];
    opener_argv(choose_opener(true), url, argv);
    return start_detached(argv) == 0;
}

bool open_file(const char* folder, const char* name)
{
    if (!name)
        return false;
    char path[ORLU_MAX_PATH * 2];
    if (!target_path_of(folder, name, path, sizeof path))
        return false;
    const char* argv[MOST_OPENER_WORDS];
    opener_argv(choose_opener(false), path, argv);
    return start_detached(argv) == 0;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Speech
// ---------------------------------------------------------------------------------------------

namespace {

// The synthesisers this program started. Only these are ever looked at or stopped: another
// program's speech is none of our business. Each stays our child until it is reaped here.
constexpr int MOST_SPEAKERS = 8;
pid_t speakers[MOST_SPEAKERS] = {};

// Forgets the speakers that have ended; answers how many are still running.
int reap_speakers()
{
    int running = 0;
    for (pid_t& pid : speakers) {
        if (!pid)
            continue;
        int status = 0;
        pid_t answer = waitpid(pid, &status, WNOHANG);
        if (answer == pid || (answer < 0 && errno == ECHILD))
            pid = 0;
        else
            ++running;
    }
    return running;
}

// Writes to a pipe whose reader may be gone without letting SIGPIPE through: the frame takes
// that signal for a request to end the run, and a synthesiser that is missing or died is no
// reason for that. The signal is held back for the write and, when the write raised it, taken
// off again; the frame's own handling stays as it was.
bool write_without_sigpipe(int fd, const char* bytes, size_t length)
{
    sigset_t pipe_only, old_mask, pending;
    sigemptyset(&pipe_only);
    sigaddset(&pipe_only, SIGPIPE);
    sigprocmask(SIG_BLOCK, &pipe_only, &old_mask);
    sigemptyset(&pending);
    sigpending(&pending);
    bool was_pending = sigismember(&pending, SIGPIPE) == 1;
    bool ok = write(fd, bytes, length) == static_cast<ssize_t>(length);
    if (!ok && errno == EPIPE && !was_pending) {
        struct timespec no_wait = { 0, 0 };
        while (sigtimedwait(&pipe_only, nullptr, &no_wait) < 0 && errno == EINTR) {
        }
    }
    sigprocmask(SIG_SETMASK, &old_mask, nullptr);
    return ok;
}

} // namespace

bool say(const char* text)
{
    if (!text)
        return false;
    // Commas make the voice pause: punctuation is turned into them first.
    static char spoken[4096];
    snprintf(spoken, sizeof spoken, "%s", text);
    for (char* c = spoken; *c; ++c) {
        if (*c == ',')
            *c = ' ';
    }
    for (char* c = spoken; *c; ++c) {
        if (*c == '.' || *c == '!' || *c == ';')
            *c = ',';
    }
    reap_speakers();
    pid_t* slot = nullptr;
    for (pid_t& pid : speakers) {
        if (!pid && !slot)
            slot = &pid;
    }
    if (!slot)
        return false;
    int pipe_fds[2];
    if (pipe(pipe_fds) != 0)
        return false;
    fflush(stdout);
    pid_t pid = fork();
    if (pid < 0) {
        close(pipe_fds[0]);
        close(pipe_fds[1]);
        return false;
    }
    if (pid == 0) {
        close(pipe_fds[1]);
        dup2(pipe_fds[0], STDIN_FILENO);
        close(pipe_fds[0]);
        int null_fd = open("/dev/null", O_WRONLY);
        if (null_fd >= 0) {
            dup2(null_fd, STDOUT_FILENO);
            dup2(null_fd, STDERR_FILENO);
        }
        execlp("festival", "festival", "--tts", static_cast<char*>(nullptr));
        _exit(127);
    }
    *slot = pid;
    close(pipe_fds[0]);
    // A missing synthesiser shows as a closed pipe; the text is lost, which is all speech risks.
    bool ok = write_without_sigpipe(pipe_fds[1], spoken, strlen(spoken));
    close(pipe_fds[1]);
    return ok;
}

bool speech_is_running()
{
    return reap_speakers() > 0;
}

void stop_speech()
{
    for (pid_t& pid : speakers) {
        if (!pid)
            continue;
        kill(pid, SIGKILL);
        int status = 0;
        while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
        }
        pid = 0;
    }
}
