#include "test_support.h"

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <zlib.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <sstream>

namespace {

void remove_tree(const std::string& path)
{
    // Tests own their temporary folders; nothing outside them is touched.
    std::string command_path = path;
    pid_t pid = fork();
    if (pid == 0) {
        execlp("rm", "rm", "-rf", "--", command_path.c_str(), static_cast<char*>(nullptr));
        _exit(127);
    }
    int status = 0;
    if (pid > 0)
        waitpid(pid, &status, 0);
}

} // namespace

namespace {

RUN_RESULT collect(pid_t pid, int out_fd, int err_fd)
{
    RUN_RESULT result;
    struct pollfd fds[2] = { { out_fd, POLLIN, 0 }, { err_fd, POLLIN, 0 } };
    int open_count = 2;
    char chunk[65536];
    while (open_count > 0) {
        if (poll(fds, 2, -1) < 0) {
            if (errno == EINTR)
                continue;
            break;
        }
        for (int i = 0; i < 2; ++i) {
            if (fds[i].fd < 0 || !(fds[i].revents & (POLLIN | POLLHUP | POLLERR)))
                continue;
            ssize_t got = read(fds[i].fd, chunk, sizeof chunk);
            if (got <= 0) {
                close(fds[i].fd);
                fds[i].fd = -1;
                --open_count;
                continue;
            }
            (i == 0 ? result.output : result.errors).append(chunk, static_cast<size_t>(got));
        }
    }
    int status = 0;
    waitpid(pid, &status, 0);
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return result;
}

} // namespace

TEMP_FOLDER::TEMP_FOLDER()
{
    const char* base = getenv("TMPDIR");
    std::string pattern = std::string(base && base[0] ? base : "/tmp") + "/orlu-test-XXXXXX";
    std::vector<char> buffer(pattern.begin(), pattern.end());
    buffer.push_back(0);
    if (mkdtemp(buffer.data()))
        m_path = buffer.data();
}

TEMP_FOLDER::~TEMP_FOLDER()
{
    if (!m_path.empty())
        remove_tree(m_path);
}

SCOPED_ENVIRONMENT::~SCOPED_ENVIRONMENT()
{
    for (auto saved = m_saved.rbegin(); saved != m_saved.rend(); ++saved) {
        if (saved->second.first)
            setenv(saved->first.c_str(), saved->second.second.c_str(), 1);
        else
            unsetenv(saved->first.c_str());
    }
}

void SCOPED_ENVIRONMENT::set(const char* name, const char* value)
{
    const char* old = getenv(name);
    m_saved.push_back({ name, { old != nullptr, old ? old : "" } });
    if (value)
        setenv(name, value, 1);
    else
        unsetenv(name);
}

namespace {

// Forks a child with standard input from /dev/null, both outputs into pipes and the extra
// environment entries; the child runs `body` and exits with 0 if it returns. Answers the child's
// pid (-1 when there is none) and the reading ends of its outputs.
pid_t start_child(const std::function<void()>& body, const std::vector<std::string>& environment, int* out_fd,
    int* err_fd)
{
    int out_pipe[2], err_pipe[2];
    if (pipe(out_pipe) != 0 || pipe(err_pipe) != 0)
        return -1;
    fflush(stdout);
    fflush(stderr);
    pid_t pid = fork();
    if (pid == 0) {
        int null_fd = open("/dev/null", O_RDONLY);
        dup2(null_fd, STDIN_FILENO);
        dup2(out_pipe[1], STDOUT_FILENO);
        dup2(err_pipe[1], STDERR_FILENO);
        close(out_pipe[0]);
        close(err_pipe[0]);
        for (const std::string& entry : environment)
            putenv(strdup(entry.c_str()));
        body();
        fflush(stdout);
        _exit(0);
    }
    close(out_pipe[1]);
    close(err_pipe[1]);
    *out_fd = out_pipe[0];
    *err_fd = err_pipe[0];
    return pid;
}

// A body that replaces the child with the program; the argument vector is made before the fork.
std::function<void()> exec_body(const std::string& program, const std::vector<std::string>& arguments,
    const std::string& working_folder = "")
{
    std::shared_ptr<std::vector<std::string>> words = std::make_shared<std::vector<std::string>>(arguments);
    words->insert(words->begin(), program);
    std::shared_ptr<std::vector<char*>> argv = std::make_shared<std::vector<char*>>();
    for (std::string& word : *words)
        argv->push_back(&word[0]);
    argv->push_back(nullptr);
    return [words, argv, working_folder] {
        if (!working_folder.empty() && chdir(working_folder.c_str()) != 0)
            _exit(126);
        execv((*argv)[0], argv->data());
        _exit(127);
    };
}

} // namespace

