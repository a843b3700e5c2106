#include "Platform/StandardStreams.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <initializer_list>
#include <unistd.h>

TEST(StandardStreamsDeathTest, AreOpenedWhereTheyAreClosedAndTakeNothing) {
    const auto child = [] {
        for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
            close(descriptor);
        Platform::openClosedStandardStreams();
        const bool areTaken = open("/dev/null", O_RDWR) == STDERR_FILENO + 1;
        char byte = 'a';
        const bool takeNothing = read(STDIN_FILENO, &byte, 1) < 0 && write(STDOUT_FILENO, &byte, 1) < 0 &&
                                 write(STDERR_FILENO, &byte, 1) < 0;
        std::_Exit(areTaken && takeNothing ? 0 : 1);
    };
    // In a process that has no other files open, or the fourth number would be another's.
    const auto alone = [child] {
        for (int descriptor = STDERR_FILENO + 1; descriptor < 256; ++descriptor)
            close(descriptor);
        child();
    };
    EXPECT_EXIT(alone(), testing::ExitedWithCode(0), "");
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
        if (pipe(ends) != 0 || close(ends[0]) != 0)
            std::_Exit(1);
        std::_Exit(write(ends[1], "a", 1) < 0 && errno == EPIPE ? 0 : 1);
    };
    EXPECT_EXIT(child(), testing::ExitedWithCode(0), "");
}
