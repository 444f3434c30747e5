// The Linux file layer: the private temporary folder, copying, opening and listing.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cctype>
#include <cstdlib>

#include <string>

#include "fake_home.h"
#include "io/folder.h"
#include "host/host_files.h"
#include "io/default_folders.h"
#include "test_support.h"

namespace {

struct stat stat_of(const std::string& path)
{
    struct stat info {};
    EXPECT_EQ(lstat(path.c_str(), &info), 0) << path;
    return info;
}

// The run's $TEMP must be a real folder of ours that nobody else can write.
void expect_private(const std::string& path)
{
    struct stat info = stat_of(path);
    EXPECT_TRUE(S_ISDIR(info.st_mode)) << path;
    EXPECT_EQ(info.st_uid, geteuid());
    EXPECT_EQ(info.st_mode & 022, 0u) << path;
}

// This run's folder: "<base>/<name>.<host>.<pid>.XXXXXX", mode 0700.
void expect_run_folder(const std::string& temp, const std::string& base, const std::string& name)
{
    std::string stem = base + "/" + name + ".";
    EXPECT_EQ(temp.substr(0, stem.size()), stem) << temp;
    std::string pid = "." + std::to_string(getpid()) + ".";
    EXPECT_EQ(temp.substr(temp.size() - 6 - pid.size(), pid.size()), pid) << temp;
    EXPECT_EQ(stat_of(temp).st_mode & 0777, 0700u);
    expect_private(temp);
}

// The name a run folder of process `pid` would have under `base`.
std::string run_folder_name(const std::string& base, const std::string& name, long pid)
{
    char machine[256] = {};
    gethostname(machine, sizeof machine - 1);
    std::string clean;
    for (const char* c = machine; *c; ++c)
        clean += isalnum(static_cast<unsigned char>(*c)) || *c == '-' ? *c : '_';
    return base + "/" + name + "." + clean + "." + std::to_string(pid) + ".AbC123";
}

// A process number that is surely not running: a child that has been waited for.
long finished_pid()
{
    pid_t child = fork();
    if (child == 0)
        _exit(0);
    int status = 0;
    waitpid(child, &status, 0);
    return child;
}

} // namespace

TEST(HOST_TEMP, one_fresh_private_folder_for_the_run)
{
    FAKE_HOME f("orlutmp1");
    std::string temp = resolved("$TEMP");
    expect_run_folder(temp, f.home + "/tmp", "orlutmp1");
    // The same folder for the rest of the run.
    EXPECT_EQ(resolved("$temp"), temp);
    // At the end of the run it goes, with whatever is in it.
    ASSERT_TRUE(write_file(temp + "/installer.pkg", "package"));
    host_remove_run_temp_folder();
    EXPECT_NE(access(temp.c_str(), F_OK), 0);
    // A later use makes a new one.
    std::string again = resolved("$TEMP");
    EXPECT_NE(again, temp);
    expect_run_folder(again, f.home + "/tmp", "orlutmp1");
    host_remove_run_temp_folder();
}

TEST(HOST_TEMP, a_home_without_a_usable_tmp_uses_tmpdir_or_the_system_tmp)
{
    FAKE_HOME f("orlutmp-sys");
    rmdir((f.home + "/tmp").c_str());
    SCOPED_ENVIRONMENT environment;
    environment.set("TMPDIR", nullptr);
    std::string temp = resolved("$TEMP");
    expect_run_folder(temp, "/tmp", "orlutmp-sys");
    host_remove_run_temp_folder();

    // A home tmp that others can write is not used; $TMPDIR is, when it is safe.
    ASSERT_EQ(mkdir((f.home + "/tmp").c_str(), 0777), 0);
    ASSERT_EQ(chmod((f.home + "/tmp").c_str(), 0777), 0);
    std::string chosen = f.make("chosen");
    ASSERT_EQ(chmod(chosen.c_str(), 0700), 0);
    environment.set("TMPDIR", chosen.c_str());
    temp = resolved("$TEMP");
    expect_run_folder(temp, chosen, "orlutmp-sys");
    host_remove_run_temp_folder();
}

