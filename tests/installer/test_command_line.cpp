// The installer's command line and the framework options, run on the real executable.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "test_support.h"

namespace {

// Every early exit ends through the frame's exit with status -1.
constexpr int EARLY_EXIT = 255;

std::string usage_of(const std::string& program)
{
    return "Usage:\n\t" + program
        + " [-h] [-a] [-v] [-s filename] [-x filename] [-p filter] [-d filename1=filename2]\n\n"
          "\t-h\t- Show help\n"
          "\t-a\t- Automatic mode (non interactive)\n"
          "\t-v\t- Be verbose\n"
          "\t-s\t- Generate skin\n"
          "\t-x\t- XML File\n"
          "\t-p\t- Platform filter\n"
          "\t-d\t- Diff files (used for patching)\n\n"
          "\t-f\t- Force either 32bit or 64bit install\n\n"
          "Automatic mode (-a) also takes:\n"
          "\t-i folder\t- Install into this folder (default: the install type's own)\n"
          "\t-t type\t\t- Install type, by number from 1 or by name (default: the first)\n"
          "\t-u yes|no\t- Use system paths where the install type allows them (default: no)\n"
          "\t-k which\t- Shortcuts to make: all, none, desktop or menu (default: all)\n"
          "\t-g language\t- Language, by number from 1 or by name (default: the installer's own)\n"
          "\t-y\t\t- I accept the licence (needed when the installer has one; see -r)\n"
          "\t-q\t\t- Quiet: print errors only\n\n"
          "Without installing:\n"
          "\t-c\t\t- Check the installer's integrity (exit status 0: whole, 2: damaged)\n"
          "\t-l\t\t- List the install types and their files with sizes and destinations\n"
          "\t-e folder\t- Extract the files of an install type (-t) into a folder; no log, no shortcuts\n"
          "\t-r\t\t- Show the licence (in the language of -g)\n\n"
          "-i, -u, -k and -y go with -a only; -t with -a, -e or -l; -g with -a, -l or -r; -q with -a or -e.\n"
          "The wizard asks for these itself.\n\n";
}

std::string framework_usage_of(const std::string& program)
{
    return "usage: " + program
        + " [--orlu | --orlu-listdebug | --orlu-showdebug=x | --orlu-varsz | --orlu-varsz-continue | --orlu-info | --orlu-info-continue ]\n\n"
          "  --orlu                  - show usage and exit\n"
          "  --orlu-listdebug        - list debug channels\n"
          "  --orlu-showdebug=x      - show debug channel x (where x is channel number or \"all\")\n"
          "  --orlu-varsz            - show default var sizes and exit\n"
          "  --orlu-varsz-continue   - show default var sizes and continue\n"
          "  --orlu-info             - show system info and exit\n"
          "  --orlu-info-continue    - show system info and continue\n"
          "  --orlu-version          - show version info and exit\n"
          "  --orlu-version-continue - show version info and continue\n"
          "\n"
          "NOTE: Command line args can be specified one per line in the file orlu_args.txt located next to the application file.\n\n";
}

const char* const debug_list =
    "ID   Name\n"
    "--------------------\n\n"
    " 0   Installer Debug\n"
    " 1   ORLU Platform\n"
    " 2   ORLU Modules\n"
    " 3   Default Path Trace\n"
    " 4   Image Class Debug\n"
    " 5   HTTP Request Trace\n"
    " 6   Translation Debug\n"
    " 7   WAV file loading debug\n"
    " 8   Sound Manager Debug\n"
    "\n";

RUN_RESULT run_installer(const std::vector<std::string>& arguments)
{
    // No display: message boxes fall back to the console and read their Return from /dev/null.
    return run_program(installer_path(), arguments, { "DISPLAY=" });
}

// Splits output into lines, without their line feeds.
std::vector<std::string> lines_of(const std::string& text)
{
    std::vector<std::string> lines;
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find('\n', start);
        if (end == std::string::npos)
            end = text.size();
        lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return lines;
}

} // namespace

