// An unattended install of a large payload against the usual ways of unpacking an archive.
//
// Makes a payload of mixed files (many small, a few large, partly compressible), packs it into a
// finished installer with the packer, and times, each best of three:
//   - the installer's unattended install into a fresh folder (with its peak memory),
//   - the same payload as a self-extracting makeself archive (gzip), extracted to a folder,
//   - the same payload as a .tar.gz, extracted with tar -xzf.
// Goals: no slower than makeself, within 1.5 times tar -xzf, peak memory under 64 MiB.
//
//   bench_install [megabytes]      (default 512)

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

namespace {

struct RUN {
    bool ok { false };
    double seconds { 0 };
    long peak_kib { 0 };
};

// Runs a program (no shell) with its output thrown away, and measures it.
RUN run(const std::vector<std::string>& words, const char* folder = nullptr)
{
    std::vector<char*> argv;
    for (const std::string& word : words)
        argv.push_back(const_cast<char*>(word.c_str()));
    argv.push_back(nullptr);
    fflush(stdout);
    auto start = std::chrono::steady_clock::now();
    pid_t pid = fork();
    if (pid == 0) {
        if (folder && chdir(folder) != 0)
            _exit(126);
        freopen("/dev/null", "w", stdout);
        execvp(argv[0], argv.data());
        _exit(127);
    }
    int status = 0;
    struct rusage usage {};
    wait4(pid, &status, 0, &usage);
    RUN result;
    result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    result.ok = WIFEXITED(status) && WEXITSTATUS(status) == 0;
    result.peak_kib = usage.ru_maxrss;
    return result;
}

void write_payload_file(const std::string& path, size_t size, unsigned seed)
{
    FILE* file = fopen(path.c_str(), "wb");
    if (!file)
        return;
    std::vector<unsigned char> chunk(65536);
    unsigned state = seed * 2654435761u + 7;
    for (size_t left = size; left > 0;) {
        size_t count = std::min(left, chunk.size());
        for (size_t i = 0; i < count; ++i) {
            state = state * 1103515245u + 12345u;
            // Three quarters text-like and compressible, a quarter noise.
            chunk[i] = (i & 3) ? static_cast<unsigned char>('a' + (i / 7 + seed) % 26) : static_cast<unsigned char>(state >> 16);
        }
        fwrite(chunk.data(), 1, count, file);
        left -= count;
    }
    fclose(file);
}

} // namespace

int main(int argc, char** argv)
{
    size_t total = (argc > 1 ? static_cast<size_t>(atol(argv[1])) : 512) * 1024 * 1024;
    const char* base = getenv("TMPDIR");
    std::string root = std::string(base && base[0] ? base : "/tmp") + "/bench-install-XXXXXX";
    if (!mkdtemp(root.data()))
        return 1;
    std::string payload = root + "/payload";
    mkdir(payload.c_str(), 0755);
    mkdir((payload + "/small").c_str(), 0755);
    mkdir((payload + "/large").c_str(), 0755);

    // Many small files (a quarter of the bytes), a few large ones.
    std::string files;
    size_t made = 0;
    unsigned seed = 1;
    while (made < total / 4) {
        size_t size = 512 + (seed * 7919u) % (48 * 1024);
        std::string name = "file" + std::to_string(seed);
        write_payload_file(payload + "/small/" + name, size, seed);
        files += "\t\t<FILE src_name=\"" + name + "\" src_path_from_xml=\"payload/small\" dest_path_from_inst_loc=\"$HERE/small\"/>\n";
        made += size;
        ++seed;
    }
    for (int i = 0; i < 6; ++i) {
        size_t size = (total - made) / static_cast<size_t>(6 - i);
        std::string name = "big" + std::to_string(i);
        write_payload_file(payload + "/large/" + name, size, seed++);
        files += "\t\t<FILE src_name=\"" + name + "\" src_path_from_xml=\"payload/large\" dest_path_from_inst_loc=\"$HERE/large\"/>\n";
        made += size;
    }
    std::string xml = "<INSTALLER default_language_name=\"en\">\n"
                      "\t<APPLICATION version=\"1\" build_number=\"1\" app_string=\"bench\"/>\n"
                      "\t<LOG dest_path_from_inst_loc=\"$HERE\" system_dest_path_from_inst_loc=\"\"/>\n"
                      "\t<INSTALLER_CLIENT path=\"" ORLU_BUILD_DIR "\" filename=\"installer\" destname=\"setup\" platform=\"linux\" compress_data=\"yes\"/>\n"
                      "\t<INSTALLATION name=\"main\" allow_system_paths=\"no\" default_path=\"$ROOT0/bench\">\n"
        + files + "\t</INSTALLATION>\n\t<LANGUAGE name=\"en\">\n\t\t<LANGUAGE_TITLE string=\"English\"/>\n\t</LANGUAGE>\n</INSTALLER>\n";
    FILE* config = fopen((root + "/installer.xml").c_str(), "w");
    if (!config)
        return 1;
    fputs(xml.c_str(), config);
    fclose(config);
    printf("payload: %u files, %.1f MiB\n", seed - 1, made / 1048576.0);

    RUN packed = run({ ORLU_BUILD_DIR "/packer", "build", root + "/installer.xml", "-o", root + "/setup", "--quiet" });
    RUN made_self = run({ "makeself", "--gzip", "--quiet", "--nox11", payload, root + "/payload.run", "bench", "true" });
    RUN tarred = run({ "tar", "-czf", root + "/payload.tar.gz", "-C", payload, "." });
    if (!packed.ok || !made_self.ok || !tarred.ok) {
        fprintf(stderr, "packing failed (packer %d, makeself %d, tar %d)\n", packed.ok, made_self.ok, tarred.ok);
        return 1;
    }
    printf("packer build: %.2f s\n", packed.seconds);

    double best_install = 1e9, best_makeself = 1e9, best_tar = 1e9;
    long peak = 0;
    for (int round = 0; round < 3; ++round) {
        std::string target = root + "/out-install";
        run({ "rm", "-rf", target, root + "/out-makeself", root + "/out-tar" });
        run({ "sync" });
        RUN installed = run({ root + "/setup", "-a", "-i", target, "-k", "none" });
        if (!installed.ok) {
            fprintf(stderr, "the install failed\n");
            return 1;
        }
        best_install = std::min(best_install, installed.seconds);
        peak = std::max(peak, installed.peak_kib);

        run({ "sync" });
        RUN extracted = run({ root + "/payload.run", "--quiet", "--noexec", "--nox11", "--target", root + "/out-makeself" });
        best_makeself = std::min(best_makeself, extracted.seconds);

        mkdir((root + "/out-tar").c_str(), 0755);
        run({ "sync" });
        RUN untarred = run({ "tar", "-xzf", root + "/payload.tar.gz", "-C", root + "/out-tar" });
        best_tar = std::min(best_tar, untarred.seconds);
    }
    printf("unattended install: %.2f s (best of 3), peak memory %.1f MiB\n", best_install, peak / 1024.0);
    printf("makeself extract:   %.2f s\n", best_makeself);
    printf("tar -xzf:           %.2f s\n", best_tar);
    printf("ratio install / makeself: %.2f (goal <= 1.00)\n", best_install / best_makeself);
    printf("ratio install / tar -xzf: %.2f (goal <= 1.50)\n", best_install / best_tar);
    printf("peak memory: %.1f MiB (goal < 64)\n", peak / 1024.0);
    run({ "rm", "-rf", root });
    return 0;
}
