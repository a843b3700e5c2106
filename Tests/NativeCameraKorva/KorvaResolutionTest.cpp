#include "IdentificationFixture.h"

#include "Communicator/TolvaneException.h"
#include "NativeCameraKorva/KorvaConstants.h"

#include <stdexcept>

namespace IdentificationTests {
namespace {

using ::testing::Pair;
using Size = Point<int, 2>;

TEST(EndsWith, FindsASuffixAndAnyThatIsOneCharacterLonger) {
    const struct {
        const char* text;
        const char* suffix;
        bool isFound;
    } rows[] = {
        {"M61", "M61", true},   {"XM61", "M61", true}, {"M61M61", "M61", true}, {"M615", "M61", false},
        {"M61 ", "M61", false}, {"m61", "M61", false}, {"M61", "", true},       {"ab", "M61", true},
        {"", "x", true},        {"", "M61", false},    {"M", "M61", false},     {"61", "M615", false},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Korva::endsWithOrIsOneShorter(row.text, row.suffix), row.isFound)
            << row.text << ' ' << row.suffix;
}

// The other constants are those that the tests of the identification and the search meet.
TEST(Constants, HaveARowForEachKnownModelAndIncludeThoseThatNothingUses) {
    EXPECT_EQ(Korva::spectroKey, "--Spectro");
    EXPECT_EQ(Korva::staticProtocol, "static");
    EXPECT_EQ(Korva::dhcpProtocol, "DHCP");
    EXPECT_THAT(Korva::sensorResolutions,
                ElementsAre(Pair("M61", Size(3352, 2532)), Pair("M615", Size(5496, 3672)),
                            Pair("M62", Size(5496, 3672))));
    EXPECT_THAT(Korva::knownHardwareIds, ElementsAre("M61", "M615", "M62"));
    EXPECT_THAT(Korva::resolutions, ElementsAre(Pair("M61", Size(1676, 1266)), Pair("M615", Size(2748, 1836)),
                                                Pair("M62", Size(2748, 1836))));
}

Texts sampled(const std::string& hardwareId, const std::string& size) {
    return {info("HWid lookup failed, don't recognize " + hardwareId),
            info("Determine resolution from image grab"),
            info("Sample image has resolution: " + size + ". Setting camera info.")};
}

/// The second communicator's part: a camera at the binary port.
struct Resolution : Identification {
    World::Peer& binaryPort = binary();
    PosixEthernetCommunicator communicator{L"10.0.0.5", 32769, -1};

    Size resolutionOf(const std::string& hardwareId) {
        return Korva::getKorvaResolution(hardwareId, &communicator);
    }
    /// The lines, without those of the grab itself.
    Texts ownLines() const {
        Texts lines = log.texts();
        std::erase_if(lines, [](const LogText& line) { return line.message.starts_with("Pulled Korva"); });
        return lines;
    }
};

TEST_F(Resolution, OfAKnownIdentifierIsThatOfItsRow) {
    const Size halved(1676, 1266);
    const Size full(2748, 1836);
    const struct {
        const char* hardwareId;
        std::string row;
        Size resolution;
    } rows[] = {
        {"M61", "M61", halved},      {"XM61", "M61", halved},
        {"M6", "M61", halved}, // two characters are an M61
        {"\xC3\xA4", "M61", halved}, {"M615", "M615", full},
        {"ABM615", "M615", full},    {"M62", "M615", full}, // three others are an M615, M62 among them
        {"ABC", "M615", full},       {"XM62", "M62", full}, // and a longer one has its own row
    };
    for (const auto& row : rows) {
        EXPECT_EQ(resolutionOf(row.hardwareId), row.resolution) << row.hardwareId;
        EXPECT_EQ(log.texts().back(),
                  info("Recognize HWID " + row.row + ". Has resolution (" +
                       std::to_string(row.resolution.x()) + "," + std::to_string(row.resolution.y()) + ")"));
    }
    EXPECT_THAT(log.lines(), SizeIs(std::size(rows)));
    EXPECT_THAT(world.calls.of("connect"), IsEmpty());
    EXPECT_EQ(Korva::getKorvaResolution("M61", nullptr), halved) << "needs no communicator";
}

// How often a picture is asked for, and what comes of those that fail, is the fault matrix'.
TEST_F(Resolution, OfAnUnknownIdentifierIsThatOfOneGreyPngAtTheShortestExposure) {
    std::string lastLine;
    world.calls.onCall = [&](const std::string& call) {
        if (call == "releaseImage" && !log.texts().empty())
            lastLine = log.texts().back().message;
    };
    Texts expected;
    for (const std::string hardwareId : {"M616", "", "X", "M61 ", "M615x"}) {
        answerCapture(binaryPort, samplePng(5, 3));
        EXPECT_EQ(resolutionOf(hardwareId), Size(5, 3));
        const Texts lines = sampled(hardwareId, "5x3");
        expected.insert(expected.end(), lines.begin(), lines.end());
        EXPECT_EQ(ownLines(), expected);
        EXPECT_EQ(lastLine, lines.back().message) << "before the sample is given back";
    }
    EXPECT_EQ(binaryPort.requests().at(0),
              World::message({{2, {0, 1}}, {3, {3}}, {4, {2}}, {7, {16}}, {8, {4}}}));
    EXPECT_THAT(world.calls.of("Sleep"), IsEmpty());
    log.turnOff();
    answerCapture(binaryPort, samplePng(3, 2));
    EXPECT_EQ(resolutionOf("unknown"), Size(3, 2));
    EXPECT_EQ(Korva::getKorvaResolution("unknown", nullptr), Size(0, 0)) << "without a communicator";
}

TEST_F(Resolution, IsUnknownWithAnErrorLineWhereTheGrabThrows) {
    const auto throwThat = [this](const auto& exception) {
        world.calls.throwFrom("connect", exception);
        EXPECT_EQ(resolutionOf("unknown"), Size(0, 0));
    };
    const auto throwEach = [&] {
        throwThat(DeviceException(L"no camera", L"file", 7));
        throwThat(TolvaneExceptionBase(L"root"));
        throwThat(std::runtime_error("x"));
        throwThat(7);
    };
    throwEach();
    EXPECT_THAT(world.calls.of("connect"), SizeIs(4)) << "no second grab";
    log.turnOff();
    throwEach();
    const std::string communicatorError = "Communicator error trying to get sample image: ";
    const LogText unknownError = error("Unknown error during initial sample image capture");
    EXPECT_THAT(log.errors(), ElementsAre(error(communicatorError + "no camera"),
                                          error(communicatorError + "root"), unknownError, unknownError));
}

} // namespace
} // namespace IdentificationTests
