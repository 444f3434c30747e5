// The unattended install attacked and interrupted, end to end with real installers: links planted
// in the target, kill -9 at many points followed by a second run, two runs at once, every signal
// that ends a run during unpacking and during installing, a closed output pipe, and data sets
// damaged by someone who computed the check again (a looping member table, a cyclic chain, a
// database cut short).

#include <gtest/gtest.h>

#include <dirent.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "installer/engine/data_set.h"
#include "io/folder.h"
#include "io/stamp.h"
#include "test_support.h"

namespace {

struct stat lstat_of(const std::string& path)
{
    struct stat facts {};
    lstat(path.c_str(), &facts);
    return facts;
}

// The tree of an installation without its log, which names the folder it went into.
std::map<std::string, std::string> installed_tree(const std::string& folder)
{
    std::map<std::string, std::string> tree = tree_of(folder);
    tree.erase("install_log.txt");
    return tree;
}

const char* signal_name(int signal_number)
{
    return signal_number == SIGINT ? "SIGINT" : signal_number == SIGTERM ? "SIGTERM" : signal_number == SIGHUP ? "SIGHUP" : "SIGPIPE";
}

// The most bytes any private name in `folder` holds, 0 when there is none.
off_t part_bytes(const std::string& folder)
{
    off_t most = 0;
    DIR* listing = opendir(folder.c_str());
    if (!listing)
        return 0;
    for (struct dirent* entry = readdir(listing); entry; entry = readdir(listing)) {
        if (strncmp(entry->d_name, ".orlu-part.", 11) != 0)
            continue;
        struct stat facts = lstat_of(folder + "/" + entry->d_name);
        most = facts.st_size > most ? facts.st_size : most;
    }
    closedir(listing);
    return most;
}

// The ends of a tree comparison, short enough to read in a failure.
std::string describe_difference(const std::map<std::string, std::string>& got, const std::map<std::string, std::string>& want)
{
    std::string text;
    for (const auto& entry : want) {
        auto found = got.find(entry.first);
        if (found == got.end())
            text += "missing " + entry.first + "\n";
        else if (found->second != entry.second)
            text += "differs " + entry.first + " (" + std::to_string(found->second.size()) + " of "
                + std::to_string(entry.second.size()) + " bytes)\n";
    }
    for (const auto& entry : got) {
        if (!want.count(entry.first))
            text += "extra " + entry.first + "\n";
    }
    return text;
}

class INSTALL_FAULTS : public ::testing::Test {
protected:
    void SetUp() override
    {
        source = temp.file("source");
        home = temp.file("home");
        mkdir(source.c_str(), 0755);
        mkdir((source + "/payload").c_str(), 0755);
        mkdir(home.c_str(), 0755);
        mkdir((home + "/tmp").c_str(), 0755);
        installer = temp.file("setup");
    }

    void pack(const std::string& files, const std::string& allow_system_paths = "no")
    {
        std::string configuration =
            "<INSTALLER default_language_name=\"en\" installation_id=\"77\">\n"
            "\t<APPLICATION version=\"1\" build_number=\"1\" app_string=\"faults\"/>\n"
            "\t<LOG dest_path_from_inst_loc=\"$HERE\" system_dest_path_from_inst_loc=\"\"/>\n"
            "\t<INSTALLATION name=\"main\" allow_system_paths=\"" + allow_system_paths + "\" default_path=\"$ROOT0/faults\">\n"
            + files
            + "\t</INSTALLATION>\n"
              "\t<LANGUAGE name=\"en\">\n\t\t<LANGUAGE_TITLE string=\"English\"/>\n\t</LANGUAGE>\n"
              "</INSTALLER>\n";
        ASSERT_TRUE(write_file(source + "/installer.xml", configuration));
        RUN_RESULT run = run_program(packer_path(),
            { "build", source + "/installer.xml", "-o", installer, "--client", installer_path(), "--quiet" },
            { "SOURCE_DATE_EPOCH=1700000000" });
        ASSERT_EQ(run.status, 0) << run.errors;
    }

