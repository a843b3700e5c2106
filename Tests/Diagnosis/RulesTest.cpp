// Whole worlds: all that is known of one, and the causes of what is wrong there, the likeliest first.

#include "Worlds.h"

#include "Diagnosis/Commands.h"
#include "Diagnosis/Printable.h"
#include "Diagnosis/Rules.h"

#include <gtest/gtest.h>

using namespace Diagnosis;
using Outcome = SearchedNetwork::Outcome;
using Codes = std::vector<std::string>;

namespace {

struct World {
    const char* name;
    Facts facts;
    Codes causes;
};

void PrintTo(const World& world, std::ostream* out) {
    *out << world.name;
}

Facts searched(const std::string& adapter, Outcome outcome) {
    Facts facts = quiet();
    SearchedNetwork network;
    network.adapter = adapter;
    network.outcome = outcome;
    network.own = {"10.77.1.1", "255.255.255.0"};
    facts.search->networks = {network};
    return facts;
}

Facts searchLogged(const std::vector<std::string>& messages) {
    Facts facts = quiet();
    for (const std::string& message : messages)
        facts.search->lines.push_back(
            {LogLine::Level::warn, "Plenar.KorvaCamera.KorvaCameraLocator", message});
    return facts;
}

Facts asking(const Camera& camera) {
    Facts facts = computer();
    facts.cameras = {camera};
    return facts;
}

void unconfigure(Adapter& adapter) {
    adapter.addresses.clear();
}

/// The first adapter is one that nobody uses: a radio, or a spare port.
Facts idle(Facts facts) {
    const auto first = facts.adapters.insert(facts.adapters.begin() + 1, adapter("wlan0", ""));
    first->hasLink = false;
    return facts;
}

/// Beside the loopback, as on a computer with nothing else.
Adapter& onlyAdapter(Facts& facts) {
    facts.adapters.resize(2);
    return facts.adapters[1];
}

/// net1 is the port of a bridge that has its address.
void bridge(Facts& facts) {
    facts.adapters.push_back(adapter("br0", "10.77.1.1"));
    unconfigure(facts.adapters[1]);
    facts.adapters[1].isPart = true;
}

void makeLinkLocal(Adapter& adapter) {
    adapter.addresses = {{"169.254.7.1", "255.255.0.0"}};
}

/// Who answers a limited broadcast on net1 alone.
Answer foreigner(const std::string& address, const std::string& mask = "") {
    Answer made = answer(address, "Lab 9", "02-4b-00-09-00-01", "net1");
    made.mask = mask;
    return made;
}

/// Of a camera at `source` that says its address were another one.
Answer misnamed(const std::string& address, const std::string& source, const std::string& adapter = "net1") {
    Answer made = answer(address, "Lab 3", "02-4b-00-03-00-01", adapter);
    made.source = source;
    return made;
}

/// That answered the search, and was not looked at.
Camera foundCamera(const std::string& address) {
    Camera camera;
    camera.address = address;
    camera.answeredSearch = true;
    return camera;
}

/// The healthy world, of whose cameras the first was asked for.
Facts askingForTheFirst(const std::function<void(Facts&)>& change) {
    return with(healthy(), [&change](Facts& f) {
        f.cameras[0].wasAskedFor = true;
        change(f);
    });
}

/// Nobody answers the search, and a camera that this computer plays is asked for.
Facts playedHere(const std::string& address) {
    return with(quiet(), [&address](Facts& f) {
        f.cameras = {readyCamera(address, "Lab 3")};
        f.cameras[0].wasAskedFor = true;
    });
}

Facts strangelyAnswered(const std::string& text) {
    return with(healthy(), [&text](Facts& f) { f.search->strange = {{"", text}}; });
}

/// A search that the system refuses on net2.
void refuseSecondNetwork(Facts& facts) {
    SearchedNetwork& network = facts.search->networks.emplace_back();
    network.adapter = "net2";
    network.outcome = Outcome::refused;
}

// Adapters, and the networks they are in.
const World networkWorlds[] = {
    {"healthy", healthy(), {}},
    {"only a computer", computer(), {}},
    {"nobody answers", quiet(), {"no-camera"}},
    {"cable out of one", with(healthy(), [](Facts& f) { f.adapters[1].hasLink = false; }), {"no-link"}},
    {"cables out",
     with(quiet(), [](Facts& f) { f.adapters[1].hasLink = f.adapters[2].hasLink = false; }),
     {"no-link", "no-link"}},
    {"cable out, by the search", searched("net1", Outcome::noLink), {"no-link"}},
    {"cable out of an adapter that is not used",
     with(healthy(),
          [](Facts& f) {
              f.adapters[2].hasLink = false;
              unconfigure(f.adapters[2]);
          }),
     {}},
    {"cable out of the only one without an address",
     with(quiet(),
          [](Facts& f) {
              f.adapters[1].hasLink = f.adapters[2].hasLink = false;
              unconfigure(f.adapters[1]);
              unconfigure(f.adapters[2]);
          }),
     {"no-link", "no-link"}},
    {"idle adapter", idle(healthy()), {}},
    {"idle adapter, and nobody answers", idle(quiet()), {"no-camera", "note: no-link"}},
    {"idle adapter, and answers blocked",
     with(idle(quiet()),
          [](Facts& f) {
              f.cameras = {readyCamera("10.77.1.11", "")};
              f.cameras[0].answersQuery = false;
          }),
     {"discovery-blocked", "note: no-link"}},
    {"idle adapter, and other subnet",
     with(idle(quiet()), [](Facts& f) { f.foreign = {foreigner("192.168.0.11")}; }),
     {"other-subnet", "note: no-link"}},
    {"bare adapter with a link, and other subnet",
     with(idle(quiet()),
          [](Facts& f) {
              f.adapters[1].hasLink = true;
              f.foreign = {foreigner("192.168.0.11")};
          }),
     {"other-subnet", "note: no-address"}},
    {"bridge's port", with(healthy(), bridge), {}},
    {"bridge's port, and nobody answers", with(quiet(), bridge), {"no-camera"}},
    {"adapter down", with(healthy(), [](Facts& f) { f.adapters[1].isUp = false; }), {"adapter-down"}},
    {"adapter down, by the search", searched("net1", Outcome::down), {"adapter-down"}},
    {"adapter down that only the search knows", searched("net7", Outcome::down), {"adapter-down"}},
    {"radio switched off",
     with(quiet(),
          [](Facts& f) {
              f.adapters[2].isUp = false;
              unconfigure(f.adapters[2]);
          }),
     {"no-camera"}},
    {"container's bridge",
     with(quiet(),
          [](Facts& f) {
              f.adapters.push_back(adapter("docker0", "172.17.0.1", "255.255.0.0"));
              f.adapters.back().hasLink = false;
          }),
     {"no-camera"}},
    {"container's cable", with(healthy(), [](Facts& f) { f.adapters.push_back(adapter("veth12", "")); }), {}},
    {"no address", with(quiet(), [](Facts& f) { unconfigure(onlyAdapter(f)); }), {"no-address"}},
    {"no address beside a container's bridge",
     with(quiet(),
          [](Facts& f) {
              unconfigure(onlyAdapter(f));
              f.adapters.push_back(adapter("docker0", "172.17.0.1", "255.255.0.0"));
          }),
     {"no-address"}},
    {"no address on one of two, and nobody answers",
     with(quiet(), [](Facts& f) { unconfigure(f.adapters[1]); }),
     {"no-camera", "note: no-address"}},
    {"no address on one of two",
     with(healthy(),
          [](Facts& f) {
              unconfigure(f.adapters[1]);
              f.search->answers.erase(f.search->answers.begin());
              f.cameras.erase(f.cameras.begin());
          }),
     {"note: no-address"}},
    {"no address, as the plug-in says too",
     with(searchLogged({"Failed on call to GetAdaptersInfo 232"}),
          [](Facts& f) {
              unconfigure(f.adapters[1]);
              unconfigure(f.adapters[2]);
          }),
     {"no-address", "no-address"}},
    {"no address at all, by the plug-in's line",
     searchLogged({"Failed on call to GetAdaptersInfo 232"}),
     {"no-adapter"}},
    {"no address at all, and none is needed",
     with(playedHere("127.0.0.1"),
          [](Facts& f) {
              f.search->lines = searchLogged({"Failed on call to GetAdaptersInfo 232"}).search->lines;
          }),
     {"note: no-adapter"}},
    {"no adapter, as the plug-in says too",
     with(searchLogged({"Failed on call to GetAdaptersInfo 232"}), [](Facts& f) { f.adapters.resize(1); }),
     {"no-adapter"}},
    {"no adapter", with(quiet(), [](Facts& f) { f.adapters.resize(1); }), {"no-adapter"}},
    {"link-local", with(quiet(), [](Facts& f) { makeLinkLocal(onlyAdapter(f)); }), {"link-local-address"}},
    {"link-local on one of two",
     with(quiet(), [](Facts& f) { makeLinkLocal(f.adapters[1]); }),
     {"no-camera", "note: link-local-address"}},
    {"link-local on one of two, with a camera behind it",
     with(quiet(),
          [](Facts& f) {
              makeLinkLocal(f.adapters[1]);
              f.foreign = {foreigner("10.77.5.11")};
          }),
     {"link-local-address"}},
    {"link-local, and so are the cameras",
     with(healthy(),
          [](Facts& f) {
              makeLinkLocal(f.adapters[1]);
              f.search->answers[0] = answer("169.254.9.9", "Lab 1", "02-4b-00-01-00-01", "");
              f.cameras[0] = readyCamera("169.254.9.9", "Lab 1");
          }),
     {}},
    {"other subnet",
     with(quiet(),
          [](Facts& f) {
              f.foreign = {foreigner("192.168.0.11"), foreigner("192.168.0.12")};
          }),
     {"other-subnet"}},
    {"two other subnets",
     with(quiet(),
          [](Facts& f) {
              f.foreign = {foreigner("192.168.0.11"), foreigner("192.168.5.12")};
          }),
     {"other-subnet", "other-subnet"}},
    {"other subnet, its camera looked at",
     with(quiet(),
          [](Facts& f) {
              f.foreign = {foreigner("192.168.0.11")};
              f.cameras = {missingCamera("192.168.0.11")};
          }),
     {"other-subnet"}},
    {"wrong mask that leaves the cameras out",
     with(quiet(),
          [](Facts& f) {
              f.adapters[1].addresses[0].mask = "255.255.255.252";
              f.foreign = {foreigner("10.77.1.11"), foreigner("10.77.1.12")};
          }),
     {"wrong-mask"}},
    {"wrong mask that leaves out one who was asked for",
     with(asking(missingCamera("10.77.1.11")),
          [](Facts& f) { f.adapters[1].addresses[0].mask = "255.255.255.252"; }),
     {"wrong-mask"}},
    {"wrong mask that takes too many in",
     with(quiet(),
          [](Facts& f) {
              f.adapters[1].addresses[0].mask = "255.255.0.0";
              f.limitedOnly = {foreigner("10.77.1.11", "255.255.255.0")};
              f.cameras = {readyCamera("10.77.1.11", "Lab 1")};
          }),
     {"wrong-mask"}},
    {"answer to the search lost",
     with(healthy(), [](Facts& f) { f.limitedOnly = {foreigner("10.77.1.12", "255.255.255.0")}; }),
     {}},
    {"wrong mask of a camera beside others",
     with(healthy(), [](Facts& f) { f.limitedOnly = {foreigner("10.77.1.12", "255.255.255.252")}; }),
     {"wrong-mask"}},
    {"wrong mask by what the camera says",
     with(quiet(),
          [](Facts& f) {
              f.adapters[1].addresses[0].mask = "255.255.0.0";
              f.cameras = {readyCamera("10.77.1.11", "Lab 1")};
          }),
     {"wrong-mask"}},
    {"foreign answer of one who answered the search",
     with(healthy(), [](Facts& f) { f.foreign = {foreigner("10.77.1.11")}; }),
     {}},
    {"own address taken, by ARP",
     with(healthy(),
          [](Facts& f) {
              f.neighbours = {{"net1", "10.77.1.1", "02-4b-00-01-00-01"}};
          }),
     {"own-address-taken"}},
    {"own address taken, by an answer",
     with(healthy(),
          [](Facts& f) {
              f.search->answers.push_back(answer("10.77.1.1", "Lab 3", "02-4b-00-01-00-03", "net1"));
          }),
     {"own-address-taken"}},
    {"own address, own MAC address",
     with(healthy(),
          [](Facts& f) {
              f.neighbours = {{"net1", "10.77.1.1", f.adapters[1].macAddress}};
          }),
     {}},
    {"own address, MAC address of another adapter in the same network",
     with(healthy(),
          [](Facts& f) {
              f.neighbours = {{"net1", "10.77.1.1", f.adapters[2].macAddress}};
              f.cameras.push_back(askedCamera("10.77.1.1"));
              f.cameras.back().macAddresses = {f.adapters[1].macAddress, f.adapters[2].macAddress};
          }),
     {}},
    {"camera played by this computer",
     with(healthy(),
          [](Facts& f) {
              f.search->answers.push_back(answer("10.77.1.1", "Lab 3", "", "net1"));
              f.cameras.push_back(readyCamera("10.77.1.1", "Lab 3"));
          }),
     {}},
    {"own address taken, by an answer while nobody plays a camera here",
     with(healthy(),
          [](Facts& f) {
              f.search->answers.push_back(answer("10.77.1.1", "Lab 3", "", "net1"));
              f.cameras.push_back(askedCamera("10.77.1.1"));
              f.cameras.back().text = f.cameras.back().picture = PortState::refused;
          }),
     {"own-address-taken"}},
    {"own address named by a camera that has another one",
     with(healthy(),
          [](Facts& f) {
              f.search->answers.push_back(misnamed("10.77.1.1", "10.77.1.13"));
              f.cameras.push_back(foundCamera("10.77.1.1"));
              f.cameras.back().isOwnAddress = true;
              f.cameras.back().text = f.cameras.back().picture = PortState::refused;
          }),
     {"wrong-address"}},
};

// The search.
const World searchWorlds[] = {
    {"adapter refused", searched("net1", Outcome::refused), {"adapter-refused"}},
    {"adapter refused because it is off",
     with(searched("net1", Outcome::refused), [](Facts& f) { f.adapters[1].isUp = false; }),
     {"adapter-down"}},
    {"no broadcasts", searchLogged({"setsockopt failed"}), {"search-failed"}},
    {"no list of adapters", searchLogged({"Failed on call to GetAdaptersInfo 5"}), {"search-failed"}},
    {"list of adapters changed",
     searchLogged({"Failed on second call to GetAdaptersInfo 111"}),
     {"search-failed"}},
    {"search failed otherwise",
     searchLogged({"Unknown exception when trying to discover Korva devices."}),
     {"search-failed"}},
    {"search failed before it began",
     with(quiet(), [](Facts& f) { f.search->failure = "no socket"; }),
     {"search-failed"}},
    {"search cut, nobody found",
     with(quiet(), [](Facts& f) { f.search->cut = "datagrams kept coming"; }),
     {"search-cut"}},
    {"search cut",
     with(healthy(), [](Facts& f) { f.search->cut = "datagrams kept coming"; }),
     {"note: search-cut"}},
    {"flood",
     with(healthy(),
          [](Facts& f) {
              f.search->lines = {{LogLine::Level::warn, "",
                                  "More than 16384 replies from Korva devices, ignoring the rest.."}};
          }),
     {"note: too-many-answers"}},
    {"strange answer",
     with(healthy(),
          [](Facts& f) {
              f.search->strange = {{"10.77.1.9", "hello"}, {"10.77.1.9", "again"}};
          }),
     {"note: strange-answer"}},
    {"strange answer, and one is absent",
     with(healthy(),
          [](Facts& f) {
              f.search->strange = {{"10.77.1.9", "hello"}};
              f.cameras.push_back(missingCamera("10.77.1.12"));
          }),
     {"absent", "note: strange-answer"}},
    {"answers blocked",
     with(quiet(),
          [](Facts& f) {
              f.cameras = {readyCamera("10.77.1.11", "")};
              f.cameras[0].answersQuery = false;
          }),
     {"discovery-blocked"}},
    {"broadcasts lost",
     with(quiet(), [](Facts& f) { f.cameras = {readyCamera("10.77.1.11", "")}; }),
     {"broadcast-lost"}},
    {"this computer's own loopback",
     with(playedHere("127.0.0.1"), [](Facts& f) { f.adapters.resize(1); }),
     {"note: no-adapter"}},
    {"this computer's own loopback, and another one's address",
     with(playedHere("127.0.0.1"),
          [](Facts& f) {
              f.adapters.resize(1);
              f.cameras.push_back(missingCamera("10.77.1.12"));
          }),
     {"no-adapter"}},
    {"this computer's own loopback beside adapters", playedHere("127.0.0.1"), {}},
    {"this computer's own address", playedHere("10.77.1.1"), {}},
    {"two cameras with one address",
     with(healthy(),
          [](Facts& f) {
              f.search->answers.push_back(answer("10.77.1.11", "Twin", "02-4b-00-01-00-02", "net1"));
          }),
     {"duplicate-address"}},
    {"garbage instead of all that it tells",
     with(healthy(),
          [](Facts& f) {
              f.cameras[0].identity = Identity();
              f.cameras[0].textAnswer = "\x07\x99zz";
          }),
     {"garbage"}},
    {"garbage instead of a version",
     with(healthy(),
          [](Facts& f) {
              f.cameras[0].identity.reset();
              f.cameras[0].textAnswer = "\x07zz";
          }),
     {"garbage"}},
    {"one of two does not answer the search",
     with(healthy(),
          [](Facts& f) {
              f.search->answers.pop_back();
              f.cameras[1].answeredSearch = false;
          }),
     {"note: broadcast-lost"}},
    {"an absent one was asked for and nobody found",
     with(quiet(), [](Facts& f) { f.cameras = {missingCamera("10.77.1.11")}; }),
     {"absent"}},
};

// Addresses that were asked for, without a search.
const World addressWorlds[] = {
    {"one is ready, another network's cable out",
     with(asking(readyCamera("10.77.1.11", "")), [](Facts& f) { f.adapters[2].hasLink = false; }),
     {}},
    {"its network's cable is out",
     with(asking(missingCamera("10.77.1.11")), [](Facts& f) { f.adapters[1].hasLink = false; }),
     {"no-link"}},
    {"its network's adapter is down",
     with(asking(missingCamera("10.77.1.11")), [](Facts& f) { f.adapters[1].isUp = false; }),
     {"adapter-down"}},
    {"another network's adapter is down",
     with(asking(missingCamera("10.77.1.11")), [](Facts& f) { f.adapters[2].isUp = false; }),
     {"absent"}},
    {"the adapter has no address",
     with(asking(missingCamera("10.77.9.11")), [](Facts& f) { unconfigure(onlyAdapter(f)); }),
     {"no-address"}},
    {"an adapter has no address, and no network holds it",
     with(asking(missingCamera("10.77.9.11")), [](Facts& f) { unconfigure(f.adapters[2]); }),
     {"other-subnet", "note: no-address"}},
    {"an adapter is idle, and no network holds it",
     idle(asking(missingCamera("192.168.5.5"))),
     {"other-subnet", "note: no-link"}},
    {"an adapter has no address, but its network is another one",
     with(asking(missingCamera("10.77.1.11")), [](Facts& f) { unconfigure(f.adapters[2]); }),
     {"absent"}},
    {"no network holds it", asking(missingCamera("10.77.9.11")), {"other-subnet"}},
    {"no route leads to it",
     with(asking(missingCamera("10.9.9.9")), [](Facts& f) { f.cameras[0].hasRoute = false; }),
     {"no-route"}},
    {"behind a router", asking(readyCamera("10.9.9.9", "")), {"note: behind-router"}},
    {"by name",
     with(asking(missingCamera("camera.local")),
          [](Facts& f) {
              f.cameras[0].ipv4 = "10.77.1.11";
              f.adapters[1].hasLink = false;
          }),
     {"no-link"}},
    {"two absent, one ready",
     with(asking(missingCamera("10.77.1.11")),
          [](Facts& f) {
              f.cameras.push_back(readyCamera("10.77.1.12", ""));
              f.cameras.push_back(missingCamera("10.77.1.13"));
          }),
     {"absent", "absent"}},
};

// Addresses that were asked for, and a search that finds others as well.
const World focusWorlds[] = {
    {"another camera is at fault",
     askingForTheFirst([](Facts& f) { f.cameras[1].text = PortState::silent; }),
     {"note: text-port-blocked"}},
    {"it is at fault itself, and so is another one",
     askingForTheFirst([](Facts& f) {
         f.cameras[1].text = PortState::silent;
         f.cameras[0].picture = PortState::refused;
     }),
     {"picture-port-refused", "note: text-port-blocked"}},
    {"its own note comes before another's failure",
     askingForTheFirst([](Facts& f) {
         f.cameras[0].attempts[1].errorCode = 5;
         f.adapters[2].hasLink = false;
     }),
     {"note: camera-error", "note: no-link"}},
    {"another camera is odd",
     askingForTheFirst([](Facts& f) { f.cameras[1].attempts[1].errorCode = 5; }),
     {}},
    {"another network refuses the search", askingForTheFirst(refuseSecondNetwork), {"note: adapter-refused"}},
    {"its network refuses the search",
     askingForTheFirst([](Facts& f) {
         refuseSecondNetwork(f);
         f.cameras[0].wasAskedFor = false;
         f.cameras[1].wasAskedFor = true;
     }),
     {"adapter-refused"}},
    {"another network's cable is out, beside it",
     askingForTheFirst([](Facts& f) { f.adapters[2].hasLink = false; }),
     {"note: no-link"}},
    {"a camera of another subnet is on its cable",
     askingForTheFirst([](Facts& f) { f.foreign = {foreigner("192.168.0.11")}; }),
     {"note: other-subnet"}},
    {"it is in another subnet",
     askingForTheFirst([](Facts& f) {
         f.foreign = {foreigner("192.168.0.11")};
         f.cameras[0] = missingCamera("192.168.0.11");
     }),
     {"other-subnet"}},
    {"behind a router, and nobody else answers",
     with(quiet(),
          [](Facts& f) {
              f.cameras = {readyCamera("10.9.9.9", "")};
              f.cameras[0].wasAskedFor = true;
          }),
     {"note: behind-router"}},
    {"the second address of a camera on two networks",
     with(quiet(),
          [](Facts& f) {
              f.search->answers = {answer("10.77.1.11", "Lab 3", "02-4b-00-03-00-01", "net1"),
                                   misnamed("10.77.1.11", "10.77.2.11", "net2")};
              f.cameras = {foundCamera("10.77.1.11"), readyCamera("10.77.2.11", "")};
              f.cameras[1].wasAskedFor = true;
          }),
     {"note: second-answer"}},
    {"it says that it has another address",
     with(quiet(),
          [](Facts& f) {
              f.search->answers = {misnamed("10.77.1.99", "10.77.1.11")};
              f.cameras = {foundCamera("10.77.1.99"), readyCamera("10.77.1.11", "")};
              f.cameras[1].wasAskedFor = true;
          }),
     {"note: wrong-address"}},
};

class Causes : public testing::TestWithParam<World> {};

} // namespace

