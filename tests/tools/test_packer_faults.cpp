// The packer given what it must refuse (a FIFO, a device, an output that is one of its inputs) and
// interrupted by every signal that ends a run: it answers at once and leaves nothing behind.

#include <gtest/gtest.h>

#include <dirent.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "test_support.h"

namespace {

// Every name below `folder`, by relative path.
void names_below(const std::string& folder, const std::string& prefix, std::vector<std::string>* names)
{
    DIR* listing = opendir(folder.c_str());
    if (!listing)
        return;
    for (struct dirent* entry = readdir(listing); entry; entry = readdir(listing)) {
        std::string name = entry->d_name;
        if (name == "." || name == "..")
            continue;
        names->push_back(prefix + name);
        struct stat facts;
        if (lstat((folder + "/" + name).c_str(), &facts) == 0 && S_ISDIR(facts.st_mode))
            names_below(folder + "/" + name, prefix + name + "/", names);
    }
    closedir(listing);
}

std::vector<std::string> names_in(const std::string& folder)
{
    std::vector<std::string> names;
    names_below(folder, "", &names);
    return names;
}

class PACKER_FAULTS : public ::testing::Test {
protected:
    void SetUp() override
    {
        source = temp.file("source");
        tmp = temp.file("tmp");
        out = temp.file("out");
        mkdir(source.c_str(), 0755);
        mkdir((source + "/payload").c_str(), 0755);
        mkdir(tmp.c_str(), 0700);
        mkdir(out.c_str(), 0755);
        ASSERT_TRUE(write_file(source + "/payload/a.txt", "a\n"));
    }

    void configure(const std::string& files)
    {
        ASSERT_TRUE(write_file(source + "/installer.xml",
            "<INSTALLER default_language_name=\"en\" installation_id=\"5\">\n"
            "\t<APPLICATION version=\"1\" build_number=\"1\" app_string=\"faults\"/>\n"
            "\t<INSTALLATION name=\"main\" allow_system_paths=\"no\" default_path=\"$ROOT0/faults\">\n"
                + files
                + "\t</INSTALLATION>\n"
                  "\t<LANGUAGE name=\"en\">\n\t\t<LANGUAGE_TITLE string=\"English\"/>\n\t</LANGUAGE>\n"
                  "</INSTALLER>\n"));
    }

    static std::string file_line(const std::string& name, const std::string& folder = "payload")
    {
        return "\t\t<FILE src_name=\"" + name + "\" src_path_from_xml=\"" + folder + "\" dest_path_from_inst_loc=\"$HERE\"/>\n";
    }

    std::vector<std::string> build_arguments(const std::string& output) const
    {
        return { "build", source + "/installer.xml", "-o", output, "--client", installer_path(), "--quiet" };
    }

    std::vector<std::string> environment() const { return { "TMPDIR=" + tmp, "HOME=" + temp.file("nohome") }; }

    // Runs a build that must end by itself within half a minute.
    int build(const std::string& output, std::string* errors)
    {
        RUNNING_PROGRAM run(packer_path(), build_arguments(output), environment());
        int status = end_within(run, 30);
        *errors = run.errors;
        return status;
    }

    TEMP_FOLDER temp;
    std::string source, tmp, out;
};

} // namespace

TEST_F(PACKER_FAULTS, a_fifo_or_a_device_as_a_source_is_refused_at_once)
{
    ASSERT_EQ(mkfifo((source + "/payload/pipe").c_str(), 0644), 0);
    configure(file_line("a.txt") + file_line("pipe") + file_line("zero", "/dev"));
    std::string errors;
    EXPECT_EQ(build(out + "/setup", &errors), 1);
    EXPECT_NE(errors.find("installer.xml:5: '" + source + "/payload/pipe' is not a regular file"), std::string::npos) << errors;
    EXPECT_NE(errors.find("installer.xml:6: '/dev/zero' is not a regular file"), std::string::npos) << errors;
    EXPECT_TRUE(names_in(out).empty());
    EXPECT_TRUE(names_in(tmp).empty());

    // The configuration itself.
    ASSERT_EQ(mkfifo(temp.file("config-pipe").c_str(), 0644), 0);
    RUNNING_PROGRAM run(packer_path(), { "build", temp.file("config-pipe"), "-o", out + "/setup", "--quiet" }, environment());
    EXPECT_EQ(end_within(run, 30), 1);
    EXPECT_NE(run.errors.find("is not a regular file"), std::string::npos) << run.errors;
}

