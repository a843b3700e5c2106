#include "Platform/Terminal.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

/// A stream that the test owns.
class Stream {
public:
    explicit Stream(std::FILE* file) : file_(file) {}
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;
    ~Stream() {
        if (file_ != nullptr)
            std::fclose(file_);
    }
    std::FILE* get() const { return file_; }

private:
    std::FILE* file_;
};

/// The program's side of a new pseudo terminal, whose other side is `keeper`.
std::FILE* openTerminal(Stream& keeper) {
    const int descriptor = fileno(keeper.get());
    if (grantpt(descriptor) != 0 || unlockpt(descriptor) != 0)
        return nullptr;
    return std::fopen(ptsname(descriptor), "r+");
}

std::FILE* openTerminalKeeper() {
    const int descriptor = posix_openpt(O_RDWR | O_NOCTTY);
    return descriptor < 0 ? nullptr : fdopen(descriptor, "r+");
}

} // namespace

TEST(Terminal, IsNoFile) {
    const Stream file(std::tmpfile());
    EXPECT_FALSE(Platform::isTerminal(file.get()));
    EXPECT_EQ(Platform::terminalColumns(file.get()), 80);
}

TEST(Terminal, TellsItsColumns) {
    Stream keeper(openTerminalKeeper());
    ASSERT_NE(keeper.get(), nullptr);
    const Stream terminal(openTerminal(keeper));
    ASSERT_NE(terminal.get(), nullptr);
    EXPECT_TRUE(Platform::isTerminal(terminal.get()));

    winsize size{};
    size.ws_row = 24;
    size.ws_col = 132;
    ASSERT_EQ(ioctl(fileno(terminal.get()), TIOCSWINSZ, &size), 0);
    EXPECT_EQ(Platform::terminalColumns(terminal.get()), 132);
}

TEST(Terminal, HasEightyColumnsWhereItDoesNotSay) {
    Stream keeper(openTerminalKeeper());
    ASSERT_NE(keeper.get(), nullptr);
    const Stream terminal(openTerminal(keeper));
    ASSERT_NE(terminal.get(), nullptr);
    EXPECT_EQ(Platform::terminalColumns(terminal.get()), 80);
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
    for (const int interrupt : {SIGINT, SIGTERM}) {
        const auto child = [interrupt] {
            Platform::catchInterrupts();
            const bool before = Platform::interrupted();
            std::raise(interrupt);
            std::_Exit(!before && Platform::interrupted() ? 0 : 1);
        };
        EXPECT_EXIT(child(), ::testing::ExitedWithCode(0), "") << interrupt;
    }
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

TEST(InterruptsDeathTest, EndTheProcessAtOnceWhereThatIsAskedFor) {
    for (const int interrupt : {SIGINT, SIGTERM}) {
        const auto child = [interrupt] {
            Platform::endAtInterrupts("last words\n", 7);
            std::raise(interrupt);
            std::_Exit(0);
        };
        EXPECT_EXIT(child(), ::testing::ExitedWithCode(7), "^last words\n$") << interrupt;
    }
}

TEST(InterruptsDeathTest, AreNotedOnceTheProcessNoLongerEndsAtOnce) {
    const auto child = [] {
        Platform::endAtInterrupts("last words\n", 7);
        Platform::catchInterrupts();
        std::raise(SIGINT);
        std::_Exit(Platform::interrupted() ? 0 : 1);
    };
    EXPECT_EXIT(child(), ::testing::ExitedWithCode(0), "^$");
}
