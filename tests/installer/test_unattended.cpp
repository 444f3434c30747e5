// The unattended install, end to end: a fixture is packed with the real packer into a finished
// installer, which then installs into a temporary folder with a temporary home.

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utime.h>

#include <cstring>
#include <string>
#include <vector>

#include "io/stamp.h"
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

    // `extra` goes into the root element (a PATCH, say), `english` into the English language.
    std::string configuration(const std::string& files, const std::string& extra = "", const std::string& english = "") const
    {
        return "<INSTALLER default_language_name=\"en\" installation_id=\"4242\">\n"
               "\t<APPLICATION version=\"1\" build_number=\"1\" app_string=\"fixture\"/>\n"
               "\t<LOG dest_path_from_inst_loc=\"$HERE\" system_dest_path_from_inst_loc=\"\"/>\n"
            + extra +
               "\t<INSTALLATION name=\"main\" allow_system_paths=\"no\" default_path=\"$ROOT0/fixture\">\n"
            + files
            + "\t\t<SHORTCUT type=\"application\" exec=\"tool\" name=\"Fixture Tool\" menu_path=\"\" platform=\"linux\" arguments=\"--go\" exec_path=\"$HERE/bin\"/>\n"
              "\t\t<SHORTCUT type=\"application\" exec=\"tool\" name=\"Fixture Tool\" menu_path=\"Fixtures\" platform=\"\" exec_path=\"$HERE/bin\"/>\n"
              "\t</INSTALLATION>\n"
              "\t<INSTALLATION name=\"second\" allow_system_paths=\"no\" default_path=\"$ROOT0/fixture2\">\n"
              "\t\t<FILE src_name=\"notes.txt\" src_path_from_xml=\"payload\" dest_path_from_inst_loc=\"$HERE\"/>\n"
              "\t</INSTALLATION>\n"
              "\t<LANGUAGE name=\"en\">\n\t\t<LANGUAGE_TITLE string=\"English\"/>\n"
            + english
            + "\t</LANGUAGE>\n"
              "\t<LANGUAGE name=\"de\">\n\t\t<LANGUAGE_TITLE string=\"Deutsch\"/>\n"
              "\t\t<INSTALLATION name=\"second\" string=\"Zweite Größe\"/>\n\t</LANGUAGE>\n"
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

    void pack(const std::string& files, const std::string& extra = "", const std::string& english = "")
    {
        ASSERT_TRUE(write_file(source + "/installer.xml", configuration(files, extra, english)));
        RUN_RESULT run = run_program(packer_path(),
            { "build", source + "/installer.xml", "-o", installer, "--client", installer_path(), "--quiet" },
            { "SOURCE_DATE_EPOCH=1700000000" });
        ASSERT_EQ(run.status, 0) << run.errors;
    }

    RUN_RESULT install(std::vector<std::string> arguments = {})
    {
        std::vector<std::string> all = { "-a", "-i", target };
        all.insert(all.end(), arguments.begin(), arguments.end());
        return run_with(all);
    }

    // The finished installer with exactly these arguments, in `folder` when given.
    RUN_RESULT run_with(const std::vector<std::string>& arguments, const std::string& folder = "")
    {
        return run_program(installer, arguments,
            { "HOME=" + home, "XDG_UTILS_INSTALL_MODE=user", "DISPLAY=", "XDG_DATA_HOME=" + home + "/.local/share",
                "XDG_CONFIG_HOME=" + home + "/.config" },
            folder);
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
    EXPECT_EQ(entry, "[Desktop Entry]\nValue=1.0\nType=Application\nName=Fixture Tool\nExec=\"" + target + "/bin/tool\"\nIcon=exec\n");

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
    const std::string failed = "FAILED " + target + "/data/data.bin: its folder cannot be made: Not a directory\n";
    EXPECT_NE(run.output.find(failed), std::string::npos) << run.output;
    EXPECT_NE(run.output.find("3 installed, 0 skipped, 1 failed\n"), std::string::npos) << run.output;
    EXPECT_EQ(read_file(target + "/docs/notes.txt"), "new notes\n");
    EXPECT_NE(log().find("\"" + target + "/data/data.bin\" failed to unpack (main0002)\n"), std::string::npos) << log();
    EXPECT_NE(log().find("Installation completed with 1 errors.\n"), std::string::npos);

    // A quiet run prints the failure and nothing else.
    run = install({ "-q", "-k", "none" });
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.output, failed);
}

