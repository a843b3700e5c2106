#include "IdentificationFixture.h"

#include "Communicator/TolvaneException.h"

#include <stdexcept>

namespace IdentificationTests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using Size = Point<int, 2>;

TEST(EndsWith, FindsASuffix) {
    EXPECT_TRUE(Korva::endsWithOrIsOneShorter("M61", "M61"));
    EXPECT_TRUE(Korva::endsWithOrIsOneShorter("XM61", "M61"));
    EXPECT_TRUE(Korva::endsWithOrIsOneShorter("M61M61", "M61"));
    EXPECT_FALSE(Korva::endsWithOrIsOneShorter("M615", "M61"));
    EXPECT_FALSE(Korva::endsWithOrIsOneShorter("M61 ", "M61"));
    EXPECT_FALSE(Korva::endsWithOrIsOneShorter("m61", "M61"));
}

TEST(EndsWith, FindsTheEmptySuffixEverywhere) {
    EXPECT_TRUE(Korva::endsWithOrIsOneShorter("", ""));
    EXPECT_TRUE(Korva::endsWithOrIsOneShorter("M61", ""));
}

TEST(EndsWith, FindsEverySuffixThatIsOneCharacterLonger) {
    EXPECT_TRUE(Korva::endsWithOrIsOneShorter("M6", "M61"));
    EXPECT_TRUE(Korva::endsWithOrIsOneShorter("ab", "M61"));
    EXPECT_TRUE(Korva::endsWithOrIsOneShorter("", "x"));
}

TEST(EndsWith, FindsNoSuffixThatIsLongerStill) {
    EXPECT_FALSE(Korva::endsWithOrIsOneShorter("", "M61"));
    EXPECT_FALSE(Korva::endsWithOrIsOneShorter("M", "M61"));
    EXPECT_FALSE(Korva::endsWithOrIsOneShorter("61", "M615"));
}

/// The second communicator's part: a camera at the binary port.
struct Resolution : ::testing::Test {
    World::Stage world;
    World::Peer& camera = world.at("10.0.0.5", 32769);
    PosixEthernetCommunicator communicator{L"10.0.0.5", 32769, -1};
    TestSupport::LogCapture log{loggerName, log4cxx::Level::getInfo()};

    ~Resolution() override { TestSupport::expectFrom(log, "KorvaHelper"); }

