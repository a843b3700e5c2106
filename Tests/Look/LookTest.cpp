#include "Look/CameraTexts.h"
#include "Look/NetworkLook.h"
#include "World/Calls.h"
#include "World/Clock.h"
#include "World/Sight.h"

#include <cerrno>
#include <chrono>
#include <gmock/gmock.h>
#include <optional>
#include <string>
#include <vector>

using namespace Diagnosis;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;
using testing::SizeIs;
using World::ipv4;
using Outcome = SearchedNetwork::Outcome;
using PortOutcome = Platform::PortAnswer::Outcome;
using State = Platform::NeighbourEntry::State;

namespace {

const std::vector<unsigned char> cameraMac{0x02, 0x4b, 0, 1, 0, 0x0b};
const std::string cameraMacText = "02-4b-00-01-00-0b";

Platform::Adapter adapter(unsigned index, std::vector<Platform::Adapter::Address> addresses) {
    Platform::Adapter made;
    made.name = "net" + std::to_string(index);
    made.index = index;
    made.isUp = made.isEthernet = true;
    made.hardwareAddress = {0x02, 0, 0, 0, 0, static_cast<unsigned char>(index)};
    made.addresses = std::move(addresses);
    return made;
}

const std::uint32_t mask24 = ipv4("255.255.255.0");

struct Look : testing::Test {
    Look() {
        World::reset();
        Platform::Adapter loopback = adapter(9, {{ipv4("127.0.0.1"), ipv4("255.0.0.0")}});
        loopback.isLoopback = true;
        sight.adapters = {loopback, adapter(1, {{ipv4("10.77.1.1"), mask24}})};
    }
    ~Look() override { World::reset(); }

    /// "10.77.1.255:32768 over 0" of each query.
    std::vector<std::string> queries() const {
        std::vector<std::string> places;
        const std::string text = " \"AreThereAnyKorvaAround?\"";
        for (const std::string& line : calls.of("query")) {
            EXPECT_TRUE(line.ends_with(text)) << line;
            places.push_back(line.substr(6, line.size() - 6 - text.size()));
        }
        return places;
    }

    /// A camera's answer to each query to `asked`.
    void answer(const std::string& asked, const std::string& address, const std::string& room = "Lab",
                World::Duration after = 5ms) {
        const std::string text = "[Korva --Room " + room + " --IP " + address + " --NetMask 255.255.0.0]";
        sight.replies.push_back({asked, {ipv4(address.c_str()), 1, text}, after});
    }

    void knows(const char* address, State state, std::chrono::milliseconds confirmedAgo = 1h) {
        sight.neighbours.push_back(
            {1, ipv4(address), state,
             state == State::confirmed || state == State::known ? cameraMac : std::vector<unsigned char>(),
             confirmedAgo});
    }

    Search& search() { return facts.search.value(); }

    World::Sight& sight = World::Sight::current();
    World::Calls& calls = World::Calls::current();
    Facts facts;
};

const std::string everybody = "10.77.1.255 over 0";
const std::string cable = "255.255.255.255 over 1";

} // namespace

TEST_F(Look, AtTheComputerTellsItsAdaptersGatewayAndNeighbours) {
    sight.adapters[1].hasLink = false;
    sight.adapters[1].isPart = true;
    sight.gateway = ipv4("10.77.1.254");
    knows("10.77.1.11", State::known);
    knows("10.77.1.12", State::failed);
    knows("10.77.1.13", State::asking);
    lookAtComputer(facts);
    ASSERT_THAT(facts.adapters, SizeIs(2));
    EXPECT_EQ(facts.adapters[0],
              (Adapter{"net9", true, true, true, "", {OwnAddress{"127.0.0.1", "255.0.0.0"}}}));
    EXPECT_EQ(facts.adapters[1], (Adapter{"net1",
                                          true,
                                          false,
                                          false,
                                          "02-00-00-00-00-01",
                                          {OwnAddress{"10.77.1.1", "255.255.255.0"}},
                                          true}));
    EXPECT_EQ(facts.defaultGateway, "10.77.1.254");
    EXPECT_THAT(facts.neighbours, ElementsAre(Neighbour{"net1", "10.77.1.11", cameraMacText},
                                              Neighbour{"net1", "10.77.1.12", ""}));
    EXPECT_TRUE(facts.adaptersKnown);
}

