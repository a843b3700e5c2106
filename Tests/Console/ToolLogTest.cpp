#include "Console/ToolLog.h"

#include "Outcome.h"
#include "Platform/StandardError.h"
#include "Support/TemporaryFolder.h"

#include <gmock/gmock.h>
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
using ConsoleTests::shownBy;
using log4cxx::Level;
using testing::HasSubstr;

namespace {

using Lines = std::vector<std::string>;

log4cxx::LoggerPtr logger() {
    return log4cxx::Logger::getLogger("Plenar.Test");
}

void log(const log4cxx::LevelPtr& level, const std::string& message, const char* by = "Plenar.Test") {
    log4cxx::Logger::getLogger(by)->forcedLog(level, message);
}

void logOnEveryLevel() {
    for (const auto& level :
         {Level::getTrace(), Level::getDebug(), Level::getInfo(), Level::getWarn(), Level::getError()})
        if (logger()->isEnabledFor(level))
            log(level, "one");
}

std::string shownWith(const LogOptions& options) {
    return shownBy([&options] {
        const ToolLog toolLog(options, nullptr);
        logOnEveryLevel();
    });
}

/// What a listener to the logger hears.
Lines heardOf(ToolLog& toolLog) {
    Lines heard;
    toolLog.listenTo("Plenar.Test", [&heard](std::string_view line) { heard.emplace_back(line); });
    logOnEveryLevel();
    log(Level::getError(), "other", "Plenar.Other");
    toolLog.listenTo("Plenar.Test", {});
    logOnEveryLevel();
    return heard;
}

/// A log that is laid out by a file.
class ConfiguredToolLog : public testing::Test {
protected:
    /// The options that name a file of this text.
    LogOptions configured(const std::string& text, const std::string& name = "log.properties") const {
        std::ofstream(folder_.file(name)) << text;
        return {"error", folder_.file(name)};
    }

    static std::string appender(const std::string& name, const std::string& pattern,
                                const std::string& kind = "ConsoleAppender",
                                const std::string& setting = "Target=System.err") {
        const std::string key = "\nlog4j.appender." + name;
        return key + "=org.apache.log4j." + kind + key + "." + setting + key +
               ".layout=org.apache.log4j.PatternLayout" + key + ".layout.ConversionPattern=" + pattern;
    }

    /// Lines of level info and above go to a file, by way of a buffer.
    LogOptions intoFile() const {
        return configured("log4j.appender.F.BufferedIO=true\nlog4j.rootLogger=INFO, F" +
                          appender("F", "%p|%m%n", "FileAppender", "File=" + folder_.file("log")));
    }

