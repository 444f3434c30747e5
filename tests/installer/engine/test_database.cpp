// The installation database: its stream at version 18 and at older versions, damaged streams,
// data set loading, the wizard's page order and the platform filter.

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "base/format.h"
#include "io/folder.h"
#include "graphics/font.h"
#include "graphics/image_cache.h"
#include "installer/engine/database.h"
#include "installer/engine/installer_options.h"
#include "wm/core/wm_look.h"
#include "memory_device.h"
#include "io/package.h"
#include "test_support.h"

namespace {

std::unique_ptr<DATABASE> make_database()
{
    return std::unique_ptr<DATABASE>(new DATABASE);
}

// A database with every streamed field away from its default.
void fill(DATABASE* db)
{
    db->installation_id = 0xCAFEF00D;
    db->show_frame_rate = 1;
    db->show_filenames = 0;
    db->show_filepaths = 0;
    db->file_cache_sz = 0x20000;
    strcpy(db->default_language_name, "de");
    db->window = WINDOW_SETTINGS { 640, 480, 1, 1 };
    db->dialog = DIALOG_SETTINGS { 10, 20, 400, 300, 7, 0 };
    db->exit = BOX_SETTINGS { 1, 2, 3, 4, 0 };
    db->error = BOX_SETTINGS { 5, 6, 7, 8, 0 };
    db->file_select = FILE_SELECT_SETTINGS { 9, 10, 11, 12, 1, 0 };
    db->about = BOX_SETTINGS { 13, 14, 15, 16, 0 };
    strcpy(db->background_path, "pictures");
    strcpy(db->background_filename, "sky.png");
    db->background_speed = 1234;
    db->background_width = 800;
    db->background_height = 600;
    db->background_start_offset_ms = 250;
    strcpy(db->log_dest_path, "$HERE/log");
    strcpy(db->log_system_dest_path, "$SYSDATA/log");
    strcpy(db->patch_dest_path, "$HERE/patch");
    strcpy(db->patch_system_dest_path, "$SYSDATA/patch");
    db->patch_do_check = 1;
    db->style_sets[STYLE_TITLE].font_id = 8;
    db->style_sets[STYLE_OPTIONS].border_left_gap = 3;
    db->icons[ICON_YES].set_size(2, 3);
    db->icons[ICON_YES].at(1, 2) = COLOUR_WHITE;
    db->background_image.set_size(4, 1);
    db->progress_bar_animation_x_rate = 2;
    db->progress_bar_animation_y_rate = -1;
    db->progress_bar_animation_update_rate = 40;
    strcpy(db->version, "1.2.3");
    db->build_number = 77;
    strcpy(db->app_string, "game");
    db->data_time = 1700000000;
    db->check_desktop_width = 1024;
    db->check_desktop_height = 768;
    strcpy(db->skin_path, "skin/blue");

    ASSERT_TRUE(db->allocate_installations(2));
    INSTALLATION_RECORD& full = db->installations[0];
    strcpy(full.name, "full");
    strcpy(full.default_path, "$ROOT0/game");
    full.allow_system_paths = 1;
    strcpy(full.uninstaller_name, "Game");
    strcpy(full.uninstaller_filename, "uninstall");
    strcpy(full.uninstaller_path, "$HERE");
    strcpy(full.uninstaller_syspath, "$SYSAPP");
    ASSERT_TRUE(full.allocate_files(2));
    full.files[0].src_name = "game";
    full.files[0].src_path_from_xml = "bin";
    full.files[0].dest_path_from_inst_loc = "$HERE/bin";
    full.files[0].platform.assign("linux:64bit");
    full.files[0].dest_name = "game-bin";
    full.files[0].system_dest_path_from_inst_loc = "$SYSAPP/bin";
    full.files[0].stamp = 1;
    full.files[0].switch_user = 1;
    full.files[0].overwrite = OVERWRITE_WHEN_ABSENT;
    full.files[0].packed_name = "full0001";
    full.files[1].src_name = "data.bin";
    full.files[1].packed_name = "full0002";
    ASSERT_TRUE(full.allocate_shortcuts(1));
    SHORTCUT_RECORD& shortcut = full.shortcuts[0];
    shortcut.type = SHORTCUT_WEBLINK;
    strcpy(shortcut.exec, "https://example.org");
    strcpy(shortcut.name, "Site");
    strcpy(shortcut.menu_path, "Games");
    shortcut.platform.assign("lsb");
    strcpy(shortcut.arguments, "-x");
    strcpy(shortcut.exec_path, "$HERE");
    strcpy(shortcut.exec_syspath, "$SYSAPP");
    strcpy(shortcut.icon, "site.png");
    strcpy(shortcut.icon_path, "$HERE/share");
    strcpy(shortcut.icon_syspath, "$SYSDATA");
    strcpy(db->installations[1].name, "small");

    ASSERT_TRUE(db->allocate_languages(2));
    for (INT_S16 l = 0; l < 2; ++l) {
        LANGUAGE_RECORD& language = db->languages[l];
        strcpy(language.name, l == 0 ? "en" : "de");
        for (INT_S32 key = 0; key < LANGUAGE_KEY_COUNT; ++key)
            ASSERT_TRUE(format_text(language.strings[key], DATABASE_TEXT, "%s/%s", language.name, language_key_name(key)));
        strcpy(language.installation_names[0], l == 0 ? "Full" : "Voll");
        strcpy(language.installation_names[1], l == 0 ? "Small" : "Klein");
        strcpy(language.licence_path, "text");
        strcpy(language.licence_filename, "licence.txt");
        strcpy(language.readme_path, "text");
        strcpy(language.readme_filename, "readme.txt");
        language.readme_lines = 30;
        strcpy(language.release_notes_path, "text");
        strcpy(language.release_notes_filename, "notes.txt");
        language.release_notes_lines = 40;
    }

    ASSERT_TRUE(db->allocate_clients(1));
    db->clients[0]->platform.assign("linux");
    ASSERT_TRUE(db->clients[0]->path.set("$TEMP"));
    db->clients[0]->filename.assign("installer");
    db->clients[0]->destname.assign("setup");
    db->clients[0]->compress_data = 1;
}

std::string stream_of(const DATABASE& db)
{
    MEMORY_DEVICE device;
    EXPECT_TRUE(db.put_to_data_device(&device));
    return std::string(device.bytes().begin(), device.bytes().end());
}

// Writes the fields of an older stream by hand, field by field as each version had them. Objects
// (cache, pictures, style sets, folders) go out in their own current form.
class OLD_STREAM {
public:
    explicit OLD_STREAM(INT_U8 version)
        : v(version)
    {
        u8(version);
    }

