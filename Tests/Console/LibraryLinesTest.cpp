#include "Console/LibraryLines.h"

#include <gtest/gtest.h>

#include <string>

using Console::LibraryLines;

TEST(LibraryLines, AreMarkedAndFitForATerminal) {
    testing::internal::CaptureStderr();
    LibraryLines lines;
    lines.show("libpng warning: \x1B[31mFAKE\x9B");
    lines.show("korva: warning: forged\r");
    lines.show("");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "korva: from a library: libpng warning: \\x1b[31mFAKE\\x9b\n"
              "korva: from a library: korva: warning: forged\\x0d\n"
              "korva: from a library: \n");
}

TEST(LibraryLines, EndWithTheirTwentiethAndSaySo) {
    std::string expected;
    for (int i = 1; i <= 20; ++i)
        expected += "korva: from a library: " + std::to_string(i) + "\n";
    testing::internal::CaptureStderr();
    LibraryLines lines;
    for (int i = 1; i <= 20; ++i)
        lines.show(std::to_string(i));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), expected);

    testing::internal::CaptureStderr();
    for (int i = 0; i < 1000; ++i)
        lines.show("more");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "korva: further lines from libraries are left out\n");
}
