#include "Console/CommandRun.h"

#include "Console/PictureFile.h"
#include "Outcome.h"
#include "Platform/Terminal.h"
#include "Support/TemporaryFolder.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

using namespace Console;
using namespace std::chrono_literals;

namespace {

using Json = nlohmann::ordered_json;

/// What a command says on standard error that fails by what `work` throws.
std::string complaintOf(const std::function<void()>& work) {
    return ConsoleTests::shownBy([&] { EXPECT_EQ(runCommand({}, work), ExitStatus::failed); });
}

} // namespace

TEST(CommandRun, SaysOfAShortageOfMemoryThatItIsOne) {
    EXPECT_EQ(complaintOf([] { throw std::bad_alloc(); }), "korva: not enough memory\n");
    EXPECT_EQ(complaintOf([] { throw std::bad_array_new_length(); }), "korva: not enough memory\n");
}

TEST(CommandRun, RemembersOnWhichThreadMemoryRanShortUntilThatAsks) {
    if (KORVA_SANITIZED)
        GTEST_SKIP() << "The operator new of an instrumented build ends the process.";
    takeMemoryShortage();
    const ExitStatus status = runCommand({}, [] {
        constexpr std::size_t moreThanThereIs = std::size_t{1} << 60;
        const std::unique_ptr<char[]> none(new (std::nothrow) char[moreThanThereIs]);
        EXPECT_EQ(none, nullptr);
    });
    EXPECT_EQ(status, ExitStatus::done);
    std::thread([] { EXPECT_FALSE(takeMemoryShortage()) << "another camera's"; }).join();
    EXPECT_TRUE(takeMemoryShortage());
    EXPECT_FALSE(takeMemoryShortage());
}

TEST(CommandRun, WaitsUntilItsTimeAndNoLongerThanUntilCtrlC) {
    const auto begin = std::chrono::steady_clock::now();
    waitUntil(begin + 20ms);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 20ms);
    const auto interruptedWait = [] {
        Platform::catchInterrupts();
        Platform::interruptOneself();
        try {
            waitUntil(std::chrono::steady_clock::now() + 1min);
        } catch (const CommandFailure& failure) {
            std::_Exit(static_cast<int>(failure.status()));
        }
        std::_Exit(0);
    };
    EXPECT_EXIT(interruptedWait(), testing::ExitedWithCode(130), "");
}

TEST(CommandRun, ShowsNoReasonThatCouldSteerATerminal) {
    EXPECT_EQ(complaintOf([] { throw std::runtime_error("a\x1b[2J\nkorva: b"); }),
              "korva: a\\x1b[2J\\x0akorva: b\n");
    const Diagnosis::Verdict odd = {"odd", Diagnosis::Severity::note, "a\x1b\nkorva: b", "c\x07", "", ""};
    EXPECT_EQ(complaintOf([&odd] { throw CommandFailure(odd); }),
              "korva: a\\x1b\\x0akorva: b; try: c\\x07\n");
    EXPECT_EQ(ConsoleTests::shownBy([&odd] { warn(odd); }),
              "korva: warning: a\\x1b\\x0akorva: b; try: c\\x07\n");
}

TEST(CommandRun, WarnsOfADiagnosticsFolderThatNothingGoesTo) {
    const auto warningOf = [](const char* folder, const char* level, const char* configFile) {
        CommonOptions common;
        common.diagnosticsFolder = folder;
        common.log = {level, configFile};
        return ConsoleTests::shownBy([&common] { warnOfNoDump(common); });
    };
    EXPECT_EQ(warningOf("a", "", ""),
              "korva: warning: no picture file is dumped into a; try: --log trace as well\n");
    EXPECT_EQ(warningOf("", "", ""), "");
    EXPECT_EQ(warningOf("a", "trace", ""), "");
    EXPECT_EQ(warningOf("a", "", "log.xml"), "");
}

namespace {

const Diagnosis::Verdict silent = {"silent", Diagnosis::Severity::failure, "says nothing", "wait", "a", ""};

/// How a command with --json ends whose work does that, and what it prints.
std::pair<ExitStatus, std::string> endOf(bool json, const std::function<ExitStatus(Json&)>& work) {
    testing::internal::CaptureStdout();
    ExitStatus status = ExitStatus::done;
    ConsoleTests::shownBy([&] { status = runJson(json, {{"results", Json::array()}}, {}, work); });
    return {status, testing::internal::GetCapturedStdout()};
}

} // namespace

