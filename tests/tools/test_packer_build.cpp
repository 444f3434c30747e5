// "packer build" and "packer info": the sample installer packed and read back with the
// run-time's own readers, reproducible output, and the packer's refusals.

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

#include "frame/application_frame.h"
#include "io/folder.h"
#include "installer/engine/data_set.h"
#include "installer/engine/database.h"
#include "io/package.h"
#include "io/stamp.h"
#include "test_support.h"
#include "tools/packer/elf_needs.h"

namespace {

const std::string samples = std::string(ORLU_SOURCE_DIR) + "/samples";

RUN_RESULT pack(const std::vector<std::string>& arguments, const std::string& folder = "")
{
    std::vector<std::string> all = { "build" };
    all.insert(all.end(), arguments.begin(), arguments.end());
    all.push_back("--quiet");
    return run_program(packer_path(), all, { "SOURCE_DATE_EPOCH=1700000000" }, folder);
}

RUN_RESULT pack_sample(const std::string& output)
{
    return pack({ samples + "/installer.xml", "-o", output, "--client", installer_path() });
}

size_t count_of(const std::string& haystack, const std::string& needle)
{
    size_t count = 0;
    for (size_t at = haystack.find(needle); at != std::string::npos; at = haystack.find(needle, at + 1))
        ++count;
    return count;
}

FOLDER folder_of(const std::string& path)
{
    FOLDER folder;
    EXPECT_TRUE(folder.set_raw(path.c_str()));
    return folder;
}

} // namespace

TEST(PACKER_BUILD, the_marker_occurs_once_in_the_run_time)
{
    std::string program = read_file(installer_path());
    std::string marker(stamp_marker, STAMP_MARKER_SIZE);
    EXPECT_EQ(count_of(program, marker), 1u);
    size_t at = 0;
    ASSERT_TRUE(find_stamp_in(reinterpret_cast<const INT_U8*>(program.data()), program.size(), &at));
    STAMP_RECORD record;
    stamp_record_from_bytes(reinterpret_cast<const INT_U8*>(program.data()) + at, &record);
    EXPECT_EQ(record.flags, STAMP_FLAG_ALWAYS);
    EXPECT_EQ(record.data_offset, 0u);
}

