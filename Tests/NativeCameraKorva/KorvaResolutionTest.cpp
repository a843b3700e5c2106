#include "IdentificationFixture.h"

#include "Communicator/TolvaneException.h"
#include "Support/ScriptedFailures.h"

#include <stdexcept>

namespace IdentificationTests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using Size = Point<int, 2>;

TEST(EndsWith, FindsASuffix) {
    EXPECT_TRUE(Korva::endsWith("M61", "M61"));
    EXPECT_TRUE(Korva::endsWith("XM61", "M61"));
    EXPECT_TRUE(Korva::endsWith("M61M61", "M61"));
    EXPECT_FALSE(Korva::endsWith("M615", "M61"));
    EXPECT_FALSE(Korva::endsWith("M61 ", "M61"));
    EXPECT_FALSE(Korva::endsWith("m61", "M61"));
}

TEST(EndsWith, FindsTheEmptySuffixEverywhere) {
    EXPECT_TRUE(Korva::endsWith("", ""));
    EXPECT_TRUE(Korva::endsWith("M61", ""));
}

TEST(EndsWith, FindsEverySuffixThatIsOneCharacterLonger) {
    EXPECT_TRUE(Korva::endsWith("M6", "M61"));
    EXPECT_TRUE(Korva::endsWith("ab", "M61"));
    EXPECT_TRUE(Korva::endsWith("", "x"));
}

TEST(EndsWith, FindsNoSuffixThatIsLongerStill) {
    EXPECT_FALSE(Korva::endsWith("", "M61"));
    EXPECT_FALSE(Korva::endsWith("M", "M61"));
    EXPECT_FALSE(Korva::endsWith("61", "M615"));
}

/// The second communicator's part: a camera at the binary port.
struct Resolution : ::testing::Test {
    TestSupport::ScriptedHost host;
    ScriptedCommunicator camera;
    TestSupport::LogCapture log{loggerName, log4cxx::Level::getInfo()};

    Resolution() { PlatformScript::current() = {}; }
    ~Resolution() override {
        TestSupport::expectFrom(log, "KorvaHelper");
        EXPECT_TRUE(host.imaging.alive.empty());
        EXPECT_FALSE(camera.isConnected());
    }
    Size resolutionOf(const std::string& hardwareId) {
        return Korva::getKorvaResolution(hardwareId, &camera);
    }

    /// The lines, without those of the grab itself.
    std::vector<LogText> ownLines() const {
        auto lines = log.texts();
        std::erase_if(lines, [](const LogText& line) {
            return line.message.starts_with("parseIncomingMessage") ||
                   line.message.starts_with("First image grab") || line.message.starts_with("Pulled Korva") ||
                   line.message.starts_with("All black");
        });
        return lines;
    }
};

struct KnownId {
    std::string hardwareId;
    std::string row;
    Size resolution;
};

void PrintTo(const KnownId& known, std::ostream* out) {
    *out << '"' << known.hardwareId << '"';
}

struct KnownResolution : Resolution, ::testing::WithParamInterface<KnownId> {};

TEST_P(KnownResolution, IsThatOfTheRow) {
    const auto [hardwareId, row, resolution] = GetParam();
    EXPECT_EQ(resolutionOf(hardwareId), resolution);
    EXPECT_THAT(log.texts(), ElementsAre(LogText{"INFO", "Recognize HWID " + row + ". Has resolution (" +
                                                             std::to_string(resolution.x()) + "," +
                                                             std::to_string(resolution.y()) + ")"}));
    EXPECT_EQ(log.lines().at(0).file, "BackEnd/NativeCameraKorva/KorvaHelper");
    EXPECT_THAT(camera.calls(), IsEmpty());
}

// The order of the rows and the odd end: two characters are an M61, three others an M615, M62 among them.
INSTANTIATE_TEST_SUITE_P(
    Rows, KnownResolution,
    ::testing::Values(KnownId{"M61", "M61", Size(1676, 1266)}, KnownId{"XM61", "M61", Size(1676, 1266)},
                      KnownId{"M6", "M61", Size(1676, 1266)}, KnownId{"\xC3\xA4", "M61", Size(1676, 1266)},
                      KnownId{"M615", "M615", Size(2748, 1836)}, KnownId{"ABM615", "M615", Size(2748, 1836)},
                      KnownId{"M62", "M615", Size(2748, 1836)}, KnownId{"ABC", "M615", Size(2748, 1836)}));