    std::string file_line(const std::string& name, const std::string& folder, const std::string& overwrite = "always",
        const std::string& extra = "")
    {
        return "\t\t<FILE src_name=\"" + name + "\" src_path_from_xml=\"payload\" dest_path_from_inst_loc=\"" + folder
            + "\" overwrite=\"" + overwrite + "\"" + extra + "/>\n";
    }

    // A small first file, then `count` incompressible files of `size` bytes in folders of their
    // own, under every overwrite rule.
    void pack_large(int count, size_t size)
    {
        ASSERT_TRUE(write_file(source + "/payload/first.txt", "first\n"));
        std::string files = file_line("first.txt", "$HERE");
        static const char* const rules[] = { "always", "older", "absent" };
        for (int i = 0; i < count; ++i) {
            std::string name = "big" + std::to_string(i) + ".bin";
            ASSERT_TRUE(write_file(source + "/payload/" + name, noise_bytes(size, static_cast<unsigned>(i))));
            files += file_line(name, "$HERE/d" + std::to_string(i), rules[i % 3]);
        }
        pack(files);
    }

    std::vector<std::string> environment() const
    {
        return { "HOME=" + home, "DISPLAY=", "TMPDIR=" + home + "/tmp", "XDG_UTILS_INSTALL_MODE=user" };
    }

    std::vector<std::string> arguments(const std::string& target) const { return { "-a", "-i", target, "-k", "none" }; }

    RUN_RESULT install(const std::string& target)
    {
        return run_program(installer, arguments(target), environment());
    }

    // Nothing of any run may stay in the temporary folders.
    void expect_no_temporary_files()
    {
        std::map<std::string, std::string> left = tree_of(home + "/tmp");
        EXPECT_TRUE(left.empty()) << describe_difference(left, {});
    }

    TEMP_FOLDER temp;
    std::string source, home, installer;
};

} // namespace

TEST_F(INSTALL_FAULTS, planted_links_never_lead_a_root_install_outside_the_target)
{
    ASSERT_TRUE(write_file(source + "/payload/sample-app.png", "picture"));
    ASSERT_TRUE(write_file(source + "/payload/sample-app", "#!/bin/sh\n"));
    pack(file_line("sample-app.png", "$HERE/share", "always", " switch_user=\"yes\"")
        + file_line("sample-app", "$HERE/bin"));

    // Victims outside the target that the installing user owns (root, when the suite runs as
    // root): a file, a folder and a log.
    std::string victims = temp.file("victims");
    mkdir(victims.c_str(), 0755);
    ASSERT_TRUE(write_file(victims + "/passwd", "root:x:0:0\n"));
    ASSERT_TRUE(write_file(victims + "/log", "system log\n"));
    chmod((victims + "/passwd").c_str(), 0644);
    std::map<std::string, std::string> victims_before = tree_of(victims);
    struct stat passwd_before = lstat_of(victims + "/passwd");

    std::string target = temp.file("target");
    mkdir(target.c_str(), 0777);
    mkdir((target + "/share").c_str(), 0777);
    ASSERT_EQ(symlink((victims + "/passwd").c_str(), (target + "/share/sample-app.png").c_str()), 0);
    ASSERT_EQ(symlink(victims.c_str(), (target + "/bin").c_str()), 0);
    ASSERT_EQ(symlink((victims + "/log").c_str(), (target + "/install_log.txt").c_str()), 0);

    RUN_RESULT run = install(target);
    EXPECT_EQ(run.status, 1) << run.output;
    EXPECT_NE(run.output.find("FAILED " + target + "/bin/sample-app: its folder cannot be made: Not a directory\n"), std::string::npos) << run.output;

    EXPECT_EQ(tree_of(victims), victims_before);
    struct stat passwd_after = lstat_of(victims + "/passwd");
    EXPECT_EQ(passwd_after.st_mode, passwd_before.st_mode);
    EXPECT_EQ(passwd_after.st_uid, passwd_before.st_uid);
    // The file link was replaced by the file, with its set-id bits; the folder link stays a link.
    struct stat picture = lstat_of(target + "/share/sample-app.png");
    EXPECT_TRUE(S_ISREG(picture.st_mode));
    EXPECT_EQ(picture.st_mode & 07777, 06755u);
    EXPECT_EQ(read_file(target + "/share/sample-app.png"), "picture");
    EXPECT_TRUE(S_ISLNK(lstat_of(target + "/bin").st_mode));
    EXPECT_TRUE(S_ISREG(lstat_of(target + "/install_log.txt").st_mode));
    EXPECT_NE(read_file(target + "/install_log.txt").find("Installation completed with 1 errors.\n"), std::string::npos);
    expect_no_temporary_files();
}