TEST_F(Look, GoesOnWhereTheSystemDoesNotTell) {
    for (const char* call : {"listAdapters", "listNeighbours", "defaultGateway", "routeTo"})
        calls.failAlways(call, EIO);
    lookAtComputer(facts);
    EXPECT_FALSE(facts.adaptersKnown);
    lookForCameras(facts);
    EXPECT_EQ(search().failure, "the system does not tell its adapters");
    lookAt({"10.77.1.11"}, facts);
    EXPECT_EQ(facts.cameras.at(0).lookFailure, "the system does not tell its routes");
    EXPECT_EQ(facts.cameras.at(0).text, PortState::silent);
}

TEST_F(Look, ForCamerasAsksEachNetworkOnceAndEachCable) {
    sight.adapters[1].addresses.push_back({ipv4("10.77.1.3"), mask24});
    sight.adapters[1].addresses.push_back({ipv4("192.168.5.1"), ipv4("255.255.255.252")});
    for (const auto& [index, address] :
         {std::pair(2u, "10.77.2.1"), {3u, "169.254.7.7"}, {4u, "10.77.4.1"}, {5u, "10.77.5.1"}})
        sight.adapters.push_back(adapter(index, {{ipv4(address), mask24}}));
    sight.adapters.push_back(adapter(6, {}));
    sight.adapters.push_back(adapter(7, {}));
    sight.adapters.back().isPart = true;
    sight.adapters[2].isUp = false;
    sight.adapters[4].hasLink = false;
    sight.adapters[5].isEthernet = false; // a tunnel
    calls.fail("query 10.77.5.255", EPERM);
    lookForCameras(facts);
    EXPECT_THAT(queries(), ElementsAre("10.77.1.255:32768 over 0", "192.168.5.3:32768 over 0",
                                       "169.254.7.255:32768 over 0", "10.77.4.255:32768 over 0",
                                       "10.77.5.255:32768 over 0", "255.255.255.255:32768 over 1",
                                       "255.255.255.255:32768 over 3", "255.255.255.255:32768 over 4"));
    std::vector<std::string> networks;
    for (const SearchedNetwork& each : search().networks)
        networks.push_back(each.adapter + " " + each.own.address + " " + each.broadcast + " " +
                           std::to_string(static_cast<int>(each.outcome)) + each.reason);
    EXPECT_THAT(networks, ElementsAre("net1 10.77.1.1 10.77.1.255 0", "net1 10.77.1.3 10.77.1.255 0",
                                      "net1 192.168.5.1 192.168.5.3 0", "net2 10.77.2.1 10.77.2.255 2",
                                      "net3 169.254.7.7 169.254.7.255 5", "net4 10.77.4.1 10.77.4.255 3",
                                      "net5 10.77.5.1 10.77.5.255 1Operation not permitted", "net6   4"));
    EXPECT_EQ(World::elapsed(), searchLookTime);
    EXPECT_EQ(search().failure, "");
}

