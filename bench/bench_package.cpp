// Extraction speed of packages against a plain copy of the same files.
//
// Builds 256 MiB of mixed files (many small, some medium, a few large), packs them into a package
// with 1024-byte blocks (what finished installers use), then times extracting every member and
// copying the same tree with `cp -r`, each run five times, and reports the best of each and
// their ratio. Goal: extraction at most 1.5 times the copy.
//
//   bench_package [megabytes]      (default 256)

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "host/host.h"
#include "io/folder.h"
#include "io/package.h"

namespace {

double seconds_since(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

bool run(const std::vector<std::string>& words)
{
    std::vector<char*> argv;
    for (const std::string& word : words)
        argv.push_back(const_cast<char*>(word.c_str()));
    argv.push_back(nullptr);
    pid_t pid = fork();
    if (pid == 0) {
        execvp(argv[0], argv.data());
        _exit(127);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// Mixed content: half of each file repeats a short pattern, half is pseudo-random.
void write_file_of(const std::string& path, size_t size, unsigned seed)
{
    FILE* file = fopen(path.c_str(), "wb");
    if (!file)
        return;
    std::vector<unsigned char> chunk(65536);
    unsigned state = seed * 2654435761u + 1;
    size_t left = size;
    while (left > 0) {
        size_t count = std::min(left, chunk.size());
        for (size_t i = 0; i < count; ++i) {
            state = state * 1103515245u + 12345u;
            chunk[i] = (i & 1) ? static_cast<unsigned char>(state >> 16) : static_cast<unsigned char>(i & 0x3F);
        }
        fwrite(chunk.data(), 1, count, file);
        left -= count;
    }
    fclose(file);
}

struct MEMBER {
    std::string name;
    size_t size;
};

} // namespace

int main(int argc, char** argv)
{
    host_attach_reports();
    size_t total_mb = argc > 1 ? static_cast<size_t>(atol(argv[1])) : 256;
    const size_t total = total_mb * 1024 * 1024;
    const char* base = getenv("TMPDIR");
    std::string root = std::string(base && base[0] ? base : "/tmp") + "/bench-package-XXXXXX";
    if (!mkdtemp(root.data())) {
        fprintf(stderr, "cannot make a work folder\n");
        return 1;
    }
    std::string source = root + "/source", copied = root + "/copied", extracted = root + "/extracted";
    mkdir(source.c_str(), 0755);
    mkdir(extracted.c_str(), 0755);

    // 20% in small files of 1 to 32 KiB, 45% in medium files of 256 KiB to 1 MiB, the rest in
    // four large files.
    std::vector<MEMBER> members;
    size_t made = 0;
    unsigned seed = 1;
    while (made < total / 5) {
        size_t size = 1024 + (seed * 7919u) % (31 * 1024);
        members.push_back({ "small" + std::to_string(seed), size });
        made += size;
        ++seed;
    }
    while (made < total * 65 / 100) {
        size_t size = 256 * 1024 + (seed * 104729u) % (768 * 1024);
        members.push_back({ "medium" + std::to_string(seed), size });
        made += size;
        ++seed;
    }
    size_t large = (total - made) / 4;
    for (int i = 0; i < 4; ++i)
        members.push_back({ "large" + std::to_string(i), large });
    size_t bytes = 0;
    for (const MEMBER& member : members) {
        write_file_of(source + "/" + member.name, member.size, seed++);
        bytes += member.size;
    }
    printf("payload: %zu files, %.1f MiB\n", members.size(), bytes / 1048576.0);

    FOLDER source_folder, root_folder, out_folder;
    if (!source_folder.set_raw(source.c_str()) || !root_folder.set_raw(root.c_str()) || !out_folder.set_raw(extracted.c_str())) {
        fprintf(stderr, "cannot use the work folder\n");
        return 1;
    }
    auto start = std::chrono::steady_clock::now();
    {
        PACKAGE package(root_folder, "bench.pkg", true, 1024, true, false);
        for (const MEMBER& member : members)
            package.add_file(source_folder, member.name.c_str(), member.name.c_str());
    }
    printf("packing:    %.3f s\n", seconds_since(start));

    double best_extract = 1e9, best_copy = 1e9;
    // Dirty pages from the last round are written back before each timed step, so neither side
    // pays for the other's writes.
    for (int round = 0; round < 5; ++round) {
        run({ "rm", "-rf", extracted });
        mkdir(extracted.c_str(), 0755);
        run({ "sync" });
        start = std::chrono::steady_clock::now();
        {
            PACKAGE package(root_folder, "bench.pkg", false, 0, true, true);
            for (const MEMBER& member : members) {
                if (!package.extract_file(out_folder, member.name.c_str(), member.name.c_str())) {
                    fprintf(stderr, "extraction of %s failed\n", member.name.c_str());
                    return 1;
                }
            }
        }
        best_extract = std::min(best_extract, seconds_since(start));
        if (getenv("BENCH_VERBOSE")) {
            struct rusage usage;
            getrusage(RUSAGE_SELF, &usage);
            fprintf(stderr, "user %.3f sys %.3f\n", usage.ru_utime.tv_sec + usage.ru_utime.tv_usec / 1e6,
                usage.ru_stime.tv_sec + usage.ru_stime.tv_usec / 1e6);
        }

        run({ "rm", "-rf", copied });
        run({ "sync" });
        start = std::chrono::steady_clock::now();
        if (!run({ "cp", "-r", source, copied })) {
            fprintf(stderr, "cp failed\n");
            return 1;
        }
        best_copy = std::min(best_copy, seconds_since(start));
    }
    printf("extraction: %.3f s (best of 5)\n", best_extract);
    printf("cp -r:      %.3f s (best of 5)\n", best_copy);
    printf("ratio extraction / cp: %.2f (goal <= 1.50)\n", best_extract / best_copy);
    run({ "rm", "-rf", root });
    return 0;
}