TEST_F(INSTALL_FAULTS, kill_nine_at_twenty_points_then_a_second_run_ends_as_a_clean_install)
{
    const int count = 8;
    pack_large(count, 3u << 20);
    std::string reference = temp.file("reference");
    RUN_RESULT clean = install(reference);
    ASSERT_EQ(clean.status, 0) << clean.output;
    std::map<std::string, std::string> want = installed_tree(reference);
    ASSERT_EQ(want.size(), 1u + 2u * count);

    // One point before the install starts (the data set is read in place: there is no unpacking),
    // then for each big file one while it is being written and one just after it was installed.
    struct POINT {
        std::string text;   // kill once the output holds this
        int file;           // or once this file's private name has bytes (-1: none)
    };
    std::vector<POINT> points = { { "Loading automatic pack...", -1 } };
    for (int i = 0; i < count; ++i) {
        points.push_back({ "", i });
        points.push_back({ "Installed " + temp.file("target") + "/d" + std::to_string(i) + "/", -1 });
    }
    ASSERT_EQ(points.size(), 17u);

    int mid_file = 0;
    for (size_t p = 0; p < points.size(); ++p) {
        std::string target = temp.file("target");
        {
            RUNNING_PROGRAM run(installer, arguments(target), environment());
            if (points[p].file < 0) {
                run.wait_for_output(points[p].text);
            } else {
                // The run goes on in slices of a fraction of a millisecond, stopped between them
                // while the folder is looked at, so the kill lands inside the file.
                std::string folder = target + "/d" + std::to_string(points[p].file);
                bool seen = false;
                while (!seen && run.running()) {
                    run.poll_output(0);
                    run.send(SIGSTOP);
                    seen = part_bytes(folder) > 0;
                    if (!seen) {
                        run.send(SIGCONT);
                        usleep(300);
                    }
                }
                mid_file += seen;
            }
            run.send(SIGKILL);
            run.finish();
        }
        RUN_RESULT again = install(target);
        EXPECT_EQ(again.status, 0) << "point " << p << "\n" << again.output;
        std::map<std::string, std::string> got = installed_tree(target);
        EXPECT_TRUE(got == want) << "point " << p << "\n" << describe_difference(got, want);
        expect_no_temporary_files();
        run_program("/bin/rm", { "-rf", target });
    }
    // A file point whose file was written within one slice is met a little late: on a busy
    // machine a slice can last long enough for a whole file. Most must still land while the file
    // is being written, or the points would not test what they are meant to.
    RecordProperty("kills_inside_a_file", mid_file);
    EXPECT_GE(mid_file, count / 2);
}

TEST_F(INSTALL_FAULTS, two_runs_of_one_installer_at_once_both_succeed)
{
    pack_large(4, 2u << 20);
    std::string reference = temp.file("reference");
    ASSERT_EQ(install(reference).status, 0);
    std::map<std::string, std::string> want = installed_tree(reference);

    RUNNING_PROGRAM first(installer, arguments(temp.file("one")), environment());
    RUNNING_PROGRAM second(installer, arguments(temp.file("two")), environment());
    EXPECT_EQ(end_within(first, 120), 0) << first.output;
    EXPECT_EQ(end_within(second, 120), 0) << second.output;
    EXPECT_TRUE(installed_tree(temp.file("one")) == want);
    EXPECT_TRUE(installed_tree(temp.file("two")) == want);
    expect_no_temporary_files();
}

