// The Linux file layer: the private temporary folder, copying, opening and listing.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

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

// A fresh folder beside `candidate`, "<candidate>-XXXXXX".
void expect_made_beside(const std::string& temp, const std::string& candidate)
{
    EXPECT_EQ(temp.substr(0, candidate.size() + 1), candidate + "-") << temp;
    EXPECT_EQ(temp.size(), candidate.size() + 7) << temp;
    EXPECT_EQ(stat_of(temp).st_mode & 0777, 0700u);
    expect_private(temp);
}

} // namespace

TEST(HOST_TEMP, made_private_when_missing_and_reused)
{
    FAKE_HOME f("orlutmp1");
    std::string candidate = f.home + "/tmp/orlutmp1";
    EXPECT_EQ(resolved("$TEMP"), candidate);
    expect_private(candidate);
    EXPECT_EQ(resolved("$temp"), candidate);
}

TEST(HOST_TEMP, home_without_tmp_uses_system_tmp)
{
    FAKE_HOME f("orlutmp-sys");
    rmdir((f.home + "/tmp").c_str());
    std::string temp = resolved("$TEMP");
    EXPECT_EQ(temp.substr(0, 5), "/tmp/") << temp;
    expect_private(temp);
    rmdir(temp.c_str());
}

TEST(HOST_TEMP, folder_of_another_user_is_not_used)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "giving a folder to another user needs root";
    FAKE_HOME f("orlutmp2");
    std::string candidate = f.home + "/tmp/orlutmp2";
    ASSERT_EQ(mkdir(candidate.c_str(), 0700), 0);
    ASSERT_EQ(chown(candidate.c_str(), 12345, 12345), 0);
    std::string temp = resolved("$TEMP");
    expect_made_beside(temp, candidate);
    EXPECT_EQ(stat_of(candidate).st_uid, 12345u);
}

TEST(HOST_TEMP, writable_by_others_is_not_used)
{
    FAKE_HOME f("orlutmp3");
    std::string candidate = f.home + "/tmp/orlutmp3";
    ASSERT_EQ(mkdir(candidate.c_str(), 0700), 0);
    ASSERT_EQ(chmod(candidate.c_str(), 0777), 0);
    expect_made_beside(resolved("$TEMP"), candidate);
}

TEST(HOST_TEMP, symbolic_link_is_not_used)
{
    FAKE_HOME f("orlutmp4");
    std::string candidate = f.home + "/tmp/orlutmp4";
    // Even a link to a folder that would pass every other test.
    std::string target = f.make("planted");
    ASSERT_EQ(chmod(target.c_str(), 0700), 0);
    ASSERT_EQ(symlink(target.c_str(), candidate.c_str()), 0);
    std::string temp = resolved("$TEMP");
    expect_made_beside(temp, candidate);
    EXPECT_TRUE(S_ISLNK(stat_of(candidate).st_mode));
}

TEST(HOST_TEMP, own_private_folder_is_used)
{
    FAKE_HOME f("orlutmp5");
    std::string candidate = f.home + "/tmp/orlutmp5";
    ASSERT_EQ(mkdir(candidate.c_str(), 0755), 0);
    EXPECT_EQ(resolved("$TEMP"), candidate);
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
