// The broadcast query: what is asked on which adapter, and what becomes of a search that cannot ask.

#include "LocatorFixture.h"

#include <stdexcept>
#include <utility>

using namespace LocatorTests;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::IsSupersetOf;
using ::testing::SizeIs;

namespace {

const char query[] = "\"AreThereAnyKorvaAround?\"";

std::string sendTo(const std::string& address) {
    return std::string("sendto 1, ") + query + ", 0, 2 " + address + ":32768, 16";
}

struct LocatorQuery : LocatorSearch {
    /// The search ended with the query: the socket is closed, the library is still started, nobody was heard.
    void expectNoSearch() const {
        EXPECT_THAT(network.openSockets, IsEmpty());
        EXPECT_EQ(network.startups, 1);
        EXPECT_THAT(calls.of("WSACleanup"), IsEmpty());
        EXPECT_THAT(calls.of("recvfrom"), IsEmpty());
        EXPECT_THAT(observer.found, IsEmpty());
    }
};

TEST_F(LocatorQuery, ReportsNobodyWhereNoCameraAnswers) {
    search();
    EXPECT_THAT(calls.lines(),
                ElementsAre("WSAStartup 0x0202", "socket 2, 2, 17", "setsockopt 1, 65535, 32, <79>",
                            "GetAdaptersInfo null, 0",
                            "GetAdaptersInfo buffer, " + std::to_string(sizeof(IP_ADAPTER_INFO)),
                            "inet_pton 2, 10.0.0.1", "inet_pton 2, 255.255.255.0",
                            "inet_ntop 2, 10.0.0.255, 64", sendTo("10.0.0.255"),
                            "setsockopt 1, 65535, 4102, <e8030000>", "recvfrom 1, 256, 0, null, null",
                            "WSAGetLastError", "closesocket 1", "WSACleanup"));
    EXPECT_THAT(log.texts(), ElementsAre(LogText{"INFO", "broadcastObserverSearch.."},
                                         LogText{"INFO", "IP on network adapter: 10.0.0.1"},
                                         LogText{"INFO", "Mask on network adapter: 255.255.255.0"},
                                         LogText{"INFO", "UDP broadcasting Korva Discovery on: 10.0.0.255"},
                                         LogText{"INFO", "Last recv returned: -1 WSAError: 10060"}));
    EXPECT_THAT(observer.found, IsEmpty());
    EXPECT_EQ(network.startups, 0);
    EXPECT_EQ(World::elapsed(), std::chrono::seconds(1));
}

TEST_F(LocatorQuery, LastsUntilASecondPassesWithoutADatagram) {
    using namespace std::chrono_literals;
    network.datagrams = {{"one", 999ms}, {"two", 1000ms}, {"too late", 1001ms}};
    search();
    EXPECT_EQ(World::elapsed(), 999ms + 1000ms + 1000ms);
    EXPECT_THAT(linesOf("Got message"), SizeIs(2));
}

TEST_F(LocatorQuery, LogsItsLinesAsTheLocators) {
    search();
    for (const TestSupport::LogLine& line : log.lines())
        EXPECT_EQ(line.file, "BackEnd/NativeCameraKorva/KorvaCameraLocator");
    EXPECT_EQ(log.lines().front().method, "broadcastObserverSearch");
}

TEST_F(LocatorQuery, DependsOnNoLogging) {
    log.setLevel(log4cxx::Level::getOff());
    addCamera("Lab", "10.0.0.5");
    search();
    EXPECT_THAT(calls.of("inet_ntop"), SizeIs(1));
    EXPECT_THAT(observer.found, SizeIs(1));
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(LocatorQuery, GoesToEveryAdapterInOrderByItsFirstAddress) {
    network.adapters = {{"eth1", {{"192.168.10.27", "255.255.255.0"}, {"172.16.0.9", "255.255.0.0"}}},
                        {"eth0", {{"10.1.2.3", "255.255.0.0"}}},
                        {"eth2", {{"10.20.30.40", "255.255.255.240"}}}};
    search();
    EXPECT_THAT(calls.of("sendto"),
                ElementsAre(sendTo("192.168.10.255"), sendTo("10.1.255.255"), sendTo("10.20.30.47")));
    EXPECT_THAT(linesOf("UDP"),
                ElementsAre(LogText{"INFO", "UDP broadcasting Korva Discovery on: 192.168.10.255"},
                            LogText{"INFO", "UDP broadcasting Korva Discovery on: 10.1.255.255"},
                            LogText{"INFO", "UDP broadcasting Korva Discovery on: 10.20.30.47"}));
}

TEST_F(LocatorQuery, GoesToTheWholeNetworkFromAnAdapterWithoutAddress) {
    network.adapters = {{"eth0", {}}};
    search();
    EXPECT_THAT(calls.of("sendto"), ElementsAre(sendTo("255.255.255.255")));
    EXPECT_THAT(log.texts(), IsSupersetOf({LogText{"INFO", "IP on network adapter: 0.0.0.0"},
                                           LogText{"INFO", "Mask on network adapter: 0.0.0.0"}}));
}

TEST_F(LocatorQuery, CountsTextsThatAreNoAddressAsZero) {
    network.adapters = {{"eth0", {{"10.0.0.1", "garbage"}}}, {"eth1", {{"", "255.255.255.0"}}}};
    search();
    EXPECT_THAT(calls.of("sendto"), ElementsAre(sendTo("255.255.255.255"), sendTo("0.0.0.255")));
    EXPECT_THAT(log.texts(), IsSupersetOf({LogText{"INFO", "Mask on network adapter: garbage"},
                                           LogText{"INFO", "IP on network adapter: "}}));
}

TEST_F(LocatorQuery, LogsNoAddressThatCannotBeFormatted) {
    calls.fail("inet_ntop", 87);
    search();
    EXPECT_THAT(calls.of("sendto"), ElementsAre(sendTo("10.0.0.255")));
    EXPECT_THAT(linesOf("UDP"), ElementsAre(LogText{"INFO", "UDP broadcasting Korva Discovery on: "}));
}

TEST_F(LocatorQuery, EndsWhereBroadcastCannotBeEnabled) {
    calls.fail("setsockopt", WSAENOPROTOOPT);
    search();
    expectNoSearch();
    EXPECT_THAT(calls.lines(), ElementsAre("WSAStartup 0x0202", "socket 2, 2, 17",
                                           "setsockopt 1, 65535, 32, <79>", "closesocket 1"));
    EXPECT_THAT(log.texts(), ElementsAre(LogText{"INFO", "broadcastObserverSearch.."},
                                         LogText{"WARN", "setsockopt failed"}));
}

TEST_F(LocatorQuery, EndsWhereThereIsNoSocket) {
    calls.fail("socket", WSAEMFILE);
    search();
    expectNoSearch();
    EXPECT_THAT(log.textsFrom(log4cxx::Level::getWarn()), ElementsAre(LogText{"WARN", "setsockopt failed"}));
}

TEST_F(LocatorQuery, EndsWhereTheSocketsDoNotStart) {
    calls.fail("WSAStartup", 10091);
    search();
    EXPECT_THAT(log.textsFrom(log4cxx::Level::getWarn()), ElementsAre(LogText{"WARN", "setsockopt failed"}));
    EXPECT_THAT(calls.of("WSACleanup"), IsEmpty());
}

TEST_F(LocatorQuery, EndsWhereThereIsNoAdapter) {
    network.adapters.clear();
    search();
    expectNoSearch();
    EXPECT_THAT(calls.of("GetAdaptersInfo"), ElementsAre("GetAdaptersInfo null, 0"));
    EXPECT_THAT(log.textsFrom(log4cxx::Level::getWarn()),
                ElementsAre(LogText{"ERROR", "Failed on call to GetAdaptersInfo 232"}));
}

TEST_F(LocatorQuery, EndsWhereTheListHasNoSizeToAskFor) {
    calls.fail("GetAdaptersInfo", 0);
    search();
    expectNoSearch();
    EXPECT_THAT(log.textsFrom(log4cxx::Level::getWarn()),
                ElementsAre(LogText{"ERROR", "Failed on call to GetAdaptersInfo 0"}));
}

TEST_F(LocatorQuery, EndsWhereTheListCannotBeRead) {
    calls.fail("GetAdaptersInfo", 31, 2);
    search();
    expectNoSearch();
    EXPECT_EQ(calls.lines().back(), "closesocket 1");
    EXPECT_THAT(log.textsFrom(log4cxx::Level::getWarn()),
                ElementsAre(LogText{"ERROR", "Failed on second call to GetAdaptersInfo 31"}));
}

TEST_F(LocatorQuery, SurvivesAListOfNoBytes) {
    // The code that asks for more memory, and a size that stays 0.
    calls.fail("GetAdaptersInfo", 111);
    search();
    expectNoSearch();
    EXPECT_THAT(calls.of("GetAdaptersInfo"),
                ElementsAre("GetAdaptersInfo null, 0", "GetAdaptersInfo buffer, 0"));
    EXPECT_THAT(log.textsFrom(log4cxx::Level::getWarn()),
                ElementsAre(LogText{"ERROR", "Failed on second call to GetAdaptersInfo 111"}));
}

TEST_F(LocatorQuery, LeavesTheOtherAdaptersWhereASendFails) {
    network.adapters.push_back({"eth1", {{"10.0.1.1", "255.255.255.0"}}});
    network.adapters.push_back({"eth2", {{"10.0.2.1", "255.255.255.0"}}});
    calls.fail("sendto", WSAENETUNREACH, 2);
    search();
    expectNoSearch();
    EXPECT_THAT(calls.of("sendto"), ElementsAre(sendTo("10.0.0.255"), sendTo("10.0.1.255")));
    EXPECT_THAT(
        log.textsFrom(log4cxx::Level::getWarn()),
        ElementsAre(LogText{"WARN", "Korva Query - sendto call failed: sendReturn = -1 WSAError = 10051"}));
}

TEST_F(LocatorQuery, ClosesItsSocketBeforeItSaysWhyItEnds) {
    const std::vector<std::pair<std::string, int>> failures{
        {"setsockopt", 1}, {"GetAdaptersInfo", 1}, {"GetAdaptersInfo", 2}, {"sendto", 1}};
    for (const auto& [function, occurrence] : failures) {
        SCOPED_TRACE(function + " " + std::to_string(occurrence));
        beginAnew();
        calls.fail(function, 31, occurrence);
        int reasons = 0;
        log.onLine([&](const TestSupport::LogLine& line) {
            if (line.level == "INFO")
                return;
            ++reasons;
            EXPECT_THAT(network.openSockets, IsEmpty()) << line.message;
        });
        search();
        EXPECT_EQ(reasons, 1);
    }
}

TEST_F(LocatorQuery, EndsInTheSamePlacesWithoutLogging) {
    log.setLevel(log4cxx::Level::getOff());
    const struct {
        const char* function;
        int code;
        int occurrence;
    } failures[] = {{"setsockopt", WSAENOPROTOOPT, 1},
                    {"GetAdaptersInfo", 232, 1},
                    {"GetAdaptersInfo", 31, 2},
                    {"sendto", WSAENETUNREACH, 1}};
    for (const auto& failure : failures) {
        SCOPED_TRACE(std::string(failure.function) + " " + std::to_string(failure.occurrence));
        beginAnew();
        addCamera("Lab", "10.0.0.5");
        calls.fail(failure.function, failure.code, failure.occurrence);
        search();
        expectNoSearch();
    }
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(LocatorQuery, TellsTheSendsErrorAndNotTheClosings) {
    calls.fail("sendto", WSAEACCES);
    calls.fail("closesocket", WSAENOTSOCK);
    search();
    EXPECT_THAT(
        log.textsFrom(log4cxx::Level::getWarn()),
        ElementsAre(LogText{"WARN", "Korva Query - sendto call failed: sendReturn = -1 WSAError = 10013"}));
    network.openSockets.clear();
}

TEST_F(LocatorQuery, DoesNotMindATimeOutThatCannotBeSet) {
    calls.fail("setsockopt", WSAENOPROTOOPT, 2);
    addCamera("Lab", "10.0.0.5");
    search();
    EXPECT_THAT(observer.found, SizeIs(1));
    EXPECT_THAT(log.textsFrom(log4cxx::Level::getWarn()), IsEmpty());
}

TEST_F(LocatorQuery, StartsAndEndsTheSocketsAtEverySearch) {
    search();
    search();
    EXPECT_THAT(calls.of("WSAStartup"), SizeIs(2));
    EXPECT_THAT(calls.of("WSACleanup"), SizeIs(2));
    EXPECT_THAT(calls.of("closesocket"), ElementsAre("closesocket 1", "closesocket 2"));
}

/// A search in which one of the system's functions throws at its n-th call.
struct LocatorFailure : LocatorSearch {
    void throwAt(const std::string& function, int occurrence = 1) {
        calls.throwFrom(function, std::runtime_error("unexpected"), occurrence);
    }

    /// The line that begins with `text` cannot be logged.
    void failToLog(const std::string& text) {
        log.onLine([text](const TestSupport::LogLine& line) {
            if (line.message.starts_with(text))
                throw std::runtime_error("no room for a line");
        });
    }

    /// One error line, everything closed and cleaned up once, no camera contacted.
    void expectCleanEnd(const TestSupport::LogCapture& heard) const {
        EXPECT_THAT(
            heard.textsFrom(log4cxx::Level::getWarn()),
            ElementsAre(LogText{"ERROR", "Unknown exception when trying to discover Korva devices."}));
        EXPECT_THAT(calls.of("closesocket"), ElementsAre("closesocket 1"));
        EXPECT_THAT(calls.of("WSACleanup"), SizeIs(1));
        EXPECT_EQ(network.startups, 0);
        EXPECT_THAT(calls.of("SendARP"), IsEmpty());
        EXPECT_THAT(observer.found, IsEmpty());
    }
};

TEST_F(LocatorFailure, EndsTheSearchAndClosesWhereverItIsThrown) {
    const std::vector<std::pair<std::string, int>> places{
        {"setsockopt", 1}, {"GetAdaptersInfo", 1}, {"GetAdaptersInfo", 2}, {"inet_pton", 1},
        {"inet_ntop", 1},  {"sendto", 1},          {"setsockopt", 2},      {"recvfrom", 1},
        {"recvfrom", 2},   {"WSAGetLastError", 1}};
    for (const auto& [function, occurrence] : places) {
        SCOPED_TRACE(function + " " + std::to_string(occurrence));
        beginAnew();
        network.datagrams = {replyOf("Lab", "10.0.0.5")};
        throwAt(function, occurrence);
        const TestSupport::LogCapture ownLog("Plenar.KorvaCamera.KorvaCameraLocator");
        EXPECT_NO_THROW(search());
        expectCleanEnd(ownLog);
    }
}

TEST_F(LocatorFailure, IsCaughtWhateverItsClass) {
    calls.throwFrom("sendto", 42); // no std::exception
    EXPECT_NO_THROW(search());
    expectCleanEnd(log);
}

TEST_F(LocatorFailure, ClosesTheSocketOnceWhereTheFailureCannotBeLogged) {
    failToLog("setsockopt failed");
    calls.fail("setsockopt", WSAENOPROTOOPT);
    EXPECT_NO_THROW(search());
    EXPECT_THAT(calls.of("closesocket"), ElementsAre("closesocket 1"));
    EXPECT_EQ(network.startups, 0);
}

TEST_F(LocatorFailure, ClosesTheSocketWhereNotEvenTheLastLineCanBeLogged) {
    failToLog("Unknown exception");
    throwAt("sendto");
    EXPECT_NO_THROW(search());
    EXPECT_THAT(calls.of("closesocket"), ElementsAre("closesocket 1"));
    EXPECT_EQ(network.startups, 0);
}

TEST_F(LocatorFailure, ClosesTheSocketWithoutLoggingToo) {
    log.setLevel(log4cxx::Level::getOff());
    throwAt("sendto");
    EXPECT_NO_THROW(search());
    EXPECT_THAT(calls.of("closesocket"), ElementsAre("closesocket 1"));
    EXPECT_EQ(network.startups, 0);
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(LocatorFailure, SkipsACameraAlsoWhereThatCannotBeLogged) {
    failToLog("Unknown exception processing");
    addCamera("Bad", "10.0.0.9", std::string("\x00\x1a\x2b\x3c\x4d\x5f", 6));
    addCamera("Lab", "10.0.0.5");
    breakConnectionTo("10.0.0.9");
    EXPECT_NO_THROW(search());
    ASSERT_THAT(observer.found, SizeIs(1));
    EXPECT_EQ(observer.infoOf(0).getSerialNumber(), L"K-Lab");
}

TEST(Locator, SearchesNothingButByBroadcast) {
    World::reset();
    KorvaCameraLocator locator;
    DeviceFramework1Locator& base = locator;
    RecordingObserver observer;
    base.serialObserverSearch(&observer);
    base.rangeObserverSearch(&observer);
    EXPECT_FALSE(base.supportsRangeSearch());
    EXPECT_THAT(observer.found, IsEmpty());
    EXPECT_THAT(World::Calls::current().lines(), IsEmpty());
}

TEST_F(LocatorQuery, KeepsTheFirst16384RepliesOfAFlood) {
    addCamera("Lab", "10.0.0.5");
    network.datagrams.insert(network.datagrams.end(), 16'386, network.datagrams.front());
    calls.onCall = [this](const std::string&) { calls.clear(); };
    search();
    EXPECT_THAT(observer.found, SizeIs(1));
    EXPECT_THAT(linesOf("Message from Korva device:"), SizeIs(16'387));
    EXPECT_THAT(linesOf("Found Korva with MAC 00-1a-2b-3c-4d-5e more than once"), SizeIs(16'383));
    EXPECT_THAT(
        log.textsFrom(log4cxx::Level::getWarn()),
        ElementsAre(LogText{"WARN", "More than 16384 replies from Korva devices, ignoring the rest.."}));
}

TEST_F(LocatorQuery, KeepsAsManyRepliesOfAFloodWithoutLogging) {
    log.setLevel(log4cxx::Level::getOff());
    identificationLog.setLevel(log4cxx::Level::getOff());
    addCamera("Lab", "10.0.0.5");
    network.datagrams.insert(network.datagrams.end(), 16'386, network.datagrams.front());
    int lookedUp = 0;
    calls.onCall = [this, &lookedUp](const std::string& call) {
        calls.clear();
        lookedUp += call.starts_with("SendARP") ? 1 : 0;
    };
    search();
    EXPECT_THAT(observer.found, SizeIs(1));
    EXPECT_EQ(lookedUp, 16'384);
    EXPECT_THAT(log.lines(), IsEmpty());
}

} // namespace