TEST_P(Causes, ComeInTheOrderOfLikelihoodWithoutWhatFollowsFromThem) {
    const std::vector<Verdict> causes = causesOf(GetParam().facts);
    EXPECT_EQ(codesOf(causes), GetParam().causes);
    for (const Verdict& cause : causes) {
        EXPECT_FALSE(cause.text.empty() || cause.remedy.empty()) << cause.code;
        EXPECT_NE(cause.text.back(), '.');
    }
}

INSTANTIATE_TEST_SUITE_P(OfNetworks, Causes, testing::ValuesIn(networkWorlds));
INSTANTIATE_TEST_SUITE_P(OfASearch, Causes, testing::ValuesIn(searchWorlds));
INSTANTIATE_TEST_SUITE_P(OfAddresses, Causes, testing::ValuesIn(addressWorlds));
INSTANTIATE_TEST_SUITE_P(OfAddressesAmongOthers, Causes, testing::ValuesIn(focusWorlds));

TEST(Causes, OfCamerasComeInTheOrderOfTheirAddresses) {
    const Facts facts = with(computer(), [](Facts& f) {
        for (const char* address : {"lab", "10.77.1.20", "10.77.1.3"})
            f.cameras.push_back(missingCamera(address));
    });
    std::vector<std::string> addresses;
    for (const Verdict& cause : causesOf(facts))
        addresses.push_back(cause.address);
    EXPECT_EQ(addresses, (std::vector<std::string>{"10.77.1.3", "10.77.1.20", "lab"}));
}