TEST_F(UNATTENDED, install_type_and_shortcut_options)
{
    pack(standard_files());
    RUN_RESULT run = install({ "-t", "second", "-k", "none" });
    ASSERT_EQ(run.status, 0) << run.output;
    EXPECT_EQ(read_file(target + "/notes.txt"), "new notes\n");
    EXPECT_FALSE(exists(target + "/bin/tool"));
    EXPECT_FALSE(exists(home + "/Desktop/Fixture_Tool.desktop"));
}

TEST_F(UNATTENDED, damaged_or_truncated_installers_install_nothing_with_or_without_a_check_field)
{
    pack(standard_files());
    std::string bytes = read_file(installer);
    // An installer from a packer that wrote no check field: only the chunks can show damage,
    // and that damage must not pass for a full disk.
    std::string unchecked = bytes;
    size_t at = 0;
    ASSERT_TRUE(find_stamp_in(reinterpret_cast<const INT_U8*>(unchecked.data()), unchecked.size(), &at));
    STAMP_RECORD record;
    stamp_record_from_bytes(reinterpret_cast<const INT_U8*>(unchecked.data()) + at, &record);
    memset(record.check, 0, sizeof record.check);
    stamp_record_to_bytes(record, reinterpret_cast<INT_U8*>(&unchecked[at]));
    for (int variant = 0; variant < 4; ++variant) {
        SCOPED_TRACE(variant);
        std::string damaged = variant < 2 ? bytes : unchecked;
        // The data set is the end of the file: change one byte of it, or cut it short.
        if (variant % 2 == 0)
            damaged[damaged.size() - 100] ^= 0x55;
        else
            damaged.resize(damaged.size() - 300);
        ASSERT_TRUE(write_file(installer, damaged));
        RUN_RESULT run = install({ "-k", "none" });
        EXPECT_EQ(run.status, 2);
        EXPECT_NE(run.output.find("ERROR: The installer file is damaged\n"), std::string::npos) << run.output;
        EXPECT_EQ(run.output.find("temporary folder"), std::string::npos) << run.output;
        EXPECT_FALSE(exists(target));
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
    EXPECT_NE(run.output.find("FAILED " + target + "/data/data.bin: "), std::string::npos) << run.output;
    EXPECT_NE(run.output.find("3 installed, 0 skipped, 1 failed\n"), std::string::npos) << run.output;
    EXPECT_FALSE(exists(target + "/data/data.bin"));
    EXPECT_TRUE(exists(target + "/docs/notes.txt"));
}

TEST_F(UNATTENDED, an_interrupted_run_leaves_no_temporary_package)
{
    // Enough data that the run is still busy when the interrupt comes.
    ASSERT_TRUE(write_file(source + "/payload/data.bin", noise_bytes(24u << 20, 1)));
    pack(standard_files());
    // The run's private temporary folder lies under the home's "tmp".
    mkdir((home + "/tmp").c_str(), 0755);

    RUNNING_PROGRAM program(installer, { "-a", "-i", target, "-k", "none" }, { "HOME=" + home, "DISPLAY=" });
    // The first progress line means the handlers are in place and the unpacking is under way.
    program.wait_for_output("Unpacking");
    program.send(SIGINT);
    int status = program.finish();
    ASSERT_GE(status, 0) << "the run died of the signal instead of ending itself";
    if (program.output.find("Interrupted by SIGINT") != std::string::npos) {
        EXPECT_EQ(status, 128 + SIGINT);
    }

    // Whether it stopped half-way or had just finished, the package is gone.
    std::string listing = run_program("/usr/bin/find", { home + "/tmp", "-name", "installer.pkg" }).output;
    EXPECT_EQ(listing, "");
}

TEST_F(UNATTENDED, relative_and_dotted_install_folders_are_taken_as_a_shell_would)
{
    pack(standard_files());
    // Relative to the working folder, with "." and ".." elements.
    RUN_RESULT out = run_with({ "-a", "-k", "none", "-i", "./rel/./a/../b" }, temp.path());
    ASSERT_EQ(out.status, 0) << out.output;
    EXPECT_EQ(read_file(temp.file("rel/b/docs/notes.txt")), "new notes\n");
    EXPECT_FALSE(exists(temp.file("rel/a")));
    EXPECT_NE(read_file(temp.file("rel/b/install_log.txt")).find("Settings: 4242 0 $ROOT1" + temp.path() + "/rel/b\n"),
        std::string::npos);
    // An absolute path with the same kind of elements.
    out = run_with({ "-a", "-k", "none", "-i", target + "/./x/../y" });
    ASSERT_EQ(out.status, 0) << out.output;
    EXPECT_EQ(read_file(target + "/y/bin/tool"), TOOL_BYTES);
    EXPECT_FALSE(exists(target + "/x"));
}

TEST_F(UNATTENDED, an_unknown_install_type_or_language_lists_the_ones_there_are)
{
    pack(standard_files());
    RUN_RESULT out = install({ "-t", "7" });
    EXPECT_EQ(out.status, 1);
    EXPECT_NE(out.output.find("ERROR: there is no install type \"7\"\nThe install types are:\n  1  main\n  2  second\n"),
        std::string::npos)
        << out.output;
    // In German the second type has a name of its own, which is shown beside the type's name.
    out = install({ "-g", "de", "-t", "full" });
    // The data set's Latin-1 name reaches the console in UTF-8.
    EXPECT_NE(out.output.find("ERROR: there is no install type \"full\"\nThe install types are:\n  1  main\n  2  second (Zweite Größe)\n"),
        std::string::npos)
        << out.output;
    out = install({ "-g", "fr" });
    EXPECT_EQ(out.status, 1);
    EXPECT_NE(out.output.find("ERROR: there is no language \"fr\"; the languages are:\n  1  en (English)\n  2  de (Deutsch)\n"),
        std::string::npos)
        << out.output;
    EXPECT_FALSE(exists(target));
}

TEST_F(UNATTENDED, the_language_is_chosen_by_number_name_or_title)
{
    pack(standard_files());
    // The type's German name works once German is chosen.
    // The name as the command line gives it, in UTF-8, matches the data set's Latin-1 text.
    RUN_RESULT out = install({ "-g", "2", "-t", "zweite größe", "-k", "none" });
    ASSERT_EQ(out.status, 0) << out.output;
    EXPECT_NE(log().find("Language: Deutsch\n"), std::string::npos) << log();
    EXPECT_EQ(read_file(target + "/notes.txt"), "new notes\n");
    ASSERT_EQ(install({ "-g", "English", "-k", "none" }).status, 0);
    EXPECT_NE(log().find("Language: English\n"), std::string::npos) << log();
}

TEST_F(UNATTENDED, a_licence_must_be_accepted_and_can_be_read_first)
{
    ASSERT_TRUE(write_file(source + "/licence.txt", "Use it kindly.\n"));
    pack(standard_files(), "", "\t\t<LICENCE path=\"\" filename=\"licence.txt\"/>\n");
    RUN_RESULT out = install({ "-k", "none" });
    EXPECT_EQ(out.status, 1);
    EXPECT_NE(out.output.find("ERROR: this installer comes with a licence, and installs only when you accept it.\n"
                              "Read it with -r, then run the install again with -y to accept it.\n"),
        std::string::npos)
        << out.output;
    EXPECT_FALSE(exists(target));

    out = run_with({ "-r" });
    EXPECT_EQ(out.status, 0);
    EXPECT_EQ(out.output, "Use it kindly.\n");
    // The German texts have no licence, so a German run needs no -y.
    out = run_with({ "-r", "-g", "de" });
    EXPECT_EQ(out.output, "This installer comes with no licence.\n");

    out = install({ "-k", "none", "-y" });
    EXPECT_EQ(out.status, 0) << out.output;
    EXPECT_EQ(read_file(target + "/bin/tool"), TOOL_BYTES);
}

TEST_F(UNATTENDED, a_quiet_run_prints_nothing_when_all_goes_well)
{
    pack(standard_files());
    RUN_RESULT out = install({ "-q", "-k", "none" });
    EXPECT_EQ(out.status, 0);
    EXPECT_EQ(out.output, "");
    EXPECT_EQ(read_file(target + "/bin/tool"), TOOL_BYTES);
}

TEST_F(UNATTENDED, check_tells_a_whole_installer_from_a_damaged_one)
{
    pack(standard_files());
    RUN_RESULT out = run_with({ "-c" });
    EXPECT_EQ(out.status, 0);
    EXPECT_EQ(out.output, "The installer is whole: its installation data has the recorded length and checksum.\n");
    std::string bytes = read_file(installer);
    bytes[bytes.size() - 10] ^= 0x01;
    ASSERT_TRUE(write_file(installer, bytes));
    out = run_with({ "-c" });
    EXPECT_EQ(out.status, 2);
    EXPECT_EQ(out.output, "ERROR: The installer file is damaged\n"
                          "It is shorter than it should be or its contents changed; download or copy it again.\n");
    EXPECT_FALSE(exists(target));
}

namespace {

// One line of the listing: the size right-aligned in twelve columns, then the destination.
std::string listed(const std::string& size, const std::string& destination)
{
    return "  " + std::string(12 - size.size(), ' ') + size + "  " + destination + "\n";
}

} // namespace

TEST_F(UNATTENDED, list_shows_each_install_type_with_the_files_this_machine_gets)
{
    pack(standard_files());
    RUN_RESULT out = run_with({ "-l" });
    EXPECT_EQ(out.status, 0);
    // The Windows file is not listed; the sizes are those of the payload.
    EXPECT_EQ(out.output,
        "Install type 1: main, into $ROOT0/fixture\n" + listed("20", "$HERE/bin/tool")
            + listed("70000", "$HERE/data/data.bin") + listed("10", "$HERE/docs/notes.txt")
            + listed("14", "$HERE/etc/config.ini") + "  4 files, 70044 bytes\n"
            + "Install type 2: second, into $ROOT0/fixture2\n" + listed("10", "$HERE/notes.txt")
            + "  1 file, 10 bytes\n");
    out = run_with({ "-l", "-g", "de", "-t", "2" });
    EXPECT_EQ(out.output, "Install type 2: second (Zweite Größe), into $ROOT0/fixture2\n" + listed("10", "$HERE/notes.txt")
            + "  1 file, 10 bytes\n");
}

TEST_F(UNATTENDED, extract_writes_an_install_types_files_and_nothing_else)
{
    pack(standard_files());
    std::string folder = temp.file("extracted");
    RUN_RESULT out = run_with({ "-e", folder, "-t", "1" });
    EXPECT_EQ(out.status, 0) << out.output;
    EXPECT_EQ(read_file(folder + "/bin/tool"), TOOL_BYTES);
    EXPECT_EQ(read_file(folder + "/data/data.bin"), binary_bytes(70000));
    EXPECT_EQ(read_file(folder + "/docs/notes.txt"), "new notes\n");
    EXPECT_EQ(read_file(folder + "/etc/config.ini"), "packed config\n");
    EXPECT_EQ(mode_of(folder + "/bin/tool"), 0755u);
    EXPECT_FALSE(exists(folder + "/bin/tool.exe"));
    EXPECT_FALSE(exists(folder + "/install_log.txt"));
    EXPECT_FALSE(exists(home + "/Desktop/Fixture_Tool.desktop"));
    EXPECT_FALSE(exists(home + "/.local/share/applications/orlu-local.Fixtures_Fixture_Tool.desktop"));
    EXPECT_NE(out.output.find("Extracted " + folder + "/bin/tool\n"), std::string::npos) << out.output;
    EXPECT_NE(out.output.find("4 extracted, 0 failed\n"), std::string::npos) << out.output;
    out = run_with({ "-e", folder + "/quiet", "-q" });
    EXPECT_EQ(out.status, 0);
    EXPECT_EQ(out.output, "");
    EXPECT_EQ(read_file(folder + "/quiet/bin/tool"), TOOL_BYTES);

    // A file where a folder should go: that file fails with the reason, the others are written.
    mkdir((folder + "/blocked").c_str(), 0755);
    ASSERT_TRUE(write_file(folder + "/blocked/bin", "in the way"));
    out = run_with({ "-e", folder + "/blocked", "-q" });
    EXPECT_EQ(out.status, 1);
    EXPECT_EQ(out.output, "FAILED " + folder + "/blocked/bin/tool: its folder cannot be made: Not a directory\n");
    EXPECT_EQ(read_file(folder + "/blocked/etc/config.ini"), "packed config\n");
}

TEST_F(UNATTENDED, a_patch_installs_only_over_the_installation_it_patches)
{
    pack(standard_files(), "\t<PATCH dest_path_from_inst_loc=\"$HERE\" system_dest_path_from_inst_loc=\"\" do_check=\"yes\"/>\n");
    RUN_RESULT out = install({ "-k", "none" });
    EXPECT_EQ(out.status, 1);
    EXPECT_NE(out.output.find("ERROR: this is a patch for an installation of \"fixture\" in " + target
                  + ", and none was found there:\nthe folder " + target
                  + " does not exist. Give the installation's folder with -i.\n"),
        std::string::npos)
        << out.output;
    EXPECT_FALSE(exists(target));

    mkdir(target.c_str(), 0755);
    out = install({ "-k", "none" });
    EXPECT_EQ(out.status, 1);
    EXPECT_NE(out.output.find("and none was found there:\nthere is no install log at " + target + "/install_log.txt. "),
        std::string::npos)
        << out.output;
    EXPECT_FALSE(exists(target + "/bin"));

    // The log of the installation it patches.
    ASSERT_TRUE(write_file(target + "/install_log.txt", "Installed Files\n---------------\n\nLanguage: English\n"
                                                       "Settings: 4242 0 $ROOT1" + target + "\n\n"));
    out = install({ "-k", "none" });
    EXPECT_EQ(out.status, 0) << out.output;
    EXPECT_EQ(read_file(target + "/bin/tool"), TOOL_BYTES);
}

TEST_F(UNATTENDED, a_shortcut_that_cannot_be_made_fails_the_run)
{
    pack(standard_files());
    rmdir((home + "/Desktop").c_str());
    RUN_RESULT out = install({ "-k", "desktop" });
    EXPECT_EQ(out.status, 1);
    EXPECT_NE(out.output.find("FAILED shortcut \"Fixture Tool\": " + home
                  + "/Desktop/Fixture_Tool.desktop: No such file or directory\n"),
        std::string::npos)
        << out.output;
    EXPECT_NE(out.output.find("4 installed, 0 skipped, 0 failed\n1 shortcut could not be made\nDone\n"), std::string::npos)
        << out.output;
}

TEST_F(UNATTENDED, an_install_folder_that_cannot_be_made_is_named_with_the_reason)
{
    pack(standard_files());
    ASSERT_TRUE(write_file(temp.file("plain"), "x"));
    target = temp.file("plain") + "/inside";
    RUN_RESULT out = install({ "-k", "none" });
    EXPECT_EQ(out.status, 1);
    EXPECT_NE(out.output.find("ERROR: the folder " + target + " cannot be made: Not a directory\n"), std::string::npos)
        << out.output;
}
