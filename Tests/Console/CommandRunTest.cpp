#include "Console/CommandRun.h"

#include "Outcome.h"

#include <memory>
#include <new>
#include <stdexcept>

using namespace Console;

namespace {

/// What a command says on standard error that fails by what `work` throws.
std::string complaintOf(const std::function<void()>& work) {
    return ConsoleTests::shownBy(
        [&] { EXPECT_EQ(runCommand({}, OnInterrupt::note, work), ExitStatus::failed); });
}

} // namespace

TEST(CommandRun, SaysOfAShortageOfMemoryThatItIsOne) {
    EXPECT_EQ(complaintOf([] { throw std::bad_alloc(); }), "korva: not enough memory\n");
    EXPECT_EQ(complaintOf([] { throw std::bad_array_new_length(); }), "korva: not enough memory\n");
}

TEST(CommandRun, RemembersThatMemoryRanShortUntilItIsAsked) {
    if (KORVA_SANITIZED)
        GTEST_SKIP() << "The operator new of an instrumented build ends the process.";
    takeMemoryShortage();
    const ExitStatus status = runCommand({}, OnInterrupt::note, [] {
        constexpr std::size_t moreThanThereIs = std::size_t{1} << 60;
        const std::unique_ptr<char[]> none(new (std::nothrow) char[moreThanThereIs]);
        EXPECT_EQ(none, nullptr);
    });
    EXPECT_EQ(status, ExitStatus::done);
    EXPECT_TRUE(takeMemoryShortage());
    EXPECT_FALSE(takeMemoryShortage());
}

TEST(CommandRun, ShowsNoReasonThatCouldSteerATerminal) {
    EXPECT_EQ(complaintOf([] { throw std::runtime_error("a\x1b[2J\nkorva: b"); }),
              "korva: a\\x1b[2J\\x0akorva: b\n");
    EXPECT_EQ(complaintOf([] { throw CommandFailure("first \x1b\nkorva: second \x07"); }),
              "korva: first \\x1b\nkorva: second \\x07\n");
    EXPECT_EQ(ConsoleTests::shownBy([] { warn({"a\x1b[2J\nkorva: b"}); }),
              "korva: warning: a\\x1b[2J\\x0akorva: b\n");
}
