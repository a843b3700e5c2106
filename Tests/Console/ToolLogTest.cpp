#include "Console/ToolLog.h"

#include "Outcome.h"
#include "Platform/StandardError.h"
#include "Support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <log4cxx/basicconfigurator.h>
#include <log4cxx/level.h>
#include <log4cxx/logger.h>

#include <chrono>
#include <fstream>
#include <future>
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

void logOnEveryLevel(const char* by = "Plenar.Test", const std::string& message = "one") {
    for (const auto& level :
         {Level::getTrace(), Level::getDebug(), Level::getInfo(), Level::getWarn(), Level::getError()})
        if (log4cxx::Logger::getLogger(by)->isEnabledFor(level))
            log(level, message, by);
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

    /// A file's name as it stands in a configuration, where a backslash would count with what is behind it.
    std::string inSlashes(const std::string& name) const { return (folder_.path() / name).generic_string(); }

    /// Lines of level info and above go to a file, by way of a buffer.
    LogOptions intoFile() const {
        return configured("log4j.appender.F.BufferedIO=true\nlog4j.rootLogger=INFO, F" +
                          appender("F", "%p|%m%n", "FileAppender", "File=" + inSlashes("log")));
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

namespace {

/// Each as "LEVEL logger message".
Lines linesOf(ToolLog& toolLog) {
    constexpr const char* levels[] = {"debug", "info", "warn", "error"};
    Lines lines;
    for (const Diagnosis::LogLine& line : toolLog.takeLines())
        lines.push_back(std::string(levels[static_cast<int>(line.level)]) + " " + line.logger + " " +
                        line.message);
    return lines;
}

} // namespace

TEST(ToolLog, KeepsLinesFromInfoOnForTheThreadThatWroteThemWhateverIsShown) {
    ToolLog toolLog({"off", ""}, nullptr);
    logOnEveryLevel();
    Lines others;
    std::thread([&] {
        log(Level::getError(), "other\n");
        others = linesOf(toolLog);
    }).join();
    EXPECT_EQ(others, Lines{"error Plenar.Test other\n"});
    EXPECT_EQ(linesOf(toolLog),
              (Lines{"info Plenar.Test one", "warn Plenar.Test one", "error Plenar.Test one"}));
    EXPECT_EQ(linesOf(toolLog), Lines{});
}

TEST(ToolLog, KeepsOnlySoManyLines) {
    ToolLog toolLog({}, nullptr);
    for (int i = 0; i <= 4096; ++i)
        log(Level::getInfo(), std::to_string(i));
    const auto lines = toolLog.takeLines();
    EXPECT_EQ(lines.size(), 4096u);
    EXPECT_EQ(lines.back().message, "4095");
}

TEST(ToolLog, HasPicturesDumpedWithoutShowingIt) {
    const auto dumping = log4cxx::Logger::getLogger("Plenar.KorvaCamera.KorvaCapture");
    EXPECT_EQ(shownBy([&] {
                  ToolLog toolLog({"warn", ""}, nullptr);
                  EXPECT_FALSE(dumping->isTraceEnabled());
                  EXPECT_TRUE(toolLog.dumpPictures());
                  EXPECT_TRUE(dumping->isTraceEnabled());
                  log(Level::getTrace(), "Dumping", "Plenar.KorvaCamera.KorvaCapture");
              }),
              "");
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
                  EXPECT_TRUE(logger()->isInfoEnabled());
                  EXPECT_FALSE(logger()->isDebugEnabled()) << "as it was before";
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
                  EXPECT_EQ(linesOf(toolLog), Lines{});
              }),
              "");
}

TEST(ToolLog, TakesALaterThreadOfTheSameNumberForItself) {
    shownBy([] {
        ToolLog toolLog({}, nullptr);
        log(Level::getError(), "of an earlier thread");
        toolLog.ignore(std::this_thread::get_id());
        toolLog.beginThread();
        Lines heard;
        toolLog.listenTo("Plenar.Test", [&](std::string_view line) { heard.emplace_back(line); });
        log(Level::getInfo(), "own");
        EXPECT_EQ(heard, Lines{"own"});
        EXPECT_EQ(linesOf(toolLog), Lines{"info Plenar.Test own"});
    });
}