TEST_F(Look, ForCamerasKeepsWhoAnsweredWhenAndOverWhich) {
    answer(everybody, "10.77.1.11", "Lab", 30ms);
    answer(everybody, "10.77.1.12", "Late", 1001ms);
    sight.replies.push_back({everybody, {ipv4("10.77.1.66"), 1, std::string(256, 'x')}, 7ms});
    sight.replies.push_back({everybody, {ipv4("10.77.1.67"), 1, "[Korva --Room N --IP camera.lab]"}, 40ms});
    knows("10.77.1.11", State::known);
    knows("10.77.1.99", State::failed);
    facts.search.emplace().lines.push_back({});
    lookForCameras(facts);
    EXPECT_THAT(search().answers, ElementsAre(Answer{"10.77.1.11", "10.77.1.11", "Lab", "net1", cameraMacText,
                                                     30ms, "255.255.0.0"},
                                              Answer{"camera.lab", "10.77.1.67", "N", "net1", "", 40ms, ""}));
    EXPECT_THAT(search().strange, ElementsAre(StrangeAnswer{"10.77.1.66", std::string(200, 'x')}));
    EXPECT_THAT(search().lines, SizeIs(1)) << "of the plug-in's search";
    EXPECT_THAT(facts.neighbours, SizeIs(2));
    ASSERT_THAT(facts.cameras, SizeIs(1));
    EXPECT_EQ(facts.cameras[0].address, "10.77.1.11");
    EXPECT_EQ(facts.cameras[0].room, "Lab");
    EXPECT_TRUE(facts.cameras[0].answeredSearch);
    EXPECT_THAT(facts.cameras[0].macAddresses, ElementsAre(cameraMacText));
}

TEST_F(Look, ForCamerasDoesNotSayWhoseHardwareAddressItIsWhereTwoAnswerFromOneAddress) {
    answer(everybody, "10.77.1.11", "Twin A");
    answer(everybody, "10.77.1.11", "Twin B");
    knows("10.77.1.11", State::known);
    lookForCameras(facts);
    EXPECT_THAT(search().answers,
                ElementsAre(Field(&Answer::macAddress, ""), Field(&Answer::macAddress, "")));
    EXPECT_THAT(facts.cameras, SizeIs(1));
}

TEST_F(Look, ForCamerasTellsThoseOfOtherNetworksFromThoseWithAnotherMask) {
    answer(everybody, "10.77.1.11");
    for (const char* address : {"10.77.1.11", "10.77.1.12", "192.168.5.20"})
        answer(cable, address);
    answer(cable, "192.168.5.20"); // over another way
    lookForCameras(facts);
    EXPECT_THAT(search().answers, ElementsAre(Field(&Answer::address, "10.77.1.11")));
    EXPECT_THAT(facts.limitedOnly, ElementsAre(Field(&Answer::address, "10.77.1.12")));
    EXPECT_THAT(facts.foreign, ElementsAre(Field(&Answer::address, "192.168.5.20")));
    EXPECT_THAT(facts.cameras, SizeIs(1)) << "only those that a search finds";
}

TEST_F(Look, ForCamerasIsBoundedInAFlood) {
    for (int at = 0; at < 3000; ++at)
        answer(everybody, "10.77.1.11");
    for (int at = 0; at < 3000; ++at)
        sight.replies.push_back({cable, {ipv4("10.77.1.66"), 1, "x"}, 1ms});
    lookForCameras(facts);
    EXPECT_THAT(search().answers, SizeIs(2048));
    sight.replies.clear();
    for (int at = 0; at < 101; ++at)
        sight.replies.push_back({everybody, {ipv4("10.77.1.66"), 1, "x"}, 1ms});
    lookForCameras(facts);
    EXPECT_THAT(search().strange, SizeIs(100));
    EXPECT_THAT(search().answers, IsEmpty()) << "of the look before";
}

TEST_F(Look, ForCamerasSaysWhyItCouldNotBeMade) {
    calls.fail("querySocket", EMFILE);
    lookForCameras(facts);
    EXPECT_EQ(search().failure, "Too many open files");
    EXPECT_THAT(queries(), IsEmpty());
}

