// What was looked at, a line for each look, and where a cause shows.

#include "Diagnosis/Findings.h"

#include <gmock/gmock.h>

#include <functional>

using namespace Diagnosis;
using Status = Finding::Status;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const std::string somewhere = "10.77.1.11";

/// A camera in order that was looked at, identified, probed and photographed.
Camera healthyCamera() {
    Camera camera;
    camera.address = somewhere;
    camera.room = "Lab 2";
    camera.answeredSearch = true;
    camera.answersQuery = true;
    camera.answersArp = true;
    camera.macAddresses = {"02-4b-00-01-00-01"};
    camera.text = camera.picture = PortState::open;
    camera.textAnswer = "[Version --HW M61 --SW 3.2.15 --API 1.4]";
    camera.identity =
        Identity{somewhere, "", "Korva Meridian M61", "1001", "SW-3.2.15_API-1.4", "", "", 1676, 1266};
    camera.photo = PictureFacts{1676, 1266, 3, 255, 80.0, 0.25, 0.005, 4, 80, 200};
    for (const auto what : {Attempt::What::identification, Attempt::What::probe, Attempt::What::picture}) {
        Attempt& attempt = camera.attempts.emplace_back();
        attempt.what = what;
        attempt.succeeded = true;
        attempt.took = Milliseconds(1540);
    }
    return camera;
}

/// A computer with one network in order, a search of it, and that camera.
Facts healthyFacts() {
    Facts facts;
    facts.adapters = {{"lo", true, true, true, "", {}}, {"net1", true, true, false, "", {}}};
    facts.adapters[1].addresses = {{"10.77.1.1", "255.255.255.0"}};
    facts.neighbours = {{"net1", somewhere, "02-4b-00-01-00-01"}, {"net1", "10.77.1.99", ""}};
    facts.search.emplace();
    facts.search->networks = {
        {"net1", {"10.77.1.1", "255.255.255.0"}, "10.77.1.255", SearchedNetwork::Outcome::searched, {}}};
    facts.search->answers.emplace_back();
    facts.cameras = {healthyCamera()};
    return facts;
}

Verdict causeOf(const std::string& code, const std::string& address = "") {
    return {code, Severity::failure, "what is wrong", "what to do", address, ""};
}

Verdict ofAdapter(const std::string& code, const std::string& adapter) {
    Verdict verdict = causeOf(code);
    verdict.adapter = adapter;
    return verdict;
}

Verdict noteOf(const std::string& code, const std::string& address = "") {
    Verdict verdict = causeOf(code, address);
    verdict.severity = Severity::note;
    return verdict;
}

/// What one change of healthy facts does to one line.
struct Row {
    const char* name;
    std::function<void(Facts&)> change;
    std::vector<Verdict> causes;
    Finding line;
};

void PrintTo(const Row& row, std::ostream* out) {
    *out << row.name;
}

Camera& cameraOf(Facts& facts) {
    return facts.cameras.front();
}

