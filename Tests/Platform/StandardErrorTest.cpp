#include "Platform/StandardError.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <iostream>
#include <stdexcept>
#include <string>
#include <string_view>

using Platform::LibraryErrors;

namespace {

/// What standard error gets meanwhile, with each line of a library's as "<line>".
template <typename Write>
std::string transcript(const Write& write) {
    testing::internal::CaptureStderr();
    {
        const LibraryErrors guard([](std::string_view line) {
            const std::string marked = "<" + std::string(line) + ">";
            std::fwrite(marked.data(), 1, marked.size(), Platform::standardError());
        });
        write();
    }
    return testing::internal::GetCapturedStderr();
}

/// As a library writes.
void writeError(std::string_view text) {
    std::fwrite(text.data(), 1, text.size(), stderr);
}

} // namespace

TEST(LibraryErrors, GoLineByLineToTheProgramAsTheyWereWritten) {
    const std::string odd("\0\x1B[31m\r\xFF\xC3", 9);
    EXPECT_EQ(transcript([&odd] { writeError(odd + "\n\nrest"); }), "<" + odd + "><><rest>");
    EXPECT_EQ(transcript([] {}), "");
}

TEST(LibraryErrors, AreThereAsSoonAsTheirLineEndsAndLeaveTheProgramsOwnAlone) {
    EXPECT_EQ(transcript([] {
                  writeError("one\ntw");
                  std::fputs("own ", Platform::standardError());
                  std::cerr << "own too\n" << std::flush;
                  writeError("o\n");
              }),
              "<one>own own too\n<two>");
}

TEST(LibraryErrors, AreCutWhereALineIsLong) {
    const std::string longest(LibraryErrors::longestLine, 'x');
    EXPECT_EQ(transcript([&longest] {
                  writeError(longest + "\n");
                  writeError(longest + std::string(100'000, 'y') + "\nnext\n");
              }),
              "<" + longest + "><" + longest + "><next>");
}

TEST(LibraryErrors, GiveTheStreamBack) {
    std::FILE* const before = stderr;
    for (int time = 0; time < 2; ++time) {
        EXPECT_EQ(transcript([before] {
                      EXPECT_EQ(Platform::standardError(), before);
                      writeError("again\n");
                  }),
                  "<again>");
        EXPECT_EQ(stderr, before);
        EXPECT_EQ(Platform::standardError(), before);
    }
}

TEST(LibraryErrors, OutliveAnExceptionOfTheProgram) {
    int calls = 0;
    {
        const LibraryErrors guard([&calls](std::string_view) {
            ++calls;
            throw std::runtime_error("no");
        });
        EXPECT_GE(std::fputs("one\ntwo\nrest", stderr), 0);
    }
    EXPECT_EQ(calls, 3);
}
