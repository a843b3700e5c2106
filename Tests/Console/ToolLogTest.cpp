#include "Console/ToolLog.h"

#include "Platform/StandardError.h"

#include <gtest/gtest.h>
#include <log4cxx/basicconfigurator.h>
#include <log4cxx/level.h>
#include <log4cxx/logger.h>

#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

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

std::string consoleAppender(const std::string& name, const std::string& pattern) {
    const std::string key = "log4j.appender." + name;
    return key + "=org.apache.log4j.ConsoleAppender\n" + key + ".Target=System.err\n" + key +
           ".layout=org.apache.log4j.PatternLayout\n" + key + ".layout.ConversionPattern=" + pattern + "\n";
}

/// A configuration that writes lines of level info and above to `target`.
std::string fileConfiguration(const std::string& target) {
    return "log4j.rootLogger=INFO, F\nlog4j.appender.F=org.apache.log4j.FileAppender\n"
           "log4j.appender.F.File=" +
           target +
           "\nlog4j.appender.F.Append=false\nlog4j.appender.F.layout=org.apache.log4j.PatternLayout\n"
           "log4j.appender.F.layout.ConversionPattern=%p|%m%n\n";
}

std::string contentOf(const std::string& file) {
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// What `config` makes of an error, and nothing of it looks like a library's line.
std::string shownApartFromLibraries(const std::string& config) {
    std::string fromLibraries;
    testing::internal::CaptureStderr();
    {
        const Platform::LibraryErrors guard([&](std::string_view line) { fromLibraries += line; });
        const ToolLog log({"error", config}, nullptr);
        logger()->forcedLog(log4cxx::Level::getError(), std::string("caf\xC3\xA9"));
        log4cxx::BasicConfigurator::resetConfiguration(); // which waits for what is still under way
    }
    EXPECT_EQ(fromLibraries, "");
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
    std::ofstream(config) << fileConfiguration(target);
    EXPECT_EQ(shownWith({"", config}), "");
    EXPECT_EQ(contentOf(target), "INFO|one\nWARN|one\nERROR|one\n");
}

TEST(ToolLog, LeavesNoLineOutOfAFileWhereAThreadIsLeftToItself) {
    const std::string target = testing::TempDir() + "korva-left-log.txt";
    const std::string config = testing::TempDir() + "korva-left-log.properties";
    std::ofstream(config) << fileConfiguration(target) << "log4j.appender.F.BufferedIO=true\n";
    {
        ToolLog log({"", config}, nullptr);
        logger()->forcedLog(log4cxx::Level::getInfo(), std::string("one"));
        log.ignore(std::this_thread::get_id());
    }
    EXPECT_EQ(contentOf(target), "INFO|one\n");
    EXPECT_FALSE(logger()->isErrorEnabled());
}

TEST(ToolLog, LooksAsItsConfigurationSaysWhileLibrariesAreKeptApart) {
    const std::string config = testing::TempDir() + "korva-tool-log-console.properties";
    std::ofstream(config) << "log4j.rootLogger=INFO, A\n"
                          << "log4j.logger.Plenar.Test=INFO, B\n"
                          << consoleAppender("A", "root|%p|%m%n") << consoleAppender("B", "own|%p|%m%n");
    EXPECT_EQ(shownApartFromLibraries(config),
              "own|ERROR|caf\xC3\xA9\nroot|ERROR|caf\xC3\xA9\nERROR Plenar.Test - caf\xC3\xA9\n");
}

TEST(ToolLog, LooksAsItsConfigurationSaysBehindAnAsynchronousAppender) {
    const std::string config = testing::TempDir() + "korva-tool-log-console.xml";
    std::ofstream(config) << R"(<log4j:configuration xmlns:log4j="http://jakarta.apache.org/log4j/">
        <appender name="A" class="org.apache.log4j.ConsoleAppender"><param name="Target" value="System.err"/>
            <layout class="org.apache.log4j.PatternLayout"><param name="ConversionPattern" value="%p|%m%n"/>
            </layout></appender>
        <appender name="B" class="org.apache.log4j.AsyncAppender"><appender-ref ref="A"/></appender>
        <root><priority value="info"/><appender-ref ref="B"/></root></log4j:configuration>)";
    const std::string shown = shownApartFromLibraries(config);
    EXPECT_NE(shown.find("ERROR|caf\xC3\xA9\n"), std::string::npos) << shown;
}

namespace {

using Lines = std::vector<std::string>;

/// What a listener to the logger gets of a line on every level.
Lines heardOf(ToolLog& log) {
    Lines heard;
    log.listenTo("Plenar.Test", [&heard](std::string_view line) { heard.emplace_back(line); });
    logOnEveryLevel();
    log4cxx::Logger::getLogger("Plenar.Other")->forcedLog(log4cxx::Level::getError(), std::string("other"));
    log.listenTo("Plenar.Test", {});
    logOnEveryLevel();
    return heard;
}

} // namespace

TEST(ToolLog, LetsListenToOneLoggerFromInfoOnWithoutShowingIt) {
    testing::internal::CaptureStderr();
    {
        ToolLog log({}, nullptr);
        EXPECT_EQ(heardOf(log), (Lines{"one", "one", "one"}));
        EXPECT_FALSE(logger()->isInfoEnabled()) << "as it was before";
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(ToolLog, LeavesTheLevelsOfAConfigurationFileAsTheyAre) {
    const std::string file = testing::TempDir() + "korva-listening.properties";
    std::ofstream(file) << "log4j.rootLogger=ERROR, A\n" << consoleAppender("A", "%m%n");
    testing::internal::CaptureStderr();
    {
        ToolLog log({"off", file}, nullptr);
        EXPECT_EQ(heardOf(log), Lines{"one"});
    }
    testing::internal::GetCapturedStderr();
}

TEST(ToolLog, IgnoresAThreadThatIsLeftToItself) {
    testing::internal::CaptureStderr();
    {
        ToolLog log({"warn", ""}, nullptr);
        Lines heard;
        log.listenTo("Plenar.Test", [&heard](std::string_view line) { heard.emplace_back(line); });
        log.ignore(std::this_thread::get_id());
        log4cxx::Logger::getLogger("Plenar.Other")->forcedLog(log4cxx::Level::getError(), std::string("one"));
        EXPECT_FALSE(logger()->isErrorEnabled());
        EXPECT_EQ(heard, Lines{});
        EXPECT_EQ(log.takeRemarks(), Lines{});
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}
