#include "Console/CommandRun.h"

#include "Console/PictureFile.h"
#include "Outcome.h"

#include <nlohmann/json.hpp>

#include <functional>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>

using namespace Console;

namespace {

using Json = nlohmann::ordered_json;

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
        ConsoleTests::shownBy([&] { status = runCommand({}, OnInterrupt::note, work); });
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
    CommonOptions common;
    common.diagnosticsFolder = "/dev/null/x";
    testing::internal::CaptureStdout();
    EXPECT_EQ(
        ConsoleTests::shownBy([&] { runJson(true, {}, common, [](Json&) { return ExitStatus::done; }); }),
        "korva: cannot make the diagnostics folder /dev/null/x: Not a directory; try: another "
        "--diagnostics DIR\n");
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              R"({"error":{"code":"file-failed","text":"cannot make the diagnostics folder /dev/null/x: )"
              R"(Not a directory","try":"another --diagnostics DIR"}})"
              "\n");
}

TEST(CommandFailure, HasACauseWhateverItWasMadeOf) {
    EXPECT_EQ(CommandFailure(silent).what(), std::string("a: says nothing; try: wait"));
    const Diagnosis::Verdict verdict = CommandFailure("no file; try: another; try: --output FILE").verdict();
    EXPECT_EQ(verdict.code, "failed");
    EXPECT_EQ(verdict.text, "no file; try: another");
    EXPECT_EQ(verdict.remedy, "--output FILE");
    EXPECT_EQ(verdictFrom(std::bad_alloc()).code, "no-memory");
    EXPECT_EQ(verdictFrom(Interrupted()).code, "interrupted");
    EXPECT_EQ(verdictFrom(PictureFileError("cannot write a; try: b")).code, "file-failed");
    EXPECT_EQ(verdictFrom(std::runtime_error("a\x1b")).text, "a\\x1b");
    EXPECT_NE(verdictFrom(std::runtime_error("a")).remedy, "");
}