TEST_F(INSTALL_FAULTS, every_signal_during_the_install_ends_the_run_after_the_file_in_hand)
{
    pack_large(6, 4u << 20);
    std::string reference = temp.file("reference");
    ASSERT_EQ(install(reference).status, 0);
    std::map<std::string, std::string> want = installed_tree(reference);

    for (int signal_number : { SIGINT, SIGTERM, SIGHUP, SIGPIPE }) {
        std::string target = temp.file("target");
        RUNNING_PROGRAM run(installer, arguments(target), environment());
        ASSERT_TRUE(run.wait_for_output("Installed " + target + "/first.txt\n")) << run.output;
        run.send(signal_number);
        int status = end_within(run, 60);
        std::string name = signal_name(signal_number);
        EXPECT_EQ(status, 128 + signal_number) << name << "\n" << run.output;
        EXPECT_NE(run.errors.find("Interrupted by " + name + " while installing: "), std::string::npos) << run.errors;

        // Every file there is whole, and the log says what was done and that the run was cut.
        std::map<std::string, std::string> got = installed_tree(target);
        EXPECT_LT(got.size(), want.size()) << name;
        for (const auto& entry : got)
            EXPECT_EQ(entry.second, want[entry.first]) << name << " " << entry.first;
        std::string log = read_file(target + "/install_log.txt");
        EXPECT_NE(log.find("Installed \"" + target + "/first.txt\"\n"), std::string::npos) << log;
        EXPECT_NE(log.find("Installation interrupted by " + name + " after "), std::string::npos) << log;
        EXPECT_EQ(log.find("Installation completed"), std::string::npos) << log;
        expect_no_temporary_files();
        run_program("/bin/rm", { "-rf", target });
    }
}

TEST_F(INSTALL_FAULTS, a_closed_output_pipe_ends_the_run_with_a_line_on_standard_error)
{
    pack_large(6, 4u << 20);
    std::string target = temp.file("target");
    RUNNING_PROGRAM run(installer, arguments(target), environment());
    // As "| head -n 15" would: take the first lines and close.
    ASSERT_TRUE(run.wait_for_output("Installed " + target + "/first.txt\n")) << run.output;
    run.close_output();
    EXPECT_EQ(end_within(run, 60), 128 + SIGPIPE);
    EXPECT_NE(run.errors.find("Interrupted by SIGPIPE while installing: "), std::string::npos) << run.errors;
    EXPECT_NE(read_file(target + "/install_log.txt").find("Installation interrupted by SIGPIPE"), std::string::npos);
    expect_no_temporary_files();
}

namespace {

INT_U32 u32_at(const std::string& bytes, size_t at)
{
    INT_U32 value;
    memcpy(&value, bytes.data() + at, 4);
    return value;
}

void put_u32(std::string* bytes, size_t at, INT_U32 value) { memcpy(&(*bytes)[at], &value, 4); }

// The package of a finished installer, as the run-time unpacks it (byte-order byte first), and
// where its chunks begin in the file.
bool package_of(const std::string& installer, const TEMP_FOLDER& temp, std::string* package, size_t* chunk_offset)
{
    FOLDER exe_folder, out;
    if (!exe_folder.set_raw(temp.path().c_str()) || !out.set_raw(temp.path().c_str()))
        return false;
    std::string name = installer.substr(installer.find_last_of('/') + 1);
    DATA_SET_HEADER header;
    INT_S32 chunks = 0;
    if (!unpack_installer(exe_folder, name.c_str(), out, "unpacked.pkg", nullptr, &header, &chunks))
        return false;
    *package = read_file(temp.file("unpacked.pkg"));
    // Positions of the data set count behind the file's first byte.
    *chunk_offset = header.chunk_start + 1;
    return true;
}

// The installer again, with another package in plain chunks (or zlib streams of half the cache
// size when `compressed`) and the stamp's check computed over the new data set: what someone who
// changes an installer on purpose would do.
bool repack(const std::string& installer, const std::string& package, size_t chunk_offset, bool compressed = false)
{
    std::string bytes = read_file(installer);
    size_t stamp_at = 0;
    if (!find_stamp_in(reinterpret_cast<const INT_U8*>(bytes.data()), bytes.size(), &stamp_at))
        return false;
    STAMP_RECORD record;
    stamp_record_from_bytes(reinterpret_cast<const INT_U8*>(bytes.data()) + stamp_at, &record);
    bytes.resize(chunk_offset);
    bytes[chunk_offset - 1] = compressed ? 1 : 0;
    bytes += data_set_chunks(package.substr(1), compressed ? 1u << 19 : 1u << 20, compressed);
    size_t data_start = static_cast<size_t>(record.data_offset) + 1;
    uLong crc = crc32(0L, Z_NULL, 0);
    crc = crc32(crc, reinterpret_cast<const Bytef*>(bytes.data() + data_start), static_cast<uInt>(bytes.size() - data_start));
    set_stamp_check(&record, static_cast<INT_U32>(bytes.size() - data_start), static_cast<INT_U32>(crc));
    INT_U8 record_bytes[STAMP_RECORD_SIZE];
    stamp_record_to_bytes(record, record_bytes);
    memcpy(&bytes[stamp_at], record_bytes, STAMP_RECORD_SIZE);
    return write_file(installer, bytes);
}

} // namespace

