// The cameras that answered: each is identified and reported once, and none spoils the others.

#include "LocatorFixture.h"

#include "Communicator/DeviceException.h"
#include "Communicator/EthernetCommunicator.h"
#include "NativeCameraKorva/KorvaCameraLoader.h"
#include "NativeCameraKorva/KorvaCameraTemplate.h"

#include <algorithm>
#include <stdexcept>

using namespace LocatorTests;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

constexpr char firstMac[] = "\x00\x1a\x2b\x3c\x4d\x5e";
const std::string firstHardware(firstMac, 6);
const std::string secondHardware("\x00\x1a\x2b\x3c\x4d\x5f", 6);

struct LocatorCameras : LocatorSearch {
    std::vector<LogText> troubles() const { return log.textsFrom(log4cxx::Level::getWarn()); }

    /// The camera in room Bad was skipped, with its line; the one in Lab was found.
    void expectOnlyLabWasFound() const {
        ASSERT_THAT(observer.found, SizeIs(1));
        EXPECT_EQ(observer.infoOf(0).getSerialNumber(), L"K-Lab");
        EXPECT_THAT(
            troubles(),
            ElementsAre(LogText{"WARN", "Unknown exception processing Korva in room: Bad at IP: 10.0.0.9"}));
    }
};

TEST_F(LocatorCameras, AreReportedWithWhatTheyAre) {
    addCamera("Lab", "10.0.0.5", firstHardware);
    search();
    ASSERT_THAT(observer.found, SizeIs(1));
    EXPECT_THAT(observer.arguments, ElementsAre(0));
    const CameraInfo info = observer.infoOf(0);
    EXPECT_EQ(info.getCameraTypeEnum(), 6);
    EXPECT_EQ(info.getIpAddress(), L"10.0.0.5");
    EXPECT_EQ(info.getMacAddress(), L"00-1a-2b-3c-4d-5e");
    EXPECT_EQ(info.getSerialNumber(), L"K-Lab");
    EXPECT_EQ(info.getResolutionX(), 1676);
    EXPECT_THAT(linesOf("Found"), ElementsAre(LogText{"INFO", "Found Korva with MAC 00-1a-2b-3c-4d-5e"}));
    EXPECT_THAT(troubles(), IsEmpty());
}

TEST_F(LocatorCameras, AreReportedByATemplateOfTheFamily) {
    addCamera("Lab", "10.0.0.5", firstHardware);
    search();
    ASSERT_THAT(observer.found, SizeIs(1));
    EXPECT_EQ(&observer.found[0]->getType(), &getKorvaCameraType());
    EXPECT_NE(dynamic_cast<const KorvaCameraTemplate*>(observer.found[0].get()), nullptr);
}

TEST_F(LocatorCameras, AreToBeReachedOnTheBinaryPort) {
    addCamera("Lab", "10.0.0.5", firstHardware);
    search();
    ASSERT_THAT(observer.found, SizeIs(1));
    const std::unique_ptr<Communicator> made(observer.found[0]->createCommunicator());
    const auto* const ethernet = dynamic_cast<const EthernetCommunicator*>(made.get());
    ASSERT_NE(ethernet, nullptr);
    EXPECT_EQ(ethernet->getAddress(), L"10.0.0.5");
    EXPECT_EQ(ethernet->getPort(), 32769);
    EXPECT_EQ(ethernet->getConnectTimeoutMs(), -1);
}

TEST_F(LocatorCameras, AreContactedWhenTheSearchIsClosed) {
    addCamera("Lab", "10.0.0.5", firstHardware);
    observer.onFound = [this] { calls.note("observer"); };
    search();
    EXPECT_THAT(calls.of({"closesocket", "WSACleanup", "SendARP", "new", "createEthernetCommunicator",
                          "delete", "observer"}),
                ElementsAre("closesocket 1", "WSACleanup", "SendARP 10.0.0.5, 0.0.0.0, <ffffffffffff>",
                            // the identification's own, for its text and for a sample picture
                            "new 10.0.0.5:32768 -1", "createEthernetCommunicator 10.0.0.5:32769 -1",
                            "new 10.0.0.5:32769 -1", "delete 10.0.0.5:32769", "delete 10.0.0.5:32768",
                            // the one that the template is made of
                            "createEthernetCommunicator 10.0.0.5:32769 -1", "new 10.0.0.5:32769 -1",
                            "observer", "delete 10.0.0.5:32769"));
    EXPECT_THAT(calls.of("connect"), ElementsAre("connect 10.0.0.5:32768 5000"));
}

