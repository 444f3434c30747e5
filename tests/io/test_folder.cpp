// FOLDER: every path variable against a home of the test's own, setting and walking, the texts,
// the stream form, custom variables, listings and deletion.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "io/data_file.h"
#include "base/debug_stream.h"
#include "fake_home.h"
#include "io/folder.h"
#include "host/system_info.h"
#include "test_support.h"

TEST(FOLDER, user_variables_use_home_folders_then_fall_back)
{
    FAKE_HOME f("orluapp");
    const std::string& home = f.home;
    EXPECT_EQ(resolved("$APP"), f.app);
    EXPECT_EQ(resolved("$base"), f.app);
    EXPECT_EQ(resolved("$app"), f.app);

    // Nothing made yet: $USERAPP and $SYSAPP fall back to $APP; the data kinds search for
    // "data" from $APP upward and find none.
    EXPECT_EQ(resolved("$USERAPP"), f.app);
    EXPECT_EQ(resolved("$SYSAPP"), f.app);
    EXPECT_EQ(resolved("$USERDATA"), "<failed> " + f.app);
    EXPECT_EQ(resolved("$APPDATA"), "<failed> " + f.app);

    std::string app_data = f.make("app/data");
    EXPECT_EQ(resolved("$APPDATA"), app_data);
    EXPECT_EQ(resolved("$INSTDATA"), app_data);
    EXPECT_EQ(resolved("$USERDATA"), app_data);
    EXPECT_EQ(resolved("$SYSDATA"), app_data);
    EXPECT_EQ(resolved("$SYSPREFS"), app_data);
    EXPECT_EQ(resolved("$DATA"), app_data);

    f.make("home/.orluapp/bin");
    f.make("home/.orluapp/data");
    f.make("home/.orluapp/savedata");
    EXPECT_EQ(resolved("$USERAPP"), home + "/.orluapp/bin");
    EXPECT_EQ(resolved("$USERDATA"), home + "/.orluapp/data");
    EXPECT_EQ(resolved("$USERSAVES"), home + "/.orluapp/savedata");
    EXPECT_EQ(resolved("$DATA"), home + "/.orluapp/data");

    // Making only the elements keeps the variable's fallback; making the variable too goes
    // the whole way down from the home directory.
    FOLDER elements_only;
    EXPECT_TRUE(elements_only.set("$USERPREFS/debug", true));
    EXPECT_EQ(elements_only.path(), app_data + "/debug");
    EXPECT_EQ(resolved("$USERPREFS/debug", true), home + "/.orluapp/custdata/debug");
    struct stat info;
    EXPECT_EQ(stat((home + "/.orluapp/custdata/debug").c_str(), &info), 0);

    EXPECT_EQ(resolved("$ROOT0"), home);
    EXPECT_EQ(resolved("$ROOT1"), "/");
}

TEST(FOLDER, data_search_goes_up_from_app)
{
    FAKE_HOME f("orluup");
    std::string above = f.make("data");
    EXPECT_EQ(resolved("$APPDATA"), above);
    // Without fallback only "data" beside $APP counts.
    FOLDER strict;
    EXPECT_FALSE(strict.resolve_variable("$APPDATA", false, true, false));
    EXPECT_EQ(strict.path(), f.app);
    EXPECT_TRUE(strict.resolve_variable("$APPDATA", true, true, false));
    EXPECT_EQ(strict.path(), f.app + "/data");
}

TEST(FOLDER, resource_search_finds_fonts_and_icons)
{
    FAKE_HOME f("orlures");
    EXPECT_EQ(resolved("$FONTDATA"), "<failed> " + f.app);
    std::string libs_fonts = f.make("orlu_libs/data/fonts");
    EXPECT_EQ(resolved("$FONTDATA"), libs_fonts);
    std::string app_fonts = f.make("app/data/fonts");
    EXPECT_EQ(resolved("$FONTDATA"), app_fonts);
    std::string user_icons = f.make("home/.orlures/data/icons");
    EXPECT_EQ(resolved("$ICONDATA"), user_icons);

    FOLDER icons;
    ASSERT_TRUE(icons.set_raw(f.make("elsewhere").c_str()));
    set_icon_path(&icons);
    EXPECT_EQ(resolved("$ICONDATA"), icons.path());
    FOLDER back;
    EXPECT_TRUE(get_icon_path(&back));
    EXPECT_TRUE(back.same_as(icons));
    clear_icon_path();
    EXPECT_FALSE(get_icon_path(&back));
    EXPECT_EQ(resolved("$ICONDATA"), user_icons);
}

