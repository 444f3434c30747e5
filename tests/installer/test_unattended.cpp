// The unattended install, end to end: a fixture is packed with the real packer into a finished
// installer, which then installs into a temporary folder with a temporary home.

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utime.h>

#include <string>
#include <vector>

#include "test_support.h"

namespace {

// What the fixture installs, relative to the install folder.
const char* const TOOL_BYTES = "#!/bin/sh\necho tool\n";

std::string binary_bytes(size_t size)
{
    std::string bytes(size, 0);
    for (size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<char>((i * 37 + 11) & 0xFF);
    return bytes;
}

mode_t mode_of(const std::string& path)
{
    struct stat facts;
    return stat(path.c_str(), &facts) == 0 ? facts.st_mode & 07777 : 0;
}

bool exists(const std::string& path)
{
    struct stat facts;
    return lstat(path.c_str(), &facts) == 0;
}

class UNATTENDED : public ::testing::Test {
protected:
    void SetUp() override
    {
        source = temp.file("source");
        home = temp.file("home");
        target = temp.file("target");
        mkdir(source.c_str(), 0755);
        mkdir((source + "/payload").c_str(), 0755);
        mkdir(home.c_str(), 0755);
        mkdir((home + "/Desktop").c_str(), 0755);
        write_file(source + "/payload/tool", TOOL_BYTES);
        write_file(source + "/payload/data.bin", binary_bytes(70000));
        write_file(source + "/payload/notes.txt", "new notes\n");
        write_file(source + "/payload/config.ini", "packed config\n");
        // Each test's installer has a name of its own, so runs in parallel use their own
        // temporary folders.
        installer = temp.file(std::string("setup-") + ::testing::UnitTest::GetInstance()->current_test_info()->name());
    }

    std::string configuration(const std::string& files) const
    {
        return "<INSTALLER default_language_name=\"en\" installation_id=\"4242\">\n"
               "\t<APPLICATION version=\"1\" build_number=\"1\" app_string=\"fixture\"/>\n"
               "\t<LOG dest_path_from_inst_loc=\"$HERE\" system_dest_path_from_inst_loc=\"\"/>\n"
               "\t<INSTALLATION name=\"main\" allow_system_paths=\"no\" default_path=\"$ROOT0/fixture\">\n"
            + files
            + "\t\t<SHORTCUT type=\"application\" exec=\"tool\" name=\"Fixture Tool\" menu_path=\"\" platform=\"linux\" arguments=\"--go\" exec_path=\"$HERE/bin\"/>\n"
              "\t\t<SHORTCUT type=\"application\" exec=\"tool\" name=\"Fixture Tool\" menu_path=\"Fixtures\" platform=\"\" exec_path=\"$HERE/bin\"/>\n"
              "\t</INSTALLATION>\n"
              "\t<INSTALLATION name=\"second\" allow_system_paths=\"no\" default_path=\"$ROOT0/fixture2\">\n"
              "\t\t<FILE src_name=\"notes.txt\" src_path_from_xml=\"payload\" dest_path_from_inst_loc=\"$HERE\"/>\n"
              "\t</INSTALLATION>\n"
              "\t<LANGUAGE name=\"en\">\n\t\t<LANGUAGE_TITLE string=\"English\"/>\n\t</LANGUAGE>\n"
              "</INSTALLER>\n";
    }

    static std::string standard_files()
    {
        return "\t\t<FILE src_name=\"tool\" src_path_from_xml=\"payload\" dest_path_from_inst_loc=\"$HERE/bin\" overwrite=\"always\"/>\n"
               "\t\t<FILE src_name=\"data.bin\" src_path_from_xml=\"payload\" dest_path_from_inst_loc=\"$HERE/data\" overwrite=\"always\"/>\n"
               "\t\t<FILE src_name=\"notes.txt\" src_path_from_xml=\"payload\" dest_path_from_inst_loc=\"$HERE/docs\" overwrite=\"older\"/>\n"
               "\t\t<FILE src_name=\"config.ini\" src_path_from_xml=\"payload\" dest_path_from_inst_loc=\"$HERE/etc\" overwrite=\"absent\"/>\n"
               "\t\t<FILE platform=\"windows\" src_name=\"tool\" dest_name=\"tool.exe\" src_path_from_xml=\"payload\" dest_path_from_inst_loc=\"$HERE/bin\"/>\n";
    }

    void pack(const std::string& files)
    {
        ASSERT_TRUE(write_file(source + "/installer.xml", configuration(files)));
        RUN_RESULT run = run_program(packer_path(),
            { "build", source + "/installer.xml", "-o", installer, "--client", installer_path(), "--quiet" },
            { "SOURCE_DATE_EPOCH=1700000000" });
        ASSERT_EQ(run.status, 0) << run.errors;
    }

    RUN_RESULT install(std::vector<std::string> arguments = {})
    {
        std::vector<std::string> all = { "-a", "-i", target };
        all.insert(all.end(), arguments.begin(), arguments.end());
        return run_program(installer, all,
            { "HOME=" + home, "XDG_UTILS_INSTALL_MODE=user", "DISPLAY=", "XDG_DATA_HOME=" + home + "/.local/share",
                "XDG_CONFIG_HOME=" + home + "/.config" });
    }

    std::string log() { return read_file(target + "/install_log.txt"); }

    TEMP_FOLDER temp;
    std::string source, home, target, installer;
};

} // namespace

TEST_F(UNATTENDED, installs_every_file_the_log_and_the_shortcuts)
{
    pack(standard_files());
    RUN_RESULT run = install();
    ASSERT_EQ(run.status, 0) << run.output << run.errors;

    EXPECT_EQ(read_file(target + "/bin/tool"), TOOL_BYTES);
    EXPECT_EQ(read_file(target + "/data/data.bin"), binary_bytes(70000));
    EXPECT_EQ(read_file(target + "/docs/notes.txt"), "new notes\n");
    EXPECT_EQ(read_file(target + "/etc/config.ini"), "packed config\n");
    EXPECT_FALSE(exists(target + "/bin/tool.exe")); // another platform's file
    EXPECT_EQ(mode_of(target + "/bin/tool"), 0755u);
    EXPECT_EQ(mode_of(target + "/data/data.bin"), 0755u);

    EXPECT_EQ(log(),
        "Installed Files\n---------------\n\n"
        "Language: English\n"
        "Settings: 4242 0 $ROOT1" + target + "\n"
        "\n"
        "Installed \"" + target + "/bin/tool\"\n"
        "Installed \"" + target + "/data/data.bin\"\n"
        "Installed \"" + target + "/docs/notes.txt\"\n"
        "Installed \"" + target + "/etc/config.ini\"\n"
        "create_desktop_shortcut( 1, \"tool\", \"--go\", \"Fixture Tool\", \"" + target + "/bin\", \"\", \"null\" );\n"
        "create_os_menu_shortcut( 1, \"tool\", \"\", \"Fixture Tool\", \"Fixtures\", \"" + target + "/bin\", \"\", \"null\" );\n"
        "Installation completed without any errors.\n");

    EXPECT_EQ(read_file(home + "/Desktop/Fixture_Tool.desktop"),
        "[Desktop Entry]\nEncoding=UTF-8\nValue=1.0\nType=Application\nName=Fixture Tool\nComment=Fixture Tool\n"
        "Exec=\"" + target + "/bin/tool\" --go\nIcon=\n");
    // Registered with the desktop's menu tool in the user's own menus.
    std::string entry = read_file(home + "/.local/share/applications/orlu-local.Fixtures_Fixture_Tool.desktop");
    EXPECT_NE(entry.find("Exec=\"" + target + "/bin/tool\" "), std::string::npos) << entry;

    EXPECT_NE(run.output.find("Installed " + target + "/bin/tool\n"), std::string::npos);
    EXPECT_NE(run.output.find("4 installed, 0 skipped, 0 failed\nDone\n"), std::string::npos) << run.output;
}

TEST_F(UNATTENDED, overwrite_modes_decide_on_a_second_run)
{
    pack(standard_files());
    ASSERT_EQ(install().status, 0);
    write_file(target + "/docs/notes.txt", "edited by the user\n");
    write_file(target + "/etc/config.ini", "edited by the user\n");
    write_file(target + "/bin/tool", "edited by the user\n");
    // A newer file than the data set stays; an older one is replaced.
    struct utimbuf newer = { 1800000000, 1800000000 };
    utime((target + "/docs/notes.txt").c_str(), &newer);

    RUN_RESULT run = install();
    ASSERT_EQ(run.status, 0) << run.output;
    EXPECT_EQ(read_file(target + "/bin/tool"), TOOL_BYTES);                       // always
    EXPECT_EQ(read_file(target + "/docs/notes.txt"), "edited by the user\n");     // older: kept
    EXPECT_EQ(read_file(target + "/etc/config.ini"), "edited by the user\n");     // absent: kept
    EXPECT_NE(log().find("Skipped \"" + target + "/docs/notes.txt\"\n"), std::string::npos);
    EXPECT_NE(log().find("Skipped \"" + target + "/etc/config.ini\"\n"), std::string::npos);

    struct utimbuf older = { 1600000000, 1600000000 };
    utime((target + "/docs/notes.txt").c_str(), &older);
    ASSERT_EQ(install().status, 0);
    EXPECT_EQ(read_file(target + "/docs/notes.txt"), "new notes\n");
}

TEST_F(UNATTENDED, a_file_that_cannot_be_placed_is_counted_and_the_run_goes_on)
{
    pack(standard_files());
    mkdir(target.c_str(), 0755);
    // A plain file where the data folder should be.
    write_file(target + "/data", "in the way");
    RUN_RESULT run = install();
    EXPECT_NE(run.status, 0);
    EXPECT_NE(run.output.find("FAILED " + target + "/data/data.bin\n"), std::string::npos) << run.output;
    EXPECT_NE(run.output.find("3 installed, 0 skipped, 1 failed\n"), std::string::npos) << run.output;
    EXPECT_EQ(read_file(target + "/docs/notes.txt"), "new notes\n");
    EXPECT_NE(log().find("\"" + target + "/data/data.bin\" failed to unpack (main0002)\n"), std::string::npos) << log();
    EXPECT_NE(log().find("Installation completed with 1 errors.\n"), std::string::npos);
}

TEST_F(UNATTENDED, install_type_and_shortcut_options)
{
    pack(standard_files());
    RUN_RESULT run = install({ "-t", "second", "-k", "none" });
    ASSERT_EQ(run.status, 0) << run.output;
    EXPECT_EQ(read_file(target + "/notes.txt"), "new notes\n");
    EXPECT_FALSE(exists(target + "/bin/tool"));
    EXPECT_FALSE(exists(home + "/Desktop/Fixture_Tool.desktop"));

    run = install({ "-t", "7" });
    EXPECT_NE(run.status, 0);
    EXPECT_NE(run.output.find("ERROR: there is no install type \"7\"\n"), std::string::npos);
}

TEST_F(UNATTENDED, damaged_or_truncated_installers_install_nothing)
{
    pack(standard_files());
    std::string bytes = read_file(installer);
    for (int variant = 0; variant < 2; ++variant) {
        std::string damaged = bytes;
        // The data set is the end of the file: change one byte of it, or cut it short.
        if (variant == 0)
            damaged[damaged.size() - 100] ^= 0x55;
        else
            damaged.resize(damaged.size() - 300);
        ASSERT_TRUE(write_file(installer, damaged));
        RUN_RESULT run = install();
        EXPECT_EQ(run.status, 2) << variant;
        EXPECT_NE(run.output.find("ERROR: The installer file is damaged\n"), std::string::npos) << run.output;
        EXPECT_FALSE(exists(target)) << variant;
    }
}

TEST_F(UNATTENDED, a_full_disk_is_reported_and_the_run_ends_cleanly)
{
    pack(standard_files());
    // Files may not grow past 40 KiB: the 70000-byte file cannot be written whole.
    RUN_RESULT run = run_program("/bin/sh",
        { "-c", "ulimit -f 40; exec \"$0\" -a -i \"$1\"", installer, target },
        { "HOME=" + home, "XDG_UTILS_INSTALL_MODE=user", "DISPLAY=" });
    // The data set is read in place, so only the file itself fails; the others are installed.
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.output.find("FAILED " + target + "/data/data.bin\n"), std::string::npos) << run.output;
    EXPECT_NE(run.output.find("3 installed, 0 skipped, 1 failed\n"), std::string::npos) << run.output;
    EXPECT_FALSE(exists(target + "/data/data.bin"));
    EXPECT_TRUE(exists(target + "/docs/notes.txt"));
}

