// Packing benchmark: a finished installer made from 512 MiB of mixed files (text, structured
// binary, random bytes and long runs), timed against gzip -6 of the same files in the same run.
//
//   bench_packer [MiB]      (default 512)
//
// Both sides read the same files from the page cache: the files are written once and read once
// before the first measurement. gzip runs once per file, started with fork and exec.

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr int FILE_COUNT = 16;

double seconds_since(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Runs a program without a shell; standard output goes to `output` (or /dev/null). Answers the
// exit status, -1 when it could not run.
int run(const std::vector<std::string>& arguments, const std::string& output, const std::vector<std::string>& environment)
{
    pid_t pid = fork();
    if (pid < 0)
        return -1;
    if (pid == 0) {
        int out = open(output.empty() ? "/dev/null" : output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        if (out < 0)
            _exit(126);
        dup2(out, STDOUT_FILENO);
        for (const std::string& entry : environment)
            putenv(strdup(entry.c_str()));
        std::vector<char*> argv;
        for (const std::string& argument : arguments)
            argv.push_back(const_cast<char*>(argument.c_str()));
        argv.push_back(nullptr);
        execvp(argv[0], argv.data());
        _exit(127);
    }
    int status = 0;
    if (waitpid(pid, &status, 0) != pid || !WIFEXITED(status))
        return -1;
    return WEXITSTATUS(status);
}

long long size_of(const std::string& path)
{
    struct stat info;
    return stat(path.c_str(), &info) == 0 ? static_cast<long long>(info.st_size) : -1;
}

// One file of `size` bytes of the kind `kind`: 0 text, 1 structured records, 2 random, 3 runs.
bool write_mixed(const std::string& path, size_t size, int kind, unsigned seed)
{
    FILE* out = fopen(path.c_str(), "wb");
    if (!out)
        return false;
    static const char* const words[] = { "install", "folder", "package", "member", "chunk", "stream", "version",
        "language", "licence", "shortcut", "desktop", "platform" };
    std::vector<unsigned char> block(1 << 16);
    unsigned state = seed * 2654435761u + 1;
    auto next = [&state]() {
        state ^= state << 13;
        state ^= state >> 17;
        state ^= state << 5;
        return state;
    };
    size_t written = 0;
    while (written < size) {
        size_t fill = 0;
        while (fill < block.size()) {
            if (kind == 0) {
                const char* word = words[next() % 12];
                size_t length = strlen(word);
                for (size_t i = 0; i < length && fill < block.size(); ++i)
                    block[fill++] = static_cast<unsigned char>(word[i]);
                if (fill < block.size())
                    block[fill++] = next() % 9 == 0 ? '\n' : ' ';
            } else if (kind == 1) {
                unsigned record = static_cast<unsigned>(written + fill) / 16;
                for (int i = 0; i < 16 && fill < block.size(); ++i)
                    block[fill++] = static_cast<unsigned char>(i < 4 ? record >> (i * 8) : i < 8 ? next() % 4 : i);
            } else if (kind == 2) {
                block[fill++] = static_cast<unsigned char>(next());
            } else {
                unsigned char value = static_cast<unsigned char>(next());
                size_t run_length = 1 + next() % 2000;
                for (size_t i = 0; i < run_length && fill < block.size(); ++i)
                    block[fill++] = value;
            }
        }
        size_t piece = size - written < block.size() ? size - written : block.size();
        if (fwrite(block.data(), 1, piece, out) != piece) {
            fclose(out);
            return false;
        }
        written += piece;
    }
    return fclose(out) == 0;
}

} // namespace

int main(int argc, char** argv)
{
    long mib = argc > 1 ? atol(argv[1]) : 512;
    if (mib < FILE_COUNT) {
        fprintf(stderr, "usage: bench_packer [MiB, at least %d]\n", FILE_COUNT);
        return 2;
    }
    char pattern[] = "/tmp/bench_packer.XXXXXX";
    if (!mkdtemp(pattern)) {
        perror("mkdtemp");
        return 1;
    }
    std::string folder = pattern;
    size_t file_size = static_cast<size_t>(mib) * 1048576 / FILE_COUNT;
    printf("Packing %ld MiB in %d files of four kinds (text, records, random, runs)\n", mib, FILE_COUNT);

    std::string config = "<INSTALLER file_cache_sz=\"10485760\">\n\t<INSTALLATION name=\"bench\">\n";
    for (int i = 0; i < FILE_COUNT; ++i) {
        std::string name = "file" + std::to_string(i) + ".bin";
        if (!write_mixed(folder + "/" + name, file_size, i % 4, static_cast<unsigned>(i))) {
            fprintf(stderr, "cannot write %s\n", name.c_str());
            return 1;
        }
        config += "\t\t<FILE src_name=\"" + name + "\"/>\n";
    }
    config += "\t</INSTALLATION>\n</INSTALLER>\n";
    FILE* out = fopen((folder + "/installer.xml").c_str(), "w");
    if (!out || fputs(config.c_str(), out) < 0 || fclose(out) != 0) {
        fprintf(stderr, "cannot write the configuration\n");
        return 1;
    }
    // Warm the page cache for both sides alike.
    for (int i = 0; i < FILE_COUNT; ++i)
        run({ "cat", folder + "/file" + std::to_string(i) + ".bin" }, "", {});

    std::string packer = std::string(ORLU_BUILD_DIR) + "/packer";
    std::string client = std::string(ORLU_BUILD_DIR) + "/installer";
    std::string result = folder + "/setup";
    auto start = std::chrono::steady_clock::now();
    int status = run({ packer, "build", folder + "/installer.xml", "-o", result, "--client", client, "--quiet" }, "",
        { "SOURCE_DATE_EPOCH=1700000000" });
    double pack_time = seconds_since(start);
    long long pack_size = size_of(result) - size_of(client);
    if (status != 0 || pack_size <= 0) {
        fprintf(stderr, "packer failed with status %d\n", status);
        return 1;
    }

    start = std::chrono::steady_clock::now();
    long long gzip_size = 0;
    for (int i = 0; i < FILE_COUNT; ++i) {
        std::string packed = folder + "/gz";
        if (run({ "gzip", "-6", "-c", folder + "/file" + std::to_string(i) + ".bin" }, packed, {}) != 0) {
            fprintf(stderr, "gzip failed\n");
            return 1;
        }
        gzip_size += size_of(packed);
    }
    double gzip_time = seconds_since(start);

    double input = static_cast<double>(file_size) * FILE_COUNT;
    printf("  packer build:  %7.2f s  %7.1f MiB/s  data set %lld bytes (%.1f%% of the input)\n", pack_time,
        input / 1048576.0 / pack_time, pack_size, 100.0 * pack_size / input);
    printf("  gzip -6:       %7.2f s  %7.1f MiB/s  output   %lld bytes (%.1f%% of the input)\n", gzip_time,
        input / 1048576.0 / gzip_time, gzip_size, 100.0 * gzip_size / input);
    printf("  ratio packer / gzip: time %.2f, size %.3f\n", pack_time / gzip_time,
        static_cast<double>(pack_size) / gzip_size);

    run({ "rm", "-rf", folder }, "", {});
    return 0;
}
