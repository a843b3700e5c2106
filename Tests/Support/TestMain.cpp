#include "Support/TestLocale.h"

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    if (!TestSupport::setTestLocale())
        return 2;
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