TEST(CommandRun, EndsWithTheStatusOfItsWorkOrOfWhatThatThrew) {
    const auto statusOf = [](const std::function<ExitStatus()>& work) {
        ExitStatus status = ExitStatus::done;
        ConsoleTests::shownBy([&] { status = runCommand({}, work); });
        return static_cast<int>(status);
    };
    EXPECT_EQ(statusOf([] { return ExitStatus::nothingFound; }), 3);
    EXPECT_EQ(statusOf([]() -> ExitStatus { throw CommandFailure(silent, ExitStatus::partlyFailed); }), 4);
    EXPECT_EQ(statusOf([]() -> ExitStatus { throw CommandFailure(silent); }), 1);
    EXPECT_EQ(statusOf([]() -> ExitStatus { throw interruption(); }), 130);
    EXPECT_EQ(statusOf([]() -> ExitStatus { throw Interrupted(); }), 130);
    EXPECT_EQ(statusOf([]() -> ExitStatus { throw std::runtime_error("odd"); }), 1);
}

TEST(CommandRun, TellsProgramsWhatTheCommandDidAndWhyItFailed) {
    const auto done = [](Json& object) {
        object["results"].push_back(1);
        return ExitStatus::partlyFailed;
    };
    using End = std::pair<ExitStatus, std::string>;
    EXPECT_EQ(endOf(true, done), End(ExitStatus::partlyFailed, "{\"results\":[1]}\n"));
    EXPECT_EQ(endOf(false, done), End(ExitStatus::partlyFailed, ""));
    EXPECT_EQ(endOf(true, [](Json&) -> ExitStatus { throw CommandFailure(silent); }),
              End(ExitStatus::failed, R"({"results":[],"error":{"code":"silent","text":"says nothing",)"
                                      R"("try":"wait"}})"
                                      "\n"));
    EXPECT_EQ(endOf(false, [](Json&) -> ExitStatus { throw CommandFailure(silent); }),
              End(ExitStatus::failed, ""));
}

TEST(CommandRun, TellsProgramsOfADiagnosticsFolderThatCannotBeMade) {
    const TestSupport::TemporaryFolder folder;
    const std::string file = folder.path().generic_string() + "/file";
    std::ofstream(file) << "no folder";
    CommonOptions common;
    common.diagnosticsFolder = file + "/x";
    testing::internal::CaptureStdout();
    EXPECT_EQ(
        ConsoleTests::shownBy([&] { runJson(true, {}, common, [](Json&) { return ExitStatus::done; }); }),
        "korva: cannot make the diagnostics folder " + file +
            "/x: Not a directory; try: another "
            "--diagnostics DIR\n");
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              R"({"error":{"code":"file-failed","text":"cannot make the diagnostics folder )" + file +
                  R"(/x: Not a directory","try":"another --diagnostics DIR"}})"
                  "\n");
}

TEST(CommandFailure, HasACauseWhateverItWasMadeOf) {
    EXPECT_EQ(CommandFailure(silent).what(), std::string("a: says nothing; try: wait"));
    const Diagnosis::Trouble noPlugin{.what = Diagnosis::Obstacle::noPlugin, .place = "f", .reason = "a, b"};
    EXPECT_EQ(CommandFailure(noPlugin).what(),
              std::string("the plug-in f is in none of a, b; try: --plugin FILE"));
    EXPECT_EQ(interruption().what(), std::string("interrupted"));
    EXPECT_EQ(verdictFrom(std::bad_alloc()).code, "no-memory");
    EXPECT_EQ(verdictFrom(Interrupted()).code, "interrupted");
    EXPECT_EQ(verdictFrom(PictureFileError({.what = Diagnosis::Obstacle::fileIsKept})).code, "file-failed");
    EXPECT_EQ(verdictFrom(std::runtime_error("a\x1b")).text, "a\\x1b");
    EXPECT_EQ(verdictFrom(std::runtime_error("a")).remedy, "again with --log debug to see what happens");
}
