// What an identification looks up: the resolution, the MAC address, whether the firmware is new enough.

#include "NativeCameraKorva/KorvaIdentification.h"

#include "Communicator/DeviceException.h"
#include "Communicator/PosixEthernetCommunicator.h"
#include "NativeCameraKorva/KorvaConstants.h"
#include "NativeCameraKorva/KorvaHelper.h"
#include "PluginLog.h"
#include "Support/DigitsApart.h"
#include "Support/PictureFiles.h"
#include "World/Stage.h"

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace PluginLogs;
using namespace std::string_literals;
using ::testing::Pair;
using TestSupport::pngFile;
using TestSupport::uniformSamples;

constexpr char captureLogger[] = "Plenar.KorvaCamera.KorvaCapture";

struct LookUp : ::testing::Test {
    World::Stage world;
    PluginLog log{captureLogger, "KorvaHelper", log4cxx::Level::getInfo()};
};

// The resolution.

using Size = Point<int, 2>;

TEST(EndsWith, IsSoOfAnEmptySuffixAndOfAnyThatIsOneCharacterLonger) {
    EXPECT_TRUE(Korva::endsWithOrIsOneShorter("M61", ""));
    EXPECT_TRUE(Korva::endsWithOrIsOneShorter("", "x"));
    EXPECT_FALSE(Korva::endsWithOrIsOneShorter("m61", "M61"));
    EXPECT_FALSE(Korva::endsWithOrIsOneShorter("61", "M615"));
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

/// The second communicator's part: a camera at the binary port.
struct Resolution : LookUp {
    World::Peer& binaryPort = world.at("10.0.0.5", 32769);
    PosixEthernetCommunicator communicator{L"10.0.0.5", 32769, -1};

    Size resolutionOf(const std::string& hardwareId) {
        return Korva::getKorvaResolution(hardwareId, &communicator);
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
        {"M61M61", "M61", halved},   {"M6", "M61", halved}, // two characters are an M61
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

// How often a picture is asked for, and what comes of those that fail, is held by the fault matrix.
TEST_F(Resolution, OfAnUnknownIdentifierIsThatOfOneGreyPngAtTheShortestExposure) {
    std::string lastLine;
    for (const std::string hardwareId : {"M616", "", "X", "M61 ", "M615x"}) {
        const PluginLog own(captureLogger, "KorvaHelper", log4cxx::Level::getInfo());
        World::answerCapture(binaryPort, pngFile(uniformSamples(5, 3, 1, 0x1010)));
        world.calls.onCall = [&own, &lastLine](const std::string& call) {
            if (call == "releaseImage")
                lastLine = own.texts().back().message;
        };
        EXPECT_EQ(resolutionOf(hardwareId), Size(5, 3));
        EXPECT_THAT(own.texts(), ElementsAre(info("HWid lookup failed, don't recognize " + hardwareId),
                                             info("Determine resolution from image grab"),
                                             info("Pulled Korva image with resolution: 5 3"),
                                             info("Sample image has resolution: 5x3. Setting camera info.")));
        EXPECT_EQ(lastLine, own.texts().back().message) << "before the sample is given back";
    }
    world.calls.onCall = nullptr;
    EXPECT_EQ(binaryPort.requests().at(0),
              World::message({{2, {0, 1}}, {3, {3}}, {4, {2}}, {7, {16}}, {8, {4}}}));
    EXPECT_THAT(world.calls.of("Sleep"), IsEmpty());
    log.turnOff();
    World::answerCapture(binaryPort, pngFile(uniformSamples(3, 2, 1, 0x1010)));
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
    EXPECT_THAT(log.troubles(), ElementsAre(error(communicatorError + "no camera"),
                                            error(communicatorError + "root"), unknownError, unknownError));
}

// The MAC address.

constexpr char noMac[] = "00-00-00-00-00-00";

struct MacAddress : LookUp {
    /// Of a camera for which ARP answers those bytes and, if it is another, that length.
    std::string where(const std::string& bytes, std::optional<ULONG> length = std::nullopt) {
        world.network.arp["10.0.0.5"] = {bytes, NO_ERROR, length};
        return Korva::getKorvaMacAddress("10.0.0.5");
    }
};

TEST_F(MacAddress, IsSixPairsInLowerCaseJoinedByHyphens) {
    std::string address;
    {
        const TestSupport::DigitsApart locale; // which the text does not follow
        address = where("\x00\x1A\x2B\x0C\x4D\xFE"s);
    }
    EXPECT_EQ(address, "00-1a-2b-0c-4d-fe");
    EXPECT_THAT(log.lines(), IsEmpty());
    EXPECT_EQ(world.calls.lines().back(), "SendARP 10.0.0.5, 0.0.0.0, <ffffffffffff>");
}

TEST_F(MacAddress, HasAsManyPairsAsTheSystemTellsAndAtMostEight) {
    const std::string six = "\x01\x02\x03\x04\x05\x06";
    EXPECT_EQ(where(six, 4), "01-02-03-04");
    EXPECT_EQ(where(six, 1), "01");
    EXPECT_EQ(where(six, 0), "");
    EXPECT_EQ(where(six + "\x07\x08"), "01-02-03-04-05-06-07-08");
    EXPECT_EQ(where("\x01\x02", 6), "01-02-ff-ff-ff-ff") << "the system writes less than it tells";
    for (const ULONG length : {9u, 1000u, 4294967295u})
        EXPECT_EQ(where(six, length), "01-02-03-04-05-06-00-00");
}

TEST_F(MacAddress, IsZerosAndAWarningWithTheUnsignedCodeWhereTheSystemFindsNone) {
    EXPECT_EQ(Korva::getKorvaMacAddress("10.0.0.5"), noMac);
    world.calls.fail("SendARP", -1);
    EXPECT_EQ(where("\x01\x02\x03\x04\x05\x06"), noMac);
    const std::string warning = "Couldn't retrieve MAC address with ARP call: error: ";
    EXPECT_THAT(log.texts(), ElementsAre(warn(warning + "67"), warn(warning + "4294967295")));
    log.turnOff();
    EXPECT_EQ(Korva::getKorvaMacAddress("10.0.0.6"), noMac);
}

TEST_F(MacAddress, AsksForTheZeroAddressWhereTheTextIsNone) {
    world.network.arp["0.0.0.0"] = {"\x01\x02\x03\x04\x05\x06"};
    for (const char* text : {"", "camera", "10.0.0", "10.0.0.5x", "::1"}) {
        EXPECT_EQ(Korva::getKorvaMacAddress(text), "01-02-03-04-05-06");
        EXPECT_EQ(world.calls.lines().back(), "SendARP 0.0.0.0, 0.0.0.0, <ffffffffffff>");
    }
}

// The firmware.

void expectAll(const std::vector<std::string>& versions, bool isEnough) {
    for (const std::string& version : versions)
        EXPECT_EQ(Korva::checkSoftwareVersion(version), isEnough) << '"' << version << '"';
}

TEST(SoftwareVersion, IsComparedWithTheFloor) {
    expectAll({"3.2.15", "3.2.16", "3.3.0", "4.0.0", "255.0.0", "3.255.0"}, true);
    expectAll({"3.2.14", "3.1.255", "2.99.99", "0.255.255"}, false);
}

TEST(SoftwareVersion, HasThreePartsAndAtMostOnePointBehindThem) {
    expectAll({"3.2.15.", "4...", "4..0"}, true);
    expectAll({"", ".", "..", "9", "9.9", "3.2", "9.9.", "3.2.15.1", "3.2.15..", ".3.2.15", "3..20", "4.."},
              false);
}

TEST(SoftwareVersion, CountsByTheLowByteOfEachPart) {
    expectAll({"3.2.271", "3.258.15", "260.0.0", "-253.2.15", "-1.0.0", "3.2.-241"}, true);
    expectAll({"3.2.270", "3.258.0", "256.0.0", "3.2.-242"}, false);
}

TEST(SoftwareVersion, IsConvertedUpToTheFirstCharacterThatIsNoDigit) {
    const std::string zeroInside("3.2.\0"
                                 "15",
                                 7);
    expectAll({"3.2.15abc", " 3.\t2.\n15", "3.2.15 ", "+3.+2.+15", "004.0.0", "3,9.2.15",
               std::string("3.2.15\0x", 8)},
              true);
    expectAll({"3.2.a15", "3.2.+-15", "3.2.- 15", "v4.0.0", "0x4.0.0", zeroInside}, false);
}

// The largest int ends in 255, the smallest in 0.
TEST(SoftwareVersion, MayBeOfAnyLengthAndItsNumbersAreClampedToThoseOfAnInt) {
    expectAll({"3.2.2147483647", "3.2.2147483648", "3.2.4294967296", "3.2.9223372036854775808",
               "3.2.99999999999999999999999999999999", std::string(100000, '9') + ".0.0"},
              true);
    expectAll({"-2147483648.2.15", "-2147483649.2.15", "-4294967292.2.15",
               "-99999999999999999999999999999999.2.15", std::string(100000, '.')},
              false);
}

} // namespace