TEST_F(PACKER_FAULTS, an_output_that_is_an_input_is_refused_and_the_input_kept)
{
    configure(file_line("a.txt"));
    std::string config = read_file(source + "/installer.xml");
    std::string errors;
    // The configuration, by another spelling of its path.
    EXPECT_EQ(build(source + "/payload/../installer.xml", &errors), 1);
    EXPECT_NE(errors.find("is an input of the build"), std::string::npos) << errors;
    EXPECT_TRUE(read_file(source + "/installer.xml") == config);
    // A payload file, through a hard link.
    ASSERT_EQ(link((source + "/payload/a.txt").c_str(), (out + "/same").c_str()), 0);
    EXPECT_EQ(build(out + "/same", &errors), 1);
    EXPECT_TRUE(read_file(source + "/payload/a.txt") == "a\n");
    // The client (a copy, so that a fault here cannot spoil the build's own run-time).
    std::string client = read_file(installer_path());
    ASSERT_TRUE(write_file(temp.file("client"), client));
    chmod(temp.file("client").c_str(), 0755);
    RUNNING_PROGRAM run(packer_path(),
        { "build", source + "/installer.xml", "-o", temp.file("client"), "--client", temp.file("client"), "--quiet" },
        environment());
    EXPECT_EQ(end_within(run, 30), 1);
    EXPECT_NE(run.errors.find("is an input of the build"), std::string::npos) << run.errors;
    EXPECT_TRUE(read_file(temp.file("client")) == client);
    // A name beside an input that only looks like the packer's own part name is left alone.
    ASSERT_TRUE(write_file(out + "/setup.part", "not ours"));
    EXPECT_EQ(build(out + "/setup", &errors), 0) << errors;
    EXPECT_EQ(read_file(out + "/setup.part"), "not ours");
    EXPECT_TRUE(names_in(tmp).empty());
}

TEST_F(PACKER_FAULTS, every_signal_leaves_neither_temporary_files_nor_the_part_file)
{
    ASSERT_TRUE(write_file(source + "/payload/big.bin", noise_bytes(96u << 20, 0)));
    configure(file_line("a.txt") + file_line("big.bin"));
    int interrupted = 0;
    for (int signal_number : { SIGINT, SIGTERM, SIGHUP, SIGPIPE }) {
        for (bool while_writing : { false, true }) {
            RUNNING_PROGRAM run(packer_path(), build_arguments(out + "/setup"), environment());
            // The part file is there from the start; the temporary copy of database.bin from
            // when packing starts until the end.
            bool reached = false;
            while (!reached && run.running()) {
                run.poll_output(0);
                std::vector<std::string> names = while_writing ? names_in(out) : names_in(tmp);
                for (const std::string& name : names)
                    reached = reached || name.find(while_writing ? ".part" : ".bin") != std::string::npos;
            }
            run.send(signal_number);
            int status = end_within(run, 30);
            if (status == 0) {
                // Finished before the signal came; the other cases cover the signal.
                unlink((out + "/setup").c_str());
                continue;
            }
            ++interrupted;
            EXPECT_EQ(status, 128 + signal_number) << run.errors;
            EXPECT_NE(run.errors.find("interrupted by SIG"), std::string::npos) << run.errors;
            std::vector<std::string> left = names_in(out);
            EXPECT_TRUE(left.empty()) << left[0];
            left = names_in(tmp);
            EXPECT_TRUE(left.empty()) << left[0];
        }
    }
    // A build of 96 MiB takes long enough for nearly every signal to come in time.
    EXPECT_GE(interrupted, 6);
}