TEST(ToolLog, HoldsNoLockWhileItsListenerHearsALine) {
    ToolLog toolLog({}, nullptr);
    std::promise<void> taken;
    std::thread other;
    auto state = std::future_status::timeout;
    toolLog.listenTo("Plenar.Test", [&](std::string_view) {
        other = std::thread([&] {
            toolLog.takeLines();
            taken.set_value();
        });
        state = taken.get_future().wait_for(std::chrono::seconds(10));
    });
    log(Level::getInfo(), "one");
    other.join();
    EXPECT_EQ(state, std::future_status::ready);
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

TEST_F(ConfiguredToolLog, DecidesAloneWhetherPicturesAreDumped) {
    shownBy([this] {
        EXPECT_FALSE(
            ToolLog(configured("log4j.rootLogger=INFO, A" + appender("A", "%m%n")), nullptr).dumpPictures());
        EXPECT_TRUE(
            ToolLog(configured("log4j.rootLogger=TRACE, A" + appender("A", "%m%n")), nullptr).dumpPictures());
    });
}

TEST_F(ConfiguredToolLog, HearsAndKeepsWhatItsFileHidesAndHidesItYet) {
    for (const std::string root : {"ERROR", "OFF"}) {
        const LogOptions options =
            configured("log4j.rootLogger=" + root + ", F" +
                       appender("F", "%p|%m%n", "FileAppender", "File=" + inSlashes(root)));
        shownBy([&] {
            ToolLog toolLog(options, nullptr);
            EXPECT_EQ(heardOf(toolLog), (Lines{"one", "one", "one"})) << root;
            EXPECT_EQ(logger()->isErrorEnabled(), root == "ERROR") << "as it was before";
        });
        log4cxx::BasicConfigurator::resetConfiguration();
        std::ifstream stream(folder_.file(root));
        const std::string lines{std::istreambuf_iterator<char>(stream), {}};
        // The other logger's line is forced, whatever its level.
        EXPECT_EQ(lines, root == "OFF" ? "ERROR|other\n" : "ERROR|one\nERROR|other\nERROR|one\n");
    }
}

TEST_F(ConfiguredToolLog, KeepsWhatIsSaidOfAPicturesSizeAndWritesWhatItsFileHasAndNoMore) {
    int run = 0;
    for (const auto& [settings, written] :
         {std::pair{"log4j.rootLogger=WARN, F", "WARN|size\nERROR|size\nWARN|other\nERROR|other\n"},
          {"log4j.rootLogger=ERROR, F", "ERROR|size\nERROR|other\n"},
          {"log4j.rootLogger=OFF, F", ""},
          {"log4j.rootLogger=WARN, F\nlog4j.threshold=ERROR", "ERROR|size\nERROR|other\n"},
          {"log4j.rootLogger=WARN, F\nlog4j.threshold=OFF", ""},
          {"log4j.rootLogger=WARN, F\nlog4j.logger.Plenar.KorvaCamera.KorvaInternals=OFF",
           "WARN|other\nERROR|other\n"}}) {
        SCOPED_TRACE(settings);
        const std::string file = inSlashes("log" + std::to_string(++run));
        const LogOptions options =
            configured(settings + appender("F", "%p|%m%n", "FileAppender", "File=" + file));
        shownBy([&] {
            ToolLog toolLog(options, nullptr);
            logOnEveryLevel("Plenar.KorvaCamera.KorvaInternals", "size");
            logOnEveryLevel("Plenar.KorvaCamera.KorvaInternalsComm", "other");
            EXPECT_THAT(linesOf(toolLog), testing::Contains("warn Plenar.KorvaCamera.KorvaInternals size"));
        });
        log4cxx::BasicConfigurator::resetConfiguration();
        std::ifstream stream(file);
        EXPECT_EQ(std::string(std::istreambuf_iterator<char>(stream), {}), written);
    }
}

TEST_F(ConfiguredToolLog, HearsAlsoWhatTheThresholdOfItsFileHidesAndHidesItYet) {
    const LogOptions options =
        configured("log4j.threshold=ERROR\nlog4j.rootLogger=INFO, F" +
                   appender("F", "%p|%m%n", "FileAppender", "File=" + inSlashes("log")));
    shownBy([&] {
        ToolLog toolLog(options, nullptr);
        EXPECT_EQ(heardOf(toolLog), (Lines{"one", "one", "one"}));
    });
    log4cxx::BasicConfigurator::resetConfiguration();
    EXPECT_EQ(inFile(), "ERROR|one\nERROR|other\nERROR|one\n");
}
