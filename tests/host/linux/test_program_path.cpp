// Finding the program from its first argument, as the run does where /proc is not mounted: a
// path with a slash from the working folder, a bare name on the search path, links resolved.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <string>

#include "host/host.h"
#include "test_support.h"

namespace {

std::string real(const std::string& path)
{
    char resolved[PATH_MAX];
    EXPECT_NE(realpath(path.c_str(), resolved), nullptr) << path;
    return resolved;
}

void make_file(const std::string& path, mode_t mode)
{
    ASSERT_TRUE(write_file(path, "#!/bin/sh\n"));
    ASSERT_EQ(chmod(path.c_str(), mode), 0);
}

std::string resolve(const char* argument, const char* search_path)
{
    char out[PATH_MAX];
    if (!host_resolve_program_argument(argument, search_path, out, sizeof out))
        return "(none)";
    return out;
}

// Runs the body in the given working folder and goes back afterwards.
template <typename BODY> void in_folder(const std::string& folder, BODY body)
{
    char previous[PATH_MAX];
    ASSERT_NE(getcwd(previous, sizeof previous), nullptr);
    ASSERT_EQ(chdir(folder.c_str()), 0);
    body();
    ASSERT_EQ(chdir(previous), 0);
}

} // namespace

TEST(HOST_PROGRAM_PATH, a_path_with_a_slash_is_taken_from_the_working_folder)
{
    TEMP_FOLDER temp;
    ASSERT_EQ(mkdir(temp.file("bin").c_str(), 0755), 0);
    make_file(temp.file("bin/setup"), 0755);
    std::string expected = real(temp.file("bin/setup"));
    in_folder(temp.path(), [&] {
        EXPECT_EQ(resolve("bin/setup", "/nowhere"), expected);
        EXPECT_EQ(resolve("./bin/setup", nullptr), expected);
        EXPECT_EQ(resolve("bin/../bin/setup", nullptr), expected);
        // A slash means no search, even when the name is on the path.
        EXPECT_EQ(resolve("./setup", temp.file("bin").c_str()), "(none)");
    });
    EXPECT_EQ(resolve(temp.file("bin/setup").c_str(), nullptr), expected);
}

TEST(HOST_PROGRAM_PATH, a_bare_name_is_the_first_executable_file_on_the_search_path)
{
    TEMP_FOLDER temp;
    for (const char* folder : { "plain", "folder", "good", "later" })
        ASSERT_EQ(mkdir(temp.file(folder).c_str(), 0755), 0);
    make_file(temp.file("plain/setup"), 0644);          // not executable
    ASSERT_EQ(mkdir(temp.file("folder/setup").c_str(), 0755), 0); // not a file
    make_file(temp.file("good/setup"), 0755);
    make_file(temp.file("later/setup"), 0755);
    std::string path = "/nowhere:" + temp.file("plain") + ":" + temp.file("folder") + ":" + temp.file("good") + ":"
        + temp.file("later");
    EXPECT_EQ(resolve("setup", path.c_str()), real(temp.file("good/setup")));
    EXPECT_EQ(resolve("absent", path.c_str()), "(none)");
    // Without a search path a bare name is not looked for, not even in the working folder.
    in_folder(temp.path() + "/good", [&] { EXPECT_EQ(resolve("setup", nullptr), "(none)"); });

    // An empty entry, at either end or in the middle, is the working folder.
    in_folder(temp.path() + "/later", [&] {
        EXPECT_EQ(resolve("setup", ":/nowhere"), real(temp.file("later/setup")));
        EXPECT_EQ(resolve("setup", "/nowhere::/elsewhere"), real(temp.file("later/setup")));
        EXPECT_EQ(resolve("setup", "/nowhere:"), real(temp.file("later/setup")));
    });
}

TEST(HOST_PROGRAM_PATH, links_resolve_to_the_real_file_and_bad_requests_find_nothing)
{
    TEMP_FOLDER temp;
    make_file(temp.file("installer"), 0755);
    ASSERT_EQ(symlink(temp.file("installer").c_str(), temp.file("link").c_str()), 0);
    EXPECT_EQ(resolve(temp.file("link").c_str(), nullptr), real(temp.file("installer")));
    EXPECT_EQ(resolve("link", temp.path().c_str()), real(temp.file("installer")));

    EXPECT_EQ(resolve(nullptr, temp.path().c_str()), "(none)");
    EXPECT_EQ(resolve("", temp.path().c_str()), "(none)");
    char small[8];
    EXPECT_FALSE(host_resolve_program_argument(temp.file("installer").c_str(), nullptr, small, sizeof small));
}

TEST(HOST_PROGRAM_PATH, the_executable_path_is_the_running_test_program)
{
    // With /proc mounted, the system's link wins over whatever argument was noted.
    host_note_program_argument("/bin/sh");
    char out[PATH_MAX];
    ASSERT_TRUE(host_executable_path(out, sizeof out));
    char link[PATH_MAX];
    ssize_t length = readlink("/proc/self/exe", link, sizeof link - 1);
    ASSERT_GT(length, 0);
    link[length] = 0;
    EXPECT_STREQ(out, link);
    host_note_program_argument(nullptr);
}