TEST(PACKER_BUILD, the_sample_reads_back_with_the_run_times_readers)
{
    TEMP_FOLDER temp;
    RUN_RESULT run = pack_sample(temp.file("setup"));
    ASSERT_EQ(run.status, 0) << run.errors;

    // The stamp: data set behind the program, counted behind the first byte, with its check.
    std::string file = read_file(temp.file("setup"));
    std::string program = read_file(installer_path());
    ASSERT_GT(file.size(), program.size());
    size_t at = 0;
    ASSERT_TRUE(find_stamp_in(reinterpret_cast<const INT_U8*>(file.data()), file.size(), &at));
    STAMP_RECORD record;
    stamp_record_from_bytes(reinterpret_cast<const INT_U8*>(file.data()) + at, &record);
    EXPECT_EQ(record.flags, STAMP_FLAG_ALWAYS | STAMP_FLAG_DATA_SET);
    EXPECT_EQ(record.data_offset, program.size() - 1);
    EXPECT_EQ(verify_stamped_file(folder_of(temp.path()), "setup"), STAMP_VERIFY_GOOD);
    // Outside the stamp the program is copied as it stands.
    EXPECT_EQ(file.compare(0, at, program, 0, at), 0);
    EXPECT_EQ(file.compare(at + STAMP_RECORD_SIZE, program.size() - at - STAMP_RECORD_SIZE, program,
                  at + STAMP_RECORD_SIZE, program.size() - at - STAMP_RECORD_SIZE),
        0);

    // The data set: splash, cache size, chunks that inflate into a package.
    DATA_SET_SPLASH* splash = new DATA_SET_SPLASH;
    DATA_SET_HEADER header;
    INT_S32 chunks = 0;
    FOLDER here = folder_of(temp.path());
    ASSERT_TRUE(unpack_installer(here, "setup", here, "installer.pkg", splash, &header, &chunks));
    EXPECT_EQ(splash->present, 1);
    EXPECT_EQ(splash->image.width, 440);
    EXPECT_EQ(splash->bar_y, 120);
    EXPECT_EQ(splash->bar_width, 400);
    EXPECT_STREQ(splash->title.c_str(), "Sample Application");
    delete splash;
    EXPECT_EQ(header.file_cache_size, 262144u);
    EXPECT_EQ(header.compressed, 1);
    // Some 10 MB of payload and fonts in chunks of 256 KiB.
    EXPECT_GT(chunks, 20);

    // The database as configured.
    std::unique_ptr<DATABASE> db(new DATABASE);
    ASSERT_TRUE(db->data_folder.set_raw(temp.path().c_str()));
    ASSERT_TRUE(db->load_data_set("installer.pkg"));
    EXPECT_EQ(db->data_time, 1700000000);
    EXPECT_NE(db->installation_id, 0u);
    EXPECT_EQ(db->file_cache_sz, 262144u);
    EXPECT_EQ(db->window.width, 640);
    EXPECT_EQ(db->window.show_bg_title, 1);
    EXPECT_EQ(db->dialog.button_gap, 8);
    EXPECT_EQ(db->error.can_drag, 0);
    EXPECT_EQ(db->file_select.new_folder_too, 1);
    EXPECT_STREQ(db->background_filename, "background.png");
    EXPECT_EQ(db->background_image.width, 320);
    EXPECT_EQ(db->background_start_offset_ms, 500);
    EXPECT_STREQ(db->log_system_dest_path, "$SYSDATA");
    EXPECT_EQ(db->check_desktop_height, 480);
    EXPECT_STREQ(db->version, "1.2.0");
    EXPECT_EQ(db->build_number, 120);
    EXPECT_STREQ(db->skin_path, "skin");
    // The skin tree: every icon, the button pictures through the cache, the dialog effects file.
    for (INT_S32 icon = 0; icon < DATABASE_ICON_COUNT; ++icon)
        EXPECT_EQ(db->icons[icon].width, 32) << icon_name(icon);
    EXPECT_EQ(db->progress_bar_animation_x_rate, 2);
    EXPECT_EQ(db->progress_bar_animation_update_rate, 40);
    EXPECT_STREQ(db->style_sets[STYLE_MENU_BUTTON].get_image_filename(), "button");
    ASSERT_EQ(db->language_count, 2);
    EXPECT_STREQ(db->languages[1].name, "de");
    EXPECT_STREQ(db->languages[1].installation_name(0), "Vollst\xE4ndige Installation");
    EXPECT_STREQ(db->languages[0].text(LANGUAGE_KEY::COPY_ERROR_MSG),
        "The file %s could not be written. Go on with the next file?");
    EXPECT_EQ(db->current_language, 0);
    // Two languages: the wizard starts on the language page.
    EXPECT_EQ(db->current_page, PAGE_LANGUAGE);
    EXPECT_TRUE(db->has_licence() && db->has_release_notes() && db->has_readme());
    ASSERT_EQ(db->installation_count, 2);
    const INSTALLATION_RECORD& full = db->installations[0];
    EXPECT_STREQ(full.uninstaller_filename, "uninstall.sh");
    ASSERT_EQ(full.file_count, 11);
    EXPECT_STREQ(full.files[9].packed_name, "full000A");
    EXPECT_STREQ(full.files[2].platform.c_str(), "linux:32bit");
    EXPECT_EQ(full.files[2].overwrite, OVERWRITE_WHEN_OLDER);
    EXPECT_EQ(full.files[6].overwrite, OVERWRITE_WHEN_ABSENT);
    EXPECT_EQ(full.files[10].switch_user, 1);
    EXPECT_STREQ(full.files[4].destination_name(), "table.dat");
    ASSERT_EQ(full.shortcut_count, 4);
    EXPECT_EQ(full.shortcuts[3].type, SHORTCUT_WEBLINK);
    EXPECT_EQ(full.has_desktop_shortcut, 1);
    EXPECT_EQ(full.has_menu_shortcut, 1);
    EXPECT_EQ(db->installations[1].file_count, 3);
    EXPECT_EQ(db->total_files, 14);
    ASSERT_EQ(db->client_count, 1);
    EXPECT_STREQ(db->clients[0]->destname.c_str(), "setup");

    // Every payload member is its source file, byte for byte; so are the texts and the fonts.
    for (INT_S16 i = 0; i < db->installation_count; ++i) {
        for (INT_S16 f = 0; f < db->installations[i].file_count; ++f) {
            const FILE_RECORD& record_of = db->installations[i].files[f];
            std::string source = samples + "/" + record_of.src_path_from_xml + "/" + record_of.src_name;
            ASSERT_TRUE(db->package->extract_file(here, "member", record_of.packed_name)) << record_of.packed_name;
            EXPECT_EQ(read_file(temp.file("member")), read_file(source)) << record_of.packed_name;
        }
    }
    const char* const texts[][2] = { { "licence-1", "text/de/licence.txt" }, { "readme-0", "text/en/readme.txt" },
        { "release_notes-1", "text/de/release_notes.txt" }, { "BabelSans.ttf", "fonts/BabelSans.ttf" } };
    for (const auto& text : texts) {
        ASSERT_TRUE(db->package->extract_file(here, "member", text[0])) << text[0];
        EXPECT_EQ(read_file(temp.file("member")), read_file(samples + "/" + text[1])) << text[0];
    }

    // One byte changed in the data set: the check catches it.
    file[file.size() / 2 + program.size() / 2] ^= 0x20;
    ASSERT_TRUE(write_file(temp.file("damaged"), file));
    EXPECT_EQ(verify_stamped_file(here, "damaged"), STAMP_VERIFY_DAMAGED);
    EXPECT_EQ(verify_stamped_file(folder_of(std::string(ORLU_BUILD_DIR)), "installer"), STAMP_VERIFY_NO_DATA_SET);

    RUN_RESULT info = run_program(packer_path(), { "info", temp.file("setup") });
    EXPECT_EQ(info.status, 0) << info.errors;
    EXPECT_NE(info.output.find("the data set matches"), std::string::npos);
    EXPECT_NE(info.output.find("full0008  payload/data/levels.txt -> $HERE/data/levels.txt, platform \"linux:32bit,64bit\", "
                               "overwrite older"),
        std::string::npos);
    EXPECT_NE(info.output.find("1: \"de\", title \"Deutsch\""), std::string::npos);
    RUN_RESULT damaged = run_program(packer_path(), { "info", temp.file("damaged") });
    EXPECT_NE(damaged.output.find("the data set is DAMAGED"), std::string::npos);
}