TEST_F(INSTALL_FAULTS, every_signal_during_the_unpacking_ends_the_run_cleanly)
{
    // A data set that cannot be read in place is unpacked to the temporary folder, as before:
    // bytes behind the package's last block leave its end unknown.
    pack_large(6, 4u << 20);
    std::string package;
    size_t chunk_offset = 0;
    ASSERT_TRUE(package_of(installer, temp, &package, &chunk_offset));
    ASSERT_TRUE(repack(installer, package + std::string(3000, '\0'), chunk_offset, true));
    int interrupted = 0;
    for (int signal_number : { SIGINT, SIGTERM, SIGHUP, SIGPIPE }) {
        std::string target = temp.file("target");
        RUNNING_PROGRAM run(installer, arguments(target), environment());
        ASSERT_TRUE(run.wait_for_output("Unpacking...")) << run.output;
        run.send(signal_number);
        int status = end_within(run, 60);
        std::string name = signal_name(signal_number);
        if (run.output.find("Installing \"main\"") != std::string::npos)
            continue; // the unpacking was over before the signal came: the install test covers this
        ++interrupted;
        EXPECT_EQ(status, 128 + signal_number) << name << "\n" << run.output;
        EXPECT_NE(run.errors.find("Interrupted by " + name + " while unpacking the installation data; nothing was installed\n"),
            std::string::npos) << run.errors;
        EXPECT_NE(access(target.c_str(), F_OK), 0) << name;
        expect_no_temporary_files();
    }
    EXPECT_GE(interrupted, 3);
}