    std::string inFile() const {
        std::ifstream stream(folder_.file("log"));
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    /// What these options make of an error, and nothing of it looks like a library's line.
    static std::string shownApartFromLibraries(const LogOptions& options) {
        std::string fromLibraries;
        const std::string shown = shownBy([&] {
            const Platform::LibraryErrors guard([&](std::string_view line) { fromLibraries += line; });
            const ToolLog toolLog(options, nullptr);
            log(Level::getError(), "caf\xC3\xA9");
            log4cxx::BasicConfigurator::resetConfiguration(); // which waits for what is still under way
        });
        EXPECT_EQ(fromLibraries, "");
        return shown;
    }

    const TestSupport::TemporaryFolder folder_;
};

} // namespace

TEST(ToolLog, ShowsTheLevelAskedForAndAboveAndNothingUnlessAsked) {
    EXPECT_EQ(shownWith({}), "");
    std::string shown;
    for (const auto& [level, line] : {std::pair{"off", ""},
                                      {"error", "ERROR Plenar.Test - one\n"},
                                      {"warn", "WARN Plenar.Test - one\n"},
                                      {"info", "INFO Plenar.Test - one\n"},
                                      {"debug", "DEBUG Plenar.Test - one\n"},
                                      {"trace", "TRACE Plenar.Test - one\n"}}) {
        shown = line + shown;
        EXPECT_EQ(shownWith({level, ""}), shown);
    }
}

TEST(ToolLog, EscapesWhatCouldSteerATerminal) {
    EXPECT_EQ(shownBy([] {
                  const ToolLog toolLog({"warn", ""}, nullptr);
                  log(Level::getWarn(), "a\x1b[2J\nERROR b \xff");
              }),
              "WARN Plenar.Test - a\\x1b[2J\\x0aERROR b \\xff\n");
}

TEST(ToolLog, KeepsWarningsAndErrorsAsRemarksWhateverIsShown) {
    ToolLog toolLog({"off", ""}, nullptr);
    log(Level::getWarn(), "first");
    log(Level::getInfo(), "not this");
    log(Level::getError(), "second\n");
    log(Level::getWarn(), "first");
    EXPECT_EQ(toolLog.takeRemarks(), (Lines{"first", "second\\x0a"}));
    EXPECT_EQ(toolLog.takeRemarks(), Lines{});
}

TEST(ToolLog, KeepsOnlySoManyRemarks) {
    ToolLog toolLog({}, nullptr);
    for (int i = 0; i < 100; ++i)
        log(Level::getError(), std::to_string(i));
    EXPECT_EQ(toolLog.takeRemarks().size(), 8u);
}

TEST(ToolLog, StopsShowingAtItsEnd) {
    EXPECT_THAT(shownBy([] {
                    { const ToolLog toolLog({"error", ""}, nullptr); }
                    log(Level::getError(), "late");
                }),
                testing::Not(HasSubstr("ERROR Plenar.Test - late")));
}

TEST(ToolLog, LetsListenToOneLoggerFromInfoOnWithoutShowingIt) {
    EXPECT_EQ(shownBy([] {
                  ToolLog toolLog({}, nullptr);
                  EXPECT_EQ(heardOf(toolLog), (Lines{"one", "one", "one"}));
                  EXPECT_TRUE(logger()->isWarnEnabled());
                  EXPECT_FALSE(logger()->isInfoEnabled()) << "as it was before";
              }),
              "");
}

TEST(ToolLog, IgnoresAThreadThatIsLeftToItself) {
    EXPECT_EQ(shownBy([] {
                  ToolLog toolLog({"warn", ""}, nullptr);
                  Lines heard;
                  toolLog.listenTo("Plenar.Test", [&](std::string_view line) { heard.emplace_back(line); });
                  toolLog.ignore(std::this_thread::get_id());
                  log(Level::getError(), "other", "Plenar.Other");
                  EXPECT_FALSE(logger()->isErrorEnabled());
                  EXPECT_EQ(heard, Lines{});
                  EXPECT_EQ(toolLog.takeRemarks(), Lines{});
              }),
              "");
}

TEST_F(ConfiguredToolLog, FollowsItsFile) {
    EXPECT_EQ(shownWith(intoFile()), "ERROR Plenar.Test - one\n");
    log4cxx::BasicConfigurator::resetConfiguration();
    EXPECT_EQ(inFile(), "INFO|one\nWARN|one\nERROR|one\n");
}

TEST_F(ConfiguredToolLog, LeavesNoLineOutOfItsFileWhereAThreadIsLeftToItself) {
    {
        ToolLog toolLog(intoFile(), nullptr);
        log(Level::getInfo(), "one");
        toolLog.ignore(std::this_thread::get_id());
    }
    EXPECT_EQ(inFile(), "INFO|one\n");
    EXPECT_FALSE(logger()->isErrorEnabled());
}

TEST_F(ConfiguredToolLog, LooksAsItsFileSaysWhileLibrariesAreKeptApart) {
    EXPECT_EQ(
        shownApartFromLibraries(configured("log4j.rootLogger=INFO, A\nlog4j.logger.Plenar.Test=INFO, B" +
                                           appender("A", "root|%p|%m%n") + appender("B", "own|%p|%m%n"))),
        "own|ERROR|caf\xC3\xA9\nroot|ERROR|caf\xC3\xA9\nERROR Plenar.Test - caf\xC3\xA9\n");
    const LogOptions behindAnAsynchronousAppender = configured(
        R"(<log4j:configuration xmlns:log4j="http://jakarta.apache.org/log4j/">
        <appender name="A" class="org.apache.log4j.ConsoleAppender"><param name="Target" value="System.err"/>
            <layout class="org.apache.log4j.PatternLayout"><param name="ConversionPattern" value="%p|%m%n"/>
            </layout></appender>
        <appender name="B" class="org.apache.log4j.AsyncAppender"><appender-ref ref="A"/></appender>
        <root><priority value="info"/><appender-ref ref="B"/></root></log4j:configuration>)",
        "log.xml");
    EXPECT_THAT(shownApartFromLibraries(behindAnAsynchronousAppender), HasSubstr("ERROR|caf\xC3\xA9\n"));
}

TEST_F(ConfiguredToolLog, HearsNoMoreThanTheLevelsOfItsFileLetPass) {
    shownBy([this] {
        ToolLog toolLog(configured("log4j.rootLogger=ERROR, A" + appender("A", "%m%n")), nullptr);
        EXPECT_EQ(heardOf(toolLog), Lines{"one"});
    });
}