TEST(PACKER_BUILD, info_shows_the_run_time_in_front_and_what_it_needs)
{
    TEMP_FOLDER temp;
    ASSERT_EQ(pack_sample(temp.file("setup")).status, 0);
    std::string program = read_file(installer_path());
    ELF_NEEDS needs;
    ASSERT_TRUE(read_elf_needs(reinterpret_cast<const INT_U8*>(program.data()), program.size(), &needs));
    ASSERT_FALSE(needs.newest_c_library.empty());
    std::string size_line = "Run-time: " + std::to_string(program.size()) + " bytes, ";
    std::string version_line = "  newest C library symbol version: " + needs.newest_c_library + "\n";

    // The finished installer: only the program in front counts, not the data set behind it.
    RUN_RESULT finished = run_program(packer_path(), { "info", temp.file("setup") });
    ASSERT_EQ(finished.status, 0) << finished.errors;
    EXPECT_NE(finished.output.find(size_line), std::string::npos) << finished.output.substr(0, 400);
    EXPECT_NE(finished.output.find(version_line), std::string::npos) << finished.output.substr(0, 400);
    EXPECT_NE(finished.output.find("build id " + needs.build_id + "\n"), std::string::npos);

    // The bare run-time the same, with no data set behind it.
    RUN_RESULT bare = run_program(packer_path(), { "info", installer_path() });
    ASSERT_EQ(bare.status, 0) << bare.errors;
    EXPECT_NE(bare.output.find(size_line), std::string::npos) << bare.output;
    EXPECT_NE(bare.output.find(version_line), std::string::npos) << bare.output;
    EXPECT_NE(bare.output.find("No data set behind the program"), std::string::npos);

    // A stamped file that is no program says so instead of guessing.
    std::string marker(stamp_marker, STAMP_MARKER_SIZE);
    ASSERT_TRUE(write_file(temp.file("not-elf"), "MZ" + std::string(200, 'x') + marker + std::string(400, '\0')));
    RUN_RESULT odd = run_program(packer_path(), { "info", temp.file("not-elf") });
    EXPECT_NE(odd.output.find("not an ELF program"), std::string::npos) << odd.output << odd.errors;
}

