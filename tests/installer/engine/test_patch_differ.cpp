// Patch differencing on two packed fixtures: added, changed, moved and deleted files; data sets of
// several packages compared as one.

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <string>
#include <vector>

#include "installer/engine/data_set.h"
#include "io/folder.h"
#include "test_support.h"

namespace {

class PATCH_DIFFER : public ::testing::Test {
protected:
    void SetUp() override
    {
        folder = temp.path();
        mkdir((folder + "/payload").c_str(), 0755);
    }

    // Packs a configuration with the given files into a finished installer, then takes its
    // package out of it: the differ compares data sets.
    void make_data_set(const std::string& name, const std::string& files)
    {
        std::string xml = "<INSTALLER default_language_name=\"en\" installation_id=\"7\">\n"
                          "\t<APPLICATION version=\"1\" build_number=\"1\" app_string=\"fixture\"/>\n"
                          "\t<LOG dest_path_from_inst_loc=\"$HERE/logs\" system_dest_path_from_inst_loc=\"$SYSDATA\"/>\n"
                          "\t<INSTALLATION name=\"main\" allow_system_paths=\"no\" default_path=\"$ROOT0/fixture\">\n"
            + files + "\t</INSTALLATION>\n\t<LANGUAGE name=\"en\">\n\t\t<LANGUAGE_TITLE string=\"English &amp; more\"/>\n\t</LANGUAGE>\n</INSTALLER>\n";
        ASSERT_TRUE(write_file(folder + "/" + name + ".xml", xml));
        RUN_RESULT run = run_program(packer_path(),
            { "build", folder + "/" + name + ".xml", "-o", folder + "/" + name + ".run", "--client", installer_path(), "--quiet" });
        ASSERT_EQ(run.status, 0) << run.errors;
        FOLDER here;
        ASSERT_TRUE(here.set_raw(folder.c_str()));
        DATA_SET_HEADER header;
        ASSERT_TRUE(unpack_installer(here, (name + ".run").c_str(), here, (name + ".pkg").c_str(), nullptr, &header, nullptr));
    }

    static std::string file(const char* name, const char* destination)
    {
        return std::string("\t\t<FILE src_name=\"") + name + "\" src_path_from_xml=\"payload\" dest_path_from_inst_loc=\""
            + destination + "\"/>\n";
    }

    RUN_RESULT diff(const std::string& argument) { return run_program(installer_path(), { "-d", argument }); }

    TEMP_FOLDER temp;
    std::string folder;
};

} // namespace