RUN_RESULT run_program(const std::string& program, const std::vector<std::string>& arguments,
    const std::vector<std::string>& environment, const std::string& working_folder)
{
    return run_in_child(exec_body(program, arguments, working_folder), environment);
}

RUN_RESULT run_in_child(const std::function<void()>& body, const std::vector<std::string>& environment)
{
    int out_fd = -1, err_fd = -1;
    pid_t pid = start_child(body, environment, &out_fd, &err_fd);
    return pid < 0 ? RUN_RESULT() : collect(pid, out_fd, err_fd);
}

std::string make_recording_program(const TEMP_FOLDER& folder, const std::string& name,
    const std::string& record_file, int status)
{
    std::string bin = folder.file("bin");
    mkdir(bin.c_str(), 0755);
    std::string script = "#!/bin/sh\nfor a in \"$@\"; do printf '%s\\n' \"$a\" >> '" + record_file
        + "'; done\nexit " + std::to_string(status) + "\n";
    write_file(bin + "/" + name, script);
    chmod((bin + "/" + name).c_str(), 0755);
    return bin;
}

std::string installer_path() { return std::string(ORLU_BUILD_DIR) + "/installer"; }
std::string packer_path() { return std::string(ORLU_BUILD_DIR) + "/packer"; }

std::string read_file(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

bool write_file(const std::string& path, const std::string& bytes)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << bytes;
    return static_cast<bool>(out);
}

RUNNING_PROGRAM::RUNNING_PROGRAM(const std::string& program, const std::vector<std::string>& arguments,
    const std::vector<std::string>& environment)
{
    m_pid = start_child(exec_body(program, arguments), environment, &m_out, &m_err);
}

RUNNING_PROGRAM::~RUNNING_PROGRAM()
{
    if (m_pid > 0 && running())
        kill(m_pid, SIGKILL);
    finish();
}

bool RUNNING_PROGRAM::poll_output(int milliseconds)
{
    struct pollfd fds[2] = { { m_out, POLLIN, 0 }, { m_err, POLLIN, 0 } };
    if (m_out < 0 && m_err < 0)
        return false;
    if (poll(fds, 2, milliseconds) <= 0)
        return true;
    char chunk[65536];
    for (int i = 0; i < 2; ++i) {
        if (fds[i].fd < 0 || !(fds[i].revents & (POLLIN | POLLHUP | POLLERR)))
            continue;
        ssize_t got = read(fds[i].fd, chunk, sizeof chunk);
        if (got <= 0) {
            close(fds[i].fd);
            (i == 0 ? m_out : m_err) = -1;
            continue;
        }
        (i == 0 ? output : errors).append(chunk, static_cast<size_t>(got));
    }
    return m_out >= 0 || m_err >= 0;
}

bool RUNNING_PROGRAM::wait_for_output(const std::string& text, int timeout_milliseconds)
{
    for (int waited = 0; output.find(text) == std::string::npos; waited += 10) {
        if (waited > timeout_milliseconds || !poll_output(10))
            return output.find(text) != std::string::npos;
    }
    return true;
}

void RUNNING_PROGRAM::close_output()
{
    if (m_out >= 0)
        close(m_out);
    m_out = -1;
}

bool RUNNING_PROGRAM::running()
{
    if (m_pid <= 0 || m_reaped)
        return false;
    if (waitpid(m_pid, &m_status, WNOHANG) == m_pid) {
        m_reaped = true;
        return false;
    }
    return true;
}

void RUNNING_PROGRAM::send(int signal_number)
{
    if (m_pid > 0 && !m_reaped)
        kill(m_pid, signal_number);
}

int RUNNING_PROGRAM::finish()
{
    while (poll_output(100)) {
    }
    if (m_pid <= 0)
        return -1;
    if (!m_reaped) {
        waitpid(m_pid, &m_status, 0);
        m_reaped = true;
    }
    return WIFEXITED(m_status) ? WEXITSTATUS(m_status) : -1 - WTERMSIG(m_status);
}

int end_within(RUNNING_PROGRAM& program, int seconds)
{
    for (int waited = 0; waited < seconds * 100; ++waited) {
        if (!program.running())
            return program.finish();
        // Polling waits for output while there is any; once both outputs are closed it waits
        // for the process itself.
        if (!program.poll_output(10))
            usleep(10000);
    }
    program.send(SIGKILL);
    program.finish();
    return -1000;
}

std::string noise_bytes(size_t size, unsigned seed)
{
    std::string bytes(size, 0);
    unsigned state = seed * 2654435761u + 1;
    for (char& byte : bytes) {
        state = state * 1103515245u + 12345u;
        byte = static_cast<char>(state >> 16);
    }
    return bytes;
}

