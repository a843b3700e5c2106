#include "NativeCameraKorva/KorvaLog.h"

#include "Support/DigitsApart.h"
#include "Support/LogCapture.h"

#include <gmock/gmock.h>

#include <ios>
#include <sstream>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::LogCapture;
using TestSupport::LogText;

constexpr char loggerName[] = "Plenar.KorvaLogTest";

struct Log : ::testing::Test {
    log4cxx::LoggerPtr logger = log4cxx::Logger::getLogger(loggerName);
    LogCapture log{loggerName};
};

TEST_F(Log, HasFiveLevels) {
    KORVA_LOG(logger, Trace, "File", 1);
    KORVA_LOG(logger, Debug, "File", 2);
    KORVA_LOG(logger, Info, "File", 3);
    KORVA_LOG(logger, Warn, "File", 4);
    KORVA_LOG(logger, Error, "File", 5);
    EXPECT_THAT(log.texts(), ElementsAre(LogText{"TRACE", "1"}, LogText{"DEBUG", "2"}, LogText{"INFO", "3"},
                                         LogText{"WARN", "4"}, LogText{"ERROR", "5"}));
}

TEST_F(Log, BuildsNoMessageWhereTheLevelIsNotEnabled) {
    log.setLevel(log4cxx::Level::getInfo());
    int built = 0;
    KORVA_LOG(logger, Debug, "File", ++built);
    EXPECT_EQ(built, 0);
    EXPECT_THAT(log.lines(), IsEmpty());
    KORVA_LOG(logger, Info, "File", ++built);
    EXPECT_EQ(built, 1);
}

TEST_F(Log, StartsEachMessageWithAFreshStream) {
    KORVA_LOG(logger, Info, "File", std::hex << 255);
    KORVA_LOG(logger, Info, "File", 255);
    EXPECT_THAT(log.texts(), ElementsAre(LogText{"INFO", "ff"}, LogText{"INFO", "255"}));
}

TEST_F(Log, WritesNumbersAlikeWhateverTheGlobalLocale) {
    std::string following;
    {
        const TestSupport::DigitsApart locale;
        KORVA_LOG(logger, Info, "File",
                  "(" << 1600 << "," << -1200 << ") " << std::hex << 0x6400 << " " << 10.25);
        following = (std::ostringstream() << 1600).str();
    }
    EXPECT_EQ(following, "1'6'0'0");
    EXPECT_THAT(log.texts(), ElementsAre(LogText{"INFO", "(1600,-1200) 6400 10.25"}));
}

struct Speaker {
    static void say(const log4cxx::LoggerPtr& logger) { KORVA_LOG(logger, Info, "KorvaThing", "text"); }
};

TEST_F(Log, NamesTheFunctionByItsFullSignature) {
    Speaker::say(logger);
    EXPECT_EQ(log.lines().at(0).scope, "{anonymous}::Speaker"); // which the bare name does not hold
    EXPECT_EQ(log.lines().at(0).method, "say");
}

TEST_F(Log, NamesFileFunctionAndLine) {
    const int before = __LINE__;
    KORVA_LOG(logger, Info, "KorvaThing", "text");
    const TestSupport::LogLine& line = log.lines().at(0);
    EXPECT_EQ(line.file, "BackEnd/NativeCameraKorva/KorvaThing");
    EXPECT_EQ(line.method, "TestBody");
    EXPECT_EQ(line.line, before + 1);
}

TEST_F(Log, TakesALineThatIsAStableId) {
    KORVA_LOG_AT_LINE(logger, Info, "KorvaThing", 4711, "text");
    EXPECT_EQ(log.lines().at(0).line, 4711);
}

TEST_F(Log, KeepsEveryByte) {
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte)
        bytes.push_back(static_cast<char>(byte));
    KORVA_LOG(logger, Info, "File", bytes);
    EXPECT_THAT(log.texts(), ElementsAre(LogText{"INFO", bytes}));
}

} // namespace
