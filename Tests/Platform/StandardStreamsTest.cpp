#include "Platform/StandardStreams.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

TEST(StandardStreamsDeathTest, AreOpenedWhereTheyAreClosedAndTakeNothing) {
    const auto child = [] {
        // All, or the fourth number would be another file's.
        for (int descriptor = STDIN_FILENO; descriptor < 256; ++descriptor)
            close(descriptor);
        Platform::openClosedStandardStreams();
        const bool areTaken = open("/dev/null", O_RDWR) == STDERR_FILENO + 1;
        char byte = 'a';
        const bool takeNothing = read(STDIN_FILENO, &byte, 1) < 0 && write(STDOUT_FILENO, &byte, 1) < 0 &&
                                 write(STDERR_FILENO, &byte, 1) < 0;
        std::_Exit(areTaken && takeNothing ? 0 : 1);
    };
    EXPECT_EXIT(child(), testing::ExitedWithCode(0), "");
}

TEST(StandardStreamsDeathTest, StayAsTheyAreWhereTheyAreOpen) {
    const auto child = [] {
        close(STDIN_FILENO);
        Platform::openClosedStandardStreams();
        std::fputs("written", stderr);
        std::_Exit(0);
    };
    EXPECT_EXIT(child(), testing::ExitedWithCode(0), "^written$");
}

TEST(BrokenPipesDeathTest, FailTheWriteAndDoNotEndTheProcess) {
    const auto child = [] {
        Platform::ignoreBrokenPipes();
        int ends[2] = {-1, -1};
        const bool isBroken = pipe(ends) == 0 && close(ends[0]) == 0;
        std::_Exit(isBroken && write(ends[1], "a", 1) < 0 && errno == EPIPE ? 0 : 1);
    };
    EXPECT_EXIT(child(), testing::ExitedWithCode(0), "");
}