const Row rows[] = {
    {"AdapterOff",
     [](Facts& facts) { facts.adapters[1].isUp = false; },
     {},
     {"adapter", Status::note, "net1 is switched off", "", ""}},
    {"AdapterOffThatIsTheCause",
     [](Facts& facts) { facts.adapters[1].isUp = false; },
     {causeOf("adapter-down")},
     {"adapter", Status::failure, "net1 is switched off", "", "what to do"}},
    {"NoLink",
     [](Facts& facts) { facts.adapters[1].hasLink = false; },
     {causeOf("no-link")},
     {"adapter", Status::failure, "net1 has nothing at the other end of its cable", "", "what to do"}},
    {"NoAddress",
     [](Facts& facts) { facts.adapters[1].addresses.clear(); },
     {causeOf("no-address")},
     {"own-address", Status::failure, "net1 has no address", "", "what to do"}},
    {"LinkLocal",
     [](Facts& facts) {
         facts.adapters[1].addresses = {{"169.254.1.2", "255.255.0.0"}};
     },
     {},
     {"own-address", Status::note, "net1 gave itself 169.254.1.2, with the mask 255.255.0.0", "", ""}},
    {"OwnAddressTaken",
     [](Facts&) {},
     {causeOf("own-address-taken", "10.77.1.1")},
     {"own-address", Status::failure, "of net1, with the mask 255.255.255.0: what is wrong", "10.77.1.1",
      "what to do"}},
    {"WrongMask",
     [](Facts&) {},
     {ofAdapter("wrong-mask", "net1")},
     {"own-address", Status::failure, "of net1, with the mask 255.255.255.0: what is wrong", "10.77.1.1",
      "what to do"}},
    {"OtherAdapterOff",
     [](Facts& facts) { facts.adapters[1].isUp = false; },
     {ofAdapter("adapter-down", "net2")},
     {"adapter", Status::note, "net1 is switched off", "", ""}},
    {"OwnAddressesNotAskedFor",
     [](Facts& facts) { facts.askedByArp = false; },
     {},
     {"own-address", Status::note,
      "whether another device has one of these addresses is not known: to ask takes an administrator's "
      "rights",
      "", "sudo korva doctor"}},
    {"OwnAddressesNobodyMayAskFor",
     [](Facts& facts) {
         facts.askedByArp = false;
         facts.commands = CommandSet::netsh;
     },
     {},
     {"own-address", Status::note,
      "whether another device has one of these addresses is not known: this system does not let programs "
      "ask",
      "", ""}},
    {"Neighbours", [](Facts&) {}, {}, {"neighbours", Status::ok, "1 known, 1 did not answer", "", ""}},
    {"NotSearched",
     [](Facts& facts) { facts.search->networks[0].outcome = SearchedNetwork::Outcome::noAddress; },
     {},
     {"search", Status::note, "net1: not searched: it has no IPv4 address", "", ""}},
    {"RefusedSearchThatIsOfNoInterest",
     [](Facts& facts) { facts.search->networks[0].outcome = SearchedNetwork::Outcome::refused; },
     {noteOf("adapter-refused")},
     {"search", Status::note, "net1: the system did not send the query: ", "", "what to do"}},
    {"WrongAddress",
     [](Facts&) {},
     {causeOf("wrong-address", somewhere)},
     {"search", Status::failure, "Lab 2 answered: what is wrong", somewhere, "what to do"}},
    {"NoRoom",
     [](Facts& facts) { cameraOf(facts).room.clear(); },
     {},
     {"search", Status::ok, "answered", somewhere, ""}},
    {"ProbeCutShortBesideAPictureThatFailed",
     [](Facts& facts) {
         cameraOf(facts).attempts[1].succeeded = false;
         cameraOf(facts).attempts[1].allowed = Milliseconds(1500);
         cameraOf(facts).attempts[1].reason = "Took too long: 1500 ms";
     },
     {causeOf("silent", somewhere), noteOf("took-too-long", somewhere)},
     {"probe", Status::note, "no answer, after 1.5 s", somewhere, "what to do"}},
    {"ProbeCutShortAlone",
     [](Facts& facts) {
         cameraOf(facts).attempts[1].succeeded = false;
         cameraOf(facts).attempts[1].allowed = Milliseconds(1500);
         cameraOf(facts).attempts[1].reason = "Took too long: 1500 ms";
     },
     {},
     {"probe", Status::note, "no answer, after 1.5 s", somewhere, ""}},
    {"UnknownAdapters",
     [](Facts& facts) { facts.adaptersKnown = false; },
     {},
     {"adapter", Status::failure, "the system does not tell of its adapters", "", ""}},
    {"Router",
     [](Facts& facts) { facts.defaultGateway = "10.77.1.254"; },
     {},
     {"default-route", Status::ok, "leads to 10.77.1.254", "", ""}},
    {"RefusedSearch",
     [](Facts& facts) {
         facts.search->networks[0].outcome = SearchedNetwork::Outcome::refused;
         facts.search->networks[0].reason = "Permission denied";
     },
     {causeOf("adapter-refused")},
     {"search", Status::failure, "net1: the system did not send the query: Permission denied", "",
      "what to do"}},
    {"NoSearch",
     [](Facts& facts) { facts.search->failure = "no sockets"; },
     {},
     {"search", Status::failure, "no sockets", "", ""}},
    {"NobodyAnswers",
     [](Facts& facts) { facts.search->answers.clear(); },
     {causeOf("no-camera")},
     {"search", Status::failure, "0 answers", "", "what to do"}},
    {"StrangeAnswer",
     [](Facts& facts) {
         facts.search->strange = {{"10.77.1.30", "hi"}};
     },
     {},
     {"search", Status::note, "sent what is no camera's answer", "10.77.1.30", ""}},
    {"ForeignNetwork",
     [](Facts& facts) {
         facts.foreign.emplace_back().address = "192.168.1.5";
         facts.foreign[0].room = "Hall";
     },
     {causeOf("other-subnet", "192.168.1.5")},
     {"other-networks", Status::failure, "Hall answered, from a network that is not this computer's",
      "192.168.1.5", "what to do"}},
    {"OtherMask",
     [](Facts& facts) {
         facts.limitedOnly.emplace_back().address = somewhere;
         facts.limitedOnly[0].room = "Hall";
     },
     {},
     {"other-networks", Status::note, "Hall answered a query to everybody, and none to the network",
      somewhere, ""}},
    {"NoRoute",
     [](Facts& facts) { cameraOf(facts).hasRoute = false; },
     {},
     {"route", Status::failure, "no route leads there", somewhere, ""}},
    {"BehindARouter",
     [](Facts& facts) { cameraOf(facts).isOnOwnNetwork = false; },
     {},
     {"route", Status::ok, "behind a router", somewhere, ""}},
    {"Absent",
     [](Facts& facts) { cameraOf(facts).answersArp = false; },
     {causeOf("absent", somewhere)},
     {"arp", Status::failure, "nobody there", somewhere, "what to do"}},
    {"TwoMachines",
     [](Facts& facts) {
         cameraOf(facts).macAddresses = {"a", "b"};
     },
     {},
     {"arp", Status::ok, "a, b", somewhere, ""}},
    {"QueryBlocked",
     [](Facts& facts) { cameraOf(facts).answersQuery = false; },
     {causeOf("discovery-blocked", somewhere)},
     {"query", Status::failure, "no answer on UDP 32768", somewhere, "what to do"}},
    {"TextPortSilent",
     [](Facts& facts) { cameraOf(facts).text = PortState::silent; },
     {causeOf("text-port-blocked", somewhere)},
     {"text-port", Status::failure, "TCP 32768: no answer", somewhere, "what to do"}},
    {"CauseOfAnotherCamera",
     [](Facts& facts) { cameraOf(facts).text = PortState::silent; },
     {causeOf("text-port-blocked", "10.77.1.12")},
     {"text-port", Status::failure, "TCP 32768: no answer", somewhere, ""}},
    {"PicturePortRefused",
     [](Facts& facts) { cameraOf(facts).picture = PortState::refused; },
     {},
     {"picture-port", Status::failure, "TCP 32769: refused", somewhere, ""}},
    {"PortNotLookedAt",
     [](Facts& facts) {
         cameraOf(facts).picture = PortState::failed;
         cameraOf(facts).lookFailure = "Too many open files";
     },
     {},
     {"picture-port", Status::failure, "TCP 32769: not looked: Too many open files", somewhere, ""}},
    {"Silent",
     [](Facts& facts) { cameraOf(facts).textAnswer.clear(); },
     {causeOf("silent", somewhere)},
     {"text-answer", Status::failure, "no answer to the question for its version", somewhere, "what to do"}},
    {"NotIdentified",
     [](Facts& facts) { cameraOf(facts).attempts[0].succeeded = false; },
     {},
     {"identity", Status::failure, "not identified, after 1.5 s", somewhere, ""}},
    {"ProbeFailed",
     [](Facts& facts) { cameraOf(facts).attempts[1].succeeded = false; },
     {},
     {"probe", Status::failure, "no answer, after 1.5 s", somewhere, ""}},
    {"ProbeRefused",
     [](Facts& facts) { cameraOf(facts).attempts[1].errorCode = 5; },
     {causeOf("camera-error", somewhere)},
     {"probe", Status::failure, "it answers, with error 5, after 1.5 s", somewhere, "what to do"}},
    {"ProbeSilent",
     [](Facts& facts) { cameraOf(facts).attempts[1].succeeded = false; },
     {causeOf("silent", somewhere)},
     {"probe", Status::failure, "no answer, after 1.5 s", somewhere, "what to do"}},
    {"NoPicture",
     [](Facts& facts) {
         cameraOf(facts).attempts[2].succeeded = false;
         cameraOf(facts).photo.reset();
     },
     {causeOf("took-too-long", somewhere)},
     {"picture", Status::failure, "no picture, after 1.5 s", somewhere, "what to do"}},
    {"Overexposed",
     [](Facts&) {},
     {causeOf("overexposed", somewhere)},
     {"picture", Status::failure,
      "1676 x 1266 pixels of 3 to 255, 25.0 % overexposed, 0.5 % black, after 1.5 s", somewhere,
      "what to do"}},
    {"CauseWithoutALook",
     [](Facts&) {},
     {causeOf("something-new", somewhere)},
     {"something-new", Status::failure, "what is wrong", somewhere, "what to do"}},
    {"CauseWithoutACamera",
     [](Facts&) {},
     {causeOf("unknown-name", "nowhere")},
     {"unknown-name", Status::failure, "what is wrong", "nowhere", "what to do"}},
};