TEST(HOST_TEMP, a_stale_folder_of_a_dead_run_goes_and_a_living_one_stays)
{
    FAKE_HOME f("orlutmp2");
    std::string base = f.home + "/tmp";
    std::string dead = run_folder_name(base, "orlutmp2", finished_pid());
    std::string living = run_folder_name(base, "orlutmp2", getppid());
    std::string other = run_folder_name(base, "another", finished_pid());
    for (const std::string& folder : { dead, living, other })
        ASSERT_EQ(mkdir(folder.c_str(), 0700), 0) << folder;
    ASSERT_TRUE(write_file(dead + "/installer.pkg", "left by a kill -9"));
    // A link inside is removed as a link, and what it points at stays.
    std::string outside = f.make("outside");
    ASSERT_TRUE(write_file(outside + "/keep", "keep"));
    ASSERT_EQ(symlink(outside.c_str(), (dead + "/link").c_str()), 0);

    std::string temp = resolved("$TEMP");
    expect_run_folder(temp, base, "orlutmp2");
    EXPECT_NE(access(dead.c_str(), F_OK), 0);
    EXPECT_EQ(access(living.c_str(), F_OK), 0);
    EXPECT_EQ(access(other.c_str(), F_OK), 0);
    EXPECT_EQ(read_file(outside + "/keep"), "keep");
    host_remove_run_temp_folder();
}

TEST(HOST_TEMP, a_stale_folder_of_another_user_stays)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "giving a folder to another user needs root";
    FAKE_HOME f("orlutmp3");
    std::string foreign = run_folder_name(f.home + "/tmp", "orlutmp3", finished_pid());
    ASSERT_EQ(mkdir(foreign.c_str(), 0700), 0);
    ASSERT_EQ(chown(foreign.c_str(), 12345, 12345), 0);
    std::string temp = resolved("$TEMP");
    EXPECT_EQ(access(foreign.c_str(), F_OK), 0);
    host_remove_run_temp_folder();
}

TEST(HOST_TEMP, a_forked_child_leaves_its_parents_folder_alone)
{
    FAKE_HOME f("orlutmp4");
    std::string temp = resolved("$TEMP");
    RUN_RESULT run = run_in_child([] {
        host_remove_run_temp_folder();
        exit(0); // the exit handlers run in the child too
    });
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(access(temp.c_str(), F_OK), 0);
    host_remove_run_temp_folder();
}

TEST(HOST_FILES_AT, links_below_the_start_are_never_followed)
{
    TEMP_FOLDER temp;
    std::string victim = temp.file("victim");
    ASSERT_EQ(mkdir(victim.c_str(), 0755), 0);
    ASSERT_TRUE(write_file(victim + "/file", "victim"));
    std::string start = temp.file("start");
    ASSERT_EQ(mkdir(start.c_str(), 0755), 0);
    ASSERT_EQ(symlink(victim.c_str(), (start + "/linked").c_str()), 0);
    ASSERT_EQ(symlink((victim + "/file").c_str(), (start + "/file_link").c_str()), 0);

    int folder = host_open_folder(start.c_str());
    ASSERT_GE(folder, 0);
    // A linked folder is not entered, not even to create in it; names are single elements.
    EXPECT_LT(host_enter_folder_at(folder, "linked", true), 0);
    EXPECT_LT(host_enter_folder_at(folder, "..", true), 0);
    EXPECT_LT(host_enter_folder_at(folder, "a/b", true), 0);
    int made = host_enter_folder_at(folder, "made", true);
    EXPECT_GE(made, 0);
    host_close_descriptor(made);
    EXPECT_TRUE(S_ISDIR(stat_of(start + "/made").st_mode));

    // The link is described as itself.
    HOST_FILE_INFO info;
    ASSERT_TRUE(host_file_info_at(folder, "file_link", &info));
    EXPECT_TRUE(info.is_link);
    EXPECT_FALSE(host_file_info_at(folder, "nothing", &info));

    // Appending refuses a link; a new file renamed over it replaces the link.
    EXPECT_LT(host_open_append_at(folder, "file_link"), 0);
    char part[64];
    int descriptor = host_create_part_file_at(folder, part, sizeof part);
    ASSERT_GE(descriptor, 0);
    EXPECT_EQ(std::string(part).substr(0, 11), ".orlu-part.");
    EXPECT_EQ(stat_of(start + "/" + part).st_mode & 07777, 0600u);
    EXPECT_TRUE(host_write_descriptor(descriptor, "new", 3));
    EXPECT_TRUE(host_set_descriptor_mode(descriptor, 0754));
    EXPECT_TRUE(host_finish_descriptor(descriptor));
    EXPECT_TRUE(host_rename_at(folder, part, "file_link"));
    EXPECT_EQ(read_file(victim + "/file"), "victim");
    EXPECT_EQ(read_file(start + "/file_link"), "new");
    EXPECT_EQ(stat_of(start + "/file_link").st_mode & 07777, 0754u);
    int append = host_open_append_at(folder, "file_link");
    ASSERT_GE(append, 0);
    EXPECT_TRUE(host_write_descriptor(append, "er", 2));
    EXPECT_TRUE(host_finish_descriptor(append));
    EXPECT_EQ(read_file(start + "/file_link"), "newer");
    // A folder under the name is not replaced.
    descriptor = host_create_part_file_at(folder, part, sizeof part);
    ASSERT_GE(descriptor, 0);
    EXPECT_TRUE(host_finish_descriptor(descriptor));
    EXPECT_FALSE(host_rename_at(folder, part, "made"));
    EXPECT_TRUE(host_delete_at(folder, part));
    host_close_descriptor(folder);
}

