// Peak memory against the number of files: the packer, the unattended install and the patch
// differ on data sets of 1,000, 10,000 and 32,767 files (the most one data set can name: its
// file counts are 16-bit). Goal: under 32 MiB plus 300 bytes a file for each of them.
//
//   bench_memory [files ...]      (default 1000 10000 32767)
//
// The files are small (100 bytes to 4 KiB, a hundred to a folder), so that the records, not the
// payload, decide the memory. The slope between the smallest and the largest count is the cost
// of one more file.

#include "bench_common.h"

#include "host/host.h"
#include "installer/engine/data_set.h"
#include "io/folder.h"

namespace {

struct PEAKS {
    long packer { 0 };
    long install { 0 };
    long differ { 0 };
    double install_seconds { 0 };
};

bool measure(const std::string& work, int files, PEAKS* peaks)
{
    std::string side = work + "/n" + std::to_string(files);
    std::string tree = side + "/tree";
    mkdir(side.c_str(), 0755);
    mkdir(tree.c_str(), 0755);
    std::string content;
    for (int i = 0; i < files; ++i) {
        std::string folder = tree + "/folder" + std::to_string(i / 100);
        if (i % 100 == 0)
            mkdir(folder.c_str(), 0755);
        content.assign(100 + (static_cast<size_t>(i) * 37) % 4000, static_cast<char>('a' + i % 26));
        if (!bench::write_text(folder + "/file" + std::to_string(i) + ".txt", content))
            return false;
    }
    bench::TREE_SIZE size;
    if (!bench::write_text(side + "/installer.xml", bench::installer_xml(bench::file_elements({ tree }, &size, side))))
        return false;
    std::string build = ORLU_BUILD_DIR;
    bench::RUN packed = bench::run({ build + "/packer", "build", side + "/installer.xml", "-o", side + "/setup", "--client",
                                       build + "/installer", "--quiet" },
        "", "", { "SOURCE_DATE_EPOCH=1700000000" });
    if (!packed.ok)
        return false;
    peaks->packer = packed.peak_kib;
    bench::RUN installed = bench::run({ side + "/setup", "-a", "-i", side + "/out", "-k", "none" });
    if (!installed.ok)
        return false;
    peaks->install = installed.peak_kib;
    peaks->install_seconds = installed.seconds;

    FOLDER folder;
    DATA_SET_HEADER header;
    if (!folder.set_raw(side.c_str()) || !unpack_installer(folder, "setup", folder, "one.pkg", nullptr, &header, nullptr)
        || !unpack_installer(folder, "setup", folder, "two.pkg", nullptr, &header, nullptr))
        return false;
    bench::RUN differ = bench::run({ build + "/installer", "-d", "@ROOT1" + side + "/one.pkg=@ROOT1" + side + "/two.pkg" });
    if (differ.status != 255)
        return false;
    peaks->differ = differ.peak_kib;
    bench::run({ "rm", "-rf", side });
    return true;
}

double mib(long kib) { return kib / 1024.0; }

} // namespace

int main(int argc, char** argv)
{
    host_attach_reports();
    std::vector<int> counts;
    for (int i = 1; i < argc; ++i)
        counts.push_back(atoi(argv[i]));
    if (counts.empty())
        counts = { 1000, 10000, 32767 };
    for (int count : counts) {
        if (count < 1 || count > 32767) {
            fprintf(stderr, "usage: bench_memory [files ...], each 1 to 32767 (a data set names at most 32767 files)\n");
            return 2;
        }
    }
    char pattern[] = "/tmp/bench_memory.XXXXXX";
    if (!mkdtemp(pattern)) {
        perror("mkdtemp");
        return 1;
    }
    std::string work = pattern;
    printf("   files   goal MiB   packer MiB   install MiB (s)   differ MiB\n");
    std::vector<PEAKS> all;
    bool met = true;
    for (int count : counts) {
        PEAKS peaks;
        if (!measure(work, count, &peaks)) {
            fprintf(stderr, "the run of %d files failed\n", count);
            bench::run({ "rm", "-rf", work });
            return 1;
        }
        double goal = 32 + 300.0 * count / 1048576.0;
        printf("  %6d   %8.1f   %10.1f   %7.1f (%5.2f)   %10.1f\n", count, goal, mib(peaks.packer), mib(peaks.install),
            peaks.install_seconds, mib(peaks.differ));
        met = met && mib(peaks.packer) < goal && mib(peaks.install) < goal && mib(peaks.differ) < goal;
        all.push_back(peaks);
    }
    if (counts.size() > 1 && counts.back() != counts.front()) {
        double files = counts.back() - counts.front();
        printf("bytes a file (slope): packer %.0f, install %.0f, differ %.0f (goal 300)\n",
            (all.back().packer - all.front().packer) * 1024.0 / files,
            (all.back().install - all.front().install) * 1024.0 / files,
            (all.back().differ - all.front().differ) * 1024.0 / files);
    }
    printf("goal %s\n", met ? "met" : "NOT met");
    bench::run({ "rm", "-rf", work });
    return 0;
}
