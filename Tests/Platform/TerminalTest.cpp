#include "Platform/Terminal.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <memory>
#include <sys/ioctl.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using Stream = std::unique_ptr<std::FILE, Close>;

/// Ends a child with the status 0 if that is so.
[[noreturn]] void endWell(bool isSo) {
    std::_Exit(isSo ? 0 : 1);
}

} // namespace

TEST(Terminal, IsNoFile) {
    const Stream file(std::tmpfile());
    EXPECT_FALSE(Platform::isTerminal(file.get()));
    EXPECT_EQ(Platform::terminalColumns(file.get()), 80);
}

TEST(Terminal, TellsItsColumnsAndEightyIfItDoesNotSay) {
    const int keeper = posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_GE(keeper, 0);
    ASSERT_TRUE(grantpt(keeper) == 0 && unlockpt(keeper) == 0);
    const Stream keeperStream(fdopen(keeper, "r+"));
    const Stream terminal(std::fopen(ptsname(keeper), "r+"));
    ASSERT_NE(terminal, nullptr);
    EXPECT_TRUE(Platform::isTerminal(terminal.get()));
    EXPECT_EQ(Platform::terminalColumns(terminal.get()), 80);
    winsize size{};
    size.ws_row = 24;
    size.ws_col = 132;
    ASSERT_EQ(ioctl(fileno(terminal.get()), TIOCSWINSZ, &size), 0);
    EXPECT_EQ(Platform::terminalColumns(terminal.get()), 132);
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

TEST(InterruptsDeathTest, AreNotedAndDoNotEndTheProcess) {
    const auto child = [](int interrupt) {
        Platform::catchInterrupts();
        const bool before = Platform::interrupted();
        std::raise(interrupt);
        endWell(!before && Platform::interrupted());
    };
    for (const int interrupt : {SIGINT, SIGTERM})
        EXPECT_EXIT(child(interrupt), ::testing::ExitedWithCode(0), "") << interrupt;
}

TEST(InterruptsDeathTest, EndTheProcessTheSecondTime) {
    const auto child = [](int first, int second) {
        Platform::catchInterrupts();
        std::raise(first);
        std::raise(second);
    };
    EXPECT_EXIT(child(SIGINT, SIGINT), ::testing::KilledBySignal(SIGINT), "");
    EXPECT_EXIT(child(SIGINT, SIGTERM), ::testing::KilledBySignal(SIGTERM), "");
}

TEST(InterruptsDeathTest, EndTheProcessAtOnceUntilTheyAreCaught) {
    const auto child = [](int interrupt, bool isCaught) {
        Platform::endAtInterrupts("last words\n", 7);
        if (isCaught)
            Platform::catchInterrupts();
        std::raise(interrupt);
        endWell(Platform::interrupted());
    };
    for (const int interrupt : {SIGINT, SIGTERM})
        EXPECT_EXIT(child(interrupt, false), ::testing::ExitedWithCode(7), "^last words\n$") << interrupt;
    EXPECT_EXIT(child(SIGINT, true), ::testing::ExitedWithCode(0), "^$");
}
