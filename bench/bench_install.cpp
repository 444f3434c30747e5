// The unattended install against the usual ways of putting a tree in place, on two trees:
//
//   - a generated payload of mixed files (many small, a few large, partly compressible);
//   - the machine's C headers and message catalogues (/usr/include and /usr/share/locale), when
//     they exist: some 300 MB in over 10,000 files.
//
// Each tree is packed into a finished installer, a self-extracting makeself archive (gzip) and a
// .tar.gz. Then, five rounds of each, one after the other, with dirty pages written out between
// runs (creating files costs the file system more or less from one minute to the next, so the
// kinds take turns and medians are compared):
//   - the installer's unattended install into a fresh folder, with its peak memory and the peak
//     size of its temporary folder (polled every 20 ms);
//   - cp -r of the tree itself;
//   - the makeself archive extracted to a folder;
//   - tar -xzf of the archive;
//   - gzip -dc of the archive to nothing: the cost of inflating alone, which bounds how close a
//     compressed installer can come to cp -r of the same tree.
// The medians are compared. Goals: at most 1.05 times cp -r, at most 0.6 times makeself, peak
// memory under 32 MiB plus 300 bytes a file, temporary space under 64 MiB whatever the payload.
//
//   bench_install [megabytes]      (the generated payload's size; default 512)

#include "bench_common.h"
#include "host/host.h"