class FindingOf : public testing::TestWithParam<Row> {};

} // namespace

TEST_P(FindingOf, AChangedFactIsInItsLine) {
    Facts facts = healthyFacts();
    GetParam().change(facts);
    EXPECT_THAT(findingsOf(facts, GetParam().causes), Contains(GetParam().line));
}

INSTANTIATE_TEST_SUITE_P(Findings, FindingOf, testing::ValuesIn(rows),
                         [](const auto& row) { return row.param.name; });

TEST(Findings, FollowTheWayToTheCamera) {
    std::vector<std::string> looks;
    for (const Finding& finding : findingsOf(healthyFacts(), {})) {
        looks.push_back(finding.look);
        EXPECT_EQ(finding.status, Status::ok) << finding.look;
        EXPECT_EQ(finding.remedy, "");
    }
    EXPECT_THAT(looks, ElementsAre("adapter", "own-address", "default-route", "neighbours", "search",
                                   "search", "other-networks", "search", "query", "route", "arp", "text-port",
                                   "picture-port", "text-answer", "identity", "probe", "picture"));
}

TEST(Findings, ShowEachCauseOnce) {
    Facts facts = healthyFacts();
    cameraOf(facts).text = PortState::silent;
    cameraOf(facts).answersArp = false;
    const auto findings =
        findingsOf(facts, {causeOf("died-after-answer", somewhere), causeOf("dark", somewhere)});
    const auto shown = std::count_if(findings.begin(), findings.end(),
                                     [](const Finding& finding) { return !finding.remedy.empty(); });
    EXPECT_EQ(shown, 2);
}

TEST(Findings, SayNothingOfWhatWasNotLookedAt) {
    Facts facts;
    facts.cameras.emplace_back().address = somewhere;
    for (const Finding& finding : findingsOf(facts, {}))
        EXPECT_THAT(finding.look, testing::AnyOf("default-route", "neighbours"));
}

TEST(Findings, MissNoAddressOfABridgesPort) {
    Facts facts = healthyFacts();
    facts.adapters.push_back({"port", true, true, false, "", {}, true});
    for (const Finding& finding : findingsOf(facts, {}))
        EXPECT_EQ(finding.status, Status::ok) << finding.seen;
}