TEST_F(PATCH_DIFFER, reports_added_changed_moved_and_deleted_files)
{
    for (const char* name : { "same.txt", "changed.txt", "gone.txt", "moved.txt" })
        ASSERT_TRUE(write_file(folder + "/payload/" + name, std::string("first ") + name));
    make_data_set("one", file("same.txt", "$HERE") + file("changed.txt", "$HERE") + file("gone.txt", "$HERE")
            + file("moved.txt", "$HERE/docs"));
    ASSERT_TRUE(write_file(folder + "/payload/changed.txt", "second version"));
    ASSERT_TRUE(write_file(folder + "/payload/new.txt", "new"));
    make_data_set("two", file("same.txt", "$HERE") + file("changed.txt", "$HERE") + file("moved.txt", "$HERE/other")
            + file("new.txt", "$HERE"));

    RUN_RESULT run = diff("@ROOT1" + folder + "/one.pkg=@ROOT1" + folder + "/two.pkg");
    EXPECT_EQ(run.output,
        "Creating File Differences\n-------------------------\n\n"
        "First database ($ROOT1" + folder + "/one.pkg) was loaded ok...\n"
        "Second database ($ROOT1" + folder + "/two.pkg) was loaded ok...\n"
        "Installation (0)\n"
        "\t\tFile changed - payload/changed.txt\n"
        "\t\tFile added - payload/moved.txt\n"
        "\t\tFile added - payload/new.txt\n"
        "\t\tFile deleted - payload/gone.txt\n"
        "\t\tFile deleted - payload/moved.txt\n"
        "\nDone\n-------------------------\n");
    EXPECT_EQ(run.status, 255);

    std::string patch = read_file(folder + "/patch.xml");
    EXPECT_EQ(patch.find("<INSTALLER show_frame_rate=\"no\" show_filenames=\"yes\" show_filepaths=\"yes\" file_cache_sz=\"1048576\" default_language_name=\"en\">\n\n"), 0u) << patch;
    EXPECT_NE(patch.find("\t<LOG dest_path_from_inst_loc=\"$HERE/logs/patch\" system_dest_path_from_inst_loc=\"$SYSDATA/patch\"/>\n"
                         "\t<PATCH dest_path_from_inst_loc=\"$HERE/logs\" system_dest_path_from_inst_loc=\"$SYSDATA\" do_check=\"yes\"/>\n"),
        std::string::npos) << patch;
    EXPECT_NE(patch.find(
                  "\t<INSTALLATION name=\"main\" allow_system_paths=\"no\" default_path=\"$ROOT0/fixture\">\n"
                  "\t\t<FILE platform=\"\" src_name=\"changed.txt\" dest_name=\"\" src_path_from_xml=\"payload\" dest_path_from_inst_loc=\"$HERE\" system_dest_path_from_inst_loc=\"\" stamp=\"no\" switch_user=\"no\" overwrite=\"always\"/>\n"
                  "\t\t<FILE platform=\"\" src_name=\"moved.txt\" dest_name=\"\" src_path_from_xml=\"payload\" dest_path_from_inst_loc=\"$HERE/other\" system_dest_path_from_inst_loc=\"\" stamp=\"no\" switch_user=\"no\" overwrite=\"always\"/>\n"
                  "\t\t<FILE platform=\"\" src_name=\"new.txt\" dest_name=\"\" src_path_from_xml=\"payload\" dest_path_from_inst_loc=\"$HERE\" system_dest_path_from_inst_loc=\"\" stamp=\"no\" switch_user=\"no\" overwrite=\"always\"/>\n"
                  "\t\t<!-- Deleted files not supported\n"
                  "\t\t<FILE platform=\"\" src_name=\"gone.txt\" dest_name=\"\" src_path_from_xml=\"payload\" dest_path_from_inst_loc=\"$HERE\" system_dest_path_from_inst_loc=\"\" stamp=\"no\" switch_user=\"no\" overwrite=\"always\"/>\n"
                  "\t\t-->\n"),
        std::string::npos) << patch;
    EXPECT_NE(patch.find("\t<LANGUAGE name=\"en\">\n\t\t<LANGUAGE_TITLE string=\"English &amp; more\"/>\n"), std::string::npos);
    EXPECT_NE(patch.find("\t\t<INSTALLATION name=\"default\" string=\"Default\"/>\n"), std::string::npos);
    EXPECT_EQ(patch.substr(patch.size() - 13), "</INSTALLER>\n");

    // The packer reads what the differ wrote.
    RUN_RESULT pack = run_program(packer_path(), { "build", folder + "/patch.xml", "-o", folder + "/patch.run", "--client",
                                                     installer_path(), "--quiet" });
    EXPECT_EQ(pack.status, 0) << pack.errors;
    EXPECT_NE(pack.errors.find("warning: no installation is called \"default\"; its translated name is ignored"), std::string::npos)
        << pack.errors;
}

TEST_F(PATCH_DIFFER, absolute_paths_and_finished_installers_are_taken_as_they_stand)
{
    ASSERT_TRUE(write_file(folder + "/payload/a.txt", "first"));
    make_data_set("one", file("a.txt", "$HERE"));
    ASSERT_TRUE(write_file(folder + "/payload/a.txt", "second"));
    make_data_set("two", file("a.txt", "$HERE"));

    // Absolute package paths, without "@" variables.
    RUN_RESULT run = diff(folder + "/one.pkg=" + folder + "/two.pkg");
    EXPECT_EQ(run.output,
        "Creating File Differences\n-------------------------\n\n"
        "First database (" + folder + "/one.pkg) was loaded ok...\n"
        "Second database (" + folder + "/two.pkg) was loaded ok...\n"
        "Installation (0)\n"
        "\t\tFile changed - payload/a.txt\n"
        "\nDone\n-------------------------\n");
    std::string patch = read_file(folder + "/patch.xml");
    EXPECT_NE(patch.find("src_name=\"a.txt\""), std::string::npos) << patch;

    // The two finished installers themselves, the second in a folder of its own: the patch is
    // written beside it, and it says the same as the packages' patch.
    ASSERT_EQ(mkdir((folder + "/new").c_str(), 0755), 0);
    ASSERT_EQ(rename((folder + "/two.run").c_str(), (folder + "/new/two.run").c_str()), 0);
    run = diff(folder + "/one.run=" + folder + "/new/two.run");
    EXPECT_NE(run.output.find("First database (" + folder + "/one.run) was loaded ok...\n"
                              "Second database (" + folder + "/new/two.run) was loaded ok...\n"
                              "Installation (0)\n\t\tFile changed - payload/a.txt\n"),
        std::string::npos)
        << run.output;
    EXPECT_EQ(read_file(folder + "/new/patch.xml"), patch);

    // A file that is neither is refused with the message of old, and so is a lone argument.
    ASSERT_TRUE(write_file(folder + "/plain.txt", "not a data set"));
    run = diff(folder + "/plain.txt=" + folder + "/two.pkg");
    EXPECT_EQ(run.output, "Creating File Differences\n-------------------------\n\nFailed to load first database\n");
    EXPECT_EQ(diff("only-one").output, "Creating File Differences\n-------------------------\n\nSecond file was not supplied\n");
}

