// The nightly-size run: an installer over 4 GiB. A payload of 6 GiB (two files of noise, which
// no compression shrinks, and a sparse file) is packed, the finished installer checked to pass
// 4 GiB, installed unattended and every installed file compared with its source, and "packer
// info" must list every package. It reports the times, the installer's size, its packages and
// the install's peak memory and temporary space. Not part of ./test.sh: it needs some 23 GB of
// disk (the packages that "packer info" unpacks among them) and minutes.
//
//   bench_large [GiB]      (the payload's size; default 6)

#include "bench_common.h"
#include "host/host.h"

#include <cinttypes>

namespace {

// Noise from a 64-bit xorshift: fast, and not compressible.
bool write_noise(const std::string& path, long long size, uint64_t seed)
{
    FILE* out = fopen(path.c_str(), "wb");
    if (!out)
        return false;
    std::vector<uint64_t> block(1 << 17);
    uint64_t state = seed * 0x9E3779B97F4A7C15ull + 1;
    for (long long left = size; left > 0;) {
        for (uint64_t& word : block) {
            state ^= state << 13;
            state ^= state >> 7;
            state ^= state << 17;
            word = state;
        }
        size_t bytes = static_cast<size_t>(std::min<long long>(left, static_cast<long long>(block.size() * 8)));
        if (fwrite(block.data(), 1, bytes, out) != bytes) {
            fclose(out);
            return false;
        }
        left -= static_cast<long long>(bytes);
    }
    return fclose(out) == 0;
}

bool same_file(const std::string& a, const std::string& b) { return bench::same_bytes(a, b); }

} // namespace

int main(int argc, char** argv)
{
    host_attach_reports();
    long gib = argc > 1 ? atol(argv[1]) : 6;
    if (gib < 5 || gib > 64) {
        fprintf(stderr, "usage: bench_large [GiB, 5 to 64]\n");
        return 2;
    }
    const char* base = getenv("TMPDIR");
    std::string work = std::string(base && base[0] ? base : "/tmp") + "/bench-large-XXXXXX";
    if (!mkdtemp(work.data()))
        return 1;
    std::string payload = work + "/payload";
    mkdir(payload.c_str(), 0755);
    const long long gib_bytes = static_cast<long long>(1) << 30;
    long long noise = (static_cast<long long>(gib) - 1) * gib_bytes / 2;
    bool made = write_noise(payload + "/noise0.bin", noise, 1) && write_noise(payload + "/noise1.bin", noise, 2);
    int sparse = open((payload + "/sparse.bin").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    made = made && sparse >= 0 && ftruncate(sparse, gib_bytes) == 0;
    if (sparse >= 0)
        close(sparse);
    if (!made) {
        fprintf(stderr, "cannot make the payload in %s\n", work.c_str());
        bench::run({ "rm", "-rf", work });
        return 1;
    }
    bench::TREE_SIZE size;
    std::string extra = "\t<INSTALLER_CLIENT path=\"" ORLU_BUILD_DIR "\" filename=\"installer\" destname=\"setup\" platform=\"linux\" compress_data=\"yes\"/>\n";
    bench::write_text(work + "/installer.xml", bench::installer_xml(bench::file_elements({ payload }, &size), "1048576", extra));
    printf("payload: %lld files, %.2f GiB\n", size.files, size.bytes / 1073741824.0);

    bool ok = true;
    bench::RUN packed = bench::run({ ORLU_BUILD_DIR "/packer", "build", work + "/installer.xml", "-o", work + "/setup",
        "--quiet", "--level", "1" });
    long long installer_size = bench::size_of(work + "/setup");
    printf("packer build --level 1: %.1f s, status %d, installer %.2f GiB%s\n", packed.seconds, packed.status,
        installer_size / 1073741824.0, installer_size > (4ll << 30) ? " (over 4 GiB)" : " (NOT over 4 GiB)");
    ok = packed.ok && installer_size > (4ll << 30);

    if (ok) {
        std::string home = work + "/home";
        mkdir(home.c_str(), 0755);
        mkdir((home + "/tmp").c_str(), 0755);
        long long temp_peak = 0;
        bench::RUN installed = bench::run_watching({ work + "/setup", "-a", "-i", work + "/target", "-k", "none" },
            work + "/log.txt", { "HOME=" + home }, home + "/tmp", &temp_peak);
        printf("unattended install: %.1f s, status %d, peak memory %.1f MiB, temporary space %.1f MiB\n",
            installed.seconds, installed.status, installed.peak_kib / 1024.0, temp_peak / 1048576.0);
        ok = installed.ok;
        if (!ok) {
            // The install's own account of what went wrong.
            std::string log = work + "/log.txt";
            FILE* in = fopen(log.c_str(), "r");
            char line[4096];
            int shown = 0;
            while (in && fgets(line, sizeof line, in) && shown++ < 40)
                printf("  | %s", line);
            if (in)
                fclose(in);
        }
        for (const char* name : { "noise0.bin", "noise1.bin", "sparse.bin" }) {
            bool same = ok && same_file(payload + "/" + name, work + "/target/payload/" + name);
            printf("  %s: %s\n", name, same ? "installed whole" : "DIFFERENT OR MISSING");
            ok = ok && same;
        }
        // The publisher's look inside: every package listed, the database read from the main one.
        bench::RUN info = bench::run({ ORLU_BUILD_DIR "/packer", "info", work + "/setup" }, work + "/info.txt");
        std::string listing = bench::read_text(work + "/info.txt");
        bool listed = info.ok && listing.find("Package installer.pkg.1,") != std::string::npos
            && listing.find("Package installer.pkg,") != std::string::npos && listing.find("\nDatabase\n") != std::string::npos;
        printf("packer info: %.1f s, status %d, %s\n", info.seconds, info.status,
            listed ? "every package and the database listed" : "PACKAGES OR DATABASE MISSING");
        ok = ok && listed;
    }
    printf("%s\n", ok ? "PASSED: an installer over 4 GiB packs, checks, installs and is listed" : "FAILED");
    if (getenv("BENCH_KEEP"))
        printf("kept in %s\n", work.c_str());
    else
        bench::run({ "rm", "-rf", work });
    return ok ? 0 : 1;
}