TEST_F(Resolution, NeedsNoCommunicatorForAKnownIdentifier) {
    EXPECT_EQ(Korva::getKorvaResolution("M61", nullptr), Size(1676, 1266));
}

TEST_F(Resolution, DoesNotDependOnTheLog) {
    log.setLevel(log4cxx::Level::getOff());
    answerGrab(camera, samplePng(3, 2));
    EXPECT_EQ(resolutionOf("unknown"), Size(3, 2));
}

struct UnknownResolution : Resolution, ::testing::WithParamInterface<std::string> {};

TEST_P(UnknownResolution, IsThatOfASamplePicture) {
    answerGrab(camera, samplePng(5, 3));
    EXPECT_EQ(resolutionOf(GetParam()), Size(5, 3));
    EXPECT_THAT(ownLines(),
                ElementsAre(LogText{"INFO", "HWid lookup failed, don't recognize " + GetParam()},
                            LogText{"INFO", "Determine resolution from image grab"},
                            LogText{"INFO", "Sample image has resolution: 5x3. Setting camera info."}));
    EXPECT_EQ(host.imaging.calls.back(), "release");
}

INSTANTIATE_TEST_SUITE_P(Ids, UnknownResolution, ::testing::Values("M616", "", "X", "M61 ", "M615x"));

TEST_F(Resolution, IsThatOfAnEmptySampleTooAndSaidToBe) {
    Support::Bytes noPicture = samplePng(5, 3);
    noPicture.front() = 0;
    answerGrab(camera, noPicture);
    EXPECT_EQ(resolutionOf("unknown"), Size(0, 0));
    EXPECT_THAT(ownLines(),
                ElementsAre(LogText{"INFO", "HWid lookup failed, don't recognize unknown"},
                            LogText{"INFO", "Determine resolution from image grab"},
                            LogText{"INFO", "Sample image has resolution: 0x0. Setting camera info."}));
    EXPECT_THAT(host.imaging.calls, ElementsAre("create", "convert", "release"));
    EXPECT_THAT(camera.writes(), SizeIs(3)); // it is a picture: no second grab
}

TEST_F(Resolution, IsSaidBeforeTheSampleIsGivenBack) {
    std::string lastLine;
    TestSupport::onScriptedHostCall() = [&](const std::string& call) {
        if (call == "release")
            lastLine = log.texts().back().message;
    };
    answerGrab(camera, samplePng(5, 3));
    EXPECT_EQ(resolutionOf("unknown"), Size(5, 3));
    EXPECT_EQ(lastLine, "Sample image has resolution: 5x3. Setting camera info.");
}

// Deliberate: the three-character rule makes a row for "M62" alone, but a longer one has its own.
TEST_F(Resolution, HasARowForALongerM62) {
    EXPECT_EQ(resolutionOf("ABM62"), Size(2748, 1836));
    EXPECT_EQ(resolutionOf("XM62"), Size(2748, 1836));
    const LogText ownRow{"INFO", "Recognize HWID M62. Has resolution (2748,1836)"};
    EXPECT_THAT(log.texts(), ElementsAre(ownRow, ownRow));
}

TEST_F(Resolution, IsSampledWithOneGreyPngAtTheShortestExposure) {
    answerGrab(camera, samplePng(2, 2));
    resolutionOf("unknown");
    ASSERT_THAT(camera.writes(), SizeIs(3));
    EXPECT_EQ(camera.writes().at(0).written,
              TestSupport::wireMessage({{2, {0, 1}}, {3, {3}}, {4, {2}}, {7, {16}}, {8, {4}}}));
    EXPECT_THAT(PlatformScript::current().sleeps, IsEmpty());
}

TEST_F(Resolution, TakesThePictureOfASecondGrab) {
    // Each grab makes two attempts.
    answerError(camera);
    answerError(camera);
    answerGrab(camera, samplePng(4, 3));
    EXPECT_EQ(resolutionOf("unknown"), Size(4, 3));
    EXPECT_THAT(camera.writes(), SizeIs(5));
}

