#include "Console/LibraryLines.h"

#include "Outcome.h"

using Console::LibraryLines;
using ConsoleTests::shownBy;

TEST(LibraryLines, AreMarkedAndFitForATerminal) {
    LibraryLines lines;
    EXPECT_EQ(shownBy([&] {
                  lines.show("libpng warning: \x1B[31mFAKE\x9B");
                  lines.show("korva: warning: forged\r");
                  lines.show("");
              }),
              "korva: from a library: libpng warning: \\x1b[31mFAKE\\x9b\n"
              "korva: from a library: korva: warning: forged\\x0d\n"
              "korva: from a library: \n");
}

TEST(LibraryLines, EndWithTheirTwentiethAndSaySo) {
    LibraryLines lines;
    for (int i = 1; i <= 20; ++i) {
        const std::string line = std::to_string(i);
        EXPECT_EQ(shownBy([&] { lines.show(line); }), "korva: from a library: " + line + "\n");
    }
    EXPECT_EQ(shownBy([&] {
                  for (int i = 0; i < 1000; ++i)
                      lines.show("more");
              }),
              "korva: further lines from libraries are left out\n");
}