TEST(FOLDER, base_override_without_name_skips_host_look_up)
{
    FAKE_HOME f("orlunoname");
    f.make("home/.orlunoname/bin");
    FOLDER app;
    ASSERT_TRUE(app.set_raw(f.app.c_str()));
    set_base_path(&app, "");
    EXPECT_EQ(resolved("$USERAPP"), f.app);
    char name[64];
    FOLDER base;
    ASSERT_TRUE(get_base_path(&base, name, sizeof name));
    EXPECT_STREQ(name, "");
    EXPECT_TRUE(base.same_as(app));
    set_base_path(&app, "orlunoname");
    EXPECT_EQ(resolved("$USERAPP"), f.home + "/.orlunoname/bin");
    // skip_host goes straight to the fallback.
    FOLDER skipped;
    ASSERT_TRUE(skipped.set("$USERAPP", false, nullptr, false, false, true));
    EXPECT_STREQ(skipped.path(), f.app.c_str());
}

TEST(FOLDER, set_accepts_variables_and_dot_dot_only)
{
    FAKE_HOME f("orluset");
    FOLDER folder;
    ASSERT_TRUE(folder.set_raw(f.home.c_str()));
    EXPECT_FALSE(folder.set(nullptr));
    EXPECT_STREQ(folder.path(), f.home.c_str());
    EXPECT_FALSE(folder.set("/tmp"));
    EXPECT_STREQ(folder.path(), f.app.c_str());

    // Up once from $APP, then "x" if it is there.
    EXPECT_FALSE(folder.set("$APP/../x"));
    EXPECT_STREQ(folder.path(), f.temp.path().c_str());
    std::string x = f.make("x");
    EXPECT_TRUE(folder.set("$APP/../x"));
    EXPECT_EQ(folder.path(), x);
    EXPECT_TRUE(folder.set("../app//"));
    EXPECT_EQ(folder.path(), f.app);
    EXPECT_TRUE(folder.set("$APP/new/deeper", true));
    EXPECT_EQ(folder.path(), f.app + "/new/deeper");

    FOLDER here;
    ASSERT_TRUE(here.set_raw(x.c_str()));
    EXPECT_TRUE(folder.set("$HERE", false, &here));
    EXPECT_TRUE(folder.same_as(here));
}

TEST(FOLDER, root_beyond_the_mount_table_leaves_app)
{
    FAKE_HOME f("orluroot");
    std::string table = f.temp.file("mounts");
    std::string volume = f.make("volume");
    ASSERT_TRUE(write_file(table, "/dev/sdb1 " + volume + " vfat rw 0 0\nproc /proc proc rw 0 0\n"));
    set_mount_table_path(table.c_str());
    EXPECT_EQ(resolved("$ROOT2"), volume);
    EXPECT_EQ(resolved("$ROOT7"), "<failed> " + f.app);
    EXPECT_EQ(resolved("$ROOTX"), "<failed> " + f.app);
    FOLDER inside;
    ASSERT_TRUE(inside.set_raw(f.make("volume/sub").c_str()));
    EXPECT_EQ(inside.root_index(), 2);
    set_mount_table_path(nullptr);
}

TEST(FOLDER, walking_stops_at_home_and_root)
{
    FAKE_HOME f("orluwalk");
    FOLDER folder;
    ASSERT_TRUE(folder.set_raw(f.home.c_str()));
    EXPECT_FALSE(folder.up());
    EXPECT_STREQ(folder.leaf_name(), "Home");
    EXPECT_FALSE(folder.enter("missing", false));
    EXPECT_FALSE(folder.enter("..", true));
    EXPECT_FALSE(folder.enter("a/b", true));
    EXPECT_TRUE(folder.enter("made", true));
    EXPECT_STREQ(folder.leaf_name(), "made");
    EXPECT_STREQ(folder.path_text("f.txt"), (f.home + "/made/f.txt").c_str());
    ASSERT_TRUE(folder.set_raw("/"));
    EXPECT_FALSE(folder.up());
    EXPECT_STREQ(folder.leaf_name(), "File System");
    EXPECT_STREQ(folder.path_text("etc"), "/etc");
    EXPECT_FALSE(folder.set_raw("relative"));
    EXPECT_TRUE(folder.set_raw((f.app + "/").c_str()));
    EXPECT_EQ(folder.path(), f.app);
}

