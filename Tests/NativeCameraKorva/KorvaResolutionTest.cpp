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
        {"M61 ", "M61", false}, {"m61", "M61", false}, {"", "", true},          {"M61", "", true},
        {"M6", "M61", true},    {"ab", "M61", true},   {"", "x", true},         {"", "M61", false},
        {"M", "M61", false},    {"61", "M615", false},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Korva::endsWithOrIsOneShorter(row.text, row.suffix), row.isFound)
            << row.text << ' ' << row.suffix;
}

// The other constants are those that the tests of the identification and the search meet.
TEST(Constants, IncludeThoseThatNothingUses) {
    EXPECT_EQ(Korva::spectroKey, "--Spectro");
    EXPECT_EQ(Korva::staticProtocol, "static");
    EXPECT_EQ(Korva::dhcpProtocol, "DHCP");
    EXPECT_THAT(Korva::sensorResolutions,
                ElementsAre(Pair("M61", Size(3352, 2532)), Pair("M615", Size(5496, 3672)),
                            Pair("M62", Size(5496, 3672))));
}

TEST(Constants, HaveARowForEachKnownModel) {
    EXPECT_THAT(Korva::knownHardwareIds, ElementsAre("M61", "M615", "M62"));
    EXPECT_THAT(Korva::resolutions, ElementsAre(Pair("M61", Size(1676, 1266)), Pair("M615", Size(2748, 1836)),
                                                Pair("M62", Size(2748, 1836))));
}

const Texts unknownLines{info("HWid lookup failed, don't recognize unknown"),
                         info("Determine resolution from image grab")};
const LogText unknownError = error("Unknown error during initial sample image capture");

Texts sampled(const std::string& hardwareId, const std::string& size) {
    return {info("HWid lookup failed, don't recognize " + hardwareId), unknownLines[1],
            info("Sample image has resolution: " + size + ". Setting camera info.")};
}

/// The second communicator's part: a camera at the binary port.
struct Resolution : ::testing::Test {
    World::Stage world;
    World::Peer& camera = world.at("10.0.0.5", 32769);
    PosixEthernetCommunicator communicator{L"10.0.0.5", 32769, -1};
    PluginLog log{loggerName, "KorvaHelper", log4cxx::Level::getInfo()};

    Size resolutionOf(const std::string& hardwareId) {
        return Korva::getKorvaResolution(hardwareId, &communicator);
    }
    std::vector<std::string> imagingCalls() const {
        return world.calls.of({"createImage", "convertToGreyscale", "releaseImage"});
    }

    /// The lines, without those of the grab itself.
    Texts ownLines() const {
        Texts lines = log.texts();
        std::erase_if(lines, [](const LogText& line) {
            return line.message.starts_with("parseIncomingMessage") ||
                   line.message.starts_with("First image grab") || line.message.starts_with("Pulled Korva");
        });
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
    EXPECT_EQ(Korva::getKorvaResolution("M61", nullptr), Size(1676, 1266)) << "needs no communicator";
}

TEST_F(Resolution, OfAnUnknownIdentifierIsThatOfOneGreyPngAtTheShortestExposure) {
    Texts expected;
    for (const std::string hardwareId : {"M616", "", "X", "M61 ", "M615x"}) {
        answerCapture(camera, samplePng(5, 3));
        world.calls.clear();
        EXPECT_EQ(resolutionOf(hardwareId), Size(5, 3));
        const Texts lines = sampled(hardwareId, "5x3");
        expected.insert(expected.end(), lines.begin(), lines.end());
        EXPECT_EQ(ownLines(), expected);
        EXPECT_EQ(imagingCalls().back(), "releaseImage");
        EXPECT_THAT(world.calls.of("Sleep"), IsEmpty());
    }
    EXPECT_EQ(camera.requests().at(0),
              World::message({{2, {0, 1}}, {3, {3}}, {4, {2}}, {7, {16}}, {8, {4}}}));
}

TEST_F(Resolution, OfAnEmptySampleIsNoneAndSaidToBe) {
    answerCapture(camera, {1, 2, 3});
    EXPECT_EQ(resolutionOf("unknown"), Size(0, 0));
    EXPECT_EQ(ownLines(), sampled("unknown", "0x0"));
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

TEST_F(Resolution, IsGrabbedASecondTimeOnlyWhereTheFirstGaveNoPicture) {
    camera.answer(World::refusal()); // each grab makes two attempts
    answerCapture(camera, samplePng(4, 3));
    EXPECT_EQ(resolutionOf("unknown"), Size(4, 3));
    EXPECT_THAT(world.calls.of("connect"), SizeIs(1));
    camera.answer(World::refusal()).answer(World::refusal());
    answerCapture(camera, samplePng(4, 3));
    EXPECT_EQ(resolutionOf("unknown"), Size(4, 3));
    EXPECT_THAT(world.calls.of("connect"), SizeIs(3));
    EXPECT_EQ(camera.answersLeft(), 0u);
}

TEST_F(Resolution, IsUnknownAfterTwoGrabsWithoutPicture) {
    EXPECT_EQ(resolutionOf("unknown"), Size(0, 0));
    EXPECT_THAT(camera.requests(), SizeIs(4));
    EXPECT_THAT(world.calls.of("connect"), SizeIs(2));
    EXPECT_EQ(ownLines(), unknownLines);
    EXPECT_THAT(imagingCalls(), IsEmpty());
    EXPECT_EQ(Korva::getKorvaResolution("unknown", nullptr), Size(0, 0)) << "as without a communicator";
}

TEST_F(Resolution, DoesNotDependOnTheLog) {
    log.turnOff();
    answerCapture(camera, samplePng(3, 2));
    EXPECT_EQ(resolutionOf("unknown"), Size(3, 2));
    world.calls.throwFrom("connect", DeviceException(L"no camera"));
    EXPECT_EQ(resolutionOf("unknown"), Size(0, 0));
    world.calls.throwFrom("connect", 7);
    EXPECT_EQ(resolutionOf("unknown"), Size(0, 0));
}

TEST_F(Resolution, IsUnknownWithAnErrorLineWhereTheGrabThrows) {
    const std::string communicatorError = "Communicator error trying to get sample image: ";
    const auto errorWhere = [this](const char* call, const auto& exception) {
        camera.forget();
        answerCapture(camera, samplePng(2, 2));
        world.calls.throwFrom(call, exception);
        const std::size_t sent = world.calls.of("connect").size();
        EXPECT_EQ(resolutionOf("unknown"), Size(0, 0));
        EXPECT_THAT(world.calls.of("connect"), SizeIs(sent + 1)) << "no second grab";
        return log.errors().back();
    };
    EXPECT_EQ(errorWhere("connect", DeviceException(L"no camera", L"file", 7)),
              error(communicatorError + "no camera"));
    EXPECT_EQ(errorWhere("connect", TolvaneExceptionBase(L"root")), error(communicatorError + "root"));
    EXPECT_EQ(errorWhere("connect", std::runtime_error("x")), unknownError);
    EXPECT_EQ(errorWhere("connect", 7), unknownError);
    EXPECT_EQ(errorWhere("convertToGreyscale", std::runtime_error("x")),
              unknownError); // and no picture is left
    EXPECT_THAT(log.errors(), SizeIs(5));
}

} // namespace
} // namespace IdentificationTests