TEST_F(Resolution, MakesNoSecondGrabWhereTheFirstGaveAPicture) {
    answerError(camera);
    answerGrab(camera, samplePng(4, 3));
    EXPECT_EQ(resolutionOf("unknown"), Size(4, 3));
    EXPECT_THAT(camera.writes(), SizeIs(4));
    EXPECT_EQ(camera.kinds().front(), ScriptedCommunicator::Kind::connect);
    EXPECT_EQ(std::ranges::count(camera.kinds(), ScriptedCommunicator::Kind::connect), 1);
}

TEST_F(Resolution, IsUnknownAfterTwoGrabsWithoutPicture) {
    EXPECT_EQ(resolutionOf("unknown"), Size(0, 0));
    EXPECT_THAT(camera.writes(), SizeIs(4));
    EXPECT_EQ(std::ranges::count(camera.kinds(), ScriptedCommunicator::Kind::connect), 2);
    EXPECT_THAT(ownLines(), ElementsAre(LogText{"INFO", "HWid lookup failed, don't recognize unknown"},
                                        LogText{"INFO", "Determine resolution from image grab"}));
    EXPECT_THAT(host.imaging.calls, IsEmpty());
}

TEST_F(Resolution, IsUnknownWithoutACommunicator) {
    EXPECT_EQ(Korva::getKorvaResolution("unknown", nullptr), Size(0, 0));
}

/// The error line that a grab leaves which throws `exception`.
struct ThrownInGrab : Resolution {
    std::vector<LogText> errorsWhere(const std::exception_ptr& exception) {
        camera.throwOnConnect(exception);
        EXPECT_EQ(resolutionOf("unknown"), Size(0, 0));
        return log.textsFrom(log4cxx::Level::getError());
    }
};

constexpr char communicatorError[] = "Communicator error trying to get sample image: ";

TEST_F(ThrownInGrab, IsNamedWhereItIsADeviceException) {
    EXPECT_THAT(errorsWhere(std::make_exception_ptr(DeviceException(L"no camera", L"file", 7))),
                ElementsAre(LogText{"ERROR", std::string(communicatorError) + "no camera"}));
    // No second grab.
    EXPECT_EQ(std::ranges::count(camera.kinds(), ScriptedCommunicator::Kind::connect), 1);
}

TEST_F(ThrownInGrab, IsNamedWhereItIsOfTheFamilysRoot) {
    EXPECT_THAT(errorsWhere(std::make_exception_ptr(TolvaneExceptionBase(L"root"))),
                ElementsAre(LogText{"ERROR", std::string(communicatorError) + "root"}));
}

TEST_F(ThrownInGrab, IsNotNamedWhereItIsAnyOther) {
    const LogText unknown{"ERROR", "Unknown error during initial sample image capture"};
    EXPECT_THAT(errorsWhere(std::make_exception_ptr(std::runtime_error("x"))), ElementsAre(unknown));
    EXPECT_THAT(errorsWhere(std::make_exception_ptr(7)), ElementsAre(unknown, unknown));
}

TEST_F(ThrownInGrab, LeavesTheResolutionUnknownWithoutLoggingToo) {
    log.setLevel(log4cxx::Level::getOff());
    EXPECT_THAT(errorsWhere(std::make_exception_ptr(DeviceException(L"no camera"))), IsEmpty());
    EXPECT_THAT(errorsWhere(std::make_exception_ptr(7)), IsEmpty());
}

TEST_F(ThrownInGrab, LeavesNoPictureBehindWhereTheImagingThrows) {
    answerGrab(camera, samplePng(2, 2));
    host.imaging.convertException = std::make_exception_ptr(std::runtime_error("x"));
    EXPECT_EQ(resolutionOf("unknown"), Size(0, 0));
    EXPECT_THAT(log.textsFrom(log4cxx::Level::getError()),
                ElementsAre(LogText{"ERROR", "Unknown error during initial sample image capture"}));
}

} // namespace
} // namespace IdentificationTests