TEST(FOLDER, documents_link_is_made_once_and_then_followed_by_hidden_path)
{
    FAKE_HOME f("orlu/docs");
    f.make("home/Documents");
    std::string link = f.home + "/Documents/orlu-docs";
    std::string hidden = f.home + "/.orlu/docs/custdata";
    EXPECT_EQ(resolved("$USERPREFS", true), link);
    char target[ORLU_MAX_PATH] = {};
    ASSERT_GT(readlink(link.c_str(), target, sizeof target - 1), 0);
    EXPECT_EQ(std::string(target), hidden);
    EXPECT_EQ(resolved("$USERPREFS"), hidden);
}

TEST(FOLDER, symbolic_text_and_stream_form_survive_a_move)
{
    FAKE_HOME f("orlusym");
    FOLDER temp_folder;
    ASSERT_TRUE(temp_folder.set("$TEMP"));
    char text[ORLU_MAX_PATH];
    ASSERT_TRUE(temp_folder.symbolic_text(text));
    EXPECT_STREQ(text, "$TEMP");

    FOLDER below_app;
    ASSERT_TRUE(below_app.set("$APP/a/b", true));
    ASSERT_TRUE(below_app.symbolic_text(text));
    EXPECT_STREQ(text, "$APP/a/b");

    FOLDER in_home;
    ASSERT_TRUE(in_home.set_raw(f.make("home/x/y").c_str()));
    ASSERT_TRUE(in_home.symbolic_text(text));
    EXPECT_STREQ(text, "$ROOT0/x/y");

    // Written and read back through a device: 2049 bytes each, the text zero-padded.
    FOLDER store;
    ASSERT_TRUE(store.set_raw(f.temp.path().c_str()));
    DATA_FILE* file = store.open_data_file("folders.bin", FILE_WRITE, 0, false);
    ASSERT_NE(file, nullptr);
    ASSERT_TRUE(temp_folder.put_to_data_device(file));
    ASSERT_TRUE(below_app.put_to_data_device(file));
    ASSERT_TRUE(in_home.put_to_data_device(file));
    FOLDER::close_data_file(&file);
    std::string bytes = read_file(f.temp.file("folders.bin"));
    ASSERT_EQ(bytes.size(), 3u * FOLDER_STREAM_SIZE);
    EXPECT_EQ(bytes.substr(0, 7), std::string("\xFF$TEMP\0", 7));

    // The application moves: symbolic paths follow it.
    std::string moved = f.make("moved");
    f.make("moved/a/b");
    FOLDER new_app;
    ASSERT_TRUE(new_app.set_raw(moved.c_str()));
    set_base_path(&new_app, "orlusym");
    file = store.open_data_file("folders.bin", FILE_READ, 0, false);
    ASSERT_NE(file, nullptr);
    FOLDER a, b, c;
    ASSERT_TRUE(a.get_from_data_device(file));
    ASSERT_TRUE(b.get_from_data_device(file));
    rmdir((f.home + "/x/y").c_str());
    ASSERT_TRUE(c.get_from_data_device(file));
    FOLDER::close_data_file(&file);
    EXPECT_TRUE(a.same_as(temp_folder));
    EXPECT_EQ(b.path(), moved + "/a/b");
    // A path that no longer exists reads as $APP, and that is not a failure.
    EXPECT_EQ(c.path(), moved);
}

TEST(FOLDER, raw_stream_form_by_operating_system_id)
{
    FAKE_HOME f("orluraw");
    FOLDER store;
    ASSERT_TRUE(store.set_raw(f.temp.path().c_str()));
    std::string record(FOLDER_STREAM_SIZE, '\0');
    record[0] = 1;
    record.replace(1, f.home.size(), f.home);
    std::string other = record;
    other[0] = 2;
    ASSERT_TRUE(write_file(f.temp.file("raw.bin"), record + other));
    DATA_FILE* file = store.open_data_file("raw.bin", FILE_READ, 0, false);
    ASSERT_NE(file, nullptr);
    FOLDER linux_path, foreign;
    ASSERT_TRUE(linux_path.get_from_data_device(file));
    ASSERT_TRUE(foreign.get_from_data_device(file));
    FOLDER::close_data_file(&file);
    EXPECT_EQ(linux_path.path(), f.home);
    EXPECT_EQ(foreign.path(), f.app);
}