namespace {

constexpr int ROUNDS = 5;

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

// Many small files (a quarter of the bytes) and six large ones under `root`/payload.
void make_payload(const std::string& payload, size_t total)
{
    mkdir(payload.c_str(), 0755);
    mkdir((payload + "/small").c_str(), 0755);
    mkdir((payload + "/large").c_str(), 0755);
    size_t made = 0;
    unsigned seed = 1;
    while (made < total / 4) {
        size_t size = 512 + (seed * 7919u) % (48 * 1024);
        write_payload_file(payload + "/small/file" + std::to_string(seed), size, seed);
        made += size;
        ++seed;
    }
    for (int i = 0; i < 6; ++i) {
        size_t size = (total - made) / static_cast<size_t>(6 - i);
        write_payload_file(payload + "/large/big" + std::to_string(i), size, seed++);
        made += size;
    }
}

bool measure(const std::string& work, const std::vector<std::string>& roots, const char* title)
{
    bench::TREE_SIZE size;
    std::string client = std::string(ORLU_BUILD_DIR) + "/installer";
    std::string extra = "\t<INSTALLER_CLIENT path=\"" ORLU_BUILD_DIR "\" filename=\"installer\" destname=\"setup\" platform=\"linux\" compress_data=\"yes\"/>\n";
    if (!bench::write_text(work + "/installer.xml", bench::installer_xml(bench::file_elements(roots, &size), "1048576", extra)))
        return false;
    printf("%s: %lld files, %.1f MiB\n", title, size.files, size.bytes / 1048576.0);

    // The archives hold the same tree: the roots by their last names.
    std::vector<std::string> tar_words = { "tar", "-czf", work + "/tree.tar.gz" };
    std::string staging = work + "/staging";
    mkdir(staging.c_str(), 0755);
    std::vector<std::string> stage = { "cp", "-r" };
    for (const std::string& root : roots) {
        size_t slash = root.find_last_of('/');
        tar_words.insert(tar_words.end(), { "-C", slash == 0 ? "/" : root.substr(0, slash), root.substr(slash + 1) });
        stage.push_back(root);
    }
    stage.push_back(staging);
    // makeself archives one folder: a copy of the roots side by side.
    if (!bench::run(stage).ok)
        return false;
    bench::RUN packed = bench::run({ ORLU_BUILD_DIR "/packer", "build", work + "/installer.xml", "-o", work + "/setup", "--quiet" });
    bench::RUN made_self = bench::run({ "makeself", "--gzip", "--quiet", "--nox11", staging, work + "/tree.run", "bench", "true" });
    bench::RUN tarred = bench::run(tar_words);
    if (!packed.ok || !made_self.ok || !tarred.ok) {
        fprintf(stderr, "packing failed (packer %d, makeself %d, tar %d)\n", packed.ok, made_self.ok, tarred.ok);
        return false;
    }
    std::string home = work + "/home";
    mkdir(home.c_str(), 0755);
    mkdir((home + "/tmp").c_str(), 0755);
    bench::warm(roots);

    std::vector<double> installs, copies, makeselfs, tars, inflates;
    long peak = 0;
    long long temp_peak = 0;
    // Every run writes a fresh folder and nothing is removed until all rounds are done: creating
    // files right after many were deleted is slower on some file systems, whoever comes first.
    bench::run({ "sync" });
    for (int round = 0; round < ROUNDS; ++round) {
        std::string suffix = std::to_string(round);
        std::string target = work + "/out-install" + suffix;
        long long temp_round = 0;
        bench::RUN installed = bench::run_watching({ work + "/setup", "-a", "-i", target, "-k", "none" }, "",
            { "HOME=" + home }, home + "/tmp", &temp_round);
        if (!installed.ok) {
            fprintf(stderr, "the install failed (status %d)\n", installed.status);
            return false;
        }
        installs.push_back(installed.seconds);
        peak = std::max(peak, installed.peak_kib);
        temp_peak = std::max(temp_peak, temp_round);

        bench::run({ "sync" });
        mkdir((work + "/out-cp" + suffix).c_str(), 0755);
        std::vector<std::string> copy = { "cp", "-r" };
        copy.insert(copy.end(), roots.begin(), roots.end());
        copy.push_back(work + "/out-cp" + suffix);
        copies.push_back(bench::run(copy).seconds);

        bench::run({ "sync" });
        makeselfs.push_back(
            bench::run({ work + "/tree.run", "--quiet", "--noexec", "--nox11", "--target", work + "/out-makeself" + suffix }).seconds);

        bench::run({ "sync" });
        mkdir((work + "/out-tar" + suffix).c_str(), 0755);
        tars.push_back(bench::run({ "tar", "-xzf", work + "/tree.tar.gz", "-C", work + "/out-tar" + suffix }).seconds);
        bench::run({ "sync" });
        // No file written at all: what inflating the tree alone costs one processor.
        inflates.push_back(bench::run({ "gzip", "-dc", work + "/tree.tar.gz" }).seconds);
    }
    double install_time = bench::median(installs), copy_time = bench::median(copies);
    double makeself_time = bench::median(makeselfs), tar_time = bench::median(tars);
    double inflate_time = bench::median(inflates);
    double memory_goal = 32 + 300.0 * static_cast<double>(size.files) / 1048576.0;
    printf("  unattended install: %6.2f s, peak memory %.1f MiB (goal < %.1f), temporary space %.1f MiB (goal < 64)\n",
        install_time, peak / 1024.0, memory_goal, temp_peak / 1048576.0);
    printf("  cp -r:              %6.2f s\n", copy_time);
    printf("  makeself extract:   %6.2f s\n", makeself_time);
    printf("  tar -xzf:           %6.2f s\n", tar_time);
    printf("  gzip -dc > null:    %6.2f s (inflating alone, one processor, nothing written)\n", inflate_time);
    // Each install against the cp -r right behind it: the file system's mood changes less within
    // a pair than across the run.
    std::vector<double> pairs;
    for (size_t i = 0; i < installs.size() && i < copies.size(); ++i)
        pairs.push_back(installs[i] / copies[i]);
    printf("  ratio install / cp -r:    %.2f (goal <= 1.05); median of the pairs %.2f\n", install_time / copy_time,
        bench::median(pairs));
    printf("  ratio install / makeself: %.2f (goal <= 0.60)\n", install_time / makeself_time);
    printf("  ratio install / tar -xzf: %.2f\n", install_time / tar_time);
    printf("  ratio install / gzip -dc: %.2f\n", install_time / inflate_time);
    for (const char* kind : { "/out-install", "/out-cp", "/out-makeself", "/out-tar" }) {
        for (int round = 0; round < ROUNDS; ++round)
            bench::run({ "rm", "-rf", work + kind + std::to_string(round) });
    }
    bench::run({ "rm", "-rf", staging, work + "/setup", work + "/tree.run", work + "/tree.tar.gz" });
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    host_attach_reports();
    size_t total = (argc > 1 ? static_cast<size_t>(atol(argv[1])) : 512) * 1024 * 1024;
    const char* base = getenv("TMPDIR");
    std::string root = std::string(base && base[0] ? base : "/tmp") + "/bench-install-XXXXXX";
    if (!mkdtemp(root.data()))
        return 1;
    make_payload(root + "/payload", total);
    bool ok = measure(root, { root + "/payload" }, "Generated payload");
    std::vector<std::string> real = bench::real_trees();
    if (ok && !real.empty())
        ok = measure(root, real, "Real tree (C headers and message catalogues)");
    bench::run({ "rm", "-rf", root });
    return ok ? 0 : 1;
}
