// Fuzz target for the desktop entries written from a data set's texts. The first byte chooses the
// kind; the rest is the title, the target, the arguments and the target's folder, separated by
// zero bytes. Whatever they hold, a written entry has exactly the keys of its kind, one to a line,
// and no control character but the line ends: nothing in a text may add a key.
#include "host/desktop.h"
#include "host/system_info.h"

#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

std::string home;

// Each entry is deleted after its input, so the two folders are empty at the end.
void remove_home()
{
    rmdir((home + "/Desktop").c_str());
    rmdir(home.c_str());
}

void prepare()
{
    if (!home.empty())
        return;
    char folder[] = "/tmp/orlu-fuzz-desktop-XXXXXX";
    if (!mkdtemp(folder))
        abort();
    home = folder;
    std::string desktop = home + "/Desktop";
    if (mkdir(desktop.c_str(), 0755) != 0)
        abort();
    atexit(remove_home);
    set_home_directory(home.c_str());
    setenv("XDG_CONFIG_HOME", (home + "/.config").c_str(), 1);
    unsetenv("XDG_DESKTOP_DIR");
}

std::string read_all(const std::string& path)
{
    std::string text;
    FILE* file = fopen(path.c_str(), "rb");
    if (!file)
        return text;
    char buffer[4096];
    for (size_t got; (got = fread(buffer, 1, sizeof buffer, file)) > 0;)
        text.append(buffer, got);
    fclose(file);
    return text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1 || size > 8192)
        return 0;
    prepare();
    INT_U8 kind = data[0] % 5;
    std::vector<std::string> fields;
    std::string field;
    for (size_t i = 1; i < size; ++i) {
        if (data[i] == 0) {
            fields.push_back(field);
            field.clear();
        } else {
            field += static_cast<char>(data[i]);
        }
    }
    fields.push_back(field);
    fields.resize(4);
    const std::string& title = fields[0];
    char name[2048];
    desktop_file_name(title.c_str(), name, sizeof name);
    std::string path = home + "/Desktop/" + name + ".desktop";
    unlink(path.c_str());

    bool made = add_desktop_shortcut(kind, fields[1].c_str(), fields[2].c_str(), title.c_str(),
        fields[3].empty() ? nullptr : fields[3].c_str(), "icon.png", "/icons");
    std::string entry = read_all(path);
    unlink(path.c_str());
    if (!made) {
        // Refused: nothing was written.
        if (!entry.empty())
            abort();
        return 0;
    }
    if (kind < 1 || kind > 3)
        abort();
    static const char* const program_keys[] = { "[Desktop Entry]", "Encoding=", "Value=", "Type=", "Name=", "Comment=",
        "Exec=", "Icon=" };
    static const char* const link_keys[] = { "[Desktop Entry]", "Encoding=", "Value=", "Type=", "Name=", "Icon=", "URL=" };
    const char* const* keys = kind == 1 ? program_keys : link_keys;
    size_t key_count = kind == 1 ? 8 : 7;
    size_t line = 0, start = 0;
    while (start < entry.size()) {
        size_t end = entry.find('\n', start);
        if (end == std::string::npos || line >= key_count)
            abort();
        std::string text = entry.substr(start, end - start);
        if (text.compare(0, strlen(keys[line]), keys[line]) != 0)
            abort();
        for (char c : text) {
            unsigned char byte = static_cast<unsigned char>(c);
            if (byte < 0x20 || byte == 0x7F)
                abort();
        }
        ++line;
        start = end + 1;
    }
    if (line != key_count)
        abort();
    return 0;
}
