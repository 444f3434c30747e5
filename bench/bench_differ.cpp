// The patch differ (-d) on two data sets of many files, against `diff -rq` of the two source
// trees in the same run.
//
//   bench_differ [files]      (default 10000)
//
// The older tree holds `files` files of 1 to 30 KiB in a hundred folders; the newer one changes
// one file in 40 without changing its length, one in 60 by its length, drops one in 100 and adds
// a hundred. Both are packed into finished installers and their packages taken out, as the differ
// reads packages. The differ runs three times and diff -rq three times; the medians are compared,
// and the differ's findings are checked against what was changed. Goal: at most twice diff -rq,
// with peak memory under 32 MiB plus 300 bytes a file.

#include "bench_common.h"

#include "host/host.h"
#include "installer/engine/data_set.h"
#include "io/folder.h"

namespace {

bool write_bytes(const std::string& path, const std::string& bytes)
{
    FILE* out = fopen(path.c_str(), "wb");
    if (!out)
        return false;
    bool ok = fwrite(bytes.data(), 1, bytes.size(), out) == bytes.size();
    return fclose(out) == 0 && ok;
}

std::string file_bytes(size_t size, unsigned seed)
{
    static const char* const words[] = { "folder ", "member ", "chunk ", "stream ", "install ", "patch\n" };
    std::string bytes;
    bytes.reserve(size + 16);
    unsigned state = seed * 2654435761u + 1;
    while (bytes.size() < size) {
        state = state * 1103515245u + 12345u;
        bytes += words[(state >> 16) % 6];
    }
    bytes.resize(size);
    return bytes;
}

struct EXPECTED {
    int changed { 0 };
    int added { 0 };
    int deleted { 0 };
};

int count_lines(const std::string& path, const char* start)
{
    FILE* in = fopen(path.c_str(), "r");
    if (!in)
        return -1;
    char line[4096];
    int count = 0;
    while (fgets(line, sizeof line, in))
        count += strncmp(line, start, strlen(start)) == 0;
    fclose(in);
    return count;
}

// Packs `side`/tree and takes the package out of the finished installer as `name`.pkg. The
// configuration lies beside the tree, so that both sides name their files alike.
bool pack(const std::string& work, const std::string& side, const std::string& name)
{
    bench::TREE_SIZE size;
    std::string xml = bench::installer_xml(bench::file_elements({ side + "/tree" }, &size, side), "1048576");
    std::string config = side + "/installer.xml";
    if (!bench::write_text(config, xml))
        return false;
    bench::RUN packed = bench::run({ std::string(ORLU_BUILD_DIR) + "/packer", "build", config, "-o", work + "/" + name + ".run",
                                       "--client", std::string(ORLU_BUILD_DIR) + "/installer", "--quiet" },
        "", "", { "SOURCE_DATE_EPOCH=1700000000" });
    if (!packed.ok)
        return false;
    FOLDER folder;
    DATA_SET_HEADER header;
    return folder.set_raw(work.c_str())
        && unpack_installer(folder, (name + ".run").c_str(), folder, (name + ".pkg").c_str(), nullptr, &header, nullptr);
}

} // namespace

int main(int argc, char** argv)
{
    host_attach_reports();
    int files = argc > 1 ? atoi(argv[1]) : 10000;
    if (files < 100 || files > 32000) {
        fprintf(stderr, "usage: bench_differ [files, 100 to 32000]\n");
        return 2;
    }
    char pattern[] = "/tmp/bench_differ.XXXXXX";
    if (!mkdtemp(pattern)) {
        perror("mkdtemp");
        return 1;
    }
    std::string work = pattern;
    std::string older = work + "/older/tree", newer = work + "/newer/tree";
    for (const std::string& folder : { work + "/older", work + "/newer", older, newer })
        mkdir(folder.c_str(), 0755);
    EXPECTED expected;
    long long bytes = 0;
    for (int folder = 0; folder < 100; ++folder) {
        std::string name = "/folder" + std::to_string(folder);
        mkdir((older + name).c_str(), 0755);
        mkdir((newer + name).c_str(), 0755);
    }
    for (int i = 0; i < files; ++i) {
        std::string name = "/folder" + std::to_string(i % 100) + "/file" + std::to_string(i) + ".txt";
        size_t size = 1024 + (static_cast<size_t>(i) * 7919u) % (29 * 1024);
        std::string content = file_bytes(size, static_cast<unsigned>(i));
        bytes += static_cast<long long>(size);
        if (!write_bytes(older + name, content))
            return 1;
        if (i % 100 == 99) {
            ++expected.deleted;
            continue;
        }
        if (i % 40 == 7) {
            content[size - 1] = '#';
            ++expected.changed;
        } else if (i % 60 == 11) {
            content += "one more line\n";
            ++expected.changed;
        }
        if (!write_bytes(newer + name, content))
            return 1;
    }
    for (int i = 0; i < 100; ++i) {
        std::string name = "/folder" + std::to_string(i) + "/added" + std::to_string(i) + ".txt";
        if (!write_bytes(newer + name, file_bytes(5000, static_cast<unsigned>(i + files))))
            return 1;
        ++expected.added;
    }
    printf("%d files, %.1f MiB; %d changed, %d added, %d deleted\n", files, bytes / 1048576.0, expected.changed,
        expected.added, expected.deleted);
    if (!pack(work, work + "/older", "older") || !pack(work, work + "/newer", "newer")) {
        fprintf(stderr, "packing failed\n");
        return 1;
    }
    bench::warm({ older, newer });

    std::string installer = std::string(ORLU_BUILD_DIR) + "/installer";
    std::string argument = "@ROOT1" + work + "/older.pkg=@ROOT1" + work + "/newer.pkg";
    std::vector<double> differ_times, diff_times;
    long peak = 0;
    bool ok = true;
    for (int round = 0; round < 3 && ok; ++round) {
        bench::RUN differ = bench::run({ installer, "-d", argument }, work + "/differ.txt");
        bench::RUN diff = bench::run({ "diff", "-rq", older, newer }, work + "/diff.txt");
        // The installer ends every console run with status 255; diff says 1 for "different".
        ok = differ.status == 255 && diff.status == 1;
        differ_times.push_back(differ.seconds);
        diff_times.push_back(diff.seconds);
        peak = std::max(peak, differ.peak_kib);
    }
    int changed = count_lines(work + "/differ.txt", "\t\tFile changed");
    int added = count_lines(work + "/differ.txt", "\t\tFile added");
    int deleted = count_lines(work + "/differ.txt", "\t\tFile deleted");
    bool right = changed == expected.changed && added == expected.added && deleted == expected.deleted
        && count_lines(work + "/differ.txt", "Done") == 1;
    if (!ok || !right) {
        fprintf(stderr, "the runs went wrong (status %d) or the differ found %d changed, %d added, %d deleted\n", ok,
            changed, added, deleted);
        return 1;
    }
    double differ_time = bench::median(differ_times), diff_time = bench::median(diff_times);
    double goal_mib = 32 + 300.0 * (files + 100) / 1048576.0;
    printf("installer -d: %6.2f s, peak memory %.1f MiB (goal < %.1f)\n", differ_time, peak / 1024.0, goal_mib);
    printf("diff -rq:     %6.2f s\n", diff_time);
    printf("ratio -d / diff -rq: %.2f (goal <= 2.00)\n", differ_time / diff_time);
    bench::run({ "rm", "-rf", work });
    return 0;
}