TEST(HOST_FILES_AT, part_files_of_dead_processes_are_swept)
{
    TEMP_FOLDER temp;
    std::string dead = temp.file(".orlu-part." + std::to_string(finished_pid()) + ".abcdef");
    std::string living = temp.file(".orlu-part." + std::to_string(getpid()) + ".abcdef");
    std::string dead_link = temp.file(".orlu-part." + std::to_string(finished_pid()) + ".linked");
    ASSERT_TRUE(write_file(dead, "half"));
    ASSERT_TRUE(write_file(living, "being written"));
    ASSERT_TRUE(write_file(temp.file("kept"), "kept"));
    ASSERT_EQ(symlink(temp.file("kept").c_str(), dead_link.c_str()), 0);
    int folder = host_open_folder(temp.path().c_str());
    ASSERT_GE(folder, 0);
    EXPECT_EQ(host_remove_stale_parts_at(folder), 1);
    host_close_descriptor(folder);
    EXPECT_NE(access(dead.c_str(), F_OK), 0);
    EXPECT_EQ(read_file(living), "being written");
    EXPECT_EQ(read_file(temp.file("kept")), "kept");
    EXPECT_TRUE(host_path_taken(dead_link.c_str())); // only regular files are ours to remove
}

TEST(HOST_FILES, copy_takes_names_as_they_stand)
{
    TEMP_FOLDER temp;
    FOLDER folder;
    ASSERT_TRUE(folder.set_raw(temp.path().c_str()));
    const char* source = "a \"quoted\" name $(touch pwned) 'x'";
    ASSERT_TRUE(write_file(temp.file(source), std::string("bytes\0more", 10)));
    EXPECT_TRUE(folder.copy_file(source, folder, "copy `of` it; $HOME"));
    EXPECT_EQ(read_file(temp.file("copy `of` it; $HOME")), std::string("bytes\0more", 10));
    struct stat info;
    EXPECT_NE(stat(temp.file("pwned").c_str(), &info), 0);
    EXPECT_NE(stat("pwned", &info), 0);
    // The target is replaced; a file is never copied onto itself; null names fail.
    ASSERT_TRUE(write_file(temp.file("small"), "s"));
    EXPECT_TRUE(folder.copy_file("small", folder, "copy `of` it; $HOME"));
    EXPECT_EQ(read_file(temp.file("copy `of` it; $HOME")), "s");
    EXPECT_FALSE(folder.copy_file("small", folder, "small"));
    EXPECT_EQ(read_file(temp.file("small")), "s");
    EXPECT_FALSE(folder.copy_file(nullptr, folder, "x"));
    EXPECT_FALSE(folder.copy_file("missing", folder, "x"));
}