TEST_F(LocatorCameras, AreReportedInTheOrderOfTheirReplies) {
    addCamera("Roof", "10.0.0.6", secondHardware);
    addCamera("Lab", "10.0.0.5", firstHardware);
    search();
    ASSERT_THAT(observer.found, SizeIs(2));
    EXPECT_EQ(observer.infoOf(0).getSerialNumber(), L"K-Roof");
    EXPECT_EQ(observer.infoOf(1).getSerialNumber(), L"K-Lab");
}

TEST_F(LocatorCameras, AreToldOfByTheLogAloneWhereThereIsNoObserver) {
    addCamera("Roof", "10.0.0.6", secondHardware);
    addCamera("Lab", "10.0.0.5", firstHardware);
    locator.broadcastObserverSearch(nullptr, 0);
    EXPECT_THAT(linesOf("Found"), ElementsAre(LogText{"INFO", "Found Korva with MAC 00-1a-2b-3c-4d-5f"},
                                              LogText{"INFO", "Found Korva with MAC 00-1a-2b-3c-4d-5e"}));
    EXPECT_THAT(troubles(), IsEmpty());
}

TEST_F(LocatorCameras, ThatAnswerOnTwoAdaptersAreReportedOnce) {
    addCamera("Lab", "10.0.0.5", firstHardware);
    addCamera("Lab", "10.0.1.5", firstHardware);
    addCamera("Roof", "10.0.0.6", secondHardware);
    search();
    EXPECT_THAT(observer.found, SizeIs(2));
    EXPECT_THAT(
        linesOf("Found"),
        ElementsAre(LogText{"INFO", "Found Korva with MAC 00-1a-2b-3c-4d-5e"},
                    LogText{"INFO", "Found Korva with MAC 00-1a-2b-3c-4d-5e more than once, ignoring.."},
                    LogText{"INFO", "Found Korva with MAC 00-1a-2b-3c-4d-5f"}));
    EXPECT_THAT(calls.of("new 10.0.1.5"), IsEmpty());
}

TEST_F(LocatorCameras, WithoutMacAddressAreOneToTheSearch) {
    addCamera("Lab", "10.0.0.5", firstHardware);
    addCamera("Roof", "10.0.0.6", secondHardware);
    network.arp.clear();
    search();
    ASSERT_THAT(observer.found, SizeIs(1));
    EXPECT_EQ(observer.infoOf(0).getMacAddress(), L"00-00-00-00-00-00");
    EXPECT_THAT(
        linesOf("Found"),
        ElementsAre(LogText{"INFO", "Found Korva with MAC 00-00-00-00-00-00"},
                    LogText{"INFO", "Found Korva with MAC 00-00-00-00-00-00 more than once, ignoring.."}));
}

TEST_F(LocatorCameras, AreForgottenByTheNextSearch) {
    addCamera("Lab", "10.0.0.5", firstHardware);
    search();
    addCamera("Lab", "10.0.0.5", firstHardware);
    search();
    EXPECT_THAT(observer.found, SizeIs(2));
}

TEST_F(LocatorCameras, ThatCannotBeIdentifiedAreSkipped) {
    network.datagrams.push_back(replyOf("Dead", "10.0.0.9"));
    world.at("10.0.0.9", 32768); // it says nothing
    network.arp["10.0.0.9"].hardwareAddress = secondHardware;
    addCamera("Lab", "10.0.0.5", firstHardware);
    search();
    ASSERT_THAT(observer.found, SizeIs(1));
    EXPECT_EQ(observer.infoOf(0).getSerialNumber(), L"K-Lab");
    EXPECT_THAT(troubles(),
                ElementsAre(LogText{"ERROR", "DeviceException while determining camera info."},
                            LogText{"ERROR", "    Couldn't get any version info from Korva device at: "
                                             "10.0.0.9.. ignore it"}));
}

TEST_F(LocatorCameras, ThatCannotBeIdentifiedStaySeen) {
    network.datagrams = {replyOf("Dead", "10.0.0.9"), replyOf("Dead", "10.0.0.9")};
    network.arp["10.0.0.9"].hardwareAddress = secondHardware;
    search();
    EXPECT_THAT(calls.of("new"), SizeIs(1));
    EXPECT_THAT(linesOf("Found Korva with MAC 00-1a-2b-3c-4d-5f more"), SizeIs(1));
}

