// The main of every test program. It hands the reports of base to the host first, as the main of
// each of our programs does, so that warnings, fatal errors and debug streams print and show
// their boxes in the tests as they do in the installer.

#include <gtest/gtest.h>

#include "host/host.h"

int main(int argc, char** argv)
{
    host_attach_reports();
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
