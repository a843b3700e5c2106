// The replies, and the cameras that sent them: what is read, what counts as a camera, who is reported, and
// that none spoils the others.

#include "LocatorFixture.h"

#include "Communicator/DeviceException.h"
#include "Communicator/EthernetCommunicator.h"
#include "NativeCameraKorva/KorvaCameraLoader.h"
#include "NativeCameraKorva/KorvaCameraTemplate.h"

#include <stdexcept>
#include <utility>

using namespace LocatorTests;

namespace {

using namespace std::string_literals;

LogText recognised(const std::string& roomAndAddress) {
    return info("Message from Korva device: " + roomAndAddress);
}
LogText other(const std::string& text) {
    return info("Got message that wasn't parsed as a Korva response: " + text);
}
LogText last(const std::string& end) {
    return info("Last recv returned: " + end);
}

using LocatorReplies = LocatorSearch;

// Which damaged replies count is held by the fault matrix as well, and what ends them by the torture.

TEST_F(LocatorReplies, AreReadByTheirOwnBytesIntoABufferThatIsNotCleared) {
    const std::string lab = replyOf("Lab", "10.0.0.5");
    const std::string closing = " --IP 10.0.0.5]";
    const std::string longRoom(256 - std::string("[Korva --Room ").size() - closing.size(), 'L');
    const std::string full = "[Korva --Room " + longRoom + closing;
    ASSERT_EQ(full.size(), 256u);
    const std::string noRoom = "[Korva --IP 10.0.0.5]";
    const std::string emptyRoom = "[Korva --IP 10.0.0.5 --Room ]";
    const std::string noEnd = "[Korva --Room Lab --IP 10.0.0.5";
    const std::string noMark = "[korva --Room Lab --IP 10.0.0.50]";
    const std::string xs(256, 'x');
    const LogText labLine = recognised("Lab 10.0.0.5");
    const LogText fullLine = recognised(longRoom + " 10.0.0.5");
    const struct {
        const char* what;
        std::vector<std::string> datagrams;
        Texts lines; ///< of each: room and address, or the text of no reply
    } rows[] = {
        {"with the mark anywhere", {"junk " + lab, "--Room Lab --IP 10.0.0.5] [Korva"}, {labLine, labLine}},
        {"with the next key for a missing value",
         {"[Korva --Room --IP 10.0.0.5]"},
         {recognised("--IP 10.0.0.5")}},
        {"until none comes",
         {lab, "hello hello hello hello hello hello", lab},
         {labLine, other("hello hello hello hello hello hello"), labLine}},
        {"without room, end or mark",
         {noRoom, emptyRoom, noEnd, noMark},
         {other(noRoom), other(emptyRoom), other(noEnd), other(noMark)}},
        {"the tail of the one before shows",
         {"a long one", "short"},
         {other("a long one"), other("shortg one")}},
        // Together with what is left of the first, the second and the third would be replies.
        {"and does not count", {lab, "[Korv", "[Korva --Room Lab --I"}, {labLine, other(lab), other(lab)}},
        {"up to the first zero", {"one\0two"s, lab + "\0tail"s}, {other("one"), labLine}},
        {"as many as the buffer holds", {full, xs}, {fullLine, other(xs)}},
        {"of larger ones the first bytes", {lab + " " + xs + xs, xs + lab}, {labLine, other(xs)}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        beginAnew();
        network.datagrams.assign(row.datagrams.begin(), row.datagrams.end());
        const PluginLog own(loggerName, "KorvaCameraLocator");
        search();
        Texts lines = own.texts(); // of the datagrams
        std::erase_if(lines,
                      [](const LogText& line) { return line.message.find("essage") == std::string::npos; });
        EXPECT_EQ(lines, row.lines);
        EXPECT_THAT(calls.of("recvfrom"), SizeIs(row.datagrams.size() + 1));
        EXPECT_EQ(own.linesOf("Last recv"), Texts{last("-1 WSAError: 10060")});
    }
}

TEST_F(LocatorReplies, EndWithAnEmptyDatagramOrAFailureWhichIsTold) {
    SetLastError(0);
    network.datagrams = {"", replyOf("Roof", "10.0.0.6")};
    search();
    beginAnew();
    calls.fail("recvfrom", 10054);
    search();
    EXPECT_THAT(log.linesOf("Last"), ElementsAre(last("0 WSAError: 0"), last("-1 WSAError: 10054")));
    EXPECT_THAT(log.linesOf("Message"), IsEmpty());
}

TEST(DiscoveryReply, TellsRoomAndAddressAlsoOfWhatIsNone) {
    std::string room;
    std::string address;
    EXPECT_FALSE(KorvaCameraLocator::parseDiscoveryReply("[Korva --Room Lab]", room, address));
    EXPECT_EQ(room + '|' + address, "Lab|");
    EXPECT_FALSE(KorvaCameraLocator::parseDiscoveryReply("[Korva --IP 10.0.0.5]", room, address));
    EXPECT_EQ(room + '|' + address, "|10.0.0.5");
}

// The cameras.

const std::string found = "Found Korva with MAC ";
const std::string firstMac = "00-1a-2b-3c-4d-5e";
const std::string secondMac = "00-1a-2b-3c-4d-5f";

struct LocatorCameras : LocatorSearch {
    LocatorCameras() { addCamera("Lab", "10.0.0.5"); }
};

TEST_F(LocatorCameras, AreReportedByATemplateOfTheFamilyOnceTheSearchIsClosed) {
    observer.onFound = [this] { calls.note("observer"); };
    search();
    expectFound(L"Lab");
    EXPECT_THAT(observer.arguments, ElementsAre(0));
    EXPECT_EQ(&observer.found[0]->getType(), &getKorvaCameraType());
    EXPECT_NE(dynamic_cast<const KorvaCameraTemplate*>(observer.found[0].get()), nullptr);
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
    const std::unique_ptr<Communicator> made(observer.found[0]->createCommunicator());
    const auto& ethernet = dynamic_cast<const EthernetCommunicator&>(*made);
    EXPECT_EQ(ethernet.getAddress(), L"10.0.0.5");
    EXPECT_EQ(ethernet.getPort(), 32769);
    EXPECT_EQ(ethernet.getConnectTimeoutMs(), -1);
}

TEST_F(LocatorCameras, ThatAnswerOnTwoAdaptersAreReportedOnce) {
    addCamera("Lab", "10.0.1.5");
    addCamera("Roof", "10.0.0.6", secondHardware);
    search();
    ASSERT_THAT(observer.found, SizeIs(2)) << "in the order of their replies";
    EXPECT_EQ(observer.infoOf(0).getSerialNumber(), L"K-Lab");
    EXPECT_EQ(observer.infoOf(1).getSerialNumber(), L"K-Roof");
    EXPECT_THAT(calls.of("new 10.0.1.5"), IsEmpty());
    addCamera("Lab", "10.0.0.5"); // the next search has forgotten it
    locator.broadcastObserverSearch(nullptr, 0);
    EXPECT_THAT(log.linesOf("Found"),
                ElementsAre(info(found + firstMac), info(found + firstMac + " more than once, ignoring.."),
                            info(found + secondMac), info(found + firstMac)));
    EXPECT_THAT(log.troubles(), IsEmpty());
}

TEST_F(LocatorCameras, WithoutMacAddressAreOneToTheSearch) {
    addCamera("Roof", "10.0.0.6", secondHardware);
    network.arp.clear();
    search();
    expectFound(L"Lab");
    EXPECT_EQ(observer.infoOf(0).getMacAddress(), L"00-00-00-00-00-00");
}

TEST_F(LocatorCameras, ThatCannotBeIdentifiedAreSkippedAndStaySeen) {
    network.datagrams = {replyOf("Dead", "10.0.0.9"), replyOf("Dead", "10.0.0.9"),
                         replyOf("Lab", "10.0.0.5")};
    network.arp["10.0.0.9"].hardwareAddress = secondHardware;
    calls.throwFrom("connect", DeviceException(L"na\u00efve", L"Client.cpp", 12));
    search();
    expectFound(L"Lab");
    EXPECT_THAT(log.troubles(), ElementsAre(error("DeviceException while determining camera info."),
                                            error("    na\u00efve @ Client.cpp:12")));
    EXPECT_THAT(log.linesOf(found + secondMac + " more"), SizeIs(1));
}

TEST_F(LocatorCameras, AreToldByTheirFailureOnlyOnceTheyAreAskedWhoTheyAre) {
    calls.throwFrom("SendARP", DeviceException(L"unexpected"));
    search();
    EXPECT_EQ(log.troubles().back(), warn("Unknown exception processing Korva in room: Lab at IP: 10.0.0.5"));
    addCamera("Lab", "10.0.0.5");
    calls.throwFrom("createEthernetCommunicator", DeviceException(L"no more"), 2);
    search();
    EXPECT_EQ(log.troubles().back(), error("    no more"));
    EXPECT_THAT(observer.found, IsEmpty());
}

TEST_F(LocatorCameras, AreFoundAndSkippedWithoutLoggingToo) {
    log.turnOff();
    identificationLog.turnOff();
    network.datagrams = {"no camera", replyOf("Dead", "10.0.0.8")};
    network.arp["10.0.0.8"].hardwareAddress = std::string("\x00\x1a\x2b\x3c\x4d\x60", 6);
    addCamera("Bad", "10.0.0.9", secondHardware);
    addCamera("Lab", "10.0.0.5");
    addCamera("Lab", "10.0.1.5");
    calls.throwFrom("connect 10.0.0.9", std::runtime_error("unexpected"));
    search();
    calls.throwFrom("recvfrom", 42);
    search();
    expectFound(L"Lab");
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(LocatorCameras, BelongToAnObserverThatThrowsAlsoWhereThatCannotBeLogged) {
    addCamera("Roof", "10.0.0.6", secondHardware);
    // It keeps the template and destroys it, so a second owner would show.
    observer.onFound = [this] {
        if (observer.found.size() == 1)
            throw std::runtime_error("the host's affair");
        throw DeviceException(L"refused");
    };
    log.onLine([](const LogLine& line) {
        if (line.level == "WARN")
            throw std::runtime_error("no room for a line");
    });
    EXPECT_NO_THROW(search());
    ASSERT_THAT(observer.found, SizeIs(2));
    EXPECT_EQ(observer.infoOf(0).getSerialNumber(), L"K-Lab");
    EXPECT_THAT(log.troubles(),
                ElementsAre(warn("Unknown exception processing Korva in room: Lab at IP: 10.0.0.5"),
                            error("DeviceException while determining camera info."), error("    refused")));
}

} // namespace