TEST_F(PATCH_DIFFER, contents_are_compared_whole_whatever_their_lengths_and_equal_files_give_no_line)
{
    std::string long_text(5000, 'x');
    ASSERT_TRUE(write_file(folder + "/payload/same.bin", long_text));
    ASSERT_TRUE(write_file(folder + "/payload/last_byte.bin", long_text));
    ASSERT_TRUE(write_file(folder + "/payload/grown.bin", long_text));
    ASSERT_TRUE(write_file(folder + "/payload/empty.bin", ""));
    std::string files = file("same.bin", "$HERE") + file("last_byte.bin", "$HERE") + file("grown.bin", "$HERE")
        + file("empty.bin", "$HERE");
    make_data_set("one", files);
    // Same length, one byte different at the very end; and longer by exactly one block.
    ASSERT_TRUE(write_file(folder + "/payload/last_byte.bin", long_text.substr(0, 4999) + "y"));
    ASSERT_TRUE(write_file(folder + "/payload/grown.bin", long_text + std::string(1024, 'x')));
    make_data_set("two", files);
    RUN_RESULT run = diff("@ROOT1" + folder + "/one.pkg=@ROOT1" + folder + "/two.pkg");
    EXPECT_NE(run.output.find("Installation (0)\n"
                              "\t\tFile changed - payload/last_byte.bin\n"
                              "\t\tFile changed - payload/grown.bin\n"
                              "\nDone\n"),
        std::string::npos)
        << run.output;
}

TEST_F(PATCH_DIFFER, a_file_matches_the_first_of_equal_older_files_and_only_once)
{
    ASSERT_TRUE(write_file(folder + "/payload/a.txt", "a"));
    ASSERT_TRUE(write_file(folder + "/payload/b.txt", "b"));
    // The older data set names a.txt twice: the newer a.txt matches the first, the second is
    // left over as deleted.
    make_data_set("one", file("a.txt", "$HERE") + file("b.txt", "$HERE") + file("a.txt", "$HERE"));
    make_data_set("two", file("b.txt", "$HERE") + file("a.txt", "$HERE"));
    RUN_RESULT run = diff("@ROOT1" + folder + "/one.pkg=@ROOT1" + folder + "/two.pkg");
    EXPECT_NE(run.output.find("Installation (0)\n\t\tFile deleted - payload/a.txt\n\nDone\n"), std::string::npos)
        << run.output;
    EXPECT_NE(read_file(folder + "/patch.xml").find("<!-- Deleted files not supported\n\t\t<FILE platform=\"\" src_name=\"a.txt\""),
        std::string::npos);

    // The newer data set naming it twice finds the same older file twice and stops.
    make_data_set("three", file("a.txt", "$HERE") + file("a.txt", "$HERE"));
    run = diff("@ROOT1" + folder + "/two.pkg=@ROOT1" + folder + "/three.pkg");
    EXPECT_NE(run.output.find("Installation (0)\n\t\tFound same file twice! (payload/a.txt)\n"), std::string::npos)
        << run.output;
    EXPECT_EQ(run.output.find("Done"), std::string::npos);
}

