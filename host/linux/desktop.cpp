// Desktop shortcuts, menu entries, browser and file opening, and speech on a Linux desktop.
//
// [SECTION] Names and paths
// [SECTION] Desktop shortcuts
// [SECTION] Menu entries
// [SECTION] Browser and files
// [SECTION] Speech

#include "host/desktop.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <strings.h>

#include "host/linux/host_internal.h"
#include "host/system_info.h"

// ---------------------------------------------------------------------------------------------
// [SECTION] Names and paths
// ---------------------------------------------------------------------------------------------

namespace {

char system_menu_folder[ORLU_MAX_PATH] = "/usr/lib/menu";
char xdg_desktop_menu[ORLU_MAX_PATH] = "/usr/bin/xdg-desktop-menu";
char update_menus[ORLU_MAX_PATH] = "/usr/bin/update-menus";

const char* text_or_empty(const char* text) { return text ? text : ""; }

bool file_opens(const char* path) { return access(path, R_OK) == 0; }

// folder + "/" (unless it ends in one) + name.
void join_path(const char* folder, const char* name, char* out, size_t size)
{
    size_t length = strlen(folder);
    const char* separator = length > 0 && folder[length - 1] == '/' ? "" : "/";
    snprintf(out, size, "%s%s%s", folder, separator, name);
}

void replace_non_alphanumeric(char* text)
{
    for (; *text; ++text) {
        if (!isalnum(static_cast<unsigned char>(*text)))
            *text = '_';
    }
}

// Starts a program by argument vector. With `wait` it answers the exit status (127 when it could
// not start); without, the program runs on by itself and the answer is 0 once it was started.
int start_program(const char* const* argv, bool wait)
{
    if (wait)
        return host_run_program(argv, true);
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
    snprintf(out, size, "%s/orlu-menu-XXXXXX", base && base[0] == '/' ? base : "/tmp");
    return mkdtemp(out) != nullptr;
}

// Writes a whole text file, created with the given mode. False on any failure.
bool write_text_file(const char* path, const char* text, mode_t mode)
{
    int fd = open(path, O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, mode);
    if (fd < 0)
        return false;
    size_t length = strlen(text);
    bool ok = write(fd, text, length) == static_cast<ssize_t>(length);
    fchmod(fd, mode);
    close(fd);
    return ok;
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

void desktop_file_name(const char* title, char* out, size_t size)
{
    snprintf(out, size, "%s", text_or_empty(title));
    replace_non_alphanumeric(out);
}

void menu_identifier(const char* menu_path, const char* title, char* out, size_t size)
{
    snprintf(out, size, "local.%s_%s", text_or_empty(menu_path), text_or_empty(title));
    if (strlen(out) > 6)
        replace_non_alphanumeric(out + 6);
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Desktop shortcuts
// ---------------------------------------------------------------------------------------------

bool add_desktop_shortcut(INT_U8 kind, const char* target, const char* arguments, const char* title,
    const char* target_folder, const char* icon_file, const char* icon_folder)
{
    char file_name[1024];
    desktop_file_name(title, file_name, sizeof file_name);
    char path[ORLU_MAX_PATH * 2];
    snprintf(path, sizeof path, "%s/%s/%s.desktop", home_directory(), "Desktop", file_name);

    char exec[ORLU_MAX_PATH * 2];
    if (target_folder && target_folder[0]) {
        char joined[ORLU_MAX_PATH * 2];
        join_path(target_folder, text_or_empty(target), joined, sizeof joined);
        snprintf(exec, sizeof exec, "\"%s\" %s", joined, text_or_empty(arguments));
    } else {
        snprintf(exec, sizeof exec, "\"%s\" %s", text_or_empty(target), text_or_empty(arguments));
    }
    char icon[ORLU_MAX_PATH * 2] = "";
    if (icon_file && icon_file[0] && icon_folder && icon_folder[0])
        join_path(icon_folder, icon_file, icon, sizeof icon);

    static char entry[ORLU_MAX_PATH * 8];
    switch (kind) {
    case SHORTCUT_PROGRAM:
        snprintf(entry, sizeof entry,
            "[Desktop Entry]\nEncoding=UTF-8\nValue=1.0\nType=Application\nName=%s\nComment=%s\nExec=%s\nIcon=%s\n",
            text_or_empty(title), text_or_empty(title), exec, icon);
        break;
    case SHORTCUT_WEB_PAGE:
        snprintf(entry, sizeof entry,
            "[Desktop Entry]\nEncoding=UTF-8\nValue=1.0\nType=Link\nName=%s\nIcon=%s\nURL=%s\n",
            text_or_empty(title), icon[0] ? icon : "www", text_or_empty(target));
        break;
    case SHORTCUT_FILE:
        snprintf(entry, sizeof entry,
            "[Desktop Entry]\nEncoding=UTF-8\nValue=1.0\nType=Link\nName=%s\nIcon=%s\nURL=%s\n",
            text_or_empty(title), icon[0] ? icon : "ascii", exec);
        break;
    default:
        entry[0] = 0;
        break;
    }
    return write_text_file(path, entry, 0755);
}

bool remove_desktop_shortcut(const char* title)
{
    char file_name[1024];
    desktop_file_name(title, file_name, sizeof file_name);
    char path[ORLU_MAX_PATH * 2];
    snprintf(path, sizeof path, "%s/%s/%s.desktop", home_directory(), "Desktop", file_name);
    return unlink(path) == 0;
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
            snprintf(safe, sizeof safe, "%s", name);
            replace_non_alphanumeric(safe);
            snprintf(cumulative + used, sizeof cumulative - used, "%s%s", used ? "-" : "", safe);
            snprintf(paths[count], LEVEL_PATH_SIZE, "%s/orlu-%s.directory", folder ? folder : "", cumulative);
            if (folder) {
                char text[512];
                snprintf(text, sizeof text, "[Desktop Entry]\nValue=1.0\nType=Directory\nName=%s\nIcon=folder\n", name);
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
    start_program(argv, true);
}

} // namespace

bool add_menu_entry(INT_U8 kind, const char* target, const char* arguments, const char* title,
    const char* menu_path, const char* target_folder, const char* icon_file, const char* icon_folder)
{
    char identifier[ORLU_MAX_PATH];
    menu_identifier(menu_path, title, identifier, sizeof identifier);

    char menu_file[ORLU_MAX_PATH * 2];
    snprintf(menu_file, sizeof menu_file, "%s/%s.desktop", system_menu_folder, identifier);
    int menu_fd = open(menu_file, O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0755);
    if (menu_fd < 0) {
        char user_menus[ORLU_MAX_PATH + 16];
        snprintf(user_menus, sizeof user_menus, "%s/%s", home_directory(), ".menu");
        mkdir(user_menus, 0777);
        snprintf(menu_file, sizeof menu_file, "%s/%s.desktop", user_menus, identifier);
        menu_fd = open(menu_file, O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0755);
        if (menu_fd < 0)
            return false;
    }
    fchmod(menu_fd, 0755);

    char target_path[ORLU_MAX_PATH * 2];
    if (target_folder && target_folder[0])
        join_path(target_folder, text_or_empty(target), target_path, sizeof target_path);
    else
        snprintf(target_path, sizeof target_path, "%s", text_or_empty(target));
    char icon[ORLU_MAX_PATH * 2] = "";
    if (icon_file && icon_file[0] && icon_folder && icon_folder[0])
        join_path(icon_folder, icon_file, icon, sizeof icon);

    static char menu_text[ORLU_MAX_PATH * 8];
    static char entry_text[ORLU_MAX_PATH * 8];
    char command[ORLU_MAX_PATH * 3];
    const char* section = text_or_empty(menu_path);
    const char* name = text_or_empty(title);
    if (kind == SHORTCUT_PROGRAM) {
        snprintf(menu_text, sizeof menu_text,
            "?package(%s): command=\"'%s' %s\" icon=\"%s\" section=\"%s\" title=\"%s\" needs=\"x11\" startup_notify=\"true\"\n",
            identifier, target_path, text_or_empty(arguments), icon[0] ? icon : "exec", section, name);
        snprintf(entry_text, sizeof entry_text, "[Desktop Entry]\nValue=1.0\nType=Application\nName=%s\nExec=\"%s\" %s\nIcon=%s\n",
            name, target_path, text_or_empty(arguments), icon[0] ? icon : "exec");
    } else {
        if (kind == SHORTCUT_FILE) {
            const char* desktop = getenv("DESKTOP");
            if (!desktop)
                desktop = getenv("DESKTOP_SESSION");
            const char* form = "konqueror '%s' &";
            if (desktop && strcasestr(desktop, "kde"))
                form = "kfmclient exec '%s' &";
            else if (desktop && strcasestr(desktop, "gnome"))
                form = "gnome-open '%s' &";
            else if (file_opens("/usr/bin/kfmclient"))
                form = "kfmclient exec '%s' &";
            else if (file_opens("/usr/bin/gnome-open"))
                form = "gnome-open '%s' &";
            snprintf(command, sizeof command, form, target_path);
        } else {
            snprintf(command, sizeof command, "%s", open_in_browser_command(target_path, false));
        }
        const char* fallback_icon = kind == SHORTCUT_FILE ? "ascii" : "www";
        snprintf(menu_text, sizeof menu_text,
            "?package(%s): command=\"%s\" icon=\"%s\" section=\"%s\" title=\"%s\" needs=\"x11\" startup_notify=\"true\"\n",
            identifier, command, icon[0] ? icon : fallback_icon, section, name);
        snprintf(entry_text, sizeof entry_text, "[Desktop Entry]\nValue=1.0\nType=Application\nName=%s\nExec=%s\nIcon=%s\n",
            name, command, icon[0] ? icon : fallback_icon);
    }
    size_t length = strlen(menu_text);
    bool written = write(menu_fd, menu_text, length) == static_cast<ssize_t>(length);
    close(menu_fd);

    char folder[ORLU_MAX_PATH];
    if (access(xdg_desktop_menu, X_OK) == 0 && make_private_folder(folder, sizeof folder)) {
        char entry_file[ORLU_MAX_PATH * 2];
        snprintf(entry_file, sizeof entry_file, "%s/orlu-%s.desktop", folder, identifier);
        if (write_text_file(entry_file, entry_text, 0644)) {
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
            start_program(argv, true);
            for (int i = 0; i < count; ++i)
                unlink(levels[i]);
        }
        unlink(entry_file);
        rmdir(folder);
    }
    run_update_menus();
    return written;
}

void remove_menu_entry(const char* title, const char* menu_path)
{
    char identifier[ORLU_MAX_PATH];
    menu_identifier(menu_path, title, identifier, sizeof identifier);
    char path[ORLU_MAX_PATH * 2];
    snprintf(path, sizeof path, "%s/%s.desktop", system_menu_folder, identifier);
    unlink(path);
    snprintf(path, sizeof path, "%s/%s/%s.desktop", home_directory(), ".menu", identifier);
    unlink(path);

    if (access(xdg_desktop_menu, X_OK) == 0) {
        // xdg-desktop-menu goes by the files' names only, so they need not exist.
        static char levels[MOST_MENU_LEVELS][LEVEL_PATH_SIZE];
        char folder[] = "/tmp";
        int count = directory_files(menu_path, nullptr, levels, MOST_MENU_LEVELS);
        char entry_file[ORLU_MAX_PATH * 2];
        snprintf(entry_file, sizeof entry_file, "%s/orlu-%s.desktop", folder, identifier);
        const char* argv[MOST_MENU_LEVELS + 4];
        int at = 0;
        argv[at++] = xdg_desktop_menu;
        argv[at++] = "uninstall";
        for (int i = 0; i < count; ++i) {
            char* base = strrchr(levels[i], '/');
            argv[at++] = base ? base + 1 : levels[i];
        }
        argv[at++] = entry_file + strlen(folder) + 1;
        argv[at] = nullptr;
        start_program(argv, true);
    }
    run_update_menus();
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Browser and files
// ---------------------------------------------------------------------------------------------

namespace {

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

// Starts the opener on a target by argument vector. BROWSER may hold a program with its own
// options; it is split at blanks, as a shell would for an unquoted value.
bool start_opener(OPENER opener, const char* target)
{
    const char* argv[40];
    int at = 0;
    static char browser_words[ORLU_MAX_PATH];
    static char encoded[ORLU_MAX_PATH * 3];
    switch (opener) {
    case OPENER_BROWSER_VARIABLE: {
        snprintf(browser_words, sizeof browser_words, "%s", getenv("BROWSER"));
        for (char* word = strtok(browser_words, " \t"); word && at < 36; word = strtok(nullptr, " \t"))
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
    return start_program(argv, false) == 0;
}

} // namespace

const char* open_in_browser_command(const char* url, bool background)
{
    static char command[2048];
    url = text_or_empty(url);
    switch (choose_opener(true)) {
    case OPENER_BROWSER_VARIABLE: {
        char encoded[2048];
        encode_blanks(url, encoded, sizeof encoded);
        snprintf(command, sizeof command, "$BROWSER '%s'", encoded);
        break;
    }
    case OPENER_KDE: snprintf(command, sizeof command, "kfmclient exec '%s'", url); break;
    case OPENER_GNOME: snprintf(command, sizeof command, "gnome-open '%s'", url); break;
    case OPENER_KONQUEROR: snprintf(command, sizeof command, "konqueror '%s'", url); break;
    }
    if (background) {
        size_t length = strlen(command);
        snprintf(command + length, sizeof command - length, " &");
    }
    return command;
}

bool open_in_browser(const char* url)
{
    if (!url)
        return false;
    return start_opener(choose_opener(true), url);
}

bool open_file(const char* folder, const char* name)
{
    if (!name)
        return false;
    char path[ORLU_MAX_PATH * 2];
    if (folder && folder[0])
        join_path(folder, name, path, sizeof path);
    else
        snprintf(path, sizeof path, "%s", name);
    return start_opener(choose_opener(false), path);
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Speech
// ---------------------------------------------------------------------------------------------

namespace {

// Process ids of running speech synthesisers, found through /proc.
int find_speech_processes(pid_t* out, int most)
{
    DIR* proc = opendir("/proc");
    if (!proc)
        return 0;
    int count = 0;
    while (struct dirent* entry = readdir(proc)) {
        char* end = nullptr;
        long pid = strtol(entry->d_name, &end, 10);
        if (!end || *end || pid <= 0)
            continue;
        char path[64], name[64] = "";
        snprintf(path, sizeof path, "/proc/%ld/comm", pid);
        FILE* file = fopen(path, "r");
        if (!file)
            continue;
        if (fgets(name, sizeof name, file) && strncmp(name, "festival", 8) == 0 && count < most)
            out[count++] = static_cast<pid_t>(pid);
        fclose(file);
    }
    closedir(proc);
    return count;
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
        if (fork() != 0)
            _exit(0);
        dup2(pipe_fds[0], STDIN_FILENO);
        int null_fd = open("/dev/null", O_WRONLY);
        if (null_fd >= 0) {
            dup2(null_fd, STDOUT_FILENO);
            dup2(null_fd, STDERR_FILENO);
        }
        execlp("festival", "festival", "--tts", static_cast<char*>(nullptr));
        _exit(127);
    }
    close(pipe_fds[0]);
    int status = 0;
    waitpid(pid, &status, 0);
    // A missing synthesiser shows as a closed pipe; the text is lost, which is all speech risks.
    signal(SIGPIPE, SIG_IGN);
    size_t length = strlen(spoken);
    bool ok = write(pipe_fds[1], spoken, length) == static_cast<ssize_t>(length);
    close(pipe_fds[1]);
    return ok;
}

bool speech_is_running()
{
    pid_t pids[1];
    return find_speech_processes(pids, 1) > 0;
}

void stop_speech()
{
    pid_t pids[64];
    int count = find_speech_processes(pids, 64);
    for (int i = 0; i < count; ++i)
        kill(pids[i], SIGKILL);
}