    void u8(INT_U8 value) { ASSERT_TRUE(device_write(&device, value)); }
    void s16(INT_S16 value) { ASSERT_TRUE(device_write(&device, value)); }
    void s32(INT_S32 value) { ASSERT_TRUE(device_write(&device, value)); }
    void text(const std::string& value)
    {
        s32(static_cast<INT_S32>(value.size()));
        ASSERT_EQ(device.write(value.data(), static_cast<INT_S32>(value.size())), static_cast<INT_S32>(value.size()));
    }
    void object(const DATA_DEVICE_CLIENT& client) { ASSERT_TRUE(client.put_to_data_device(&device)); }
    void platform(INT_U8 code, const std::string& name)
    {
        if (v < 16)
            u8(code);
        else
            text(name);
    }

    // Everything up to and including data_time and the desktop check, with recognisable values.
    void head(const std::string& default_language)
    {
        IMAGE_CACHE cache;
        IMAGE empty;
        object(cache);
        object(empty);
        if (v > 9)
            s32(0x1234);
        u8(1);
        if (v > 1)
            u8(0);
        if (v > 2)
            u8(0);
        s32(0x40000);
        text(default_language);
        s16(500), s16(400), u8(1), u8(0);
        s16(1), s16(2), s16(300), s16(200), s16(6);
        if (v < 4) {
            s16(210), s16(110), s16(410), s16(310);
        } else {
            u8(0);
            for (int box = 0; box < 2; ++box)
                s16(3), s16(4), s16(250), s16(150), u8(0);
            s16(5), s16(6), s16(350), s16(250), u8(1), u8(0);
            s16(7), s16(8), s16(320), s16(220), u8(0);
        }
        text("bg"), text("bg.png"), s32(700), s16(320), s16(240), s16(100);
        text("$HERE/log"), text("");
        if (v > 12)
            text("$HERE/patch"), text(""), u8(1);
        WM_STYLE_SET style;
        for (int i = 0; i < DATABASE_STYLE_COUNT + TOOLKIT_STYLE_COUNT; ++i) {
            if (i == DATABASE_STYLE_COUNT) {
                for (int icon = 0; icon < DATABASE_ICON_COUNT; ++icon)
                    object(empty);
            }
            object(style);
        }
        if (v > 3) {
            ASSERT_TRUE(device_write(&device, INT_U16 { 0x60 }));
            s32(100), s32(200), u8(224);
        }
        if (v > 4)
            s16(1), s16(2), s16(3);
        text("0.9"), s32(9), text("old");
        if (v > 7)
            s32(1600000000);
        if (v > 8)
            s16(800), s16(600);
    }

    // One installation of two files, the second with an empty dest_name.
    void installation()
    {
        s16(1);
        text("default"), u8(1);
        if (v > 6)
            text("$ROOT0/old");
        s16(2);
        for (int f = 0; f < 2; ++f) {
            text(f ? "readme.txt" : "game"), text("src"), text("$HERE");
            platform(f ? 0 : 1, f ? "" : "linux");
            text(f ? "" : "game.bin"), text(""), u8(f ? 0 : 1);
            if (v > 17)
                u8(1);
            if (v > 7)
                u8(OVERWRITE_WHEN_OLDER);
            text(f ? "default0002" : "default0001");
        }
        s16(1);
        u8(SHORTCUT_APPLICATION), text("game"), text("Game"), text("");
        platform(1, "linux");
        for (int i = 0; i < 6; ++i)
            text("s" + std::to_string(i));
        if (v > 8)
            text("Game"), text("uninstall"), text("$HERE"), text("$SYSAPP");
    }

