#include "Platform/Memory.h"
#include "Platform/Program.h"
#include "Platform/StandardStreams.h"
#include "Platform/Terminal.h"

#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <malloc.h>
#include <memory>
#include <string>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

/// What the process has of memory that nobody uses, after two buffers of a picture's size came and went.
std::size_t bytesKeptAfterAPicture() {
    constexpr std::size_t pictureBytes = std::size_t{30} << 20;
    {
        // Looked at through a volatile, or the compiler leaves the buffers out.
        const auto file = std::make_unique_for_overwrite<unsigned char[]>(pictureBytes);
        const auto samples = std::make_unique_for_overwrite<unsigned char[]>(pictureBytes);
        for (unsigned char* volatile buffer : {file.get(), samples.get()})
            std::memset(buffer, 1, pictureBytes);
    }
    return mallinfo2().fordblks;
}

/// What the kernel says of the mapping that holds this address.
std::string flagsOfMappingAt(const void* address) {
    const auto wanted = reinterpret_cast<std::uintptr_t>(address);
    std::ifstream mappings("/proc/self/smaps");
    bool isHere = false;
    for (std::string line; std::getline(mappings, line);) {
        unsigned long begin = 0;
        unsigned long end = 0;
        if (std::sscanf(line.c_str(), "%lx-%lx ", &begin, &end) == 2)
            isHere = begin <= wanted && wanted < end;
        else if (isHere && line.starts_with("VmFlags:"))
            return line;
    }
    return "";
}

} // namespace

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

TEST(LargePages, AreAskedForBehindWhatHoldsOneAndNeverBehindNothing) {
    constexpr std::size_t largePage = std::size_t{2} << 20;
    const std::unique_ptr<unsigned char, decltype(&std::free)> memory(
        static_cast<unsigned char*>(std::aligned_alloc(largePage, 6 * largePage)), &std::free);
    unsigned char* const first = memory.get();
    Platform::preferLargePages(first + 1, 4 * largePage - 2);         // two whole ones
    Platform::preferLargePages(first + 4 * largePage, largePage - 1); // none
    // Something of the program's that lies where a buffer that is none would reach to.
    void* const low = mmap(reinterpret_cast<void*>(largePage), largePage, PROT_READ | PROT_WRITE,
                           MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE, -1, 0);
    ASSERT_EQ(low, reinterpret_cast<void*>(largePage));
    Platform::preferLargePages(nullptr, 4 * largePage);
    const std::string flagsOfLow = flagsOfMappingAt(low);
    munmap(low, largePage);
    if (!std::filesystem::exists("/sys/kernel/mm/transparent_hugepage"))
        GTEST_SKIP() << "this kernel has one size of pages"; // so there is nothing to be seen
    std::vector<bool> preferred;
    for (std::size_t page = 0; page < 6; ++page)
        preferred.push_back(flagsOfMappingAt(first + page * largePage + largePage / 2).find(" hg") !=
                            std::string::npos);
    EXPECT_EQ(preferred, (std::vector<bool>{false, true, true, false, false, false}));
    EXPECT_NE(flagsOfLow, "");
    EXPECT_EQ(flagsOfLow.find(" hg"), std::string::npos) << "behind nothing";
}

TEST(FreedMemory, StaysWithAProcessThatAsksForIt) {
    // If a sanitizer has replaced the allocator, there is nothing to be seen.
    const bool isReplaced = mallinfo2().arena == 0;
    Platform::keepFreedMemory(std::size_t{128} << 20);
    const std::size_t kept = bytesKeptAfterAPicture();
    EXPECT_TRUE(isReplaced || kept >= std::size_t{60} << 20) << kept;
}

TEST(ProcessLocale, LeavesTheSystemsReasonsEnglish) {
    const std::string before = std::setlocale(LC_ALL, nullptr);
    for (const char* environment : {"C", "C.UTF-8"}) {
        std::setlocale(LC_ALL, "C");
        setenv("LC_ALL", environment, 1);
        Platform::useUtf8();
        unsetenv("LC_ALL");
        EXPECT_STREQ(std::setlocale(LC_MESSAGES, nullptr), "C") << environment;
        EXPECT_STREQ(std::setlocale(LC_NUMERIC, nullptr), "C") << environment;
        EXPECT_STREQ(std::setlocale(LC_CTYPE, nullptr), "C.UTF-8") << environment;
    }
    std::setlocale(LC_ALL, before.c_str());
}