namespace {

/// What an address does, and what is made of it.
struct Address {
    const char* of;
    std::optional<State> neighbour;
    PortOutcome text;
    const char* says;
    PortOutcome picture;
    bool replies;
    // The facts.
    PortState textState;
    PortState pictureState;
    std::optional<bool> answersArp;
    World::Duration took;
    std::chrono::milliseconds confirmedAgo = 1h; ///< at the look's end
};

struct LookAt : Look, testing::WithParamInterface<Address> {};

constexpr auto open = PortOutcome::open;
constexpr auto refused = PortOutcome::refused;
constexpr auto silent = PortOutcome::silent;
constexpr auto unreachable = PortOutcome::unreachable;
constexpr const char* version = "[Version --HW M61 --SW 3.2.15]";

const Address addresses[] = {
    {"ACamera", State::confirmed, open, version, open, true, PortState::open, PortState::open, true, 5ms},
    {"OneKnownFromBeforeThatAnswers", State::known, open, version, open, true, PortState::open,
     PortState::open, true, 5ms},
    {"OneThatIsGone", State::known, silent, "", silent, false, PortState::silent, PortState::silent,
     std::nullopt, 4100ms},
    {"OneThatAnsweredArpBefore", State::confirmed, silent, "", silent, false, PortState::silent,
     PortState::silent, std::nullopt, 4100ms, 4101ms},
    {"OneThatAnswersArpOnly", State::confirmed, silent, "", silent, false, PortState::silent,
     PortState::silent, true, 4100ms, 4100ms},
    {"Nobody", State::failed, unreachable, "", unreachable, false, PortState::unreachable,
     PortState::unreachable, false, 1000ms},
    {"NobodyYet", State::asking, silent, "", silent, false, PortState::unreachable, PortState::unreachable,
     false, 4100ms},
    {"OneWithoutATableEntry", std::nullopt, silent, "", silent, false, PortState::silent, PortState::silent,
     std::nullopt, 4100ms},
    {"AComputer", State::known, refused, "", refused, false, PortState::refused, PortState::refused, true,
     1000ms},
    {"ABlockedTextPort", State::confirmed, silent, "", open, true, PortState::silent, PortState::open, true,
     4100ms},
    {"ABlockedPicturePort", State::confirmed, open, version, silent, true, PortState::open, PortState::silent,
     true, 4100ms},
    {"BlockedDiscovery", State::confirmed, open, version, open, false, PortState::open, PortState::open, true,
     1000ms},
    {"ASilentCamera", State::confirmed, open, "", open, true, PortState::open, PortState::open, true, 4100ms},
};

} // namespace

INSTANTIATE_TEST_SUITE_P(Addresses, LookAt, testing::ValuesIn(addresses),
                         [](const auto& address) { return std::string(address.param.of); });

TEST_P(LookAt, SeesWhatItDoes) {
    const Address& address = GetParam();
    if (address.neighbour)
        knows("10.77.1.11", *address.neighbour, address.confirmedAgo);
    sight.ports["10.77.1.11:32768"] = {address.text, address.says, false, ""};
    sight.ports["10.77.1.11:32769"] = {address.picture, "", false, ""};
    if (address.replies)
        answer("10.77.1.11 over 0", "10.77.1.11");
    lookAt({"10.77.1.11"}, facts);
    ASSERT_THAT(facts.cameras, SizeIs(1));
    const Camera& camera = facts.cameras[0];
    EXPECT_EQ(camera.text, address.textState);
    EXPECT_EQ(camera.picture, address.pictureState);
    EXPECT_EQ(camera.answersArp, address.answersArp);
    EXPECT_EQ(camera.answersQuery, address.replies);
    EXPECT_EQ(camera.room, address.replies ? "Lab" : "");
    EXPECT_EQ(camera.textAnswer, address.says);
    EXPECT_EQ(camera.toldModel, *address.says == '\0' ? "" : "M61");
    EXPECT_EQ(camera.toldFirmware, *address.says == '\0' ? "" : "3.2.15");
    EXPECT_EQ(camera.adapter, "net1");
    EXPECT_EQ(camera.lookFailure, "");
    const bool hasMac = address.answersArp == true; // else it may be another one's, who has gone
    EXPECT_EQ(camera.macAddresses, hasMac ? std::vector{cameraMacText} : std::vector<std::string>());
    EXPECT_EQ(World::elapsed(), address.took);
}

