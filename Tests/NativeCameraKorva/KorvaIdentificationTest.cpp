#include "IdentificationFixture.h"
#include "OtherEthernet.h"

namespace IdentificationTests {
namespace {

using namespace std::chrono_literals;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

TEST_F(Identification, FillsTheDescription) {
    answerQueries();
    const CameraInfo info = identify();
    EXPECT_EQ(info.getCameraTypeEnum(), 6);
    EXPECT_EQ(info.getIpAddress(), L"10.0.0.5");
    EXPECT_EQ(info.getFW(), L"SW-3.2.15_API-7");
    EXPECT_EQ(info.getMacAddress(), L"00-1a-2b-3c-4d-5e");
    EXPECT_EQ(info.getResolutionX(), 1676);
    EXPECT_EQ(info.getResolutionY(), 1266);
    EXPECT_EQ(info.getModel(), L"Korva Meridian XM61");
    EXPECT_EQ(info.getSerialNumber(), L"K-0042");
    EXPECT_EQ(info.getDefaultGateway(), L"10.0.0.1");
    EXPECT_EQ(info.getSubnetMask(), L"255.255.255.0");
}

TEST_F(Identification, AsksInOrderOverOneConnection) {
    world.network.arp["10.0.0.5"] = {"\x01\x02\x03\x04\x05\x06"};
    answerQueries();
    identify("");
    EXPECT_THAT(world.calls.of(
                    {"new", "SendARP", "connect", "send", "createEthernetCommunicator", "delete", "close"}),
                ElementsAre("new 10.0.0.5:32768 -1", "SendARP 10.0.0.5, 0.0.0.0, <ffffffffffff>",
                            "connect 10.0.0.5:32768 5000",
                            "send 10.0.0.5:32768 \"[Version --HW --SW --API]\"",
                            "send 10.0.0.5:32768 \"[SerialNumber --Camera]\"",
                            "send 10.0.0.5:32768 \"[--Settings --NetworkProtocol --NetMask --NetGateway]\"",
                            "createEthernetCommunicator 10.0.0.5:32769 -1", "new 10.0.0.5:32769 -1",
                            "delete 10.0.0.5:32769", "close 10.0.0.5:32768"));
}

TEST_F(Identification, SendsExactlyTheBytesOfTheQueries) {
    answerQueries();
    identify();
    EXPECT_THAT(text().texts(), ElementsAre("[Version --HW --SW --API]", "[SerialNumber --Camera]",
                                            "[--Settings --NetworkProtocol --NetMask --NetGateway]"));
}

TEST_F(Identification, WaitsForAReplyForFourSeconds) {
    text().act({Simulator::Pause{4000ms}, World::sending({'x'})});
    text().act({Simulator::Pause{4001ms}, World::sending({'x'})});
    EXPECT_EQ(messageOf([this] { identify(); }),
              L"Couldn't get any serial info from Korva device at: 10.0.0.5.. ignore it");
}

TEST_F(Identification, AsksEveryCommunicatorInTheSameWay) {
    OtherEthernet other;
    const std::string replies[] = {"[Version --HW XM61 --SW 3.2.15]", "[SerialNumber]", "[--Settings]"};
    for (const std::string& reply : replies)
        other.script.afterNextWrite().deliver(Bytes(reply.begin(), reply.end()));
    Korva::determineCameraInfo(&other, knownMac);
    using Call = TestSupport::ScriptedCommunicator;
    for (const auto& write : other.script.writes())
        EXPECT_EQ(write, Call::writeCall(write.written));
    EXPECT_THAT(other.script.reads(),
                ::testing::ElementsAre(Call::readCall(256, 4000), Call::readCall(256, 4000),
                                       Call::readCall(256, 4000)));
}

TEST_F(Identification, LogsASummary) {
    answerQueries();
    identify();
    EXPECT_THAT(log.texts(),
                ElementsAre(LogText{"INFO", "Recognize HWID M61. Has resolution (1676,1266)"},
                            LogText{"INFO", "Found Korva Camera--"}, LogText{"INFO", "     IP: 10.0.0.5"},
                            LogText{"INFO", "     FW: SW-3.2.15_API-7"},
                            LogText{"INFO", "    MAC: 00-1a-2b-3c-4d-5e"}, LogText{"INFO", " Serial: K-0042"},
                            LogText{"INFO", "Gateway: 10.0.0.1"}, LogText{"INFO", " Subnet: 255.255.255.0"},
                            LogText{"INFO", "      HW: XM61"}));
    for (const TestSupport::LogLine& line : log.lines())
        EXPECT_EQ(line.file, "BackEnd/NativeCameraKorva/KorvaHelper");
}

TEST_F(Identification, DoesNotDependOnTheLog) {
    log.setLevel(log4cxx::Level::getOff());
    answerQueries();
    EXPECT_EQ(identify().getSerialNumber(), L"K-0042");
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(Identification, KeepsTextBeyondAscii) {
    text().say("[Version --HW \xC3\xA4M61 --SW 3.2.15 --API 7]");
    text().say("[SerialNumber --Camera K\xC3\xB6 42]");
    text().say("[--Settings]");
    const CameraInfo info = identify();
    EXPECT_EQ(info.getModel(), L"Korva Meridian \u00E4M61");
    EXPECT_EQ(info.getSerialNumber(), L"K\u00F6 42");
    // Through the wide interface: the narrow one knows no more than the locale of the program's start, "C".
    EXPECT_THAT(log.texts(), Contains(LogText{"INFO", " Serial: K\xC3\xB6 42"}));
}

TEST_F(Identification, LooksTheMacAddressUpOnlyWhereNoneIsGiven) {
    answerQueries();
    identify(knownMac);
    EXPECT_THAT(world.calls.of("SendARP"), IsEmpty());
}

TEST_F(Identification, StoresTheEmptyMacAddressThatItWasGiven) {
    world.network.arp["10.0.0.5"] = {"\x01\x02\x03\x04\x05\x06"};
    answerQueries();
    EXPECT_EQ(identify("").getMacAddress(), L"");
    EXPECT_EQ(world.calls.of("SendARP").size(), 1u);
    EXPECT_THAT(log.texts(), Contains(LogText{"INFO", "    MAC: "}));
}

TEST_F(Identification, GoesOnWhereTheMacAddressIsNotFound) {
    answerQueries();
    EXPECT_EQ(identify("").getSerialNumber(), L"K-0042");
    EXPECT_EQ(log.texts().at(0), (LogText{"WARN", "Couldn't retrieve MAC address with ARP call: error: 67"}));
}

TEST_F(Identification, StoresAnyMacTextAsGiven) {
    answerQueries();
    EXPECT_EQ(identify("no address").getMacAddress(), L"no address");
}

TEST_F(Identification, LeavesEmptyWhatTheCameraLeavesOut) {
    text().say("[Version --HW XM62]");
    text().say("[SerialNumber]");
    text().say("[--Settings --NetMask 255.0.0.0]");
    const CameraInfo info = identify();
    EXPECT_EQ(info.getFW(), L"SW-_API-");
    EXPECT_EQ(info.getSerialNumber(), L"");
    EXPECT_EQ(info.getSubnetMask(), L"255.0.0.0");
    EXPECT_EQ(info.getDefaultGateway(), L"");
}

TEST_F(Identification, FallsBackToAGrabOverASecondConnection) {
    text().say("[Version]");
    text().say("[SerialNumber --Camera 1]");
    text().say("[--Settings]");
    answerCapture(binary(), samplePng(3, 2));
    const CameraInfo info = identify();
    EXPECT_EQ(info.getResolutionX(), 3);
    EXPECT_EQ(info.getResolutionY(), 2);
    EXPECT_EQ(info.getModel(), L"Korva Meridian ");
    EXPECT_THAT(world.calls.of({"connect", "close", "delete"}),
                ElementsAre("connect 10.0.0.5:32768 5000", "connect 10.0.0.5:32769 5000",
                            "close 10.0.0.5:32769", "delete 10.0.0.5:32769", "close 10.0.0.5:32768"));
}

TEST_F(Identification, TakesTheFirstOfEqualKeysOfAllReplies) {
    text().say("[Version --HW XM61 --SW 3.2.15 --API 7 --Camera early --NetMask 1.1.1.1]");
    text().say("[SerialNumber --Camera late --NetGateway 2.2.2.2]");
    text().say("[--Settings --NetMask 3.3.3.3 --NetGateway 3.3.3.3]");
    const CameraInfo info = identify();
    EXPECT_EQ(info.getSerialNumber(), L"early");
    EXPECT_EQ(info.getSubnetMask(), L"1.1.1.1");
    EXPECT_EQ(info.getDefaultGateway(), L"2.2.2.2");
}

TEST_F(Identification, ReadsAReplysValuesBeforeTheNextIsAdded) {
    // Asked later, the key at the end would get the next reply's first entry.
    text().say("[Version --HW XM61 --SW 3.2.15 --API");
    text().say("[SerialNumber --Camera");
    text().say("[--Settings --NetMask 255.0.0.0 --NetGateway");
    const CameraInfo info = identify();
    EXPECT_EQ(info.getFW(), L"SW-3.2.15_API-");
    EXPECT_EQ(info.getSerialNumber(), L"");
    EXPECT_EQ(info.getDefaultGateway(), L"");
}

TEST_F(Identification, TakesTheNextKeyForAMissingValue) {
    text().say("[Version --HW XM61 --SW --API 7]");
    text().say("[SerialNumber --Camera 1]");
    text().say("[--Settings]");
    // "--API" is no version that an M61 may have.
    EXPECT_EQ(messageOf([&] { identify(); }),
              L"Rejecting Korva camera, Vantrel requires Korva SW version at least 3.2.15 found --API");
}

TEST_F(Identification, ReadsTheFirst256BytesOfAReply) {
    const std::string beginning = "[Version --HW XM61 --SW 3.2.15 --API 7 --Camera ";
    const std::string filler(256 - beginning.size() - 1, 'x');
    text().say(beginning + filler + "] --NetMask lost]");
    text().say("[SerialNumber]");
    text().say("[--Settings]");
    const CameraInfo info = identify();
    EXPECT_EQ(info.getSerialNumber(), std::wstring(filler.begin(), filler.end()));
    EXPECT_EQ(info.getSubnetMask(), L"");
}

TEST_F(Identification, LosesAValueThatTheReplysEndCutsOff) {
    const std::string beginning = "[Version --HW XM61 --SW 3.2.15 --API 7 --Camera ";
    text().say(beginning + std::string(256 - beginning.size(), 'x') + "]");
    text().say("[SerialNumber]");
    text().say("[--Settings]");
    EXPECT_EQ(identify().getSerialNumber(), L"");
}

TEST_F(Identification, StartsEachReplyWithAnEmptyBuffer) {
    // An earlier reply's tail would give the second one's key a value.
    text().say("[Version --HW XM61 --SW 3.2.15 --API 7]");
    text().say("[S --Camera 42");
    text().say("[B");
    EXPECT_EQ(identify().getSerialNumber(), L"");
}

TEST_F(Identification, SurvivesATransportThatTellsMoreThanWasAskedFor) {
    for (const int told : {257, 100000, 2147483647}) {
        OtherEthernet other;
        for (int query = 0; query < 3; ++query)
            other.script.afterNextWrite().answerReadWith(told);
        answerCapture(binary(), samplePng(2, 2));
        EXPECT_EQ(Korva::determineCameraInfo(&other, knownMac).getFW(), L"SW-_API-");
    }
}

TEST_F(Identification, StopsAReplyAtItsFirstZeroByte) {
    text().say(std::string("[Version --HW XM61 --SW 3.2.15]\0--API 7]", 40));
    text().say("[SerialNumber]");
    text().say("[--Settings]");
    EXPECT_EQ(identify().getFW(), L"SW-3.2.15_API-");
}

TEST_F(Identification, DoesNotAskOtherModelsForAFirmware) {
    answerQueries("M615", "1.0.0");
    EXPECT_EQ(identify().getFW(), L"SW-1.0.0_API-7");
    answerQueries("ABM62", "");
    EXPECT_THAT(identify().getModel(), L"Korva Meridian ABM62");
}

TEST_F(Identification, ConnectsBelowAHostsOwnHold) {
    answerQueries();
    {
        const Connector connection(camera);
        identify();
        EXPECT_TRUE(camera.isConnected());
    }
    EXPECT_EQ(world.calls.of("connect").size(), 1u);
}

TEST_F(Identification, ByAddressOpensAndClosesItsOwnConnection) {
    answerQueries();
    const CameraInfo info = Korva::determineCameraInfoByAddress("10.0.0.6", knownMac);
    EXPECT_EQ(info.getIpAddress(), L"10.0.0.6");
    EXPECT_EQ(info.getMacAddress(), L"00-1a-2b-3c-4d-5e");
    EXPECT_THAT(
        world.calls.of({"new 10.0.0.6:32768", "connect", "createEthernetCommunicator", "close", "delete"}),
        ElementsAre("new 10.0.0.6:32768 -1", "connect 10.0.0.6:32768 5000",
                    "createEthernetCommunicator 10.0.0.6:32769 -1", "delete 10.0.0.6:32769",
                    "close 10.0.0.6:32768", "delete 10.0.0.6:32768"));
}

TEST_F(Identification, ByAddressHandsTheFailureOn) {
    EXPECT_EQ(messageOf([] { Korva::determineCameraInfoByAddress("10.0.0.6", ""); }),
              L"Couldn't get any version info from Korva device at: 10.0.0.6.. ignore it");
    EXPECT_EQ(world.calls.lines().back(), "delete 10.0.0.6:32768");
}

} // namespace
} // namespace IdentificationTests