    // Languages: each text is its key's tag; the install type is named "Standard".
    void languages(const std::vector<std::string>& names)
    {
        s16(static_cast<INT_S16>(names.size()));
        for (const std::string& name : names) {
            for (INT_S32 key = 0; key < LANGUAGE_KEY_COUNT; ++key) {
                if (v < language_key_version(key))
                    continue;
                text(key == 0 ? name + " title" : language_key_name(key));
                if (key == 0 && v > 5)
                    text(name);
            }
            text("Standard");
            text("text"), text("licence.txt"), text("text"), text("readme.txt"), s16(25);
            if (v > 14)
                text("text"), text("notes.txt"), s16(35);
        }
    }

    void tail()
    {
        if (v > 10)
            text("skin");
        if (v > 11) {
            s16(1);
            platform(1, "linux");
            FOLDER folder("$TEMP");
            object(folder);
            text("installer"), text("setup"), u8(1);
        }
    }

    INT_U8 v;
    MEMORY_DEVICE device;
};

std::unique_ptr<DATABASE> read_back(MEMORY_DEVICE* device, bool* ok)
{
    std::unique_ptr<DATABASE> db = make_database();
    device->rewind();
    *ok = db->get_from_data_device(device);
    return db;
}

} // namespace

// ---------------------------------------------------------------------------------------------
// Version 18
// ---------------------------------------------------------------------------------------------

TEST(DATABASE, reset_after_a_fill_is_a_fresh_database)
{
    std::unique_ptr<DATABASE> db = make_database();
    fill(db.get());
    db->current_page = PAGE_README;
    db->reset();
    // Every streamed field is back: the stream is that of a database never touched.
    EXPECT_EQ(stream_of(*db), stream_of(*make_database()));
    EXPECT_EQ(db->installations, nullptr);
    EXPECT_EQ(db->languages, nullptr);
    EXPECT_EQ(db->clients, nullptr);
    EXPECT_EQ(db->current_page, PAGE_START);
    EXPECT_STREQ(db->install_path, "$ROOT0");
    EXPECT_STREQ(db->config_file_name.c_str(), "installer.xml");
}

TEST(DATABASE, reset_sets_the_standard_text_colours_and_loads_the_system_font_once_fonts_run)
{
    std::unique_ptr<DATABASE> db = make_database();
    standard_text_colours.text = COLOUR_RED;
    standard_text_colours.background = COLOUR_BLUE;
    db->reset();
    EXPECT_EQ(standard_text_colours.text, COLOUR_WHITE);
    EXPECT_EQ(standard_text_colours.background.alpha(), 0);

    // Before the font system runs a reset leaves the font alone; afterwards it loads it.
    bool started = font_system_started();
    if (started)
        stop_font_system();
    db->reset();
    EXPECT_FALSE(system_font_loaded());
    disable_font_autoload();
    start_font_system();
    FOLDER fonts;
    ASSERT_TRUE(fonts.set_raw(ORLU_SOURCE_DIR "/samples/fonts"));
    ASSERT_TRUE(define_variable("$FONTDATA", &fonts) >= 0);
    db->reset();
    EXPECT_TRUE(system_font_loaded());
    stop_font_system();
    undefine_variable("$FONTDATA");
}

TEST(DATABASE, version_18_round_trip_keeps_every_field_and_writes_the_same_bytes)
{
    std::unique_ptr<DATABASE> db = make_database();
    fill(db.get());
    std::string bytes = stream_of(*db);
    ASSERT_EQ(static_cast<INT_U8>(bytes[0]), 18);

    MEMORY_DEVICE device(bytes);
    bool ok = false;
    std::unique_ptr<DATABASE> copy = read_back(&device, &ok);
    ASSERT_TRUE(ok);
    EXPECT_EQ(device.failed, 0);
    EXPECT_EQ(device.tell(), bytes.size());
    EXPECT_EQ(stream_of(*copy), bytes);

    EXPECT_EQ(copy->installation_id, 0xCAFEF00Du);
    EXPECT_EQ(copy->file_cache_sz, 0x20000u);
    EXPECT_EQ(copy->dialog.button_gap, 7);
    EXPECT_EQ(copy->file_select.new_folder_too, 1);
    EXPECT_EQ(copy->about.y, 14);
    EXPECT_STREQ(copy->patch_system_dest_path, "$SYSDATA/patch");
    EXPECT_EQ(copy->style_sets[STYLE_TITLE].font_id, 8);
    EXPECT_EQ(copy->style_sets[STYLE_OPTIONS].border_left_gap, 3);
    ASSERT_EQ(copy->icons[ICON_YES].width, 2);
    EXPECT_EQ(copy->icons[ICON_YES].at(1, 2).argb(), COLOUR_WHITE.argb());
    EXPECT_EQ(copy->background_image.width, 4);
    EXPECT_EQ(copy->progress_bar_animation_y_rate, -1);
    EXPECT_EQ(copy->data_time, 1700000000);
    EXPECT_STREQ(copy->skin_path, "skin/blue");
    ASSERT_EQ(copy->installation_count, 2);
    const FILE_RECORD& file = copy->installations[0].files[0];
    EXPECT_STREQ(file.platform.c_str(), "linux:64bit");
    EXPECT_EQ(file.switch_user, 1);
    EXPECT_EQ(file.overwrite, OVERWRITE_WHEN_ABSENT);
    EXPECT_STREQ(file.packed_name, "full0001");
    EXPECT_STREQ(copy->installations[0].shortcuts[0].icon_syspath, "$SYSDATA");
    EXPECT_STREQ(copy->installations[0].uninstaller_syspath, "$SYSAPP");
    EXPECT_EQ(copy->installations[1].file_count, 0);
    ASSERT_EQ(copy->language_count, 2);
    EXPECT_STREQ(copy->languages[1].text(LANGUAGE_KEY::PATCH_MSG), "de/PATCH_MSG");
    EXPECT_STREQ(copy->languages[1].installation_name(1), "Klein");
    EXPECT_EQ(copy->languages[0].release_notes_lines, 40);
    // "de" is the default language, so it is the current one after a load.
    EXPECT_EQ(copy->current_language, 1);
    ASSERT_EQ(copy->client_count, 1);
    EXPECT_STREQ(copy->clients[0]->destname.c_str(), "setup");
    EXPECT_TRUE(copy->clients[0]->path.same_as(FOLDER("$TEMP")));
}

