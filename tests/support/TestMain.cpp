#include "AssertionRecorder.h"

#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    NSTesting::InstallAssertionRecorder();
    return RUN_ALL_TESTS();
}
