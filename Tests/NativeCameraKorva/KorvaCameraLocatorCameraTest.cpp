// The cameras that answered: each is identified and reported once, and none spoils the others.

#include "LocatorFixture.h"

#include "Communicator/DeviceException.h"
#include "Communicator/EthernetCommunicator.h"
#include "NativeCameraKorva/KorvaCameraLoader.h"
#include "NativeCameraKorva/KorvaCameraTemplate.h"

#include <stdexcept>

using namespace LocatorTests;

namespace {

const std::string found = "Found Korva with MAC ";

struct LocatorCameras : LocatorSearch {
    LocatorCameras() { addCamera("Lab", "10.0.0.5"); }

    /// The two lines of a camera that could not be identified, or whose template could not be made.
    void expectFailure(const std::string& description) const {
        EXPECT_THAT(log.troubles(), ElementsAre(error("DeviceException while determining camera info."),
                                                error("    " + description)));
    }
};

TEST_F(LocatorCameras, AreReportedByATemplateOfTheFamilyWithWhatTheyAre) {
    search();
    expectFound(L"Lab");
    EXPECT_THAT(observer.arguments, ElementsAre(0));
    EXPECT_EQ(&observer.found[0]->getType(), &getKorvaCameraType());
    EXPECT_NE(dynamic_cast<const KorvaCameraTemplate*>(observer.found[0].get()), nullptr);
    const CameraInfo info = observer.infoOf(0);
    EXPECT_EQ(info.getCameraTypeEnum(), 6);
    EXPECT_EQ(info.getIpAddress(), L"10.0.0.5");
    EXPECT_EQ(info.getMacAddress(), L"00-1a-2b-3c-4d-5e");
    EXPECT_EQ(info.getResolutionX(), 1676);
    const std::unique_ptr<Communicator> made(observer.found[0]->createCommunicator());
    const auto& ethernet = dynamic_cast<const EthernetCommunicator&>(*made);
    EXPECT_EQ(ethernet.getAddress(), L"10.0.0.5");
    EXPECT_EQ(ethernet.getPort(), 32769);
    EXPECT_EQ(ethernet.getConnectTimeoutMs(), -1);
    EXPECT_THAT(log.linesOf("Found"), ElementsAre(PluginLogs::info(found + "00-1a-2b-3c-4d-5e")));
    EXPECT_THAT(log.troubles(), IsEmpty());
}

TEST_F(LocatorCameras, AreContactedWhenTheSearchIsClosed) {
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

TEST_F(LocatorCameras, AreReportedInTheOrderOfTheirRepliesByTheLogAloneIfThereIsNoObserver) {
    addCamera("Roof", "10.0.0.6", secondHardware);
    search();
    ASSERT_THAT(observer.found, SizeIs(2));
    EXPECT_EQ(observer.infoOf(0).getSerialNumber(), L"K-Lab");
    EXPECT_EQ(observer.infoOf(1).getSerialNumber(), L"K-Roof");
    addCamera("Lab", "10.0.0.5"); // the next search has forgotten it
    locator.broadcastObserverSearch(nullptr, 0);
    EXPECT_THAT(log.linesOf("Found"),
                ElementsAre(info(found + "00-1a-2b-3c-4d-5e"), info(found + "00-1a-2b-3c-4d-5f"),
                            info(found + "00-1a-2b-3c-4d-5e")));
    EXPECT_THAT(log.troubles(), IsEmpty());
}

TEST_F(LocatorCameras, ThatAnswerOnTwoAdaptersAreReportedOnce) {
    addCamera("Lab", "10.0.1.5");
    addCamera("Roof", "10.0.0.6", secondHardware);
    search();
    EXPECT_THAT(observer.found, SizeIs(2));
    EXPECT_THAT(log.linesOf("Found"),
                ElementsAre(info(found + "00-1a-2b-3c-4d-5e"),
                            info(found + "00-1a-2b-3c-4d-5e more than once, ignoring.."),
                            info(found + "00-1a-2b-3c-4d-5f")));
    EXPECT_THAT(calls.of("new 10.0.1.5"), IsEmpty());
}

TEST_F(LocatorCameras, WithoutMacAddressAreOneToTheSearch) {
    addCamera("Roof", "10.0.0.6", secondHardware);
    network.arp.clear();
    search();
    expectFound(L"Lab");
    EXPECT_EQ(observer.infoOf(0).getMacAddress(), L"00-00-00-00-00-00");
    EXPECT_THAT(log.linesOf("Found"),
                ElementsAre(info(found + "00-00-00-00-00-00"),
                            info(found + "00-00-00-00-00-00 more than once, ignoring..")));
}

TEST_F(LocatorCameras, ThatCannotBeIdentifiedAreSkippedAndStaySeen) {
    network.datagrams = {replyOf("Dead", "10.0.0.9"), replyOf("Dead", "10.0.0.9"),
                         replyOf("Lab", "10.0.0.5")};
    world.at("10.0.0.9", 32768); // it says nothing
    network.arp["10.0.0.9"].hardwareAddress = secondHardware;
    search();
    expectFound(L"Lab");
    expectFailure("Couldn't get any version info from Korva device at: 10.0.0.9.. ignore it");
    EXPECT_THAT(calls.of("new 10.0.0.9"), SizeIs(1));
    EXPECT_THAT(log.linesOf(found + "00-1a-2b-3c-4d-5f more"), SizeIs(1));
}

TEST_F(LocatorCameras, ThatCannotBeReachedAreSkippedWithTheFailuresDescription) {
    calls.throwFrom("connect", DeviceException(L"na\u00efve", L"Client.cpp", 12));
    search();
    expectFailure("na\u00efve @ Client.cpp:12");
    addCamera("Lab", "10.0.0.5");
    calls.throwFrom("createEthernetCommunicator", DeviceException(L"no more"), 2);
    search();
    EXPECT_EQ(log.troubles().back(), error("    no more"));
    EXPECT_THAT(observer.found, IsEmpty());
}

TEST_F(LocatorCameras, AreGuardedAgainstExceptionsOfAnyClassOfAnother) {
    const std::vector<std::function<void()>> failures{
        [this] { breakConnectionTo("10.0.0.9"); },
        [this] { calls.throwFrom("connect 10.0.0.9", 42); }, // no std::exception
        [this] { calls.throwFrom("SendARP 10.0.0.9", DeviceException(L"unexpected")); }};
    for (const auto& fail : failures) {
        beginAnew();
        observer.found.clear();
        addCamera("Bad", "10.0.0.9", secondHardware);
        addCamera("Lab", "10.0.0.5");
        fail();
        EXPECT_NO_THROW(search());
        expectFound(L"Lab");
        EXPECT_EQ(log.troubles().back(),
                  warn("Unknown exception processing Korva in room: Bad at IP: 10.0.0.9"));
    }
    EXPECT_THAT(log.troubles(), SizeIs(failures.size()));
}

TEST_F(LocatorCameras, AreFoundAndSkippedWithoutLoggingToo) {
    log.turnOff();
    identificationLog.turnOff();
    network.datagrams = {"no camera", replyOf("Dead", "10.0.0.8")};
    network.arp["10.0.0.8"].hardwareAddress = std::string("\x00\x1a\x2b\x3c\x4d\x60", 6);
    addCamera("Bad", "10.0.0.9", secondHardware);
    addCamera("Lab", "10.0.0.5");
    addCamera("Lab", "10.0.1.5");
    breakConnectionTo("10.0.0.9");
    search();
    expectFound(L"Lab");
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(LocatorCameras, BelongToAnObserverThatThrows) {
    addCamera("Roof", "10.0.0.6", secondHardware);
    // It keeps the template and destroys it, so a second owner would show.
    observer.onFound = [this] {
        if (observer.found.size() == 1)
            throw std::runtime_error("the host's affair");
        throw DeviceException(L"refused");
    };
    search();
    ASSERT_THAT(observer.found, SizeIs(2));
    EXPECT_EQ(observer.infoOf(0).getSerialNumber(), L"K-Lab");
    EXPECT_THAT(log.troubles(),
                ElementsAre(warn("Unknown exception processing Korva in room: Lab at IP: 10.0.0.5"),
                            error("DeviceException while determining camera info."), error("    refused")));
}

} // namespace
