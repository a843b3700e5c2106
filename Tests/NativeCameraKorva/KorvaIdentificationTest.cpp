// Who a camera is: the conversation with it.

#include "NativeCameraKorva/KorvaIdentification.h"

#include "Communicator/DeviceException.h"
#include "Communicator/PosixEthernetCommunicator.h"
#include "NativeCameraKorva/KorvaHelper.h"
#include "OtherEthernet.h"
#include "Platform/Text.h"
#include "PluginLog.h"
#include "Support/PictureFiles.h"
#include "World/Stage.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <iterator>
#include <string>
#include <utility>

namespace {

using namespace PluginLogs;
using IdentificationTests::OtherEthernet;
using World::answerCapture;
using World::Bytes;

constexpr char loggerName[] = "Plenar.KorvaCamera.KorvaCapture";
constexpr char knownMac[] = "00-1a-2b-3c-4d-5e";

/// The message of the DeviceException that `call` throws; empty, and a failure, where it throws none.
std::string messageOf(const std::function<void()>& call) {
    try {
        call();
    } catch (const DeviceException& exception) {
        return Platform::utf8FromWide(exception.getMessage());
    }
    ADD_FAILURE() << "no DeviceException";
    return {};
}

Bytes samplePng(std::uint16_t width, std::uint16_t height) {
    return TestSupport::pngFile(TestSupport::uniformSamples(width, height, 1, 0x1010));
}

/// A camera at 10.0.0.5, or at whatever address is asked. The logger stands at info.
struct Identification : ::testing::Test {
    World::Stage world;
    PluginLog log{loggerName, "KorvaHelper", log4cxx::Level::getInfo()};
    PosixEthernetCommunicator camera{L"10.0.0.5", 32768, -1};

    Identification() {
        text();
        binary();
    }

    World::Peer& text() { return world.at("", 32768); }
    World::Peer& binary() { return world.at("", 32769); }

    /// The camera answers the three queries, each once.
    void answerQueries(const std::string& hardwareId = "XM61", const std::string& software = "3.2.15") {
        World::answerIdentification(text(), {hardwareId, software});
    }