namespace {

// A small configuration of one file, with `extra` put into the INSTALLER element.
std::string config(const std::string& extra, const std::string& file_attributes = "src_name=\"a.txt\"")
{
    return "<INSTALLER>\n"
           "\t<INSTALLATION name=\"default\">\n"
           "\t\t<FILE "
        + file_attributes
        + "/>\n"
          "\t</INSTALLATION>\n"
        + extra + "</INSTALLER>\n";
}

RUN_RESULT pack_config(const TEMP_FOLDER& temp, const std::string& text)
{
    EXPECT_TRUE(write_file(temp.file("installer.xml"), text));
    EXPECT_TRUE(write_file(temp.file("a.txt"), "a"));
    return pack({ "installer.xml", "-o", "out", "--client", installer_path() }, temp.path());
}

} // namespace

TEST(PACKER_BUILD, a_minimal_configuration_packs_with_uncompressed_chunks)
{
    TEMP_FOLDER temp;
    RUN_RESULT run = pack_config(temp,
        config("\t<INSTALLER_CLIENT path=\"" + std::string(ORLU_BUILD_DIR)
            + "\" filename=\"installer\" platform=\"linux\" compress_data=\"no\"/>\n"));
    ASSERT_EQ(run.status, 0) << run.errors;
    EXPECT_EQ(run.output, "");
    DATA_SET_HEADER header;
    INT_S32 chunks = 0;
    FOLDER here = folder_of(temp.path());
    ASSERT_TRUE(unpack_installer(here, "out", here, "installer.pkg", nullptr, &header, &chunks));
    EXPECT_EQ(header.compressed, 0);
    EXPECT_EQ(header.file_cache_size, 0x100000u);
    EXPECT_EQ(chunks, 1);
    PACKAGE package(here, "installer.pkg", false, 0, true, true);
    ASSERT_TRUE(package.extract_file(here, "copy", "default0001"));
    EXPECT_EQ(read_file(temp.file("copy")), "a");
}