    Size resolutionOf(const std::string& hardwareId) {
        return Korva::getKorvaResolution(hardwareId, &communicator);
    }
    std::vector<std::string> imagingCalls() const {
        return world.calls.of({"createImage", "convertToGreyscale", "releaseImage"});
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
    EXPECT_THAT(world.calls.of("connect"), IsEmpty());
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
    answerCapture(camera, samplePng(3, 2));
    EXPECT_EQ(resolutionOf("unknown"), Size(3, 2));
}

struct UnknownResolution : Resolution, ::testing::WithParamInterface<std::string> {};

TEST_P(UnknownResolution, IsThatOfASamplePicture) {
    answerCapture(camera, samplePng(5, 3));
    EXPECT_EQ(resolutionOf(GetParam()), Size(5, 3));
    EXPECT_THAT(ownLines(),
                ElementsAre(LogText{"INFO", "HWid lookup failed, don't recognize " + GetParam()},
                            LogText{"INFO", "Determine resolution from image grab"},
                            LogText{"INFO", "Sample image has resolution: 5x3. Setting camera info."}));
    EXPECT_EQ(imagingCalls().back(), "releaseImage");
}

INSTANTIATE_TEST_SUITE_P(Ids, UnknownResolution, ::testing::Values("M616", "", "X", "M61 ", "M615x"));

TEST_F(Resolution, IsThatOfAnEmptySampleTooAndSaidToBe) {
    Support::Bytes noPicture = samplePng(5, 3);
    noPicture.front() = 0;
    answerCapture(camera, noPicture);
    EXPECT_EQ(resolutionOf("unknown"), Size(0, 0));
    EXPECT_THAT(ownLines(),
                ElementsAre(LogText{"INFO", "HWid lookup failed, don't recognize unknown"},
                            LogText{"INFO", "Determine resolution from image grab"},
                            LogText{"INFO", "Sample image has resolution: 0x0. Setting camera info."}));
    EXPECT_THAT(imagingCalls(), ElementsAre("createImage", "convertToGreyscale", "releaseImage"));
    EXPECT_THAT(camera.requests(), SizeIs(3)); // it is a picture: no second grab
}

TEST_F(Resolution, IsSaidBeforeTheSampleIsGivenBack) {
    std::string lastLine;
    world.calls.onCall = [&](const std::string& call) {
        if (call == "releaseImage")
            lastLine = log.texts().back().message;
    };
    answerCapture(camera, samplePng(5, 3));
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
    answerCapture(camera, samplePng(2, 2));
    resolutionOf("unknown");
    ASSERT_THAT(camera.requests(), SizeIs(3));
    EXPECT_EQ(camera.requests().at(0),
              World::message({{2, {0, 1}}, {3, {3}}, {4, {2}}, {7, {16}}, {8, {4}}}));
    EXPECT_THAT(world.calls.of("Sleep"), IsEmpty());
}

TEST_F(Resolution, TakesThePictureOfASecondGrab) {
    // Each grab makes two attempts.
    camera.answer(World::refusal());
    camera.answer(World::refusal());
    answerCapture(camera, samplePng(4, 3));
    EXPECT_EQ(resolutionOf("unknown"), Size(4, 3));
    EXPECT_THAT(camera.requests(), SizeIs(5));
}

TEST_F(Resolution, MakesNoSecondGrabWhereTheFirstGaveAPicture) {
    camera.answer(World::refusal());
    answerCapture(camera, samplePng(4, 3));
    EXPECT_EQ(resolutionOf("unknown"), Size(4, 3));
    EXPECT_THAT(camera.requests(), SizeIs(4));
    EXPECT_THAT(world.calls.of("connect"), SizeIs(1));
}

TEST_F(Resolution, IsUnknownAfterTwoGrabsWithoutPicture) {
    EXPECT_EQ(resolutionOf("unknown"), Size(0, 0));
    EXPECT_THAT(camera.requests(), SizeIs(4));
    EXPECT_THAT(world.calls.of("connect"), SizeIs(2));
    EXPECT_THAT(ownLines(), ElementsAre(LogText{"INFO", "HWid lookup failed, don't recognize unknown"},
                                        LogText{"INFO", "Determine resolution from image grab"}));
    EXPECT_THAT(imagingCalls(), IsEmpty());
}

TEST_F(Resolution, IsUnknownWithoutACommunicator) {
    EXPECT_EQ(Korva::getKorvaResolution("unknown", nullptr), Size(0, 0));
}

/// The error line that a grab leaves which throws `exception`.
struct ThrownInGrab : Resolution {
    template <class Exception>
    std::vector<LogText> errorsWhere(const Exception& exception) {
        world.calls.throwFrom("connect", exception);
        EXPECT_EQ(resolutionOf("unknown"), Size(0, 0));
        return log.textsFrom(log4cxx::Level::getError());
    }
};

constexpr char communicatorError[] = "Communicator error trying to get sample image: ";

TEST_F(ThrownInGrab, IsNamedWhereItIsADeviceException) {
    EXPECT_THAT(errorsWhere(DeviceException(L"no camera", L"file", 7)),
                ElementsAre(LogText{"ERROR", std::string(communicatorError) + "no camera"}));
    // No second grab.
    EXPECT_THAT(world.calls.of("connect"), SizeIs(1));
}

TEST_F(ThrownInGrab, IsNamedWhereItIsOfTheFamilysRoot) {
    EXPECT_THAT(errorsWhere(TolvaneExceptionBase(L"root")),
                ElementsAre(LogText{"ERROR", std::string(communicatorError) + "root"}));
}

TEST_F(ThrownInGrab, IsNotNamedWhereItIsAnyOther) {
    const LogText unknown{"ERROR", "Unknown error during initial sample image capture"};
    EXPECT_THAT(errorsWhere(std::runtime_error("x")), ElementsAre(unknown));
    EXPECT_THAT(errorsWhere(7), ElementsAre(unknown, unknown));
}

TEST_F(ThrownInGrab, LeavesTheResolutionUnknownWithoutLoggingToo) {
    log.setLevel(log4cxx::Level::getOff());
    EXPECT_THAT(errorsWhere(DeviceException(L"no camera")), IsEmpty());
    EXPECT_THAT(errorsWhere(7), IsEmpty());
}

TEST_F(ThrownInGrab, LeavesNoPictureBehindWhereTheImagingThrows) {
    answerCapture(camera, samplePng(2, 2));
    world.calls.throwFrom("convertToGreyscale", std::runtime_error("x"));
    EXPECT_EQ(resolutionOf("unknown"), Size(0, 0));
    EXPECT_THAT(log.textsFrom(log4cxx::Level::getError()),
                ElementsAre(LogText{"ERROR", "Unknown error during initial sample image capture"}));
}

} // namespace
} // namespace IdentificationTests
