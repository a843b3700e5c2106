#include "Console/ToolLog.h"

#include <gtest/gtest.h>
#include <log4cxx/level.h>
#include <log4cxx/logger.h>

#include <fstream>
#include <string>

using Console::LogOptions;
using Console::ToolLog;

namespace {

log4cxx::LoggerPtr logger() {
    return log4cxx::Logger::getLogger("Plenar.Test");
}

void logOnEveryLevel() {
    using log4cxx::Level;
    for (const auto& level :
         {Level::getTrace(), Level::getDebug(), Level::getInfo(), Level::getWarn(), Level::getError()})
        if (logger()->isEnabledFor(level))
            logger()->forcedLog(level, std::string("one"));
}

std::string shownWith(const LogOptions& options) {
    testing::internal::CaptureStderr();
    {
        const ToolLog log(options, nullptr);
        logOnEveryLevel();
    }
    return testing::internal::GetCapturedStderr();
}

} // namespace

TEST(ToolLog, ShowsNothingUnlessAsked) {
    EXPECT_EQ(shownWith({}), "");
    EXPECT_EQ(shownWith({"off", ""}), "");
}

TEST(ToolLog, ShowsTheLevelAskedForAndAbove) {
    EXPECT_EQ(shownWith({"error", ""}), "ERROR Plenar.Test - one\n");
    EXPECT_EQ(shownWith({"warn", ""}), "WARN Plenar.Test - one\nERROR Plenar.Test - one\n");
    EXPECT_EQ(shownWith({"trace", ""}), "TRACE Plenar.Test - one\nDEBUG Plenar.Test - one\n"
                                        "INFO Plenar.Test - one\nWARN Plenar.Test - one\n"
                                        "ERROR Plenar.Test - one\n");
}

TEST(ToolLog, EnablesOnlyTheLevelsItNeeds) {
    const ToolLog log({}, nullptr);
    EXPECT_TRUE(logger()->isWarnEnabled());
    EXPECT_FALSE(logger()->isInfoEnabled());
}

TEST(ToolLog, EscapesWhatCouldSteerATerminal) {
    testing::internal::CaptureStderr();
    {
        const ToolLog log({"warn", ""}, nullptr);
        logger()->forcedLog(log4cxx::Level::getWarn(), std::string("a\x1b[2J\nERROR b \xff"));
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "WARN Plenar.Test - a\\x1b[2J\\x0aERROR b \\xff\n");
}

TEST(ToolLog, KeepsWarningsAndErrorsAsRemarksWhateverIsShown) {
    ToolLog log({"off", ""}, nullptr);
    logger()->forcedLog(log4cxx::Level::getWarn(), std::string("first"));
    logger()->forcedLog(log4cxx::Level::getInfo(), std::string("not this"));
    logger()->forcedLog(log4cxx::Level::getError(), std::string("second\n"));
    logger()->forcedLog(log4cxx::Level::getWarn(), std::string("first"));
    EXPECT_EQ(log.takeRemarks(), (std::vector<std::string>{"first", "second\\x0a"}));
    EXPECT_TRUE(log.takeRemarks().empty());
}

TEST(ToolLog, KeepsOnlySoManyRemarks) {
    ToolLog log({}, nullptr);
    for (int i = 0; i < 100; ++i)
        logger()->forcedLog(log4cxx::Level::getError(), std::to_string(i));
    EXPECT_EQ(log.takeRemarks().size(), 8u);
}

TEST(ToolLog, StopsShowingAtItsEnd) {
    testing::internal::CaptureStderr();
    { const ToolLog log({"error", ""}, nullptr); }
    logger()->forcedLog(log4cxx::Level::getError(), std::string("late"));
    EXPECT_EQ(testing::internal::GetCapturedStderr().find("ERROR Plenar.Test - late"), std::string::npos);
}

TEST(ToolLog, FollowsAConfigurationFile) {
    const std::string target = testing::TempDir() + "korva-tool-log.txt";
    const std::string config = testing::TempDir() + "korva-tool-log.properties";
    std::ofstream(config) << "log4j.rootLogger=INFO, F\n"
                          << "log4j.appender.F=org.apache.log4j.FileAppender\n"
                          << "log4j.appender.F.File=" << target << "\n"
                          << "log4j.appender.F.Append=false\n"
                          << "log4j.appender.F.layout=org.apache.log4j.PatternLayout\n"
                          << "log4j.appender.F.layout.ConversionPattern=%p|%m%n\n";
    EXPECT_EQ(shownWith({"", config}), "");
    std::ifstream lines(target);
    const std::string text{std::istreambuf_iterator<char>(lines), {}};
    EXPECT_EQ(text, "INFO|one\nWARN|one\nERROR|one\n");
}