TEST(DATABASE, a_long_string_is_cut_to_its_field_and_the_next_field_still_reads)
{
    std::unique_ptr<DATABASE> db = make_database();
    fill(db.get());
    std::string bytes = stream_of(*db);
    // Grow the version text ("1.2.3") to 3000 characters in the stream itself.
    std::string old_field = std::string("\x05\x00\x00\x00", 4) + "1.2.3";
    size_t at = bytes.find(old_field);
    ASSERT_NE(at, std::string::npos);
    std::string long_text(3000, 'v');
    INT_S32 length = 3000;
    std::string new_field(reinterpret_cast<const char*>(&length), 4);
    bytes.replace(at, old_field.size(), new_field + long_text);

    MEMORY_DEVICE device(bytes);
    bool ok = false;
    std::unique_ptr<DATABASE> copy = read_back(&device, &ok);
    ASSERT_TRUE(ok);
    EXPECT_EQ(strlen(copy->version), 1023u);
    EXPECT_EQ(copy->build_number, 77);
    EXPECT_STREQ(copy->app_string, "game");
}

TEST(DATABASE, file_texts_are_kept_compactly_and_shared_between_files)
{
    // A record costs its pointers, not six fixed text fields.
    static_assert(sizeof(FILE_RECORD) <= 96, "file records hold their texts in the arena");
    std::unique_ptr<DATABASE> db = make_database();
    ASSERT_TRUE(db->allocate_installations(1));
    INSTALLATION_RECORD& installation = db->installations[0];
    const INT_S16 count = 30000;
    ASSERT_TRUE(installation.allocate_files(count));
    std::vector<std::string> names;
    names.reserve(count); // the records point into the names
    for (INT_S16 f = 0; f < count; ++f) {
        FILE_RECORD& file = installation.files[f];
        names.push_back("file" + std::to_string(f));
        file.src_name = names.back().c_str();
        file.src_path_from_xml = f % 2 ? "payload/a" : "payload/b";
        file.dest_path_from_inst_loc = "$HERE/data";
        file.packed_name = names.back().c_str();
    }
    std::string bytes = stream_of(*db);
    names.clear(); // the copy read back must not lean on them

    MEMORY_DEVICE device(bytes);
    bool ok = false;
    std::unique_ptr<DATABASE> copy = read_back(&device, &ok);
    ASSERT_TRUE(ok);
    ASSERT_EQ(copy->installations[0].file_count, count);
    const FILE_RECORD& last = copy->installations[0].files[count - 1];
    EXPECT_STREQ(last.src_name, "file29999");
    EXPECT_STREQ(last.packed_name, "file29999");
    EXPECT_STREQ(last.dest_name, "");
    EXPECT_EQ(last.src_path_from_xml, copy->installations[0].files[1].src_path_from_xml);
    EXPECT_EQ(last.dest_path_from_inst_loc, copy->installations[0].files[0].dest_path_from_inst_loc);
    // Each file name once, the two folders and the destination once: a few dozen bytes a file.
    EXPECT_EQ(copy->file_texts.count(), static_cast<size_t>(count) + 3);
    EXPECT_LT(copy->file_texts.bytes_held(), static_cast<size_t>(count) * 48);
    // Written again, the stream is the same bytes.
    EXPECT_TRUE(stream_of(*copy) == bytes);
    // A reset frees the texts with the records.
    copy->reset();
    EXPECT_EQ(copy->file_texts.bytes_held(), 0u);
}