TEST(PACKER_BUILD, bad_configurations_stop_the_build_with_file_line_and_reason)
{
    struct CASE {
        std::string text;
        std::string message;
    };
    const std::string long_name(1024, 'n');
    const CASE cases[] = {
        // expat notices the fault at the closing tag; the element left open is named with its line.
        { "<INSTALLER>\n<WINDOW width=\"1\">\n</INSTALLER>\n",
            "installer.xml:3: XML error: mismatched tag; <WINDOW> begun on line 2 is open" },
        { config("", "src_name=\"a.txt\" dest_path_from_inst_loc=\"$INSTDIR/bin\""),
            "installer.xml:3: 'dest_path_from_inst_loc' on <FILE> is \"$INSTDIR/bin\": $INSTDIR is not a path variable; "
            "the variables are $HERE (the install folder), $APP, $BASE, $APPDATA, $INSTDATA, $USERAPP, $USERDATA, "
            "$USERPREFS, $USERSAVES, $SYSAPP, $SYSDATA, $SYSPREFS, $DATA, $TEMP, $FONTDATA, $ICONDATA and $ROOT0, "
            "$ROOT1 and so on" },
        { "<INSTALLER>\n<INSTALLATION name=\"a\" default_path=\"$HOME/app\">\n<FILE src_name=\"a.txt\"/>\n</INSTALLATION>\n</INSTALLER>\n",
            "installer.xml:2: 'default_path' on <INSTALLATION> is \"$HOME/app\": $HOME is not a path variable" },
        { config("<LOG dest_path_from_inst_loc=\"logs\"/>\n"),
            "installer.xml:5: 'dest_path_from_inst_loc' on <LOG> is \"logs\", which does not begin with a path variable" },
        { config("<PATCH dest_path_from_inst_loc=\"$ROOTx\"/>\n"),
            "installer.xml:5: 'dest_path_from_inst_loc' on <PATCH> is \"$ROOTx\": $ROOTx is not a path variable" },
        { "<INSTALLER>\n<INSTALLATION name=\"a\">\n", "installer.xml:3: the file ends inside <INSTALLATION>, opened on line 2" },
        { config("<COLOUR/>\n"), "installer.xml:5: unknown element <COLOUR> in <INSTALLER>" },
        { config("<WINDOW width=\"1\" colour=\"red\"/>\n"), "installer.xml:5: unknown attribute 'colour' on <WINDOW>" },
        { config("<WINDOW width=\"40000\"/>\n"), "installer.xml:5: 'width' on <WINDOW> is 40000; it must lie from -32768 to 32767" },
        { config("<WINDOW width=\"12px\"/>\n"), "installer.xml:5: 'width' on <WINDOW> must be a decimal number, not \"12px\"" },
        { config("<WINDOW fullscreen=\"true\"/>\n"), "installer.xml:5: 'fullscreen' on <WINDOW> must be \"yes\" or \"no\", not \"true\"" },
        { config("<APPLICATION version=\"" + long_name + "\"/>\n"),
            "installer.xml:5: 'version' on <APPLICATION> is 1024 characters long; the field holds at most 1023" },
        { config("<WINDOW/>\n<WINDOW/>\n"), "installer.xml:6: <WINDOW> is given twice" },
        { config("", "src_name=\"a.txt\" overwrite=\"sometimes\""),
            "installer.xml:3: 'overwrite' on <FILE> must be \"always\", \"older\" or \"absent\", not \"sometimes\"" },
        { config("", "src_name=\"a.txt\" platform=\"amiga\""),
            "installer.xml:3: 'platform' on <FILE>: \"amiga\" is not a platform" },
        { config("", "src_name=\"a.txt\" platform=\"linux:16bit\""),
            "installer.xml:3: 'platform' on <FILE>: \"16bit\" is not a word size (32bit, 64bit, unknown)" },
        // Destinations that would lead out of their folder, which the run-time refuses too.
        { config("", "src_name=\"a.txt\" dest_path_from_inst_loc=\"$HERE/bin/../../etc\""),
            "installer.xml:3: 'dest_path_from_inst_loc' on <FILE> is \"$HERE/bin/../../etc\": a \"..\" element would "
            "lead out of its folder" },
        { config("", "src_name=\"a.txt\" system_dest_path_from_inst_loc=\"$SYSAPP/..\""),
            "installer.xml:3: 'system_dest_path_from_inst_loc' on <FILE> is \"$SYSAPP/..\": a \"..\" element" },
        { config("", "src_name=\"a.txt\" dest_name=\"../passwd\""),
            "installer.xml:3: 'dest_name' on <FILE> is \"../passwd\": the installed name must be a file name" },
        { config("", "src_name=\"..\""), "installer.xml:3: 'src_name' on <FILE> is \"..\": the installed name must be" },
        { config("", "src_name=\"a.txt\" dest_path_from_inst_loc=\"$root1/etc\""),
            "installer.xml:3: 'dest_path_from_inst_loc' on <FILE> is \"$root1/etc\": $ROOT1 (the file system root) "
            "needs allow_system_paths=\"yes\" on <INSTALLATION>" },
        { config("<INSTALLER_CLIENT filename=\"installer\" platform=\"windows\"/>\n"),
            "installer.xml:1: no <INSTALLER_CLIENT> is for the platform \"linux\"" },
    };
    for (const CASE& test : cases) {
        TEMP_FOLDER temp;
        RUN_RESULT run = pack_config(temp, test.text);
        EXPECT_EQ(run.status, 1) << test.message;
        EXPECT_NE(run.errors.find("packer: " + test.message), std::string::npos)
            << "expected: " << test.message << "\ngot: " << run.errors;
        EXPECT_FALSE(write_file(temp.file("out"), "") && read_file(temp.file("out")).size() > 0);
    }
}

TEST(PACKER_BUILD, every_missing_file_is_listed_at_once)
{
    TEMP_FOLDER temp;
    RUN_RESULT run = pack_config(temp,
        config("<LANGUAGE name=\"en\">\n<LICENCE path=\"texts\" filename=\"licence.txt\"/>\n</LANGUAGE>\n"
               "<BACKGROUND filename=\"sky.png\"/>\n",
            "src_name=\"gone.txt\" src_path_from_xml=\"data\""));
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.errors.find("packer: 3 files are missing:\n"), std::string::npos) << run.errors;
    EXPECT_NE(run.errors.find("installer.xml:3: " + temp.path() + "/data/gone.txt\n"), std::string::npos) << run.errors;
    EXPECT_NE(run.errors.find("installer.xml:6: " + temp.path() + "/texts/licence.txt\n"), std::string::npos);
    EXPECT_NE(run.errors.find("installer.xml:8: " + temp.path() + "/sky.png\n"), std::string::npos);
    EXPECT_EQ(read_file(temp.file("out")), "");
}

