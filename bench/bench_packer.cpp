// Packing benchmark: finished installers made from two trees, timed against `tar czf` (gzip -6)
// of the same tree in the same run, and with one compressing thread (`--jobs 1`), whose output
// must be the same bytes as the default's.
//
//   bench_packer [MiB]      (the generated tree's size; default 512)
//
// The trees: generated files of four kinds (text, structured records, random bytes, long runs),
// and the machine's C headers and message catalogues when they exist. Every file is read once
// before the first measurement, so that all sides find them in the page cache. Each figure is
// the median of three rounds. Goal: the packer at most 0.6 of tar czf on a two-core machine.

#include "bench_common.h"
#include "host/host.h"

#include <thread>

namespace {

constexpr int FILE_COUNT = 16;

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

struct RESULT {
    double packer { 0 };
    double one_job { 0 };
    double tar { 0 };
    long long packed { 0 };
    long long tarred { 0 };
    bool same { true };
};

// Packs `roots` three times each way and tars them; outputs go to `work`.
bool measure(const std::vector<std::string>& roots, const std::string& work, RESULT* result)
{
    bench::TREE_SIZE size;
    std::string xml = bench::installer_xml(bench::file_elements(roots, &size));
    if (!bench::write_text(work + "/installer.xml", xml))
        return false;
    printf("  %lld files, %.1f MiB\n", size.files, size.bytes / 1048576.0);
    bench::warm(roots);
    std::vector<std::string> tar_words = { "tar", "czf", work + "/tree.tar.gz" };
    for (const std::string& root : roots) {
        size_t slash = root.find_last_of('/');
        tar_words.insert(tar_words.end(), { "-C", slash == 0 ? "/" : root.substr(0, slash), root.substr(slash + 1) });
    }
    std::string client = std::string(ORLU_BUILD_DIR) + "/installer";
    std::string packer = std::string(ORLU_BUILD_DIR) + "/packer";
    std::vector<std::string> environment = { "SOURCE_DATE_EPOCH=1700000000" };
    std::vector<double> packer_times, one_job_times, tar_times;
    for (int round = 0; round < 3; ++round) {
        bench::RUN all = bench::run({ packer, "build", work + "/installer.xml", "-o", work + "/setup", "--client", client,
                                        "--quiet" },
            "", "", environment);
        bench::RUN one = bench::run({ packer, "build", work + "/installer.xml", "-o", work + "/setup-1", "--client",
                                        client, "--quiet", "--jobs", "1" },
            "", "", environment);
        bench::RUN tar = bench::run(tar_words);
        if (!all.ok || !one.ok || !tar.ok) {
            fprintf(stderr, "a run failed (packer %d, packer --jobs 1 %d, tar %d)\n", all.ok, one.ok, tar.ok);
            return false;
        }
        packer_times.push_back(all.seconds);
        one_job_times.push_back(one.seconds);
        tar_times.push_back(tar.seconds);
        result->same = result->same && bench::same_bytes(work + "/setup", work + "/setup-1");
    }
    result->packer = bench::median(packer_times);
    result->one_job = bench::median(one_job_times);
    result->tar = bench::median(tar_times);
    result->packed = bench::size_of(work + "/setup") - bench::size_of(client);
    result->tarred = bench::size_of(work + "/tree.tar.gz");
    return true;
}

void report(const RESULT& result)
{
    printf("  packer build (%u threads): %6.2f s   data set %lld bytes\n", std::thread::hardware_concurrency(),
        result.packer, result.packed);
    printf("  packer build --jobs 1:     %6.2f s   output %s\n", result.one_job,
        result.same ? "identical" : "DIFFERENT");
    printf("  tar czf:                   %6.2f s   archive  %lld bytes\n", result.tar, result.tarred);
    printf("  ratio packer / tar czf: time %.2f (goal <= 0.60), size %.3f; --jobs 1 / tar czf: %.2f\n",
        result.packer / result.tar, static_cast<double>(result.packed) / result.tarred, result.one_job / result.tar);
}

} // namespace

int main(int argc, char** argv)
{
    host_attach_reports();
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
    std::string work = pattern;
    std::string generated = work + "/generated";
    mkdir(generated.c_str(), 0755);
    size_t file_size = static_cast<size_t>(mib) * 1048576 / FILE_COUNT;
    for (int i = 0; i < FILE_COUNT; ++i) {
        std::string name = generated + "/file" + std::to_string(i) + ".bin";
        if (!write_mixed(name, file_size, i % 4, static_cast<unsigned>(i))) {
            fprintf(stderr, "cannot write %s\n", name.c_str());
            return 1;
        }
    }
    bool failed = false;
    RESULT result;
    printf("Generated tree: %ld MiB in %d files of four kinds (text, records, random, runs)\n", mib, FILE_COUNT);
    if (measure({ generated }, work, &result))
        report(result);
    else
        failed = true;
    std::vector<std::string> real = bench::real_trees();
    if (!real.empty()) {
        RESULT tree;
        std::string names;
        for (const std::string& root : real)
            names += (names.empty() ? "" : " and ") + root;
        printf("Real tree: %s\n", names.c_str());
        if (measure(real, work, &tree))
            report(tree);
        else
            failed = true;
        failed = failed || !tree.same;
    }
    bench::run({ "rm", "-rf", work });
    return failed || !result.same ? 1 : 0;
}