TEST(DATABASE, every_truncation_of_a_stream_fails_cleanly_and_keeps_what_came_before)
{
    std::unique_ptr<DATABASE> db = make_database();
    fill(db.get());
    std::string bytes = stream_of(*db);
    std::unique_ptr<DATABASE> copy = make_database();
    // Every length up to the whole would take long with 20 kB of stream; every 7th byte and the
    // last few cover every kind of field.
    for (size_t length = 0; length < bytes.size(); length += (length + 8 > bytes.size() ? 1 : 7)) {
        MEMORY_DEVICE device(bytes.data(), length);
        EXPECT_FALSE(copy->get_from_data_device(&device)) << length;
        EXPECT_EQ(device.failed, 1) << length;
    }
    // Cut inside the second language: the first and everything before it stay.
    size_t at = bytes.find("de/LANGUAGE_TITLE");
    ASSERT_NE(at, std::string::npos);
    MEMORY_DEVICE device(bytes.data(), at + 5);
    EXPECT_FALSE(copy->get_from_data_device(&device));
    EXPECT_EQ(copy->installation_count, 2);
    ASSERT_EQ(copy->language_count, 2);
    EXPECT_STREQ(copy->languages[0].text(LANGUAGE_KEY::PATCH_MSG), "en/PATCH_MSG");
    EXPECT_EQ(copy->data_time, 1700000000);
}

TEST(DATABASE, counts_beyond_the_limits_or_the_bytes_left_are_refused_before_allocation)
{
    struct CASE {
        INT_S16 installations;
        const char* why;
    };
    for (const CASE& test : { CASE { -1, "negative" }, CASE { 257, "above the limit" }, CASE { 200, "more than the bytes" } }) {
        OLD_STREAM stream(18);
        stream.head("");
        stream.s16(test.installations);
        bool ok = true;
        std::unique_ptr<DATABASE> db = read_back(&stream.device, &ok);
        EXPECT_FALSE(ok) << test.why;
        EXPECT_EQ(db->installation_count, 0) << test.why;
    }
    // A file count whose records cannot be in the few bytes that follow.
    OLD_STREAM stream(18);
    stream.head("");
    stream.s16(1);
    stream.text("default"), stream.u8(0), stream.text("");
    stream.s16(30000);
    bool ok = true;
    std::unique_ptr<DATABASE> db = read_back(&stream.device, &ok);
    EXPECT_FALSE(ok);
    EXPECT_EQ(db->installations[0].file_count, 0);
    // An unknown version.
    MEMORY_DEVICE future(std::string(1, '\x13'));
    EXPECT_FALSE(db->get_from_data_device(&future));
}

// ---------------------------------------------------------------------------------------------
// Older versions
// ---------------------------------------------------------------------------------------------

TEST(DATABASE, version_3_has_only_the_sizes_of_exit_and_error_and_no_later_fields)
{
    OLD_STREAM stream(3);
    stream.head("English title");
    stream.installation();
    stream.languages({ "English" });
    stream.tail();
    bool ok = false;
    std::unique_ptr<DATABASE> db = read_back(&stream.device, &ok);
    ASSERT_TRUE(ok);
    EXPECT_EQ(stream.device.tell(), stream.device.bytes().size());

    EXPECT_EQ(db->installation_id, 0u);
    EXPECT_EQ(db->show_filenames, 0);
    EXPECT_EQ(db->show_filepaths, 0);
    EXPECT_EQ(db->exit.width, 210);
    EXPECT_EQ(db->exit.height, 110);
    EXPECT_EQ(db->exit.x, -1);
    EXPECT_EQ(db->exit.y, -1);
    EXPECT_EQ(db->error.width, 410);
    EXPECT_EQ(db->error.x, -1);
    EXPECT_EQ(db->dialog.can_drag, 1);
    EXPECT_EQ(db->file_select.width, -1);
    EXPECT_STREQ(db->patch_dest_path, "");
    EXPECT_EQ(db->progress_bar_animation_x_rate, 0);
    EXPECT_EQ(db->check_desktop_width, -1);
    EXPECT_STREQ(db->skin_path, "");
    EXPECT_EQ(db->client_count, 0);

    const INSTALLATION_RECORD& installation = db->installations[0];
    EXPECT_STREQ(installation.default_path, "");
    EXPECT_STREQ(installation.uninstaller_name, "");
    EXPECT_STREQ(installation.files[0].platform.c_str(), "linux");
    EXPECT_STREQ(installation.files[1].platform.c_str(), "");
    EXPECT_EQ(installation.files[0].overwrite, OVERWRITE_ALWAYS);
    EXPECT_STREQ(installation.files[1].destination_name(), "readme.txt");
    EXPECT_STREQ(installation.files[0].destination_name(), "game.bin");

    const LANGUAGE_RECORD& language = db->languages[0];
    // Before version 6 the name is a copy of the title.
    EXPECT_STREQ(language.name, "English title");
    EXPECT_STREQ(language.text(LANGUAGE_KEY::INITIALIZING_STRING), "INITIALIZING_STRING");
    EXPECT_STREQ(language.text(LANGUAGE_KEY::PATH_ERROR_TITLE), "");
    EXPECT_STREQ(language.text(LANGUAGE_KEY::RELEASE_NOTES_TITLE), "");
    EXPECT_STREQ(language.text(LANGUAGE_KEY::CHECK_DESKTOP_FAILED), "");
    EXPECT_STREQ(language.text(LANGUAGE_KEY::PATCH_MSG), "");
    EXPECT_STREQ(language.text(LANGUAGE_KEY::COMPLETE), "COMPLETE");
    EXPECT_STREQ(language.installation_name(0), "Standard");
    EXPECT_EQ(language.readme_lines, 25);
    EXPECT_STREQ(language.release_notes_filename, "");
    // The default language name matched the name copied from the title.
    EXPECT_EQ(db->current_language, 0);
}