TEST_F(Look, AtAddressesSendsEachOneQueryAndOneConnectionToEachPort) {
    sight.routes["127.0.0.1"] = sight.routes["10.77.1.1"] = {Platform::Way::own, 0, 0};
    sight.routes["192.0.2.1"] = {Platform::Way::router, 1, ipv4("10.77.1.254")};
    sight.routes["10.77.1.255"] = sight.routes["10.9.9.9"] = {};
    lookAt({"127.0.0.1", "10.77.1.1", "192.0.2.1", "10.77.1.255", "10.9.9.9", "0.0.0.0", "127.0.0.1"}, facts);
    EXPECT_THAT(queries(),
                ElementsAre("127.0.0.1:32768 over 0", "10.77.1.1:32768 over 0", "192.0.2.1:32768 over 0"));
    std::vector<std::string> asked;
    for (const char* address : {"127.0.0.1", "10.77.1.1", "192.0.2.1"}) {
        asked.push_back(std::string("askPort ") + address + ":32768 \"[Version --HW --SW --API]\"");
        asked.push_back(std::string("askPort ") + address + ":32769 \"\"");
    }
    EXPECT_EQ(calls.of("askPort"), asked);
    std::vector<std::string> ways;
    for (const Camera& each : facts.cameras)
        ways.push_back(each.address + (each.hasRoute ? " route" : "") + (each.isOwnAddress ? " own" : "") +
                       (each.isOnOwnNetwork ? " near" : "") +
                       (each.text == PortState::unreachable ? " unreachable" : ""));
    EXPECT_THAT(ways,
                ElementsAre("127.0.0.1 route near", "10.77.1.1 route own near", "192.0.2.1 route",
                            "10.77.1.255 unreachable", "10.9.9.9 unreachable", "0.0.0.0 near unreachable"));
}

TEST_F(Look, AtNamesLooksThemUpWhereTheyCanBeNames) {
    sight.hosts["camera.lab"] = {{ipv4("10.77.1.11"), ipv4("10.77.1.12")}, false, ""};
    sight.hosts["nobody"] = {{}, false, "Name or service not known"};
    for (const std::string& none : {std::string("fe80::1"), std::string("10.77.1.11:32768"), std::string(),
                                    std::string("a b"), std::string(254, 'a')})
        facts.cameras.emplace_back().address = none;
    std::vector<std::string> all{"camera.lab", "nobody"};
    for (const Camera& each : facts.cameras)
        all.push_back(each.address);
    lookAt(all, facts);
    EXPECT_THAT(calls.of("lookUpHost"), ElementsAre("lookUpHost camera.lab", "lookUpHost nobody"));
    ASSERT_THAT(facts.cameras, SizeIs(7));
    for (std::size_t at = 0; at < 5; ++at)
        EXPECT_EQ(facts.cameras[at].unknownName, "it is neither an address nor a name");
    EXPECT_EQ(facts.cameras[5].ipv4, "10.77.1.11");
    EXPECT_EQ(facts.cameras[5].text, PortState::silent);
    EXPECT_EQ(facts.cameras[6].unknownName, "Name or service not known");
    EXPECT_EQ(facts.cameras[6].text, PortState::notLooked);
}

TEST_F(Look, ForAnAddressFindsTheOneBehindAName) {
    sight.hosts["camera.lab"] = {{ipv4("10.77.1.11"), ipv4("10.77.1.12")}, false, ""};
    EXPECT_EQ(addressBehind("camera.lab"), "10.77.1.11");
    EXPECT_EQ(addressBehind("10.77.1.13"), "10.77.1.13");
    EXPECT_EQ(addressBehind("nobody"), "");
    EXPECT_EQ(addressBehind(""), "");
    EXPECT_THAT(calls.of("lookUpHost"), ElementsAre("lookUpHost camera.lab", "lookUpHost nobody"));
}