TEST_F(UNATTENDED, an_interrupted_run_leaves_no_temporary_package)
{
    // Enough data that the run is still busy when the interrupt comes.
    std::string noise(24 * 1024 * 1024, 0);
    unsigned state = 1;
    for (char& byte : noise) {
        state = state * 1103515245u + 12345u;
        byte = static_cast<char>(state >> 16);
    }
    ASSERT_TRUE(write_file(source + "/payload/data.bin", noise));
    pack(standard_files());
    // The run's private temporary folder lies under the home's "tmp".
    mkdir((home + "/tmp").c_str(), 0755);

    int pipe_fds[2];
    ASSERT_EQ(pipe(pipe_fds), 0);
    pid_t pid = fork();
    if (pid == 0) {
        setenv("HOME", home.c_str(), 1);
        setenv("DISPLAY", "", 1);
        dup2(pipe_fds[1], STDOUT_FILENO);
        close(pipe_fds[0]);
        execl(installer.c_str(), installer.c_str(), "-a", "-i", target.c_str(), "-k", "none", static_cast<char*>(nullptr));
        _exit(127);
    }
    close(pipe_fds[1]);
    // The first progress line means the handlers are in place and the unpacking is under way.
    std::string output;
    char chunk[256];
    while (output.find("Unpacking") == std::string::npos) {
        ssize_t got = read(pipe_fds[0], chunk, sizeof chunk);
        if (got <= 0)
            break;
        output.append(chunk, static_cast<size_t>(got));
    }
    kill(pid, SIGINT);
    for (ssize_t got; (got = read(pipe_fds[0], chunk, sizeof chunk)) > 0;)
        output.append(chunk, static_cast<size_t>(got));
    close(pipe_fds[0]);
    int status = 0;
    waitpid(pid, &status, 0);
    ASSERT_TRUE(WIFEXITED(status)) << "the run died of the signal instead of ending itself";
    if (output.find("Interrupted by SIGINT") != std::string::npos) {
        EXPECT_EQ(WEXITSTATUS(status), 128 + SIGINT);
    }

    // Whether it stopped half-way or had just finished, the package is gone.
    std::string listing = run_program("/usr/bin/find", { home + "/tmp", "-name", "installer.pkg" }).output;
    EXPECT_EQ(listing, "");
}