    CameraInfo identify(const std::string& mac = knownMac) {
        return Korva::determineCameraInfo(&camera, mac);
    }
};

std::string unanswered(const std::string& what) {
    return "Couldn't get any " + what + " info from Korva device at: 10.0.0.5.. ignore it";
}

TEST_F(Identification, AsksInOrderOverOneConnectionAndFillsAndLogsTheDescription) {
    world.network.arp["10.0.0.5"] = {"\x01\x02\x03\x04\x05\x06"};
    answerQueries();
    const CameraInfo description = identify("");
    EXPECT_THAT(world.calls.of(
                    {"new", "SendARP", "connect", "send", "createEthernetCommunicator", "delete", "close"}),
                ElementsAre("new 10.0.0.5:32768 -1", "SendARP 10.0.0.5, 0.0.0.0, <ffffffffffff>",
                            "connect 10.0.0.5:32768 5000",
                            "send 10.0.0.5:32768 \"[Version --HW --SW --API]\"",
                            "send 10.0.0.5:32768 \"[SerialNumber --Camera]\"",
                            "send 10.0.0.5:32768 \"[--Settings --NetworkProtocol --NetMask --NetGateway]\"",
                            "createEthernetCommunicator 10.0.0.5:32769 -1", "new 10.0.0.5:32769 -1",
                            "delete 10.0.0.5:32769", "close 10.0.0.5:32768"));
    EXPECT_EQ(description.getMacAddress(), L"") << "as it was given";
    EXPECT_EQ(description.getResolutionX(), 1676);
    EXPECT_EQ(description.getResolutionY(), 1266);
    EXPECT_EQ(description.getModel(), L"Korva Meridian XM61");
    EXPECT_THAT(log.texts(), ElementsAre(info("Recognize HWID M61. Has resolution (1676,1266)"),
                                         info("Found Korva Camera--"), info("     IP: 10.0.0.5"),
                                         info("     FW: SW-3.2.15_API-7"), info("    MAC: "),
                                         info(" Serial: K-0042"), info("Gateway: 10.0.0.1"),
                                         info(" Subnet: 255.255.255.0"), info("      HW: XM61")));
}

TEST_F(Identification, StoresWhateverItIsGivenForAMacAddress) {
    answerQueries();
    EXPECT_EQ(identify("no address").getMacAddress(), L"no address");
    EXPECT_THAT(world.calls.of("SendARP"), IsEmpty());
}

TEST_F(Identification, AsksEveryCommunicatorInTheSameWay) {
    OtherEthernet other;
    other.say("[Version --HW XM61 --SW 3.2.15]").say("[SerialNumber]").say("[--Settings]");
    Korva::determineCameraInfo(&other, knownMac);
    using Call = TestSupport::ScriptedCommunicator;
    for (const auto& write : other.script.writes())
        EXPECT_EQ(write, Call::writeCall(write.written));
    const auto read = Call::readCall(256, 4000);
    EXPECT_THAT(other.script.reads(), ElementsAre(read, read, read));
}

TEST_F(Identification, SurvivesATransportThatTellsMoreThanWasAskedForOrLess) {
    for (const int told : {257, 100000, 2147483647}) {
        OtherEthernet other;
        for (int query = 0; query < 3; ++query)
            other.script.afterNextWrite().answerReadWith(told);
        answerCapture(binary(), samplePng(2, 2));
        EXPECT_EQ(Korva::determineCameraInfo(&other, knownMac).getFW(), L"SW-_API-");
    }
    const std::string queries[] = {"version", "serial", "network"};
    for (std::size_t query = 0; query < std::size(queries); ++query) {
        for (const int told : {-1, -2147483647}) {
            OtherEthernet other;
            for (std::size_t before = 0; before < query; ++before)
                other.say("[S]");
            other.script.afterNextWrite().answerReadWith(told);
            EXPECT_EQ(messageOf([&] { Korva::determineCameraInfo(&other, knownMac); }),
                      unanswered(queries[query]));
        }
    }
}

// What is taken of replies that are cut, damaged or lack a key is held by the fault matrix.
TEST_F(Identification, TakesOfEachReplyWhatItHolds) {
    const struct {
        const char* what;
        std::string version;
        std::string serial;
        std::string network;
        std::wstring texts; ///< firmware, model, serial number, mask and gateway, with | between them
    } rows[] = {
        {"a model that needs no firmware", "[Version --HW M615 --SW 1.0.0 --API 7]", "[S]", "[S]",
         L"SW-1.0.0_API-7|Korva Meridian M615|||"},
        {"text beyond ASCII", "[Version --HW \xC3\xA4M61 --SW 3.2.15 --API 7]", "[S --Camera K\xC3\xB6 42]",
         "[S]", L"SW-3.2.15_API-7|Korva Meridian \u00E4M61|K\u00F6 42||"},
        {"the first of equal keys of all replies",
         "[Version --HW XM61 --SW 3.2.15 --API 7 --Camera early --NetMask 1.1.1.1]",
         "[SerialNumber --Camera late --NetGateway 2.2.2.2]",
         "[--Settings --NetMask 3.3.3.3 --NetGateway 3.3.3.3]",
         L"SW-3.2.15_API-7|Korva Meridian XM61|early|1.1.1.1|2.2.2.2"},
    };
    for (const auto& row : rows) {
        text().say(row.version).say(row.serial).say(row.network);
        const CameraInfo info = identify();
        EXPECT_EQ(info.getFW() + L"|" + info.getModel() + L"|" + info.getSerialNumber() + L"|" +
                      info.getSubnetMask() + L"|" + info.getDefaultGateway(),
                  row.texts)
            << row.what;
        EXPECT_EQ(info.getMacAddress(), L"00-1a-2b-3c-4d-5e");
    }
    EXPECT_THAT(world.calls.of("SendARP"), IsEmpty()) << "as the MAC address is given";
    // Through the wide interface: the narrow one knows no more than the locale of the program's start, "C".
    EXPECT_THAT(log.texts(), Contains(info(" Serial: K\xC3\xB6 42")));
    EXPECT_THAT(log.texts(), Contains(info("    MAC: 00-1a-2b-3c-4d-5e")));
}

TEST_F(Identification, AcceptsAResolutionOfOneSideLoggedOrNot) {
    for (const auto& [width, height] : {std::pair{0u, 1080u}, {1920u, 0u}}) {
        answerQueries("unknown");
        answerCapture(binary(), samplePng(2, 2));
        world.imaging.onConvert = [&, width = width, height = height](Image* image) {
            world.imaging.releaseImage(image);
            return world.imaging.createImage(width, height, 8, 1, nullptr, 0);
        };
        const CameraInfo info = identify();
        EXPECT_EQ(info.getResolutionX(), static_cast<int>(width));
        EXPECT_EQ(info.getResolutionY(), static_cast<int>(height));
        log.turnOff();
    }
}

// What is not identified.

TEST_F(Identification, WantsAnEthernetCommunicator) {
    TestSupport::ScriptedCommunicator serial;
    const std::string message = "Ethernet communicator needed to determine Korva CameraInfo";
    EXPECT_EQ(messageOf([&] { Korva::determineCameraInfo(&serial, ""); }), message);
    EXPECT_EQ(messageOf([&] { Korva::determineCameraInfo(nullptr, ""); }), message);
    EXPECT_THAT(log.lines(), IsEmpty());
    EXPECT_THAT(serial.calls(), IsEmpty());
    EXPECT_THAT(world.calls.of("SendARP"), IsEmpty());
}

std::string rejected(const std::string& found) {
    return "Rejecting Korva camera, Vantrel requires Korva SW version at least 3.2.15 found " + found;
}

// What comes of other replies, and of none, is held by the fault matrix.
TEST_F(Identification, EndsWithAnErrorLineAndAnExceptionOfTheSameText) {
    const std::string noResolution = "Found Korva, but couldn't determine its resolution";
    const struct {
        const char* what;
        std::string hardware; ///< nothing: a camera that says nothing
        std::string software;
        std::string text;    ///< of the error line and of the exception
        std::size_t queries; ///< before them
    } rows[] = {
        {"no version", "", "", unanswered("version"), 1},
        {"an old firmware", "M61", "3.2.14", rejected("3.2.14"), 1},
        {"one of what ends as the model", "XM61", "3.2.14", rejected("3.2.14"), 1},
        {"one of two characters", "M6", "3.2.14", rejected("3.2.14"), 1},
        {"no resolution", "unknown", "3.2.15", noResolution, 3},
    };
    for (const auto& row : rows) {
        for (const bool isLogged : {true, false}) {
            SCOPED_TRACE(row.what);
            const PluginLog own(loggerName, "KorvaHelper", isLogged, log4cxx::Level::getError());
            text().forget();
            binary().forget();
            answerCapture(binary(), {1, 2, 3}); // a sample picture of no pixels is none
            if (!row.hardware.empty())
                answerQueries(row.hardware, row.software);
            const std::size_t sent = text().requests().size();
            world.calls.clear();
            EXPECT_EQ(messageOf([this] { identify(); }), row.text);
            EXPECT_EQ(text().requests().size(), sent + row.queries);
            own.expect({error(row.text)});
            // The second communicator, if there was one, goes before the connection is closed.
            std::vector<std::string> ends{"close 10.0.0.5:32768"};
            if (row.text == noResolution)
                ends = {"new 10.0.0.5:32769 -1", "delete 10.0.0.5:32769", "close 10.0.0.5:32768"};
            EXPECT_EQ(world.calls.of({"new", "delete", "close 10.0.0.5:32768"}), ends);
        }
    }
}

TEST_F(Identification, GoesOnWithEmptyTextsWhereTheConversionIsRefused) {
    answerQueries();
    world.calls.onCall = [this](const std::string& call) {
        if (call == "new 10.0.0.5:32769 -1")
            world.calls.failAlways("MultiByteToWideChar", 0);
    };
    const CameraInfo info = identify();
    world.calls.failNoMore();
    EXPECT_EQ(info.getIpAddress(), L"10.0.0.5"); // it was wide already
    EXPECT_EQ(info.getSerialNumber(), L"");
}

} // namespace
