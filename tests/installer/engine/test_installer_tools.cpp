// Where -e puts a file: below the extraction folder as its destination lies below the install
// folder, never above it.

#include <gtest/gtest.h>

#include <string>

#include "installer/engine/installer_tools.h"

namespace {

std::string extraction(const char* destination, const char* name)
{
    char out[256];
    if (!extraction_path(destination, name, out, sizeof out))
        return "<refused>";
    return out;
}

} // namespace

TEST(EXTRACTION_PATH, destinations_below_the_install_folder_keep_their_folders)
{
    EXPECT_EQ(extraction("$HERE/bin", "tool"), "bin/tool");
    EXPECT_EQ(extraction("$HERE", "tool"), "tool");
    EXPECT_EQ(extraction("", "tool"), "tool");
    EXPECT_EQ(extraction("$here/./share//icons/", "a.png"), "share/icons/a.png");
    // Another variable's folder goes under that variable's name.
    EXPECT_EQ(extraction("$SYSDATA", "a"), "SYSDATA/a");
    EXPECT_EQ(extraction("$USERPREFS/cfg", "a"), "USERPREFS/cfg/a");
}

TEST(EXTRACTION_PATH, anything_that_would_lead_outside_is_refused)
{
    EXPECT_EQ(extraction("$HERE/../etc", "passwd"), "<refused>");
    EXPECT_EQ(extraction("..", "x"), "<refused>");
    EXPECT_EQ(extraction("$HERE/bin", "../x"), "<refused>");
    EXPECT_EQ(extraction("$HERE/bin", ".."), "<refused>");
    EXPECT_EQ(extraction("$HERE/bin", ""), "<refused>");
    // A path that does not fit is refused rather than cut.
    char small[8];
    EXPECT_FALSE(extraction_path("$HERE/folder", "name", small, sizeof small));
}
