// Helpers shared by the benchmarks: running programs without a shell and measuring them, and
// installer configurations for whole trees of files.
#pragma once

#include <fcntl.h>
#include <ftw.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "installer/engine/database.h"

namespace bench {

struct RUN {
    bool ok { false };  // exit status 0
    int status { -1 };  // the exit status, -1 when the program did not end by itself
    double seconds { 0 };
    long peak_kib { 0 }; // the child's peak resident memory
};

// Runs a program (no shell) and measures it. Standard output goes to `output` (/dev/null when
// empty); `folder` is the working folder; `environment` entries are "NAME=value".
inline RUN run(const std::vector<std::string>& words, const std::string& output = "", const std::string& folder = "",
    const std::vector<std::string>& environment = {})
{
    std::vector<char*> argv;
    for (const std::string& word : words)
        argv.push_back(const_cast<char*>(word.c_str()));
    argv.push_back(nullptr);
    fflush(stdout);
    auto start = std::chrono::steady_clock::now();
    pid_t pid = fork();
    if (pid < 0)
        return RUN();
    if (pid == 0) {
        if (!folder.empty() && chdir(folder.c_str()) != 0)
            _exit(126);
        int out = open(output.empty() ? "/dev/null" : output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        if (out < 0)
            _exit(126);
        dup2(out, STDOUT_FILENO);
        for (const std::string& entry : environment)
            putenv(strdup(entry.c_str()));
        execvp(argv[0], argv.data());
        _exit(127);
    }
    int status = 0;
    struct rusage usage {};
    wait4(pid, &status, 0, &usage);
    RUN result;
    result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    result.ok = result.status == 0;
    result.peak_kib = usage.ru_maxrss;
    return result;
}

inline double median(std::vector<double> values)
{
    if (values.empty())
        return 0;
    std::sort(values.begin(), values.end());
    size_t middle = values.size() / 2;
    return values.size() % 2 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

// The median time of `repetitions` runs of `run`, each after an untimed `prepare`.
inline double median_seconds(int repetitions, const std::function<void()>& prepare, const std::function<void()>& run)
{
    std::vector<double> times;
    for (int i = 0; i < repetitions; ++i) {
        prepare();
        auto start = std::chrono::steady_clock::now();
        run();
        times.push_back(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
    return median(times);
}

inline long long size_of(const std::string& path)
{
    struct stat info;
    return stat(path.c_str(), &info) == 0 ? static_cast<long long>(info.st_size) : -1;
}

inline bool same_bytes(const std::string& a, const std::string& b)
{
    FILE* left = fopen(a.c_str(), "rb");
    FILE* right = fopen(b.c_str(), "rb");
    bool same = left && right;
    std::vector<char> x(1 << 16), y(1 << 16);
    while (same) {
        size_t got_left = fread(x.data(), 1, x.size(), left);
        size_t got_right = fread(y.data(), 1, y.size(), right);
        same = got_left == got_right && memcmp(x.data(), y.data(), got_left) == 0;
        if (got_left == 0)
            break;
    }
    if (left)
        fclose(left);
    if (right)
        fclose(right);
    return same;
}

// Bytes and files of a tree, regular files only.
struct TREE_SIZE {
    long long bytes { 0 };
    long long files { 0 };
};

inline std::string xml_text(const std::string& text)
{
    std::string out;
    for (char c : text) {
        switch (c) {
        case '&': out += "&amp;"; break;
        case '<': out += "&lt;"; break;
        case '>': out += "&gt;"; break;
        case '"': out += "&quot;"; break;
        default: out += c;
        }
    }
    return out;
}

namespace detail {
inline std::vector<std::string>* walked = nullptr;
inline TREE_SIZE* walked_size = nullptr;
inline int collect(const char* path, const struct stat* info, int kind, struct FTW*)
{
    if (kind == FTW_F && S_ISREG(info->st_mode) && access(path, R_OK) == 0) {
        walked->push_back(path);
        walked_size->bytes += info->st_size;
        ++walked_size->files;
    }
    return 0;
}
} // namespace detail

// The regular, readable files under `root`, sorted, without following links.
inline std::vector<std::string> files_under(const std::string& root, TREE_SIZE* size)
{
    std::vector<std::string> files;
    detail::walked = &files;
    detail::walked_size = size;
    nftw(root.c_str(), detail::collect, 32, FTW_PHYS);
    std::sort(files.begin(), files.end());
    return files;
}

// <FILE> elements for every file under each of `roots`: the source by its absolute path (or
// relative to `base`, the configuration's folder, when given), the destination
// "$HERE/<last name of the root>/<path inside it>".
inline std::string file_elements(const std::vector<std::string>& roots, TREE_SIZE* size, const std::string& base = "")
{
    std::string xml;
    for (const std::string& root : roots) {
        std::string top = root.substr(root.find_last_of('/') + 1);
        for (const std::string& path : files_under(root, size)) {
            size_t slash = path.find_last_of('/');
            std::string folder = path.substr(0, slash);
            std::string inside = folder.size() > root.size() ? folder.substr(root.size()) : "";
            if (!base.empty() && folder.compare(0, base.size() + 1, base + "/") == 0)
                folder = folder.substr(base.size() + 1);
            xml += "\t\t<FILE src_name=\"" + xml_text(path.substr(slash + 1)) + "\" src_path_from_xml=\""
                + xml_text(folder) + "\" dest_path_from_inst_loc=\"$HERE/" + xml_text(top + inside) + "\"/>\n";
        }
    }
    return xml;
}

// The wizard's texts of a language, each its own name, so that the packer has nothing to warn
// about (the benchmarks measure, they do not show a wizard).
inline std::string wizard_texts()
{
    std::string xml;
    for (INT_S32 key = 0; key < LANGUAGE_KEY_COUNT; ++key) {
        if (key == static_cast<INT_S32>(LANGUAGE_KEY::LANGUAGE_TITLE) || key == static_cast<INT_S32>(LANGUAGE_KEY::PACK_DATA_TITLE)
            || key == static_cast<INT_S32>(LANGUAGE_KEY::PACK_LOG_TITLE))
            continue;
        std::string name = language_key_name(key);
        xml += "\t\t<" + name + " string=\"" + name + "\"/>\n";
    }
    return xml;
}

// A whole configuration: one install type "main" holding `files`, a log in the install folder,
// one language, and `extra` inside <INSTALLER>.
inline std::string installer_xml(const std::string& files, const std::string& cache = "1048576",
    const std::string& extra = "")
{
    return "<INSTALLER default_language_name=\"en\" file_cache_sz=\"" + cache
        + "\">\n"
          "\t<APPLICATION version=\"1\" build_number=\"1\" app_string=\"bench\"/>\n"
          "\t<LOG dest_path_from_inst_loc=\"$HERE\" system_dest_path_from_inst_loc=\"\"/>\n"
        + extra + "\t<INSTALLATION name=\"main\" allow_system_paths=\"no\" default_path=\"$ROOT0/bench\">\n" + files
        + "\t</INSTALLATION>\n\t<LANGUAGE name=\"en\">\n\t\t<LANGUAGE_TITLE string=\"English\"/>\n" + wizard_texts()
        + "\t</LANGUAGE>\n"
          "</INSTALLER>\n";
}

// A whole file, or "" when it cannot be read.
inline std::string read_text(const std::string& path)
{
    std::string text;
    FILE* in = fopen(path.c_str(), "rb");
    if (!in)
        return text;
    char buffer[65536];
    for (size_t got; (got = fread(buffer, 1, sizeof buffer, in)) > 0;)
        text.append(buffer, got);
    fclose(in);
    return text;
}

inline bool write_text(const std::string& path, const std::string& text)
{
    FILE* out = fopen(path.c_str(), "w");
    if (!out)
        return false;
    bool ok = fwrite(text.data(), 1, text.size(), out) == text.size();
    return fclose(out) == 0 && ok;
}

// The real trees of this machine that the benchmarks use when they exist: the C headers and the
// message catalogues, some 300 MB in over 10,000 files.
inline std::vector<std::string> real_trees()
{
    std::vector<std::string> roots;
    for (const char* root : { "/usr/include", "/usr/share/locale" }) {
        struct stat info;
        if (stat(root, &info) == 0 && S_ISDIR(info.st_mode))
            roots.push_back(root);
    }
    return roots;
}

// Runs a program as run() does, and meanwhile looks at the bytes under `watched` every 20 ms:
// the largest sum seen goes to `peak` (a program's temporary space, say).
inline RUN run_watching(const std::vector<std::string>& words, const std::string& output,
    const std::vector<std::string>& environment, const std::string& watched, long long* peak)
{
    std::vector<char*> argv;
    for (const std::string& word : words)
        argv.push_back(const_cast<char*>(word.c_str()));
    argv.push_back(nullptr);
    fflush(stdout);
    auto start = std::chrono::steady_clock::now();
    pid_t pid = fork();
    if (pid < 0)
        return RUN();
    if (pid == 0) {
        int out = open(output.empty() ? "/dev/null" : output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        if (out < 0)
            _exit(126);
        dup2(out, STDOUT_FILENO);
        for (const std::string& entry : environment)
            putenv(strdup(entry.c_str()));
        execvp(argv[0], argv.data());
        _exit(127);
    }
    *peak = 0;
    int status = 0;
    struct rusage usage {};
    for (;;) {
        if (wait4(pid, &status, WNOHANG, &usage) == pid)
            break;
        TREE_SIZE size;
        files_under(watched, &size);
        *peak = std::max(*peak, size.bytes);
        usleep(20000);
    }
    RUN result;
    result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    result.ok = result.status == 0;
    result.peak_kib = usage.ru_maxrss;
    return result;
}

// Reads every file once, so that each side of a comparison finds them in the page cache.
inline void warm(const std::vector<std::string>& roots)
{
    std::vector<char> buffer(1 << 20);
    for (const std::string& root : roots) {
        TREE_SIZE size;
        for (const std::string& path : files_under(root, &size)) {
            int file = open(path.c_str(), O_RDONLY);
            if (file < 0)
                continue;
            while (read(file, buffer.data(), buffer.size()) > 0) {
            }
            close(file);
        }
    }
}

} // namespace bench
