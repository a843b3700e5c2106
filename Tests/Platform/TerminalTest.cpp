#include "Platform/Terminal.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <thread>
#include <unistd.h>
#include <vector>

TEST(Terminal, IsNoFileAndTellsItsColumnsAndEightyIfItDoesNotSay) {
    const int keeper = posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_TRUE(grantpt(keeper) == 0 && unlockpt(keeper) == 0);
    std::FILE* const terminal = std::fopen(ptsname(keeper), "r+");
    ASSERT_NE(terminal, nullptr);
    EXPECT_TRUE(Platform::isTerminal(terminal));
    EXPECT_EQ(Platform::terminalColumns(terminal), 80);
    const winsize size{24, 132, 0, 0};
    ASSERT_EQ(ioctl(keeper, TIOCSWINSZ, &size), 0);
    EXPECT_EQ(Platform::terminalColumns(terminal), 132);
    std::fclose(terminal);
    close(keeper);

    std::FILE* const file = std::tmpfile();
    EXPECT_FALSE(Platform::isTerminal(file));
    EXPECT_EQ(Platform::terminalColumns(file), 80);
    std::fclose(file);
}

TEST(Signals, ThatEndAProcessAreLeftToOtherThreads) {
    std::vector<int> held;
    std::thread([&held] {
        Platform::leaveSignalsToOthers();
        sigset_t mask{};
        pthread_sigmask(SIG_BLOCK, nullptr, &mask);
        for (int signal = 1; signal < NSIG; ++signal)
            if (sigismember(&mask, signal) == 1)
                held.push_back(signal);
    }).join();
    EXPECT_EQ(held, (std::vector<int>{SIGHUP, SIGINT, SIGQUIT, SIGTERM}));
}

TEST(InterruptsDeathTest, EndTheProcessUntilTheyAreCaughtAndThenTheSecondTime) {
    // Ends by itself with the status 0 if the interrupts are noted.
    const auto child = [](bool areCaught, int first, int second = 0) {
        Platform::endAtInterrupts("last words\n", 7);
        if (areCaught)
            Platform::catchInterrupts();
        const bool before = Platform::interrupted();
        std::raise(first);
        std::raise(second);
        std::_Exit(!before && Platform::interrupted() ? 0 : 1);
    };
    for (const int interrupt : {SIGINT, SIGTERM}) {
        EXPECT_EXIT(child(false, interrupt), testing::ExitedWithCode(7), "^last words\n$") << interrupt;
        EXPECT_EXIT(child(true, interrupt), testing::ExitedWithCode(0), "^$") << interrupt;
        EXPECT_EXIT(child(true, SIGINT, interrupt), testing::KilledBySignal(interrupt), "^$") << interrupt;
    }
}