TEST(FOLDER, relative_text_walks_back_through_here)
{
    FAKE_HOME f("orlurel");
    FOLDER from, to;
    ASSERT_TRUE(from.set_raw(f.make("home/a/b").c_str()));
    ASSERT_TRUE(to.set_raw(f.make("home/a/c/d").c_str()));
    char text[ORLU_MAX_PATH];
    ASSERT_TRUE(to.relative_text(text, from));
    EXPECT_STREQ(text, "$HERE/../c/d");
    FOLDER again;
    ASSERT_TRUE(again.set(text, false, &from));
    EXPECT_TRUE(again.same_as(to));
    ASSERT_TRUE(from.relative_text(text, from));
    EXPECT_STREQ(text, "$HERE");
    FOLDER root_folder;
    ASSERT_TRUE(root_folder.set_raw("/"));
    ASSERT_TRUE(root_folder.text_form(text, &from));
    EXPECT_STREQ(text, "$ROOT1");
}

TEST(FOLDER, expand_text_builds_paths_without_walking)
{
    FAKE_HOME f("orluexp");
    EXPECT_STREQ(expand_text("missing/../other", "f.txt"), (f.app + "/other/f.txt").c_str());
    EXPECT_STREQ(expand_text("$ROOT1/usr/../x", nullptr), "/x");
    EXPECT_STREQ(expand_text(nullptr, "g"), (f.app + "/g").c_str());
}

TEST(FOLDER, custom_variables_come_first_and_can_be_removed)
{
    FAKE_HOME f("orlucustom");
    FOLDER skins;
    ASSERT_TRUE(skins.set_raw(f.make("skins").c_str()));
    INT_S32 index = define_variable("$SKINS", &skins);
    ASSERT_GE(index, 0);
    f.make("skins/blue");
    EXPECT_EQ(resolved("$SKINS/blue"), f.temp.path() + "/skins/blue");
    // Replacing keeps the position; an own $APP shadows the built-in one.
    EXPECT_EQ(define_variable("$SKINS", &skins), index);
    FOLDER other;
    ASSERT_TRUE(other.set_raw(f.home.c_str()));
    INT_S32 app_index = define_variable("$APP", &other);
    ASSERT_GE(app_index, 0);
    EXPECT_EQ(resolved("$APP"), f.home);
    EXPECT_EQ(resolved("$app"), f.app);
    EXPECT_TRUE(undefine_variable("$APP"));
    EXPECT_TRUE(undefine_variable("$SKINS"));
    EXPECT_FALSE(undefine_variable("$SKINS"));
    EXPECT_EQ(resolved("$APP"), f.app);
}

TEST(FOLDER, make_temp_name_reserves_a_fresh_name)
{
    TEMP_FOLDER temp;
    FOLDER folder;
    ASSERT_TRUE(folder.set_raw(temp.path().c_str()));
    char name[32];
    EXPECT_FALSE(folder.make_temp_name(name, 8, ""));
    EXPECT_FALSE(folder.make_temp_name(name, 12, ".tmp1"));
    EXPECT_FALSE(folder.make_temp_name(nullptr, 32, ".tmp"));
    ASSERT_TRUE(folder.make_temp_name(name, sizeof name, ".tmp"));
    EXPECT_EQ(strlen(name), 12u);
    struct stat info;
    ASSERT_EQ(lstat(temp.file(name).c_str(), &info), 0);
    EXPECT_TRUE(S_ISREG(info.st_mode));
    EXPECT_EQ(info.st_mode & 0777, 0600u);
    char second[32];
    ASSERT_TRUE(folder.make_temp_name(second, sizeof second, ".tmp"));
    EXPECT_STRNE(name, second);
}