TEST(HOST_FILES, open_stream_exists_rename_and_delete)
{
    TEMP_FOLDER temp;
    FOLDER folder;
    ASSERT_TRUE(folder.set_raw(temp.path().c_str()));
    EXPECT_EQ(folder.open_stream("", "rb"), nullptr);
    EXPECT_EQ(folder.open_stream("missing", "rb"), nullptr);
    FILE* made = folder.open_stream("made", "r+b");
    ASSERT_NE(made, nullptr);
    fclose(made);
    EXPECT_TRUE(folder.exists("made"));
    EXPECT_FALSE(folder.exists("absent"));
    EXPECT_TRUE(folder.exists("absent", true));
    ASSERT_TRUE(folder.set_permissions("made", 0640));
    EXPECT_EQ(stat_of(temp.file("made")).st_mode & 0777, 0640u);
    EXPECT_TRUE(folder.rename_file("made", folder, "renamed"));
    EXPECT_TRUE(folder.exists("renamed"));
    EXPECT_TRUE(folder.delete_file("renamed"));
    EXPECT_FALSE(folder.delete_file("renamed"));
}

TEST(HOST_FILES, exclusive_creation_refuses_a_planted_link)
{
    TEMP_FOLDER temp;
    std::string target = temp.file("victim");
    std::string link = temp.file("planted");
    ASSERT_EQ(symlink(target.c_str(), link.c_str()), 0);
    EXPECT_FALSE(host_create_exclusive(link.c_str()));
    struct stat info;
    EXPECT_NE(stat(target.c_str(), &info), 0);
    EXPECT_TRUE(host_path_taken(link.c_str()));
    EXPECT_TRUE(host_create_exclusive(temp.file("fresh").c_str()));
    EXPECT_FALSE(host_create_exclusive(temp.file("fresh").c_str()));
}

TEST(HOST_FILES, listing_orders_and_matches)
{
    TEMP_FOLDER temp;
    for (const char* name : { "beta", "Alpha", "gamma.txt" })
        ASSERT_TRUE(write_file(temp.file(name), ""));
    mkdir(temp.file("dir").c_str(), 0755);
    ASSERT_EQ(symlink(temp.file("dir").c_str(), temp.file("dir_link").c_str()), 0);

    auto names = [&](bool folders, INT_S32 sort, const char* pattern, INT_S32 mode) {
        std::string all;
        HOST_LISTING* listing = host_open_listing(temp.path().c_str(), folders, sort, pattern, mode);
        while (const char* name = host_next_entry(listing))
            all += std::string(name) + ",";
        host_close_listing(listing);
        return all;
    };
    EXPECT_EQ(names(false, SORT_BYTES, nullptr, MATCH_GLOB), "Alpha,beta,gamma.txt,");
    EXPECT_EQ(names(false, SORT_BYTES_REVERSED, nullptr, MATCH_GLOB), "gamma.txt,beta,Alpha,");
    EXPECT_EQ(names(false, SORT_NO_CASE, "A*", MATCH_GLOB_NO_CASE), "Alpha,");
    EXPECT_EQ(names(false, SORT_BYTES, "be", MATCH_PREFIX), "beta,");
    EXPECT_EQ(names(true, SORT_BYTES, nullptr, MATCH_GLOB), "dir,dir_link,");
    EXPECT_EQ(host_open_listing(temp.path().c_str(), false, SORT_BYTES, "zzz*", MATCH_GLOB), nullptr);
    EXPECT_EQ(host_open_listing(temp.file("nothing").c_str(), false, SORT_BYTES, nullptr, MATCH_GLOB), nullptr);

    HOST_FILE_INFO info;
    ASSERT_TRUE(host_file_info(temp.file("dir_link").c_str(), &info));
    EXPECT_TRUE(info.is_folder);
    EXPECT_TRUE(info.is_link);
    EXPECT_FALSE(host_file_info(temp.file("nothing").c_str(), &info));
}

TEST(HOST_FILES, application_folder_is_the_executable_folder)
{
    FOLDER app;
    ASSERT_TRUE(default_folder_path(&app, HOST_APP, nullptr, false));
    char own[ORLU_MAX_PATH] = {};
    ASSERT_GT(readlink("/proc/self/exe", own, sizeof own - 1), 0);
    std::string own_path = own;
    EXPECT_EQ(std::string(app.path()), own_path.substr(0, own_path.rfind('/')));
    EXPECT_STREQ(host_application_name(), own_path.substr(own_path.rfind('/') + 1).c_str());
    EXPECT_FALSE(default_folder_path(&app, 99, nullptr, true));
}