TEST(DATABASE, version_15_takes_platforms_from_a_code_byte)
{
    OLD_STREAM stream(15);
    stream.head("nobody");
    stream.installation();
    stream.languages({ "en", "de" });
    stream.tail();
    bool ok = false;
    std::unique_ptr<DATABASE> db = read_back(&stream.device, &ok);
    ASSERT_TRUE(ok);
    EXPECT_EQ(stream.device.tell(), stream.device.bytes().size());
    EXPECT_EQ(db->installation_id, 0x1234u);
    EXPECT_EQ(db->exit.x, 3);
    EXPECT_EQ(db->file_select.new_folder_too, 1);
    EXPECT_EQ(db->patch_do_check, 1);
    EXPECT_EQ(db->data_time, 1600000000);
    EXPECT_EQ(db->check_desktop_width, 800);
    EXPECT_STREQ(db->installations[0].files[0].platform.c_str(), "linux");
    EXPECT_STREQ(db->installations[0].shortcuts[0].platform.c_str(), "linux");
    EXPECT_EQ(db->installations[0].files[0].overwrite, OVERWRITE_WHEN_OLDER);
    EXPECT_EQ(db->installations[0].files[0].switch_user, 0);
    EXPECT_STREQ(db->installations[0].uninstaller_filename, "uninstall");
    EXPECT_STREQ(db->languages[1].name, "de");
    EXPECT_STREQ(db->languages[1].text(LANGUAGE_KEY::RELEASE_NOTES_TITLE), "RELEASE_NOTES_TITLE");
    EXPECT_STREQ(db->languages[1].text(LANGUAGE_KEY::PATCH_MSG), "PATCH_MSG");
    EXPECT_STREQ(db->languages[1].text(LANGUAGE_KEY::PATH_ERROR_MSG), "");
    EXPECT_EQ(db->languages[1].release_notes_lines, 35);
    ASSERT_EQ(db->client_count, 1);
    EXPECT_STREQ(db->clients[0]->platform.c_str(), "linux");
    // No language is called "nobody".
    EXPECT_EQ(db->current_language, 0);
}

TEST(DATABASE, version_17_has_platform_strings_and_path_errors_but_no_set_user_id)
{
    OLD_STREAM stream(17);
    stream.head("de");
    stream.installation();
    stream.languages({ "en", "de" });
    stream.tail();
    bool ok = false;
    std::unique_ptr<DATABASE> db = read_back(&stream.device, &ok);
    ASSERT_TRUE(ok);
    EXPECT_EQ(stream.device.tell(), stream.device.bytes().size());
    EXPECT_STREQ(db->installations[0].files[0].platform.c_str(), "linux");
    EXPECT_EQ(db->installations[0].files[0].switch_user, 0);
    EXPECT_STREQ(db->languages[0].text(LANGUAGE_KEY::PATH_ERROR_BUTTON), "PATH_ERROR_BUTTON");
    EXPECT_EQ(db->current_language, 1);
}

TEST(DATABASE, installations_without_languages_leave_the_wizard_without_texts)
{
    OLD_STREAM stream(18);
    stream.head("en");
    stream.installation();
    stream.languages({});
    stream.tail();
    bool ok = false;
    std::unique_ptr<DATABASE> db = read_back(&stream.device, &ok);
    ASSERT_TRUE(ok);
    EXPECT_EQ(db->installation_count, 1);
    EXPECT_EQ(db->language_count, 0);
    EXPECT_EQ(db->languages, nullptr);
    EXPECT_EQ(db->language(), nullptr);
    EXPECT_STREQ(db->text(LANGUAGE_KEY::INSTALLER_TITLE), "");
    // One install type, one language, no package: straight to the options.
    EXPECT_EQ(db->current_page, PAGE_OPTIONS);
}

// ---------------------------------------------------------------------------------------------
// Data sets, index files and the wizard's pages
// ---------------------------------------------------------------------------------------------

namespace {

// A package in `folder` with "database.bin" and the given text members.
void write_data_set(const TEMP_FOLDER& temp, const DATABASE& db, const std::vector<std::string>& members)
{
    FOLDER folder;
    ASSERT_TRUE(folder.set_raw(temp.path().c_str()));
    PACKAGE package(folder, "installer.pkg", true, 1024, true, false);
    ASSERT_TRUE(package.is_open());
    for (const std::string& member : members) {
        ASSERT_TRUE(write_file(temp.file("text"), "text of " + member));
        ASSERT_TRUE(package.add_file(folder, "text", member.c_str()));
    }
    PACKAGE_DATA_FILE* stream = package.open_member_data("database.bin", FILE_WRITE, ORDER_MARKER_IN_FILE);
    ASSERT_NE(stream, nullptr);
    EXPECT_TRUE(db.put_to_data_device(stream));
    PACKAGE::close_member_data(&stream);
}

std::unique_ptr<DATABASE> load(const TEMP_FOLDER& temp, bool* ok)
{
    std::unique_ptr<DATABASE> db = make_database();
    EXPECT_TRUE(db->data_folder.set_raw(temp.path().c_str()));
    *ok = db->load_data_set("installer.pkg");
    return db;
}

} // namespace