namespace {

struct Words {
    const char* name;
    Facts facts;
    const char* text;
    const char* remedy;
};

constexpr auto notACamera =
    "give the camera another room name if it is one; else another device uses UDP 32768";

constexpr auto checkFirewall = "check the firewall and the routes of this computer, or switch the adapter "
                               "off: sudo ip link set net2 down; "
                               "meanwhile give the camera's address to the command";

const Words words[] = {
    {"adapter-down", with(healthy(), [](Facts& f) { f.adapters[1].isUp = false; }),
     "the network adapter net1 is switched off", "sudo ip link set net1 up"},
    {"no-link", with(healthy(), [](Facts& f) { f.adapters[1].hasLink = false; }),
     "nothing is at the other end of the cable of net1",
     "plug in the cable of net1, and check the power of the switch or camera behind it"},
    {"no-link beside an idle adapter", idle(with(quiet(), [](Facts& f) { onlyAdapter(f).hasLink = false; })),
     "nothing is at the other end of the cable of net1",
     "plug in the cable of net1, and check the power of the switch or camera behind it"},
    {"no-address", with(quiet(), [](Facts& f) { unconfigure(onlyAdapter(f)); }), "net1 has no IPv4 address",
     "give it one in the cameras' network, such as: sudo ip addr add 10.77.1.200/24 dev net1"},
    {"no-address, and a camera was asked for",
     with(asking(missingCamera("192.168.5.10")), [](Facts& f) { unconfigure(onlyAdapter(f)); }),
     "net1 has no IPv4 address",
     "give it one in the camera's network, such as: sudo ip addr add 192.168.5.200/24 dev net1"},
    {"link-local, and a camera was asked for",
     with(asking(missingCamera("192.168.5.200")), [](Facts& f) { makeLinkLocal(onlyAdapter(f)); }),
     "net1 has only the address 169.254.7.1/16 that it gave itself, since nobody gave it one",
     "give it one in the camera's network, such as: sudo ip addr add 192.168.5.201/24 dev net1"},
    {"link-local with a camera behind it",
     with(quiet(),
          [](Facts& f) {
              makeLinkLocal(f.adapters[1]);
              f.foreign = {foreigner("10.77.5.200")};
          }),
     "net1 has only the address 169.254.7.1/16 that it gave itself, since nobody gave it one; a camera on "
     "its cable is at 10.77.5.200",
     "sudo ip addr add 10.77.5.201/24 dev net1"},
    {"other-subnet",
     with(quiet(),
          [](Facts& f) {
              f.foreign = {foreigner("192.168.0.11", "255.255.255.240"), foreigner("192.168.0.12")};
          }),
     "this camera (and 1 more) is on the cable of net1, but not in its network 10.77.1.1/24",
     "sudo ip addr add 192.168.0.1/28 dev net1; then give the camera's address to the command"},
    {"other-subnet where addresses are taken",
     with(quiet(),
          [](Facts& f) {
              f.defaultGateway = "192.168.0.200";
              f.adapters[2].addresses.push_back({"192.168.0.201", "255.255.255.255"});
              f.neighbours = {{"net1", "192.168.0.202", ""}};
              f.cameras = {askedCamera("lab")};
              f.cameras[0].ipv4 = "192.168.0.203";
              f.foreign = {foreigner("192.168.0.204")};
          }),
     "this camera is on the cable of net1, but not in its network 10.77.1.1/24",
     "sudo ip addr add 192.168.0.205/24 dev net1; then give the camera's address to the command"},
    {"other-subnet where all addresses are taken",
     with(asking(missingCamera("10.77.9.11")),
          [](Facts& f) {
              for (int host = 1; host < 255; ++host)
                  f.neighbours.push_back({"net1", "10.77.9." + std::to_string(host), ""});
          }),
     "nobody answers; the address is in none of this computer's networks (net1 10.77.1.1/24, net2 "
     "10.77.2.1/24)",
     "check the address; if the camera is on the cable of net1: give net1 a free address in the camera's "
     "network"},
    {"wrong-mask",
     with(quiet(),
          [](Facts& f) {
              f.adapters[1].addresses[0].mask = "255.255.255.252";
              f.foreign = {foreigner("10.77.1.11")};
          }),
     "the mask 255.255.255.252 of net1 is not that of the cameras' network (10.77.1.11, probably "
     "255.255.255.0)",
     "sudo ip addr del 10.77.1.1/30 dev net1; sudo ip addr add 10.77.1.1/24 dev net1"},
    {"wrong mask of a camera",
     with(healthy(), [](Facts& f) { f.limitedOnly = {foreigner("10.77.1.12", "255.255.255.252")}; }),
     "its mask 255.255.255.252 is not that of its network (255.255.255.0): a search does not get to it",
     "correct the mask in the camera's settings; until then give its address to the command"},
    {"own-address-taken",
     with(healthy(),
          [](Facts& f) {
              f.neighbours = {{"net1", "10.77.1.1", "02-4b-00-01-00-01"}};
          }),
     "this computer and another device on net1 both have this address",
     "sudo ip addr del 10.77.1.1/24 dev net1; sudo ip addr add 10.77.1.200/24 dev net1"},
    {"adapter-refused",
     with(quiet(),
          [](Facts& f) {
              f.search->networks = {{"net2",
                                     {"10.77.2.1", "255.255.255.0"},
                                     "",
                                     Outcome::refused,
                                     "not permitted, by a firewall of this computer or for want of rights"}};
          }),
     "no search can be sent on net2 (10.77.2.1/24): not permitted, by a firewall of this computer or for "
     "want of rights",
     checkFirewall},
    {"no-camera", quiet(), "no camera answered the search on net1 (10.77.1.1/24), net2 (10.77.2.1/24)",
     "check the camera's power and cable and the switch; then the firewall of this computer (UDP 32768); a "
     "camera behind a router is found by its address alone"},
    {"no-camera where nobody could be asked by ARP", with(quiet(), [](Facts& f) { f.askedByArp = false; }),
     "no camera answered the search on net1 (10.77.1.1/24), net2 (10.77.2.1/24)",
     "check the camera's power and cable and the switch; then the firewall of this computer (UDP 32768); a "
     "camera behind a router is found by its address alone; sudo korva doctor, which sees more"},
    {"wrong-address by the address it has",
     with(computer(),
          [](Facts& f) {
              f.search = Search();
              f.search->answers = {misnamed("10.77.1.99", "10.77.1.11")};
              f.cameras = {readyCamera("10.77.1.11", "")};
          }),
     "answers here, but says that its address is 10.77.1.99",
     "correct the address in the camera's settings; until then give this one to the command"},
    {"other-subnet of an address", idle(asking(missingCamera("10.77.9.11"))),
     "nobody answers; the address is in none of this computer's networks (net1 10.77.1.1/24, net2 "
     "10.77.2.1/24)",
     "check the address; if the camera is on the cable of net1: sudo ip addr add 10.77.9.200/24 dev net1"},
    {"other-subnet of an address beside a bridge", with(asking(missingCamera("10.77.9.11")), bridge),
     "nobody answers; the address is in none of this computer's networks (net2 10.77.2.1/24, br0 "
     "10.77.1.1/24)",
     "check the address; if the camera is on the cable of net2: sudo ip addr add 10.77.9.200/24 dev net2"},
    {"not-an-address",
     with(asking(missingCamera("10.77.1.255")), [](Facts& f) { f.cameras[0].hasRoute = false; }),
     "is the broadcast address of net1: it stands for all", "the IPv4 address of one camera"},
    {"no-route", with(asking(missingCamera("10.9.9.9")), [](Facts& f) { f.cameras[0].hasRoute = false; }),
     "this computer has no way to this address: it is in none of its networks (net1 10.77.1.1/24, net2 "
     "10.77.2.1/24)",
     "check the address; if the camera is on the cable of net1: sudo ip addr add 10.9.9.200/24 dev net1"},
    {"strange-answer",
     with(healthy(),
          [](Facts& f) {
              f.search->strange = {{"10.77.1.9", "h\x1Bi"}, {"10.77.1.9", "again"}};
          }),
     "2 answers to the search that no camera gives from 10.77.1.9: \"h\\x1bi\"", notACamera},
    {"strange-answers of several",
     with(healthy(),
          [](Facts& f) {
              for (const char* source : {"10.77.1.9", "10.77.1.8", "10.77.1.9", "", "10.77.1.7"})
                  f.search->strange.push_back({source, "hi"});
          }),
     "5 answers to the search that no camera gives from 10.77.1.9, 10.77.1.8, 10.77.1.7, the first of them: "
     "\"hi\"",
     notACamera},
    {"strange-answers of many",
     with(healthy(),
          [](Facts& f) {
              for (int host = 1; host <= 6; ++host)
                  f.search->strange.push_back({std::to_string(host), "hi"});
          }),
     "6 answers to the search that no camera gives from 1, 2, 3, 4 and 2 more, the first of them: \"hi\"",
     notACamera},
    {"no-adapter, and only this computer was asked for",
     with(playedHere("127.0.0.1"), [](Facts& f) { f.adapters.resize(1); }),
     "this computer has no network adapter", "plug in or switch on a network adapter, or install its driver"},
    {"a camera at what is no address",
     with(asking(readyCamera("$(id)", "")), [](Facts& f) { f.cameras[0].ipv4 = "10.77.1.11"; }),
     "is neither an IPv4 address nor the name of a computer",
     "an IPv4 address such as 10.77.1.11, or a computer's name"},
};

} // namespace