TEST_F(Look, ForARoomAsksOneAddressUpToTwiceAndNothingElse) {
    EXPECT_EQ(askForRoom("10.77.1.11"), "");
    EXPECT_THAT(queries(), ElementsAre("10.77.1.11:32768 over 0", "10.77.1.11:32768 over 0"));
    EXPECT_EQ(World::elapsed(), roomLookTime);
    EXPECT_THAT(calls.of("askPort"), testing::IsEmpty());
    answer("10.77.1.11 over 0", "10.77.1.11");
    EXPECT_EQ(askForRoom("10.77.1.11"), "Lab");
    EXPECT_THAT(queries(), SizeIs(3));
    EXPECT_EQ(askForRoom("no name"), "");
    EXPECT_THAT(queries(), SizeIs(3));
}

TEST_F(Look, AtAddressesTakesAnAnswerFromAnotherOfTheCamerasAddresses) {
    answer("10.77.1.11 over 0", "10.77.1.11");
    sight.replies[0].datagram.source = ipv4("10.77.2.11");
    answer("10.77.1.12 over 0", "10.77.9.9");
    sight.replies[1].datagram.source = ipv4("10.77.1.12");
    answer("10.77.1.13 over 0", "10.77.9.9");
    lookAt({"10.77.1.11", "10.77.1.12", "10.77.1.13"}, facts);
    EXPECT_EQ(facts.cameras[0].answersQuery, true);
    EXPECT_EQ(facts.cameras[1].answersQuery, true);
    EXPECT_EQ(facts.cameras[2].answersQuery, false);
    EXPECT_EQ(facts.cameras[0].announces, "");
    EXPECT_EQ(facts.cameras[1].announces, "10.77.9.9");
}

TEST_F(Look, AtAddressesTakesNoAnswerOfOneThatWasAskedForAnothersThatItNames) {
    answer("10.77.1.13 over 0", "10.77.1.99");
    sight.replies[0].datagram.source = ipv4("10.77.1.13");
    lookAt({"10.77.1.99", "10.77.1.13"}, facts);
    EXPECT_EQ(facts.cameras[0].answersQuery, false);
    EXPECT_EQ(facts.cameras[0].namedFrom, "10.77.1.13");
    EXPECT_EQ(facts.cameras[0].room, "");
    EXPECT_EQ(facts.cameras[1].answersQuery, true);
    EXPECT_EQ(facts.cameras[1].namedFrom, "");
}

TEST_F(Look, AtAddressesSaysWhatCouldNotBeAsked) {
    calls.fail("query 10.77.1.11", EPERM);
    calls.fail("askPort 10.77.1.12:32769", EMFILE);
    sight.ports["10.77.1.13:32768"] = {PortOutcome::notAsked, "", false, ""};
    lookAt({"10.77.1.11", "10.77.1.12", "10.77.1.13"}, facts);
    EXPECT_EQ(facts.cameras[0].lookFailure, "Operation not permitted");
    EXPECT_EQ(facts.cameras[1].lookFailure, "Too many open files");
    EXPECT_EQ(facts.cameras[1].picture, PortState::failed);
    EXPECT_EQ(facts.cameras[1].text, PortState::silent);
    EXPECT_EQ(facts.cameras[2].lookFailure, "there was no time left to ask it");
    EXPECT_EQ(facts.cameras[2].text, PortState::notLooked);
    lookAt({"10.77.1.11"}, facts);
    EXPECT_EQ(facts.cameras[0].lookFailure, "") << "of the look before";
    EXPECT_THAT(facts.cameras, SizeIs(3));
}