TEST_F(LocatorCameras, AreSkippedWithTheSourceLineOfTheFailure) {
    addCamera("Lab", "10.0.0.5", firstHardware);
    calls.throwFrom("connect", DeviceException(L"na\u00efve", L"Client.cpp", 12));
    search();
    EXPECT_THAT(troubles(), ElementsAre(LogText{"ERROR", "DeviceException while determining camera info."},
                                        LogText{"ERROR", "    na\u00efve @ Client.cpp:12"}));
}

TEST_F(LocatorCameras, WhoseConnectionCannotBeMadeAreSkipped) {
    addCamera("Lab", "10.0.0.5", firstHardware);
    calls.throwFrom("createEthernetCommunicator", DeviceException(L"no more"), 2);
    search();
    EXPECT_THAT(observer.found, IsEmpty());
    EXPECT_THAT(troubles(), ElementsAre(LogText{"ERROR", "DeviceException while determining camera info."},
                                        LogText{"ERROR", "    no more"}));
}

TEST_F(LocatorCameras, AreIndependentOfWhatAnotherThrows) {
    addCamera("Bad", "10.0.0.9", secondHardware);
    addCamera("Lab", "10.0.0.5", firstHardware);
    breakConnectionTo("10.0.0.9");
    search();
    expectOnlyLabWasFound();
}

TEST_F(LocatorCameras, AreGuardedAgainstExceptionsOfAnyClass) {
    addCamera("Bad", "10.0.0.9", secondHardware);
    calls.throwFrom("connect", 42); // no std::exception
    EXPECT_NO_THROW(search());
    EXPECT_THAT(troubles(), SizeIs(1));
}

TEST_F(LocatorCameras, WhoseAddressLookUpThrowsAreGuardedToo) {
    addCamera("Bad", "10.0.0.9", secondHardware);
    addCamera("Lab", "10.0.0.5", firstHardware);
    calls.throwFrom("SendARP 10.0.0.9", DeviceException(L"unexpected"));
    search();
    expectOnlyLabWasFound();
}

TEST_F(LocatorCameras, AreFoundAndSkippedWithoutLoggingToo) {
    log.setLevel(log4cxx::Level::getOff());
    identificationLog.setLevel(log4cxx::Level::getOff());
    network.datagrams = {"no camera", replyOf("Dead", "10.0.0.8")};
    network.arp["10.0.0.8"].hardwareAddress = std::string("\x00\x1a\x2b\x3c\x4d\x60", 6);
    addCamera("Bad", "10.0.0.9", secondHardware);
    addCamera("Lab", "10.0.0.5", firstHardware);
    addCamera("Lab", "10.0.1.5", firstHardware);
    breakConnectionTo("10.0.0.9");
    search();
    ASSERT_THAT(observer.found, SizeIs(1));
    EXPECT_EQ(observer.infoOf(0).getSerialNumber(), L"K-Lab");
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(LocatorCameras, BelongToAnObserverThatThrows) {
    addCamera("Lab", "10.0.0.5", firstHardware);
    addCamera("Roof", "10.0.0.6", secondHardware);
    // It keeps the template and destroys it, so a second owner would show.
    observer.onFound = [this] {
        if (observer.found.size() == 1)
            throw std::runtime_error("the host's affair");
    };
    search();
    EXPECT_THAT(observer.found, SizeIs(2));
    EXPECT_EQ(observer.infoOf(0).getSerialNumber(), L"K-Lab");
    EXPECT_THAT(troubles(), ElementsAre(LogText{
                                "WARN", "Unknown exception processing Korva in room: Lab at IP: 10.0.0.5"}));
}

TEST_F(LocatorCameras, AreLoggedAsFailedWhereTheObserverThrowsADeviceException) {
    addCamera("Lab", "10.0.0.5", firstHardware);
    observer.onFound = [] { throw DeviceException(L"refused"); };
    search();
    EXPECT_THAT(observer.found, SizeIs(1));
    EXPECT_THAT(troubles(), ElementsAre(LogText{"ERROR", "DeviceException while determining camera info."},
                                        LogText{"ERROR", "    refused"}));
}

TEST_F(LocatorCameras, AreReachedThroughTheBaseClass) {
    addCamera("Lab", "10.0.0.5", firstHardware);
    DeviceFramework1Locator& base = locator;
    base.broadcastObserverSearch(&observer, 0);
    EXPECT_THAT(observer.found, SizeIs(1));
}

} // namespace
