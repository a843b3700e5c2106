// The broadcast query: what is asked on which adapter, and what becomes of a search that cannot ask.
// How long it listens is held by the fault matrix.

#include "LocatorFixture.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

using namespace LocatorTests;

namespace {

std::string sendTo(const std::string& address) {
    return "sendto 1, \"AreThereAnyKorvaAround?\", 0, 2 " + address + ":32768, 16";
}

using LocatorQuery = LocatorSearch;

TEST_F(LocatorQuery, ReportsNobodyWhereNoCameraAnswers) {
    search();
    std::vector<std::string> expected{"WSAStartup 0x0202",
                                      "socket 2, 2, 17",
                                      "setsockopt 1, 65535, 32, <79>",
                                      "GetAdaptersInfo null, 0",
                                      "GetAdaptersInfo buffer, " + std::to_string(sizeof(IP_ADAPTER_INFO)),
                                      "inet_pton 2, 10.0.0.1",
                                      "inet_pton 2, 255.255.255.0",
                                      "inet_ntop 2, 10.0.0.255, 64",
                                      sendTo("10.0.0.255"),
                                      "setsockopt 1, 65535, 4102, <e8030000>",
                                      "recvfrom 1, 256, 0, null, null"};
    std::ranges::copy(World::askedByReceiving, std::back_inserter(expected));
    std::ranges::copy(std::array{"WSAGetLastError", "closesocket 1", "WSACleanup"},
                      std::back_inserter(expected));
    EXPECT_EQ(calls.lines(), expected);
    EXPECT_THAT(log.texts(),
                ElementsAre(info("broadcastObserverSearch.."), info("IP on network adapter: 10.0.0.1"),
                            info("Mask on network adapter: 255.255.255.0"),
                            info("UDP broadcasting Korva Discovery on: 10.0.0.255"),
                            info("Last recv returned: -1 WSAError: 10060")));
    EXPECT_EQ(log.lines().front().method, "broadcastObserverSearch");
    EXPECT_THAT(observer.found, IsEmpty());
    EXPECT_EQ(network.startups, 0);
    EXPECT_EQ(World::elapsed(), std::chrono::seconds(1));
}

TEST_F(LocatorQuery, GoesToEveryAdapterInOrderByItsFirstAddress) {
    network.adapters = {{"eth1", {{"192.168.10.27", "255.255.255.0"}, {"172.16.0.9", "255.255.0.0"}}},
                        {"eth0", {{"10.1.2.3", "255.255.0.0"}}},
                        {"eth2", {{"10.20.30.40", "255.255.255.240"}}},
                        {"without address", {}},
                        {"no mask", {{"10.0.0.1", "garbage"}}},
                        {"no address", {{"", "255.255.255.0"}}},
                        {"cannot be formatted", {{"10.0.0.1", "255.255.255.0"}}}};
    calls.fail("inet_ntop", 87, 7);
    search();
    EXPECT_THAT(calls.of("sendto"),
                ElementsAre(sendTo("192.168.10.255"), sendTo("10.1.255.255"), sendTo("10.20.30.47"),
                            sendTo("255.255.255.255"), sendTo("255.255.255.255"), sendTo("0.0.0.255"),
                            sendTo("10.0.0.255")));
    const auto linesOf = [this](const std::string& beginning, const std::vector<std::string>& ends) {
        Texts expected;
        for (const std::string& end : ends)
            expected.push_back(info(beginning + end));
        EXPECT_EQ(log.linesOf(beginning), expected);
    };
    linesOf("IP on network adapter: ",
            {"192.168.10.27", "10.1.2.3", "10.20.30.40", "0.0.0.0", "10.0.0.1", "", "10.0.0.1"});
    linesOf("Mask on network adapter: ", {"255.255.255.0", "255.255.0.0", "255.255.255.240", "0.0.0.0",
                                          "garbage", "255.255.255.0", "255.255.255.0"});
    linesOf("UDP broadcasting Korva Discovery on: ", {"192.168.10.255", "10.1.255.255", "10.20.30.47",
                                                      "255.255.255.255", "255.255.255.255", "0.0.0.255", ""});
}

TEST_F(LocatorQuery, EndsWithOneLineBehindTheClosingOfItsSocket) {
    const LogText noBroadcast = warn("setsockopt failed");
    const std::string list = "GetAdaptersInfo";
    const std::string first = "Failed on call to GetAdaptersInfo ";
    const std::string second = "Failed on second call to GetAdaptersInfo ";
    const LogText notSent = warn("Korva Query - sendto call failed: sendReturn = -1 WSAError = 10051");
    const std::string listOfThree = "GetAdaptersInfo buffer, " + std::to_string(3 * sizeof(IP_ADAPTER_INFO));
    const struct {
        const char* what;
        std::string function; ///< that fails
        int code;
        int occurrence;
        LogText line;
        std::string lastCall; ///< of that function
    } rows[] = {
        {"no broadcast", "setsockopt", 10042, 1, noBroadcast, "setsockopt 1, 65535, 32, <79>"},
        {"no socket", "socket", WSAEMFILE, 1, noBroadcast, "socket 2, 2, 17"},
        {"no sockets library", "WSAStartup", 10091, 1, noBroadcast, "WSAStartup 0x0202"},
        {"no adapter", list, 232, 1, error(first + "232"), "GetAdaptersInfo null, 0"},
        {"no size to ask for", list, 0, 1, error(first + "0"), "GetAdaptersInfo null, 0"},
        {"no list", list, 31, 2, error(second + "31"), listOfThree},
        {"a list of no bytes", list, 111, 1, error(second + "111"), "GetAdaptersInfo buffer, 0"},
        {"no way on the second adapter", "sendto", WSAENETUNREACH, 2, notSent, sendTo("10.0.1.255")},
    };
    for (const auto& row : rows) {
        for (const bool isLogged : {true, false}) {
            SCOPED_TRACE(row.what);
            beginAnew();
            network.adapters.push_back({"eth1", {{"10.0.1.1", "255.255.255.0"}}});
            network.adapters.push_back({"eth2", {{"10.0.2.1", "255.255.255.0"}}});
            addCamera("Lab", "10.0.0.5");
            calls.fail(row.function, row.code, row.occurrence);
            PluginLog own(loggerName, "KorvaCameraLocator", isLogged, log4cxx::Level::getWarn());
            own.onLine([this](const LogLine&) { EXPECT_THAT(network.openSockets, IsEmpty()); });
            search();
            own.expect({row.line});
            EXPECT_THAT(network.openSockets, IsEmpty());
            EXPECT_THAT(calls.of({"WSACleanup", "recvfrom"}), IsEmpty()) << "the library stays started";
            EXPECT_EQ(calls.of(row.function).back(), row.lastCall);
        }
    }
    EXPECT_THAT(observer.found, IsEmpty());
}

TEST_F(LocatorQuery, TellsTheSendsErrorAndNotTheClosings) {
    calls.fail("sendto", WSAEACCES);
    calls.fail("closesocket", WSAENOTSOCK);
    search();
    EXPECT_THAT(log.troubles(),
                ElementsAre(warn("Korva Query - sendto call failed: sendReturn = -1 WSAError = 10013")));
    network.openSockets.clear();
}

TEST_F(LocatorQuery, ThatThrowsIsClosedAndCleanedUpOnceWhateverIsThrownAlsoWhereThatCannotBeLogged) {
    const LogText noDiscovery = error("Unknown exception when trying to discover Korva devices.");
    using Place = std::pair<std::string, int>;
    for (const auto& [function, occurrence] :
         {Place{"setsockopt", 1}, Place{"GetAdaptersInfo", 1}, Place{"sendto", 1}, Place{"recvfrom", 1},
          Place{"recvfrom", 2}, Place{"no call", 1}}) {
        for (const bool canBeLogged : {true, false}) {
            SCOPED_TRACE(function);
            beginAnew();
            network.datagrams = {replyOf("Lab", "10.0.0.5")};
            PluginLog own(loggerName, "KorvaCameraLocator", log4cxx::Level::getWarn());
            Texts expected{noDiscovery};
            if (function != "no call") {
                calls.throwFrom(function, 42, occurrence); // no std::exception
            } else {                                       // it is the line of a failure that throws
                calls.fail("setsockopt", WSAENOPROTOOPT);
                expected.insert(expected.begin(), warn("setsockopt failed"));
            }
            own.onLine([&, isLogged = canBeLogged](const LogLine& line) {
                if (!isLogged || line.level == "WARN")
                    throw std::runtime_error("no room for a line");
            });
            EXPECT_NO_THROW(search());
            EXPECT_EQ(own.texts(), expected);
            EXPECT_THAT(calls.of("closesocket"), ElementsAre("closesocket 1"));
            EXPECT_THAT(calls.of("WSACleanup"), SizeIs(1));
            EXPECT_EQ(network.startups, 0);
            EXPECT_THAT(calls.of("SendARP"), IsEmpty());
        }
    }
}

TEST_F(LocatorQuery, IsTheOnlyWayToSearch) {
    DeviceFramework1Locator& base = locator;
    base.serialObserverSearch(&observer);
    base.rangeObserverSearch(&observer);
    EXPECT_FALSE(base.supportsRangeSearch());
    EXPECT_THAT(calls.lines(), IsEmpty());
    addCamera("Lab", "10.0.0.5");
    base.broadcastObserverSearch(&observer, 0);
    expectFound(L"Lab");
}

TEST_F(LocatorQuery, KeepsTheFirst16384RepliesOfAFlood) {
    for (const bool isLogged : {true, false}) {
        if (!isLogged) {
            log.turnOff();
            identificationLog.turnOff();
        }
        addCamera("Lab", "10.0.0.5");
        network.datagrams.insert(network.datagrams.end(), 16'386, network.datagrams.front());
        int lookedUp = 0;
        calls.onCall = [this, &lookedUp](const std::string& call) {
            calls.clear();
            lookedUp += call.starts_with("SendARP") ? 1 : 0;
        };
        observer.found.clear();
        search();
        expectFound(L"Lab");
        EXPECT_EQ(lookedUp, 16'384);
    }
    EXPECT_THAT(log.linesOf("Message from Korva device:"), SizeIs(16'387));
    EXPECT_THAT(log.linesOf("Found Korva with MAC 00-1a-2b-3c-4d-5e more than once"), SizeIs(16'383));
    EXPECT_THAT(log.troubles(),
                ElementsAre(warn("More than 16384 replies from Korva devices, ignoring the rest..")));
}

} // namespace