TEST_F(INSTALL_FAULTS, a_looping_member_table_and_a_cyclic_chain_end_within_a_second)
{
    ASSERT_TRUE(write_file(source + "/payload/big.bin", noise_bytes(10u << 20, 9)));
    ASSERT_TRUE(write_file(source + "/payload/small.txt", "small"));
    pack(file_line("big.bin", "$HERE") + file_line("small.txt", "$HERE"));
    std::string package;
    size_t chunk_offset = 0;
    ASSERT_TRUE(package_of(installer, temp, &package, &chunk_offset));
    std::string original = read_file(installer);

    // Root record at 26 (file offset 27): name length, "root", first_entry, last_entry.
    INT_U32 first_entry = u32_at(package, 1 + 26 + 8);
    INT_U32 last_entry = u32_at(package, 1 + 26 + 12);
    ASSERT_GT(last_entry, first_entry);
    INT_U32 last_name_length = u32_at(package, 1 + last_entry);
    INT_U32 first_name_length = u32_at(package, 1 + first_entry);
    ASSERT_EQ(package.substr(1 + first_entry + 4, first_name_length), "main0001");

#ifdef __SANITIZE_ADDRESS__
    const std::string cpu_seconds = "3"; // the sanitizers' own work, not ours
#else
    const std::string cpu_seconds = "1";
#endif
    auto limited = [&](const std::string& target) {
        return run_program("/bin/sh", { "-c", "ulimit -t " + cpu_seconds + "; exec \"$0\" -a -i \"$1\" -k none", installer, target },
            environment());
    };

    // The table: the last entry leads back to the first, across the 10 MB member.
    std::string looping = package;
    put_u32(&looping, 1 + last_entry + 4 + last_name_length + 8, first_entry);
    ASSERT_TRUE(repack(installer, looping, chunk_offset));
    RUN_RESULT run = limited(temp.file("table"));
    EXPECT_EQ(run.status, 2) << run.output;
    EXPECT_NE(run.output.find("ERROR: The installer file is damaged\n"), std::string::npos) << run.output;
    EXPECT_NE(access(temp.file("table").c_str(), F_OK), 0);
    expect_no_temporary_files();

    // The chain: the big member's last block leads back to its first.
    ASSERT_TRUE(write_file(installer, original));
    INT_U32 first_block = u32_at(package, 1 + first_entry + 4 + first_name_length);
    INT_U32 last_block = u32_at(package, 1 + first_entry + 4 + first_name_length + 4);
    std::string cyclic = package;
    put_u32(&cyclic, 1 + last_block, first_block);
    ASSERT_TRUE(repack(installer, cyclic, chunk_offset));
    run = limited(temp.file("chain"));
    EXPECT_EQ(run.status, 1) << run.output;
    EXPECT_NE(run.output.find("FAILED " + temp.file("chain") + "/big.bin: Error: Unable to read from file member chain loops.\n"), std::string::npos) << run.output;
    EXPECT_NE(run.output.find("1 installed, 0 skipped, 1 failed\n"), std::string::npos) << run.output;
    std::map<std::string, std::string> got = installed_tree(temp.file("chain"));
    EXPECT_EQ(got.size(), 1u) << describe_difference(got, {});
    expect_no_temporary_files();
}

TEST_F(INSTALL_FAULTS, a_database_cut_short_under_a_recomputed_check_installs_nothing)
{
    std::string files;
    for (int i = 0; i < 8; ++i) {
        std::string name = "f" + std::to_string(i) + ".txt";
        ASSERT_TRUE(write_file(source + "/payload/" + name, name));
        files += file_line(name, "$HERE");
    }
    pack(files);
    std::string package;
    size_t chunk_offset = 0;
    ASSERT_TRUE(package_of(installer, temp, &package, &chunk_offset));

    // database.bin is the last member; its blocks are the last ones of the file. Cutting the
    // stream inside the third file record: the counts say eight.
    INT_U32 last_entry = u32_at(package, 1 + 26 + 12);
    INT_U32 name_length = u32_at(package, 1 + last_entry);
    ASSERT_EQ(package.substr(1 + last_entry + 4, name_length), "database.bin");
    INT_U32 first_block = u32_at(package, 1 + last_entry + 4 + name_length);
    std::string stream;
    const INT_U32 block = 1024;
    for (INT_U32 at = first_block; at; at = u32_at(package, 1 + at)) {
        INT_U32 used = u32_at(package, 1 + at + 4 + block);
        stream.append(package, 1 + at + 4, used);
    }
    size_t third = stream.find("f2.txt");
    ASSERT_NE(third, std::string::npos);
    // Rewrite the member's `used` fields so that the stream ends at the cut.
    std::string cut = package;
    INT_U32 kept = 0;
    for (INT_U32 at = first_block; at; at = u32_at(cut, 1 + at)) {
        INT_U32 used = u32_at(cut, 1 + at + 4 + block);
        INT_U32 keep = kept + used <= third ? used : (kept < third ? static_cast<INT_U32>(third) - kept : 0);
        put_u32(&cut, 1 + at + 4 + block, keep);
        kept += keep;
    }
    ASSERT_TRUE(repack(installer, cut, chunk_offset));
    RUN_RESULT run = install(temp.file("target"));
    EXPECT_EQ(run.status, 2) << run.output;
    EXPECT_NE(run.output.find("ERROR: The installer file is damaged\n"), std::string::npos) << run.output;
    EXPECT_EQ(run.output.find("without any errors"), std::string::npos);
    EXPECT_NE(access(temp.file("target").c_str(), F_OK), 0);
    expect_no_temporary_files();
}