TEST(Causes, SayWhatIsWrongAndWhichCommandMendsIt) {
    for (const Words& row : words) {
        const std::vector<Verdict> causes = causesOf(row.facts);
        ASSERT_FALSE(causes.empty()) << row.name;
        EXPECT_EQ(causes.front().text, row.text) << row.name;
        EXPECT_EQ(causes.front().remedy, row.remedy) << row.name;
    }
}

TEST(Causes, AreMendedByNetshWhereTheSystemHasThat) {
    const std::string name = "Ethernet 2";
    const OwnAddress address{"10.77.1.1", "255.255.0.0"};
    const std::string netsh = "as administrator: netsh interface ";
    EXPECT_EQ(commandToAdd(CommandSet::netsh, name, address),
              netsh + R"(ipv4 set interface "Ethernet 2" dhcpstaticipcoexistence=enabled; )"
                      R"(netsh interface ipv4 add address "Ethernet 2" 10.77.1.1 255.255.0.0)")
        << "else it loses the address that DHCP gave it";
    EXPECT_EQ(commandToRemove(CommandSet::netsh, name, address),
              netsh + R"(ipv4 delete address "Ethernet 2" 10.77.1.1)");
    EXPECT_EQ(commandToSwitchOn(CommandSet::netsh, name), netsh + R"(set interface "Ethernet 2" enabled)");
    EXPECT_EQ(commandToSwitchOff(CommandSet::netsh, name), netsh + R"(set interface "Ethernet 2" disabled)");
    std::size_t commands = 0;
    for (const Words& row : words) {
        Facts facts = row.facts;
        facts.commands = CommandSet::netsh;
        const std::string remedy = causesOf(facts).front().remedy;
        EXPECT_EQ(remedy.find("sudo"), std::string::npos) << remedy;
        commands += remedy.find(netsh) != std::string::npos ? 1 : 0;
    }
    EXPECT_GE(commands, 10u);
}