namespace {

void list_tree(const std::string& folder, const std::string& prefix, bool with_modes,
    std::map<std::string, std::string>* tree)
{
    DIR* listing = opendir(folder.c_str());
    if (!listing)
        return;
    for (struct dirent* entry = readdir(listing); entry; entry = readdir(listing)) {
        std::string name = entry->d_name;
        if (name == "." || name == "..")
            continue;
        std::string path = folder + "/" + name;
        struct stat facts {};
        lstat(path.c_str(), &facts);
        if (S_ISLNK(facts.st_mode)) {
            (*tree)[prefix + name] = "<link>";
        } else if (S_ISDIR(facts.st_mode)) {
            (*tree)[prefix + name] = "<folder>";
            list_tree(path, prefix + name + "/", with_modes, tree);
        } else if (with_modes) {
            (*tree)[prefix + name] = std::to_string(facts.st_mode & 07777) + " " + read_file(path);
        } else {
            (*tree)[prefix + name] = read_file(path);
        }
    }
    closedir(listing);
}

} // namespace

std::map<std::string, std::string> tree_of(const std::string& folder, bool with_modes)
{
    std::map<std::string, std::string> tree;
    list_tree(folder, "", with_modes, &tree);
    return tree;
}

std::string data_set_chunks(const std::string& bytes, size_t piece, bool compressed)
{
    std::string out;
    for (size_t at = 0; at < bytes.size(); at += piece) {
        std::string chunk = bytes.substr(at, piece);
        if (compressed) {
            uLongf packed_size = compressBound(chunk.size());
            std::string packed(packed_size, '\0');
            compress2(reinterpret_cast<Bytef*>(&packed[0]), &packed_size, reinterpret_cast<const Bytef*>(chunk.data()),
                chunk.size(), 6);
            chunk = packed.substr(0, packed_size);
        }
        size_t length = chunk.size();
        const char length_bytes[4] = { static_cast<char>(length >> 24), static_cast<char>(length >> 16),
            static_cast<char>(length >> 8), static_cast<char>(length) };
        out.append(length_bytes, 4);
        out += chunk;
    }
    return out;
}

std::string interleaved_bytes(size_t size, unsigned seed, unsigned noise_every, unsigned letter_run)
{
    std::string bytes(size, '\0');
    unsigned state = seed * 2654435761u + 1;
    for (size_t i = 0; i < size; ++i) {
        state = state * 1103515245u + 12345u;
        bytes[i] = (i & (noise_every - 1)) ? static_cast<char>('a' + (i / letter_run + seed) % 26)
                                           : static_cast<char>(state >> 16);
    }
    return bytes;
}

std::string mixed_bytes(size_t size, unsigned seed, size_t shortest_stretch, size_t stretch_spread,
    unsigned letter_run, unsigned letter_count)
{
    std::string bytes;
    bytes.reserve(size);
    unsigned state = seed * 2654435761u + 1;
    auto next = [&state]() {
        state ^= state << 13;
        state ^= state >> 17;
        state ^= state << 5;
        return state;
    };
    while (bytes.size() < size) {
        bool noise = next() % 3 == 0;
        size_t stretch = shortest_stretch + next() % stretch_spread;
        for (size_t i = 0; i < stretch && bytes.size() < size; ++i)
            bytes += noise ? static_cast<char>(next()) : static_cast<char>('a' + (i / letter_run) % letter_count);
    }
    return bytes;
}

bool write_several_packages_source(const TEMP_FOLDER& folder,
    const std::function<std::string(size_t, unsigned)>& bytes, std::vector<std::string>* contents)
{
    std::string files;
    for (int i = 0; i < 8; ++i) {
        std::string name = "part" + std::to_string(i) + ".bin";
        contents->push_back(bytes(i % 2 ? 30000 : 120000, static_cast<unsigned>(i)));
        if (!write_file(folder.file(name), contents->back()))
            return false;
        files += "\t\t<FILE src_name=\"" + name + "\" dest_path_from_inst_loc=\"$HERE/d" + std::to_string(i % 3)
            + "\"/>\n";
    }
    std::string xml = "<INSTALLER file_cache_sz=\"65536\" default_language_name=\"en\">\n"
                      "\t<APPLICATION version=\"1\" build_number=\"1\" app_string=\"packages\"/>\n"
                      "\t<LOG dest_path_from_inst_loc=\"$HERE\" system_dest_path_from_inst_loc=\"\"/>\n"
                      "\t<INSTALLATION name=\"main\" allow_system_paths=\"no\" default_path=\"$ROOT0/packages\">\n"
        + files
        + "\t</INSTALLATION>\n\t<LANGUAGE name=\"en\">\n\t\t<LANGUAGE_TITLE string=\"English\"/>\n"
          "\t\t<README path=\".\" filename=\"readme.txt\" lines=\"2\"/>\n\t</LANGUAGE>\n</INSTALLER>\n";
    return write_file(folder.file("readme.txt"), "read me") && write_file(folder.file("installer.xml"), xml);
}