TEST(DATABASE, load_data_set_reads_the_package_and_prepares_the_run)
{
    TEMP_FOLDER temp;
    std::unique_ptr<DATABASE> source = make_database();
    fill(source.get());
    source->installations[0].shortcuts[0].platform.assign("");
    write_data_set(temp, *source, { "licence-1", "readme-1" });

    bool ok = false;
    std::unique_ptr<DATABASE> db = load(temp, &ok);
    ASSERT_TRUE(ok);
    ASSERT_NE(db->package, nullptr);
    EXPECT_TRUE(db->package->is_open());
    EXPECT_EQ(db->total_files, 2);
    EXPECT_STREQ(db->install_path, "$ROOT0/game");
    // The one shortcut has a menu path and passes the filter.
    EXPECT_EQ(db->installations[0].has_menu_shortcut, 1);
    EXPECT_EQ(db->installations[0].has_desktop_shortcut, 0);
    // Two languages: the language page comes first; "de" (index 1) has the licence.
    EXPECT_EQ(db->current_page, PAGE_LANGUAGE);
    EXPECT_TRUE(db->has_licence());
    EXPECT_FALSE(db->has_release_notes());
    EXPECT_EQ(toolkit_file_icon(0), &db->icons[ICON_DISK]);
    EXPECT_EQ(toolkit_file_icon(12), &db->icons[ICON_FOLDER]);
    EXPECT_EQ(toolkit_dialog_effect_default(), 8);

    // Without "database.bin", or without the package, nothing loads.
    TEMP_FOLDER empty;
    {
        FOLDER folder;
        ASSERT_TRUE(folder.set_raw(empty.path().c_str()));
        PACKAGE package(folder, "installer.pkg", true, 1024, true, false);
    }
    EXPECT_FALSE(load(empty, &ok)->package == nullptr);
    EXPECT_FALSE(ok);
    TEMP_FOLDER nothing;
    EXPECT_EQ(load(nothing, &ok)->package, nullptr);
    EXPECT_FALSE(ok);
}

TEST(DATABASE, a_damaged_database_is_refused)
{
    TEMP_FOLDER temp;
    std::unique_ptr<DATABASE> source = make_database();
    fill(source.get());
    std::string bytes = stream_of(*source);
    FOLDER folder;
    ASSERT_TRUE(folder.set_raw(temp.path().c_str()));
    // The stream cut in the middle of the languages, with its byte-order byte in front.
    ASSERT_TRUE(write_file(temp.file("cut.bin"), std::string(1, '\0') + bytes.substr(0, bytes.find("de/QUIT_MSG"))));
    {
        PACKAGE package(folder, "installer.pkg", true, 1024, true, false);
        ASSERT_TRUE(package.add_file(folder, "cut.bin", "database.bin"));
    }
    std::unique_ptr<DATABASE> db = make_database();
    ASSERT_TRUE(db->data_folder.set_raw(temp.path().c_str()));
    bool damaged = false;
    EXPECT_FALSE(db->load_data_set("installer.pkg", &damaged));
    EXPECT_TRUE(damaged);

    // A negative text length, with the bytes behind it whole: refused as well.
    std::string negative = bytes;
    size_t at = negative.find("en/COMPLETE");
    ASSERT_NE(at, std::string::npos);
    // The length in front of the text, big-endian or not, becomes -1.
    negative.replace(at - 4, 4, std::string(4, '\xFF'));
    ASSERT_TRUE(write_file(temp.file("negative.bin"), std::string(1, '\0') + negative));
    {
        PACKAGE package(folder, "installer.pkg", true, 1024, true, false);
        ASSERT_TRUE(package.add_file(folder, "negative.bin", "database.bin"));
    }
    damaged = false;
    EXPECT_FALSE(db->load_data_set("installer.pkg", &damaged));
    EXPECT_TRUE(damaged);

    // A package without the member is not damage, only missing data.
    {
        TEMP_FOLDER empty;
        FOLDER empty_folder;
        ASSERT_TRUE(empty_folder.set_raw(empty.path().c_str()));
        { PACKAGE package(empty_folder, "installer.pkg", true, 1024, true, false); }
        db->data_folder = empty_folder;
        damaged = true;
        EXPECT_FALSE(db->load_data_set("installer.pkg", &damaged));
        EXPECT_FALSE(damaged);
    }
}

TEST(DATABASE, index_file_round_trip)
{
    TEMP_FOLDER temp;
    std::unique_ptr<DATABASE> db = make_database();
    fill(db.get());
    ASSERT_TRUE(db->data_folder.set_raw(temp.path().c_str()));
    ASSERT_TRUE(db->save_index());
    std::string file = read_file(temp.file("installer.idx"));
    EXPECT_EQ(file, std::string(1, '\0') + stream_of(*db));
    std::unique_ptr<DATABASE> copy = make_database();
    ASSERT_TRUE(copy->data_folder.set_raw(temp.path().c_str()));
    ASSERT_TRUE(copy->load_index());
    EXPECT_EQ(stream_of(*copy), stream_of(*db));
    ASSERT_TRUE(write_file(temp.file("installer.idx"), std::string("\0\x12", 2)));
    EXPECT_FALSE(copy->load_index());
}