TEST(INSTALLER_COMMAND_LINE, help_unknown_options_and_stray_words_print_the_usage_and_exit_255)
{
    // Before, "--help" ended the scan: "-a --help ..." ran an install into the default folder
    // with every shortcut. Options act in order, so help after others still exits; an option
    // that needs a value and has none prints the usage too.
    const std::vector<std::vector<std::string>> lines = {
        { "-h" },
        { "-f" },
        { "-z" },
        { "-abc" },
        { "-" },
        { "-p" },
        { "-p", "nosuchplatform", "-x", "data/setup.xml", "-h" },
        { "-a", "--help", "-k", "none", "-i", "/nonexistent/dir" },
        { "--verbose" },
        { "-a", "stray", "-k", "none" },
        { "-a", "-k", "none", "--" },
        { "-a", "-k", "none", "trailing" },
    };
    for (const std::vector<std::string>& line : lines) {
        SCOPED_TRACE(line.size() > 1 ? line[1] : line[0]);
        RUN_RESULT run = run_installer(line);
        EXPECT_EQ(run.output, usage_of(installer_path()));
        EXPECT_EQ(run.status, EARLY_EXIT);
    }
}

TEST(INSTALLER_COMMAND_LINE, options_without_their_mode_two_modes_and_unknown_words_are_refused)
{
    const struct {
        std::vector<std::string> line;
        std::string message;
    } cases[] = {
        { { "-i", "/x" }, "-i goes with -a" },
        { { "-u", "yes" }, "-u goes with -a" },
        { { "-k", "none" }, "-k goes with -a" },
        { { "-y" }, "-y goes with -a" },
        { { "-t", "1" }, "-t goes with -a, -e or -l" },
        { { "-r", "-t", "1" }, "-t goes with -a, -e or -l" },
        { { "-g", "de" }, "-g goes with -a, -l or -r" },
        { { "-e", "out", "-k", "none" }, "-k goes with -a" },
        { { "-l", "-q" }, "-q goes with -a or -e" },
        { { "-a", "-c" }, "-a and -c cannot be given together" },
        { { "-l", "-e", "out" }, "-l and -e cannot be given together" },
        { { "-a", "-u", "maybe" }, "-u takes yes or no, not \"maybe\"" },
        { { "-a", "-k", "some" }, "-k takes all, none, desktop or menu, not \"some\"" },
    };
    for (const auto& test : cases) {
        RUN_RESULT run = run_installer(test.line);
        EXPECT_EQ(run.output, test.message + "\n\n" + usage_of(installer_path())) << test.message;
        EXPECT_EQ(run.status, EARLY_EXIT) << test.message;
    }
}

TEST(INSTALLER_COMMAND_LINE, runs_and_tools_without_a_data_set_say_so)
{
    // The program as built carries no data set.
    const struct {
        const char* option;
        const char* output;
        int status;
    } cases[] = {
        { "-c", "ERROR: this program carries no installation data\n", 2 },
        { "-l", "ERROR: unable to load data\n", 1 },
        { "-r", "ERROR: unable to load data\n", 1 },
        { "-a", "Loading automatic pack...\nERROR: unable to load data\nDone\n", 1 },
    };
    for (const auto& test : cases) {
        RUN_RESULT run = run_installer({ test.option });
        EXPECT_EQ(run.output, test.output) << test.option;
        EXPECT_EQ(run.status, test.status) << test.option;
    }
}

TEST(INSTALLER_COMMAND_LINE, verbose_prints_the_default_paths_each_time_it_is_given)
{
    RUN_RESULT once = run_installer({ "-v", "-h" });
    std::vector<std::string> lines = lines_of(once.output);
    ASSERT_GT(lines.size(), 15u);
    const char* const variables[] = { "$APP", "$APPDATA", "$USERAPP", "$USERDATA", "$USERPREFS", "$SYSAPP", "$SYSDATA",
        "$SYSPREFS", "$DATA", "$TEMP", "$ROOT0", "$ROOT1" };
    for (size_t i = 0; i < sizeof variables / sizeof variables[0]; ++i)
        EXPECT_EQ(lines[i].rfind(std::string(variables[i]) + " => /", 0), 0u) << lines[i];
    EXPECT_EQ(once.output.substr(once.output.size() - usage_of(installer_path()).size()), usage_of(installer_path()));

    RUN_RESULT twice = run_installer({ "-v", "-v", "-h" });
    size_t first = twice.output.find("$APP => ");
    ASSERT_NE(first, std::string::npos);
    EXPECT_NE(twice.output.find("$APP => ", first + 1), std::string::npos);
}

TEST(FRAMEWORK_OPTIONS, listdebug_lists_the_channels_in_registration_order_whatever_the_case)
{
    for (const char* option : { "--orlu-listdebug", "--ORLU-LISTDEBUG" }) {
        RUN_RESULT run = run_installer({ option });
        EXPECT_EQ(run.output, debug_list) << option;
        EXPECT_EQ(run.status, EARLY_EXIT) << option;
    }
}