TEST(Causes, ShowTheBeginningOfAStrangeAnswer) {
    const Facts facts = strangelyAnswered(std::string(200, 'x'));
    EXPECT_EQ(causesOf(facts).at(0).text,
              "an answer to the search that no camera gives: \"" + std::string(60, 'x') + '"');
}

TEST(Causes, ShowNoPartOfACharacter) {
    for (const auto& [text, shown] : {std::pair{std::string(59, 'x') + "\u00E9", std::string(59, 'x')},
                                      {std::string(58, 'x') + "\u20AC", std::string(58, 'x')},
                                      {std::string(57, 'x') + "\u20ACy", std::string(57, 'x') + "\u20AC"},
                                      {std::string(200, '\x80'), std::string(60, '\x80')}}) {
        const Facts facts = strangelyAnswered(text);
        EXPECT_EQ(causesOf(facts).at(0).text,
                  "an answer to the search that no camera gives: \"" + printable(shown) + '"');
    }
}

TEST(Causes, CannotSteerATerminalWhateverTheNetworkSays) {
    const std::string evil = "\x1B[2J\xFF\n";
    const Facts worlds[] = {
        with(quiet(),
             [&](Facts& f) {
                 for (Adapter& each : f.adapters)
                     each.name += evil;
                 f.adapters[1].addresses = {{evil, evil}};
                 f.adapters[2].isUp = false;
                 f.foreign = {answer(evil, evil, evil, "")};
                 f.search->strange = {{evil, evil}};
                 f.search->cut = evil;
                 f.search->networks = {{evil, {evil, evil}, evil, Outcome::refused, evil}};
             }),
        with(quiet(), [&](Facts& f) { f.search->failure = evil; }),
        with(quiet(),
             [&](Facts& f) {
                 f.search->answers = {answer("10.77.1.11", "a" + evil, "", ""),
                                      answer("10.77.1.11", "b" + evil, "", "")};
                 f.cameras = {readyCamera("10.77.1.11", evil), askedCamera(evil)};
             }),
        asking(with(computer(),
                    [&](Facts& f) {
                        f.cameras = {readyCamera("10.77.1.11", evil)};
                        f.cameras[0].identity->model = evil;
                        f.cameras[0].lookFailure = evil;
                    })
                   .cameras[0]),
    };
    for (const Facts& facts : worlds) {
        const std::vector<Verdict> causes = causesOf(facts);
        EXPECT_FALSE(causes.empty());
        for (const Verdict& cause : causes) {
            EXPECT_EQ(cause.text, printable(cause.text)) << cause.code;
            EXPECT_EQ(cause.remedy, printable(cause.remedy)) << cause.code;
        }
    }
}