TEST(PACKER_BUILD, command_line_errors)
{
    TEMP_FOLDER temp;
    EXPECT_EQ(run_program(packer_path(), { "build" }).status, 2);
    RUN_RESULT level = run_program(packer_path(), { "build", "x.xml", "-o", "y", "--level", "12" });
    EXPECT_EQ(level.status, 2);
    EXPECT_EQ(level.errors, "packer: --level takes a number from 0 to 9, not '12'\n");
    RUN_RESULT epoch = run_program(packer_path(), { "build", samples + "/installer.xml", "-o", temp.file("x"), "--client",
                                                       installer_path() },
        { "SOURCE_DATE_EPOCH=soon" });
    EXPECT_EQ(epoch.status, 1);
    EXPECT_NE(epoch.errors.find("SOURCE_DATE_EPOCH is \"soon\""), std::string::npos);
    RUN_RESULT client = pack({ samples + "/installer.xml", "-o", temp.file("x"), "--client", samples + "/splash.png" });
    EXPECT_EQ(client.status, 1);
    EXPECT_NE(client.errors.find("carries no stamp record"), std::string::npos) << client.errors;
    // A finished installer is not a client.
    ASSERT_EQ(pack_sample(temp.file("setup")).status, 0);
    RUN_RESULT twice = pack({ samples + "/installer.xml", "-o", temp.file("x"), "--client", temp.file("setup") });
    EXPECT_NE(twice.errors.find("is a finished installer already"), std::string::npos) << twice.errors;
}

TEST(PACKER_BUILD, more_files_than_a_data_set_can_count_are_refused)
{
    // A data set counts its files in 16 bits: 32767 is the most.
    std::string files;
    for (int i = 0; i < 32768; ++i)
        files += "<FILE src_name=\"a.txt\"/>\n";
    TEMP_FOLDER temp;
    RUN_RESULT run = pack_config(temp, "<INSTALLER>\n<INSTALLATION name=\"big\">\n" + files + "</INSTALLATION>\n</INSTALLER>\n");
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.errors.find("packer: installer.xml:2: 32768 files in all; at most 32767 are allowed\n"),
        std::string::npos)
        << run.errors.substr(0, 400);
}

TEST(PACKER_BUILD, path_variables_of_every_kind_are_taken)
{
    TEMP_FOLDER temp;
    RUN_RESULT run = pack_config(temp,
        "<INSTALLER>\n<INSTALLATION name=\"a\" default_path=\"$root0/app\" uninstaller_path=\"../up\">\n"
        "<FILE src_name=\"a.txt\" dest_path_from_inst_loc=\"$HERE/bin\" system_dest_path_from_inst_loc=\"$SysData\"/>\n"
        "<SHORTCUT type=\"application\" exec=\"a.txt\" name=\"A\" exec_path=\"$ROOT12/x\" icon_path=\"\"/>\n"
        "</INSTALLATION>\n</INSTALLER>\n");
    EXPECT_EQ(run.status, 0) << run.errors;
    // The file system root is a destination for an install type that allows system paths.
    run = pack_config(temp,
        "<INSTALLER>\n<INSTALLATION name=\"a\" allow_system_paths=\"yes\">\n"
        "<FILE src_name=\"a.txt\" dest_path_from_inst_loc=\"$ROOT1/opt/a\" dest_name=\"a..b.txt\"/>\n"
        "</INSTALLATION>\n</INSTALLER>\n");
    EXPECT_EQ(run.status, 0) << run.errors;
}

