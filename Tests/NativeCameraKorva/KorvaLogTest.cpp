#include "NativeCameraKorva/KorvaLog.h"

#include "PluginLog.h"
#include "Support/DigitsApart.h"

#include <ios>
#include <sstream>

namespace {

using namespace PluginLogs;

constexpr char loggerName[] = "Plenar.KorvaLogTest";

struct Log : ::testing::Test {
    log4cxx::LoggerPtr logger = log4cxx::Logger::getLogger(loggerName);
    PluginLog log{loggerName, "KorvaThing"};
};

TEST_F(Log, BuildsNoMessageWhereTheLevelIsNotEnabled) {
    log.setLevel(log4cxx::Level::getWarn());
    int built = 0;
    KORVA_LOG(logger, Info, "KorvaThing", ++built);
    KORVA_LOG_WIDE(logger, Info, "KorvaThing", ++built);
    EXPECT_EQ(built, 0);
    EXPECT_THAT(log.lines(), IsEmpty());
    KORVA_LOG(logger, Warn, "KorvaThing", ++built);
    EXPECT_EQ(built, 1);
}

TEST_F(Log, WritesNumbersAlikeWhateverTheGlobalLocale) {
    std::string following;
    {
        const TestSupport::DigitsApart locale;
        KORVA_LOG(logger, Info, "KorvaThing",
                  "(" << 1600 << "," << -1200 << ") " << std::hex << 0x6400 << " " << 10.25);
        KORVA_LOG_WIDE(logger, Info, "KorvaThing", 1600 << L" " << 10.25);
        following = (std::ostringstream() << 1600).str();
    }
    EXPECT_EQ(following, "1'6'0'0");
    EXPECT_THAT(log.texts(), ElementsAre(info("(1600,-1200) 6400 10.25"), info("1600 10.25")));
}

TEST_F(Log, StartsEachMessageWithAFreshStreamKeepsEveryByteAndWritesWideTextAsUtf8) {
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte)
        bytes.push_back(static_cast<char>(byte));
    KORVA_LOG(logger, Info, "KorvaThing", std::hex << 255);
    KORVA_LOG(logger, Info, "KorvaThing", 255 << bytes);
    KORVA_LOG_WIDE(logger, Info, "KorvaThing", L"  at: " << std::wstring(L"Caf\u00E9") << 7);
    EXPECT_THAT(log.texts(), ElementsAre(info("ff"), info("255" + bytes),
                                         info("  at: Caf\xC3\xA9"
                                              "7")));
}

struct Speaker {
    static void say(const log4cxx::LoggerPtr& logger) { KORVA_LOG(logger, Info, "KorvaThing", "text"); }
};

TEST_F(Log, NamesFunctionAndLine) {
    const int before = __LINE__;
    KORVA_LOG(logger, Info, "KorvaThing", "text");
    KORVA_LOG_WIDE(logger, Error, "KorvaThing", L"text");
    KORVA_LOG_AT_LINE(logger, Info, "KorvaThing", 4711, "text"); // a stable id
    EXPECT_EQ(log.lines().at(0).line, before + 1);
    EXPECT_EQ(log.lines().at(1).line, before + 2);
    EXPECT_EQ(log.lines().at(2).line, 4711);
    for (const LogLine& line : log.lines())
        EXPECT_EQ(line.method, "TestBody");
    Speaker::say(logger);
    EXPECT_EQ(log.lines().back().scope, "{anonymous}::Speaker"); // which the bare name does not hold
    EXPECT_EQ(log.lines().back().method, "say");
}

TEST(Signature, IsAsOneCompilerWritesItWhicheverDid) {
    using Korva::Signature;
    EXPECT_STREQ(Signature("void (anonymous namespace)::A::f((anonymous namespace)::B)").text(),
                 "void {anonymous}::A::f({anonymous}::B)");
    EXPECT_STREQ(Signature("void {anonymous}::A::f(int)").text(), "void {anonymous}::A::f(int)");
    EXPECT_STREQ(Signature("").text(), "");
}

} // namespace