TEST(Causes, OfANetworkAreAlsoThoseOfItsCameras) {
    const Facts facts =
        with(asking(missingCamera("10.77.1.11")), [](Facts& f) { f.adapters[1].hasLink = false; });
    const auto verdict = verdictOn(facts.cameras[0], facts);
    ASSERT_TRUE(verdict);
    EXPECT_EQ(verdict->code, "no-link");
    EXPECT_EQ(verdict->address, "10.77.1.11");
}

TEST(Causes, OfForeignNetworksAreBounded) {
    Facts facts = quiet();
    for (int network = 0; network < 200; ++network)
        facts.foreign.push_back(foreigner("192.168." + std::to_string(network) + ".11"));
    EXPECT_EQ(causesOf(facts).size(), 16u);
}

TEST(Verdicts, OfAllCamerasAreThoseOfEach) {
    Facts facts = healthy();
    facts.cameras.push_back(missingCamera("10.77.1.12"));
    const auto verdicts = verdictsOn(facts);
    ASSERT_EQ(verdicts.size(), 3u);
    for (std::size_t i = 0; i < verdicts.size(); ++i)
        EXPECT_EQ(verdicts[i], verdictOn(facts.cameras[i], facts)) << i;
    EXPECT_EQ(verdicts[0], std::nullopt);
    EXPECT_EQ(verdicts[2].value().code, "absent");
    facts.adapters[1].isUp = false;
    EXPECT_EQ(verdictsOn(facts)[0], std::nullopt) << "it is there all the same";
    facts.cameras[2].wasAskedFor = true;
    EXPECT_EQ(verdictsOn(facts)[2].value().code, "adapter-down");
}