TEST(FRAMEWORK_OPTIONS, showdebug_of_a_missing_channel_prints_both_lines_and_exits)
{
    RUN_RESULT run = run_installer({ "--orlu-showdebug=99" });
    EXPECT_EQ(run.output, "Enabling debug channel 99\nERROR: Stream 99 was not found\n\n");
    EXPECT_EQ(run.status, EARLY_EXIT);

    run = run_installer({ "--orlu-showdebug=-1" });
    EXPECT_EQ(run.output, "Enabling debug channel -1\nERROR: Stream -1 was not found\n\n");
}

TEST(FRAMEWORK_OPTIONS, showdebug_enables_a_channel_and_goes_on)
{
    // Channel 0 is the installer's own: with it on, -x traces the path it was given.
    RUN_RESULT run = run_installer({ "--orlu-showdebug=0", "-x", "$HOME/setup.xml", "-h" });
    EXPECT_EQ(run.output, "Enabling debug channel 0\nXML Path: $HOME/setup.xml\n" + usage_of(installer_path()));

    run = run_installer({ "--orlu-showdebug=all", "-h" });
    EXPECT_EQ(run.output, "Enabling all 9 debug channels\n" + usage_of(installer_path()));
}

TEST(FRAMEWORK_OPTIONS, unknown_orlu_option_prints_the_error_and_the_usage)
{
    for (const char* option : { "--orlu-foo", "--orlu=1" }) {
        RUN_RESULT run = run_installer({ option });
        EXPECT_EQ(run.output, std::string("ERROR: Command line option \"") + option + "\" is not known\n\n"
                + framework_usage_of(installer_path()))
            << option;
        EXPECT_EQ(run.status, EARLY_EXIT);
    }
    RUN_RESULT run = run_installer({ "--orlu" });
    EXPECT_EQ(run.output, framework_usage_of(installer_path()));
}

TEST(FRAMEWORK_OPTIONS, varsz_prints_the_true_widths_of_this_build)
{
    RUN_RESULT run = run_installer({ "--orlu-varsz" });
    std::string word = std::to_string(sizeof(void*));
    std::string word_bits = std::to_string(sizeof(void*) * 8);
    EXPECT_EQ(run.output,
        "Standard Varible Sizes\n--------------------\n\n"
        "INT_S8 = 1 bytes (8 bits)\nINT_U8 = 1 bytes (8 bits)\n"
        "INT_S16 = 2 bytes (16 bits)\nINT_U16 = 2 bytes (16 bits)\n"
        "INT_S32 = 4 bytes (32 bits)\nINT_U32 = 4 bytes (32 bits)\n"
        "INT_S64 = 8 bytes (64 bits)\nINT_U64 = 8 bytes (64 bits)\n"
        "FLOAT_32 = 4 bytes (32 bits)\nFLOAT_64 = 8 bytes (64 bits)\n"
        "PTR_INT_CAST = " + word + " bytes (" + word_bits + " bits)\n"
        "PTR = " + word + " bytes (" + word_bits + " bits)\n"
        "size_t = " + word + " bytes (" + word_bits + " bits)\n\n");
    EXPECT_EQ(run.status, EARLY_EXIT);
}

TEST(FRAMEWORK_OPTIONS, version_names_the_application_and_its_word_size)
{
    RUN_RESULT run = run_installer({ "--orlu-version" });
    std::string expected_start = "Installer 1.14 (" + std::to_string(sizeof(void*) * 8) + " bit) ";
    EXPECT_EQ(run.output.substr(0, expected_start.size()), expected_start);
    EXPECT_EQ(run.output.substr(run.output.size() - 2), "\n\n");
    EXPECT_EQ(run.status, EARLY_EXIT);
}

