#include "Platform/StandardError.h"

#include <gtest/gtest.h>

#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

using Platform::LibraryErrors;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

namespace {

/// What is written to `stderr` meanwhile, and nothing of it reaches standard error itself.
template <typename Write>
std::vector<std::string> linesOf(const Write& write) {
    std::vector<std::string> lines;
    CaptureStderr();
    {
        const LibraryErrors guard([&lines](std::string_view line) { lines.emplace_back(line); });
        write();
    }
    EXPECT_EQ(GetCapturedStderr(), "");
    return lines;
}

using Lines = std::vector<std::string>;

} // namespace

TEST(LibraryErrors, GoLineByLineToTheProgramAndKeepALastLineWithoutAnEnd) {
    EXPECT_EQ(linesOf([] {
                  std::fputs("one\ntw", stderr);
                  std::fprintf(stderr, "%c\n", 'o');
                  std::fputs("\nfour\nrest", stderr);
              }),
              (Lines{"one", "two", "", "four", "rest"}));
    EXPECT_EQ(linesOf([] {}), Lines{});
}

TEST(LibraryErrors, AreThereAsSoonAsTheirLineEnds) {
    std::vector<std::string> lines;
    const LibraryErrors guard([&lines](std::string_view line) { lines.emplace_back(line); });
    std::fputs("one\ntwo", stderr);
    EXPECT_EQ(lines, Lines{"one"});
}

TEST(LibraryErrors, ComeAsTheyWereWritten) {
    const std::string bytes = std::string("\0\x1B[31m\r\xFF\xC3", 9);
    EXPECT_EQ(linesOf([&bytes] { std::fwrite(bytes.data(), 1, bytes.size(), stderr); }), Lines{bytes});
}

TEST(LibraryErrors, AreCutWhereALineIsLong) {
    const std::string longest(LibraryErrors::longestLine, 'x');
    EXPECT_EQ(linesOf([&longest] {
                  std::fprintf(stderr, "%s\n", longest.c_str());
                  std::fprintf(stderr, "%s%s\nnext\n", longest.c_str(), std::string(100'000, 'y').c_str());
              }),
              (Lines{longest, longest, "next"}));
}

TEST(LibraryErrors, LeaveTheProgramsOwnLinesAlone) {
    std::vector<std::string> lines;
    CaptureStderr();
    {
        const LibraryErrors guard([&lines](std::string_view line) { lines.emplace_back(line); });
        std::fputs("own\n", Platform::standardError());
        std::cerr << "own too" << std::endl;
    }
    EXPECT_EQ(GetCapturedStderr(), "own\nown too\n");
    EXPECT_EQ(lines, Lines{});
}

TEST(LibraryErrors, MayBePassedOnToStandardErrorAtOnce) {
    CaptureStderr();
    {
        const LibraryErrors guard([](std::string_view line) {
            std::fprintf(Platform::standardError(), "<%s>\n", std::string(line).c_str());
        });
        std::fputs("one\ntwo\n", stderr);
    }
    EXPECT_EQ(GetCapturedStderr(), "<one>\n<two>\n");
}

TEST(LibraryErrors, GiveTheStreamBack) {
    std::FILE* const before = stderr;
    linesOf([before] {
        EXPECT_NE(stderr, before);
        EXPECT_EQ(Platform::standardError(), before);
    });
    EXPECT_EQ(stderr, before);
    EXPECT_EQ(Platform::standardError(), before);
    EXPECT_EQ(linesOf([] { std::fputs("again\n", stderr); }), Lines{"again"});
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