TEST(PACKER_BUILD, a_missing_client_is_one_message_that_names_it)
{
    // Before, the configuration's client in a folder that is not there gave "no client for the
    // platform" and a missing folder without the file's name.
    TEMP_FOLDER temp;
    ASSERT_TRUE(write_file(temp.file("installer.xml"),
        config("<INSTALLER_CLIENT path=\"../nowhere\" filename=\"setup-run\" platform=\"linux\"/>\n")));
    ASSERT_TRUE(write_file(temp.file("a.txt"), "a"));
    RUN_RESULT run = pack({ "installer.xml", "-o", "out" }, temp.path());
    EXPECT_EQ(run.status, 1);
    std::string parent = temp.path().substr(0, temp.path().rfind('/'));
    std::string expected = "packer: installer.xml:5: the client '" + parent + "/nowhere/setup-run' of <INSTALLER_CLIENT> does not exist\n";
    EXPECT_EQ(run.errors, expected);
    // With --client the configuration's client is not needed; a missing one is named the same way.
    run = pack({ "installer.xml", "-o", "out", "--client", temp.file("gone") }, temp.path());
    EXPECT_EQ(run.errors, "packer: --client: the client '" + temp.file("gone") + "' does not exist\n");
    run = pack({ "installer.xml", "-o", "out", "--client", installer_path() }, temp.path());
    EXPECT_EQ(run.status, 0) << run.errors;
}

TEST(PACKER_BUILD, a_language_short_of_the_wizards_texts_is_a_warning_or_with_strict_an_error)
{
    TEMP_FOLDER temp;
    std::string text = config("<LANGUAGE name=\"en\">\n<LANGUAGE_TITLE string=\"English\"/>\n<QUIT_TITLE string=\"Quit\"/>\n</LANGUAGE>\n");
    RUN_RESULT run = pack_config(temp, text);
    EXPECT_EQ(run.status, 0) << run.errors;
    // Every text but the two given and the two of the packer's own pages.
    std::string missing;
    for (INT_S32 key = 0; key < LANGUAGE_KEY_COUNT; ++key) {
        std::string tag = language_key_name(key);
        if (tag == "LANGUAGE_TITLE" || tag == "QUIT_TITLE" || tag == "PACK_DATA_TITLE" || tag == "PACK_LOG_TITLE")
            continue;
        missing += (missing.empty() ? "" : ", ") + tag;
    }
    std::string message = "installer.xml:5: the language \"en\" lacks 57 of the wizard's texts: " + missing;
    EXPECT_EQ(run.errors, "packer: installer.xml:5: warning: the language \"en\" lacks 57 of the wizard's texts: " + missing + "\n");
    EXPECT_EQ(missing.substr(0, 23), "INSTALLER_TITLE, QUIT_M");

    run = pack({ "installer.xml", "-o", "strict", "--client", installer_path(), "--strict" }, temp.path());
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.errors, "packer: " + message + "\n");
    EXPECT_EQ(read_file(temp.file("strict")), "");
}

TEST(PACKER_BUILD, the_same_inputs_here_or_in_another_folder_give_the_same_bytes_and_no_build_folder)
{
    TEMP_FOLDER temp;
    std::string first = temp.file("a"), second = temp.file("b/deeper");
    ASSERT_EQ(run_program("/bin/mkdir", { "-p", first, second }).status, 0);
    ASSERT_EQ(run_program("/bin/cp", { "-r", samples, first }).status, 0);
    ASSERT_EQ(run_program("/bin/cp", { "-r", samples, second }).status, 0);
    ASSERT_EQ(pack({ first + "/samples/installer.xml", "-o", temp.file("one"), "--client", installer_path() }).status, 0);
    ASSERT_EQ(pack({ second + "/samples/installer.xml", "-o", temp.file("two"), "--client", installer_path() }).status, 0);
    std::string one = read_file(temp.file("one"));
    EXPECT_TRUE(one == read_file(temp.file("two")));
    EXPECT_EQ(one.find(temp.path()), std::string::npos);
    RUN_RESULT info = run_program(packer_path(), { "info", temp.file("one") });
    EXPECT_EQ(info.output.find(temp.path()), std::string::npos) << info.output;
    EXPECT_EQ(info.output.find(ORLU_BUILD_DIR), std::string::npos) << info.output;

    // The style sets still find their pictures in the data set's cache.
    FOLDER here = folder_of(temp.path());
    DATA_SET_HEADER header;
    ASSERT_TRUE(unpack_installer(here, "one", here, "installer.pkg", nullptr, &header, nullptr));
    std::unique_ptr<DATABASE> db(new DATABASE);
    db->data_folder = here;
    ASSERT_TRUE(db->load_data_set("installer.pkg"));
    EXPECT_STREQ(db->style_sets[STYLE_MENU_BUTTON].image_path, "/skin/button");
    EXPECT_NE(db->style_sets[STYLE_MENU_BUTTON].images[0], nullptr);
}
