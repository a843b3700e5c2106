#include "NativeCameraKorva/KorvaLog.h"

#include "Support/DigitsApart.h"
#include "Support/LogCapture.h"

#include <gmock/gmock.h>

#include <ios>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::LogCapture;
using TestSupport::LogText;

constexpr char loggerName[] = "Plenar.KorvaWideLogTest";

struct WideLog : ::testing::Test {
    log4cxx::LoggerPtr logger = log4cxx::Logger::getLogger(loggerName);
    LogCapture log{loggerName};
};

TEST_F(WideLog, WritesWideTextAsUtf8) {
    const std::wstring text = L"Caf\u00E9";
    KORVA_LOG_WIDE(logger, Info, "KorvaThing", L"  at: " << text << 7);
    EXPECT_THAT(log.texts(), ElementsAre(LogText{"INFO", "  at: Caf\xC3\xA9"
                                                         "7"}));
}

TEST_F(WideLog, WritesNumbersAlikeWhateverTheGlobalLocale) {
    {
        const TestSupport::DigitsApart locale;
        KORVA_LOG_WIDE(logger, Info, "KorvaThing", 1600 << L" " << 10.25);
    }
    EXPECT_THAT(log.texts(), ElementsAre(LogText{"INFO", "1600 10.25"}));
}

TEST_F(WideLog, NamesFileFunctionAndLine) {
    const int before = __LINE__;
    KORVA_LOG_WIDE(logger, Error, "KorvaThing", L"text");
    const TestSupport::LogLine& line = log.lines().at(0);
    EXPECT_EQ(line.level, "ERROR");
    EXPECT_EQ(line.file, "BackEnd/NativeCameraKorva/KorvaThing");
    EXPECT_EQ(line.method, "TestBody");
    EXPECT_EQ(line.line, before + 1);
}

TEST_F(WideLog, BuildsNoMessageWhereTheLevelIsNotEnabled) {
    log.setLevel(log4cxx::Level::getWarn());
    int built = 0;
    KORVA_LOG_WIDE(logger, Info, "KorvaThing", ++built);
    EXPECT_EQ(built, 0);
    EXPECT_THAT(log.lines(), IsEmpty());
}

} // namespace