TEST_F(PATCH_DIFFER, a_data_set_of_several_packages_gives_the_patch_of_one)
{
    // Files large enough that packages of 200000 bytes take two or three each; their packed
    // names then name other packages than the main one.
    auto bytes = [](size_t size, char seed) {
        std::string text(size, seed);
        for (size_t i = 0; i < size; i += 97)
            text[i] = static_cast<char>(seed + i % 7);
        return text;
    };
    std::string older_files, newer_files;
    for (int i = 0; i < 6; ++i) {
        std::string name = "f" + std::to_string(i) + ".bin";
        ASSERT_TRUE(write_file(folder + "/payload/" + name, bytes(i % 2 ? 30000 : 120000, static_cast<char>('a' + i))));
        older_files += file(name.c_str(), "$HERE");
        if (i != 5)
            newer_files += file(name.c_str(), "$HERE");
    }
    auto pack = [this](const std::string& name, const std::string& files, const std::string& output,
                    const std::vector<std::string>& extra) {
        std::string xml = "<INSTALLER default_language_name=\"en\" installation_id=\"7\">\n"
                          "\t<APPLICATION version=\"1\" build_number=\"1\" app_string=\"fixture\"/>\n"
                          "\t<INSTALLATION name=\"main\" allow_system_paths=\"no\" default_path=\"$ROOT0/fixture\">\n"
            + files + "\t</INSTALLATION>\n\t<LANGUAGE name=\"en\">\n\t</LANGUAGE>\n</INSTALLER>\n";
        ASSERT_TRUE(write_file(folder + "/" + name + ".xml", xml));
        std::vector<std::string> arguments = { "build", folder + "/" + name + ".xml", "-o", output, "--client", installer_path(), "--quiet" };
        arguments.insert(arguments.end(), extra.begin(), extra.end());
        RUN_RESULT run = run_program(packer_path(), arguments);
        ASSERT_EQ(run.status, 0) << run.errors;
    };
    ASSERT_EQ(mkdir((folder + "/whole").c_str(), 0755), 0);
    ASSERT_EQ(mkdir((folder + "/split").c_str(), 0755), 0);
    const std::vector<std::string> split = { "--package-limit", "200000" };
    pack("one", older_files, folder + "/whole/one.run", {});
    pack("one", older_files, folder + "/split/one.run", split);
    // The newer: one file changed in its last byte, one grown, one gone, one new.
    std::string changed = bytes(120000, 'a');
    changed.back() ^= 1;
    ASSERT_TRUE(write_file(folder + "/payload/f0.bin", changed));
    ASSERT_TRUE(write_file(folder + "/payload/f3.bin", bytes(30001, 'd')));
    ASSERT_TRUE(write_file(folder + "/payload/new.bin", bytes(50000, 'n')));
    newer_files += file("new.bin", "$HERE");
    pack("two", newer_files, folder + "/whole/two.run", {});
    pack("two", newer_files, folder + "/split/two.run", split);

    FOLDER split_folder;
    ASSERT_TRUE(split_folder.set_raw((folder + "/split").c_str()));
    DATA_SET_HEADER header;
    INT_U32 packages = 0;
    ASSERT_TRUE(unpack_installer(split_folder, "one.run", split_folder, "probe.pkg", nullptr, &header, nullptr, &packages));
    EXPECT_GE(packages, 3u);
    delete_side_packages(split_folder, "probe.pkg", packages);
    ASSERT_TRUE(split_folder.delete_file("probe.pkg"));

    RUN_RESULT whole = diff(folder + "/whole/one.run=" + folder + "/whole/two.run");
    RUN_RESULT several = diff(folder + "/split/one.run=" + folder + "/split/two.run");
    EXPECT_EQ(whole.status, several.status);
    std::string said = several.output;
    for (size_t at = said.find("/split/"); at != std::string::npos; at = said.find("/split/", at))
        said.replace(at, 7, "/whole/");
    EXPECT_EQ(said, whole.output);
    EXPECT_NE(whole.output.find("Installation (0)\n"
                                "\t\tFile changed - payload/f0.bin\n"
                                "\t\tFile changed - payload/f3.bin\n"
                                "\t\tFile added - payload/new.bin\n"
                                "\t\tFile deleted - payload/f5.bin\n"
                                "\nDone\n"),
        std::string::npos)
        << whole.output;
    std::string patch = read_file(folder + "/whole/patch.xml");
    EXPECT_NE(patch.find("src_name=\"f0.bin\""), std::string::npos) << patch;
    EXPECT_EQ(read_file(folder + "/split/patch.xml"), patch);
}