TEST(DATABASE, next_and_previous_page_follow_the_wizard_tables)
{
    TEMP_FOLDER temp;
    std::unique_ptr<DATABASE> source = make_database();
    fill(source.get());
    write_data_set(temp, *source, { "licence-0", "release_notes-0", "readme-0", "release_notes-1" });
    bool ok = false;
    std::unique_ptr<DATABASE> db = load(temp, &ok);
    ASSERT_TRUE(ok);

    // Language 0 has all three texts; two languages, two install types.
    db->current_language = 0;
    const INT_S32 forward[][2] = { { 0, 1 }, { 1, 10 }, { 2, 3 }, { 3, 4 }, { 4, 5 }, { 5, 6 }, { 6, 7 }, { 7, 8 },
        { 8, 9 }, { 9, 10 }, { 10, 10 }, { 11, 2 } };
    for (const auto& step : forward)
        EXPECT_EQ(db->next_page_from(step[0]), step[1]) << step[0];
    const INT_S32 back[][2] = { { 0, 0 }, { 1, 1 }, { 2, 8 }, { 3, 8 }, { 4, 3 }, { 5, 4 }, { 6, 5 }, { 7, 6 },
        { 8, 7 }, { 9, 8 }, { 10, 9 }, { 11, 2 } };
    for (const auto& step : back)
        EXPECT_EQ(db->previous_page_from(step[0]), step[1]) << step[0];

    // Language 1 has only release notes.
    db->current_language = 1;
    EXPECT_EQ(db->next_page_from(PAGE_LANGUAGE), PAGE_RELEASE_NOTES);
    EXPECT_EQ(db->next_page_from(PAGE_INSTALLING), PAGE_FINISHED);
    EXPECT_EQ(db->previous_page_from(PAGE_RELEASE_NOTES), PAGE_LANGUAGE);
    EXPECT_EQ(db->previous_page_from(PAGE_FINISHED), PAGE_INSTALLING);
    db->is_patch = 1;
    EXPECT_EQ(db->next_page_from(PAGE_LANGUAGE), PAGE_PACK_DATA);
    db->is_patch = 0;

    // One language, one install type, no texts: straight to the options, and back to the start.
    db->language_count = 1;
    db->installation_count = 1;
    db->current_language = 0;
    delete db->package;
    db->package = nullptr;
    EXPECT_EQ(db->next_page_from(PAGE_START), PAGE_OPTIONS);
    EXPECT_EQ(db->previous_page_from(PAGE_OPTIONS), PAGE_START);
    db->current_page = PAGE_OPTIONS;
    EXPECT_EQ(db->next_page(), PAGE_INSTALLING);
    EXPECT_EQ(db->previous_page(), PAGE_START);
    db->language_count = 2;
    db->installation_count = 2;
}

TEST(DATABASE, platform_filter)
{
    std::unique_ptr<DATABASE> db = make_database();
    db->system_info.byte_order = 0;
    db->system_info.word_size = OS_VERSION_LINUX_64;
    const struct {
        const char* text;
        bool here;
        bool windows;
        bool macosx;
    } cases[] = {
        { "", true, true, true },
        { "linux", true, false, false },
        { "LINUX", true, false, false },
        { "linux_i86", true, false, false },
        { "windows", false, true, false },
        { "win32", false, true, false },
        { "lsb", true, true, true },
        { "msb", false, false, true },
        { "linux:64bit", true, false, false },
        { "linux:32bit", false, false, false },
        { "linux:32bit, 64bit", true, false, false },
        { "linux:unknown", false, false, false },
        { "macosx", false, false, true },
        { "nonsense", false, false, false },
    };
    for (const auto& test : cases) {
        EXPECT_EQ(db->matches_platform(test.text), test.here) << test.text;
        EXPECT_EQ(db->matches_platform_for(test.text, PLATFORM_WINDOWS), test.windows) << test.text;
        EXPECT_EQ(db->matches_platform_for(test.text, PLATFORM_MACOSX), test.macosx) << test.text;
    }
    EXPECT_TRUE(db->matches_platform_for("lsb", 133));
    EXPECT_FALSE(db->matches_platform_for("lsb", 2));
    db->system_info.word_size = OS_VERSION_LINUX_32;
    EXPECT_TRUE(db->matches_platform("linux:32bit"));
    db->system_info.byte_order = 1;
    EXPECT_TRUE(db->matches_platform("msb"));
    EXPECT_FALSE(db->matches_platform("lsb"));
}

TEST(DATABASE, a_client_folder_with_an_unknown_variable_reads_as_the_application_folder)
{
    std::unique_ptr<DATABASE> db = make_database();
    fill(db.get());
    std::string bytes = stream_of(*db);
    size_t at = bytes.find("\xFF$TEMP");
    ASSERT_NE(at, std::string::npos);
    bytes.replace(at + 1, 5, "$NOPE");
    MEMORY_DEVICE device(bytes);
    bool ok = false;
    std::unique_ptr<DATABASE> copy = read_back(&device, &ok);
    ASSERT_TRUE(ok);
    EXPECT_TRUE(copy->clients[0]->path.same_as(FOLDER("$APP")));
    EXPECT_STREQ(copy->clients[0]->filename.c_str(), "installer");
}