TEST(FOLDER, list_entries_separates_filters_and_grows)
{
    TEMP_FOLDER temp;
    FOLDER folder;
    ASSERT_TRUE(folder.set_raw(temp.path().c_str()));
    for (const char* name : { "b.txt", "a.txt", "C.TXT", "d.bin" })
        ASSERT_TRUE(write_file(temp.file(name), "12345"));
    mkdir(temp.file("sub").c_str(), 0755);
    DIRECTORY_ENTRY* list = nullptr;
    INT_S32 count = 0;
    ASSERT_TRUE(folder.list_entries(false, SORT_BYTES, false, &list, &count, nullptr, MATCH_GLOB, 1, 1));
    ASSERT_EQ(count, 4);
    EXPECT_STREQ(list[0].name, "C.TXT");
    EXPECT_STREQ(list[1].name, "a.txt");
    EXPECT_EQ(list[1].size, 5u);
    EXPECT_FALSE(list[1].is_folder);
    EXPECT_STREQ(list[1].folder, temp.path().c_str());
    EXPECT_STREQ(size_text(&list[1]), "5.0 b");
    EXPECT_GT(strlen(date_text(&list[1])), 10u);
    ASSERT_TRUE(folder.list_entries(false, SORT_NO_CASE, false, &list, &count, "*.txt", MATCH_GLOB_NO_CASE, 10, 5));
    ASSERT_EQ(count, 3);
    EXPECT_STREQ(list[2].name, "C.TXT");
    ASSERT_TRUE(folder.list_entries(true, SORT_BYTES, true, &list, &count, nullptr, MATCH_GLOB, 10, 5));
    ASSERT_EQ(count, 4);
    EXPECT_STREQ(list[3].name, "sub");
    EXPECT_TRUE(list[3].is_folder);
    free_directory_entries(&list, &count);
    EXPECT_EQ(list, nullptr);

    DIRECTORY_ENTRY big {};
    big.size = 3 * 1048576 / 2;
    EXPECT_STREQ(size_text(&big), "1.5 M");
}

TEST(FOLDER, delete_folder_removes_links_but_not_what_they_point_at)
{
    TEMP_FOLDER temp;
    FOLDER folder;
    ASSERT_TRUE(folder.set_raw(temp.path().c_str()));
    mkdir(temp.file("outside").c_str(), 0755);
    ASSERT_TRUE(write_file(temp.file("outside/keep.txt"), "keep"));
    mkdir(temp.file("doomed").c_str(), 0755);
    mkdir(temp.file("doomed/inner").c_str(), 0755);
    ASSERT_TRUE(write_file(temp.file("doomed/inner/x"), "x"));
    ASSERT_TRUE(write_file(temp.file("doomed/y"), "y"));
    ASSERT_EQ(symlink(temp.file("outside").c_str(), temp.file("doomed/folder_link").c_str()), 0);
    ASSERT_EQ(symlink(temp.file("outside/keep.txt").c_str(), temp.file("doomed/inner/file_link").c_str()), 0);
    ASSERT_EQ(symlink(temp.file("nowhere").c_str(), temp.file("doomed/dangling").c_str()), 0);
    ASSERT_EQ(symlink(temp.file("outside").c_str(), temp.file("top_link").c_str()), 0);

    // Emptying through a link is refused; removing a link removes only the link.
    EXPECT_FALSE(folder.delete_folder("top_link"));
    EXPECT_TRUE(folder.delete_folder("top_link", true));
    EXPECT_TRUE(folder.delete_folder("doomed", true));
    struct stat info;
    EXPECT_NE(lstat(temp.file("doomed").c_str(), &info), 0);
    EXPECT_NE(lstat(temp.file("top_link").c_str(), &info), 0);
    EXPECT_EQ(read_file(temp.file("outside/keep.txt")), "keep");

    // With null the folder's own contents go and the folder stays.
    FOLDER outside;
    ASSERT_TRUE(outside.set_raw(temp.file("outside").c_str()));
    EXPECT_TRUE(outside.delete_folder(nullptr));
    EXPECT_EQ(stat(temp.file("outside").c_str(), &info), 0);
    EXPECT_NE(stat(temp.file("outside/keep.txt").c_str(), &info), 0);
}

TEST(FOLDER, trace_lists_every_variable_with_and_without_host)
{
    FAKE_HOME f("orlutrace");
    INT_U16 old_flags = path_trace_debug.flags();
    path_trace_debug.set_flags(DEBUG_TO_CONSOLE);
    testing::internal::CaptureStdout();
    trace_default_paths();
    std::string output = testing::internal::GetCapturedStdout();
    path_trace_debug.set_flags(old_flags);

    std::vector<std::string> lines;
    size_t start = 0;
    for (size_t end; (end = output.find('\n', start)) != std::string::npos; start = end + 1)
        lines.push_back(output.substr(start, end - start));
    ASSERT_EQ(lines.size(), 15u) << output;
    EXPECT_EQ(lines[0], "$APP => " + f.app + " (" + f.app + ")");
    EXPECT_EQ(lines[9].substr(0, 9), "$TEMP => ");
    EXPECT_EQ(lines[10], "$ROOT0 => " + f.home + " (" + f.home + ")");
    EXPECT_EQ(lines[14].substr(0, 13), "$ICONDATA => ");

    // Silent when the channel is off.
    testing::internal::CaptureStdout();
    trace_default_paths();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}
