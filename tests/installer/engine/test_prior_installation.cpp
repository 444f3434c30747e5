// The prior installation test that a patch runs, and the saved configuration choice.

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cstring>
#include <string>

#include "fake_home.h"
#include "installer/engine/database.h"
#include "installer/engine/prior_installation.h"
#include "test_support.h"

namespace {

class PRIOR_INSTALLATION : public ::testing::Test {
protected:
    void SetUp() override
    {
        target = home.temp.file("target");
        mkdir(target.c_str(), 0755);
        snprintf(database.install_path, sizeof database.install_path, "$ROOT1%s", target.c_str());
        database.use_system_paths = 0;
        snprintf(database.patch_dest_path, sizeof database.patch_dest_path, "$HERE");
    }

    void write_log(const std::string& settings_line)
    {
        ASSERT_TRUE(write_file(target + "/install_log.txt",
            "Installed Files\n---------------\n\nLanguage: English\n" + settings_line + "\n\nInstalled \"x\"\n"));
    }

    FAKE_HOME home { "fixture" };
    std::string target;
    DATABASE database;
};

} // namespace

TEST_F(PRIOR_INSTALLATION, a_log_of_the_same_place_passes)
{
    write_log("Settings: 12 0 $ROOT1" + target);
    EXPECT_TRUE(has_prior_installation(&database));
    // The id is not compared: a patch for another product in the same place passes too.
    write_log("Settings: 999 0 $ROOT1" + target);
    EXPECT_TRUE(has_prior_installation(&database));
}

TEST_F(PRIOR_INSTALLATION, another_place_a_system_run_or_no_settings_line_fail)
{
    std::string elsewhere = home.temp.file("elsewhere");
    mkdir(elsewhere.c_str(), 0755);
    write_log("Settings: 12 0 $ROOT1" + elsewhere);
    EXPECT_FALSE(has_prior_installation(&database));
    write_log("Settings: 12 1 $ROOT1" + target);
    EXPECT_FALSE(has_prior_installation(&database));
    ASSERT_TRUE(write_file(target + "/install_log.txt", "Installed Files\n---------------\n"));
    EXPECT_FALSE(has_prior_installation(&database));
    unlink((target + "/install_log.txt").c_str());
    EXPECT_FALSE(has_prior_installation(&database));
}

TEST_F(PRIOR_INSTALLATION, settings_remember_the_last_configuration)
{
    char path[ORLU_MAX_PATH] = "$APPDATA";
    char name[ORLU_MAX_PATH] = "";
    load_saved_settings(path, name);
    EXPECT_STREQ(path, "$APPDATA"); // nothing saved yet: the defaults stay
    ASSERT_TRUE(save_settings("$ROOT0/setups", "game.xml"));
    load_saved_settings(path, name);
    EXPECT_STREQ(path, "$ROOT0/setups");
    EXPECT_STREQ(name, "game.xml");
}