TEST(FRAMEWORK_OPTIONS, info_prints_the_application_record_and_the_machine)
{
    RUN_RESULT run = run_installer({ "--orlu-info" });
    EXPECT_EQ(run.status, EARLY_EXIT);
    std::vector<std::string> lines = lines_of(run.output);
    ASSERT_GT(lines.size(), 50u);

    EXPECT_EQ(lines[0], "Running a " + std::to_string(sizeof(void*) * 8) + "bit application");
    EXPECT_EQ(lines[1], "");
    EXPECT_EQ(lines[2], "App:                     Installer 1.14");
    EXPECT_EQ(lines[3].substr(0, 25), "Build:                   ");
    // The application record: nineteen rows of fixed values, of which the first and the one
    // whose value is a name looked up stand for the rest, then a blank line.
    EXPECT_EQ(lines[4], "Exit Msg:                Disabled");
    EXPECT_EQ(lines[18], "Touch Mode:              2 Cursor Keys + Mouse Wheel");
    EXPECT_EQ(lines[23], "");

    // The machine block: its rows in their order, one speed line per processor and one
    // free-space line per disk; rows of fixed form are only counted.
    size_t at = 24;
    auto expect_prefix = [&](const std::string& prefix) {
        ASSERT_LT(at, lines.size());
        EXPECT_EQ(lines[at].substr(0, prefix.size()), prefix) << "line " << at;
        ++at;
    };
    char host[256] = {};
    gethostname(host, sizeof host - 1);
    EXPECT_EQ(lines[at], std::string("Computer Name:           ") + host);
    ++at;
    expect_prefix("OS:                      Intel Linux");
    expect_prefix(sizeof(long) == 8 ? "OS Version:              64 Bit Linux" : "OS Version:              32 Bit Linux");
    at += 3; // build, desktop icons and menu
    long cpus = sysconf(_SC_NPROCESSORS_CONF);
    EXPECT_EQ(lines[at], "CPUs:                    " + std::to_string(cpus));
    ++at;
    ++at; // the processor's type
    for (long cpu = 0; cpu < cpus; ++cpu)
        expect_prefix("CPU " + std::to_string(cpu) + " Speed:             ");
    expect_prefix("Byte Order:              Least significant byte first");
    expect_prefix("Phy Mem:                 ");
    EXPECT_EQ(lines[at - 1].substr(lines[at - 1].size() - 2), "Mb");
    at += 4; // virtual and free memory, system folders
    ASSERT_LT(at, lines.size());
    int disks = std::stoi(lines[at].substr(25));
    expect_prefix("Disks:                   ");
    ASSERT_GE(disks, 2);
    expect_prefix("Disk 0 Free:           ");
    EXPECT_NE(lines[at - 1].find("Mb (Home)"), std::string::npos);
    expect_prefix("Disk 1 Free:           ");
    EXPECT_NE(lines[at - 1].find("Mb (File System)"), std::string::npos);
    // The further disks, then fourteen rows of the display and devices, the last one last.
    at += disks - 2 + 13;
    expect_prefix("Disable Logout:         ");
    ASSERT_EQ(at + 1, lines.size());
    EXPECT_EQ(lines[at], "");
}

TEST(FRAMEWORK_OPTIONS, continue_forms_report_and_hand_the_rest_to_the_application)
{
    RUN_RESULT run = run_installer({ "--orlu-varsz-continue", "--orlu-version-continue", "-h" });
    EXPECT_EQ(run.output.find("Standard Varible Sizes\n"), 0u);
    EXPECT_NE(run.output.find("Installer 1.14 ("), std::string::npos);
    std::string usage = usage_of(installer_path());
    ASSERT_GE(run.output.size(), usage.size());
    EXPECT_EQ(run.output.substr(run.output.size() - usage.size()), usage);
}

TEST(FRAMEWORK_OPTIONS, argument_file_beside_the_executable_adds_options_after_the_real_ones)
{
    TEMP_FOLDER folder;
    std::string copy = folder.file("setup");
    ASSERT_TRUE(write_file(copy, read_file(installer_path())));
    ASSERT_EQ(chmod(copy.c_str(), 0755), 0);
    // One line is one argument, blanks included.
    ASSERT_TRUE(write_file(folder.file("orlu_args.txt"), "--orlu-showdebug=0\r\n-x\n$HOME/my setup.xml\n"));

    RUN_RESULT run = run_program(copy, { "-p", "linux" }, { "DISPLAY=" });
    // The file's arguments come after the real ones: -p linux, then -x with the blank-holding
    // name; the run then finds no data and ends.
    EXPECT_EQ(run.output.substr(0, 53), "Enabling debug channel 0\nXML Path: $HOME/my setup.xml");
    EXPECT_EQ(run.status, EARLY_EXIT);

    ASSERT_TRUE(write_file(folder.file("orlu_args.txt"), "--orlu-listdebug\n"));
    run = run_program(copy, {}, { "DISPLAY=" });
    EXPECT_EQ(run.output, debug_list);
}
