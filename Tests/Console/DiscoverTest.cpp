// What `korva discover` makes of a search's log lines, and of what was seen.

#include "Console/CameraHost.h"
#include "Console/DiscoverReport.h"
#include "Console/DiscoverWatch.h"
#include "Console/SearchFacts.h"
#include "Console/SearchProgress.h"

#include "Diagnosis/Rules.h"
#include "Platform/Text.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <set>
#include <string>
#include <vector>

using namespace Console;
using Diagnosis::SearchedNetwork;
using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;
using Outcome = SearchedNetwork::Outcome;

namespace {

using Lines = std::vector<std::string>;

const Lines begin = {"broadcastObserverSearch..", "IP on network adapter: 10.77.1.1",
                     "Mask on network adapter: 255.255.255.0",
                     "UDP broadcasting Korva Discovery on: 10.77.1.255"};
const std::string heard = "Message from Korva device: ";
const std::string turn = "Found Korva with MAC ";
const std::string unknown = "00-00-00-00-00-00";
const std::string passed = " more than once, ignoring..";

SearchProgress searchedBy(const Lines& lines) {
    SearchProgress progress;
    for (const Lines& part : {begin, lines})
        for (const std::string& line : part)
            progress.take(line, Diagnosis::Milliseconds(5));
    return progress;
}

Diagnosis::Adapter adapter(const std::string& name, const std::string& address = "") {
    Diagnosis::Adapter one;
    one.name = name;
    if (!address.empty())
        one.addresses = {{address, "255.255.255.0"}};
    return one;
}

CameraInfo cameraAt(const std::string& address, const std::wstring& serialNumber = L"7") {
    CameraInfo info;
    info.setIpAddress(Platform::wideFromUtf8(address));
    info.setModel(L"Korva Meridian M61");
    info.setSerialNumber(serialNumber);
    info.setResolutionX(4);
    info.setResolutionY(3);
    return info;
}

const std::string refused = "Korva Query - sendto call failed: sendReturn = -1 WSAError = 10013";

/// "ROOM ADDRESS", as a look of our own has heard it.
Diagnosis::Answer answerFrom(const std::string& source, const std::string& roomAndAddress) {
    Diagnosis::Answer answer = searchedBy({heard + roomAndAddress}).search().answers.at(0);
    answer.source = source;
    return answer;
}

/// A look of our own that cameras in these rooms, at .11 and so on, have answered.
Diagnosis::Facts searched(const Lines& rooms) {
    Lines lines;
    for (const std::string& room : rooms)
        lines.push_back(heard + room + " 10.77." + std::to_string(1 + lines.size() / 200) + "." +
                        std::to_string(11 + lines.size() % 200));
    return factsOf(searchedBy(lines), {});
}

/// One camera at .12 in Room A that is ready, and one at .2 in Room B whose identification failed.
DiscoverReport mixed() {
    const SearchProgress progress = searchedBy(
        {heard + "Room A 10.77.1.12", heard + "Room B 10.77.1.2", turn + "02-4b-00-01-00-02",
         turn + "02-4b-00-01-00-01", "DeviceException while determining camera info.",
         "    Rejecting Korva camera, Vantrel requires Korva SW version at least 3.2.15 found 3.1.0"});
    const std::vector<CameraInfo> found = {cameraAt("10.77.1.12")};
    return {factsOf(progress, found), found};
}

} // namespace

TEST(SearchProgress, TellsTheNetworksThatWereSearchedAndWhoAnsweredWhen) {
    const Diagnosis::Search search =
        searchedBy({"IP on network adapter: 10.77.2.1", "Mask on network adapter: 255.255.0.0",
                    "UDP broadcasting Korva Discovery on: 10.77.255.255", heard + "Big room 10.77.1.11",
                    "Got message that wasn't parsed as a Korva response: hello", turn + "02-4b-00-01-00-01"})
            .search();
    ASSERT_EQ(search.networks.size(), 2u);
    EXPECT_EQ(search.networks[0].own, (Diagnosis::OwnAddress{"10.77.1.1", "255.255.255.0"}));
    EXPECT_EQ(search.networks[1].own.mask, "255.255.0.0");
    EXPECT_EQ(search.networks[1].broadcast, "10.77.255.255");
    ASSERT_EQ(search.answers.size(), 1u);
    EXPECT_EQ(search.answers[0].address, "10.77.1.11");
    EXPECT_EQ(search.answers[0].room, "Big room");
    EXPECT_EQ(search.answers[0].macAddress, "02-4b-00-01-00-01");
    EXPECT_EQ(search.answers[0].after, Diagnosis::Milliseconds(5));
    EXPECT_EQ(search.strange, (std::vector<Diagnosis::StrangeAnswer>{{"", "hello"}}));
    EXPECT_EQ(search.failure, "");
}

TEST(SearchProgress, TakesTheKeyBehindARoomWithoutANameForNoRoom) {
    EXPECT_EQ(searchedBy({heard + "--IP 10.77.1.11"}).search().answers.at(0).room, "");
}

TEST(SearchProgress, SaysInWordsWhyThereWasNoSearch) {
    for (const auto& [line, failure, reason] :
         {std::tuple{refused.c_str(), "the system refused to send the query to 10.77.1.255", "not permitted"},
          {"Korva Query - sendto call failed: sendReturn = -1 WSAError = 10051",
           "the system refused to send the query to 10.77.1.255", "there is no route"},
          {"setsockopt failed", "this computer lets the tool send no search (a broadcast)", ""},
          {"Failed on call to GetAdaptersInfo 31", "this computer does not tell its network adapters", ""},
          {"Failed on second call to GetAdaptersInfo 31",
           "this computer's network adapters changed during the search", ""},
          {"Failed on call to GetAdaptersInfo 232", "", ""},
          {"Unknown exception when trying to discover Korva devices.",
           "the search failed for a reason that the plug-in does not tell", ""}}) {
        const Diagnosis::Search search = searchedBy({line}).search();
        EXPECT_EQ(search.failure, failure) << line;
        EXPECT_THAT(search.networks[0].reason, StartsWith(reason)) << line;
        EXPECT_EQ(search.networks[0].outcome == Outcome::refused, *reason != '\0') << line;
        EXPECT_EQ(searchedBy({line}).isListening(), search.failure.empty()) << line;
    }
}

TEST(SearchProgress, GivesEachComplaintToTheAnswerWhoseTurnItWas) {
    const SearchProgress progress = searchedBy(
        {heard + "A 10.77.1.11", heard + "B 10.77.1.12", heard + "C 10.77.1.13", heard + "D 10.77.1.14",
         turn + unknown, "DeviceException while determining camera info.", "    gone",
         turn + unknown + passed, "Unknown exception processing Korva in room: C at IP: 10.77.1.13"});
    const auto complaints = [&progress](std::size_t i) {
        Lines texts;
        for (const Diagnosis::LogLine& line : progress.turns()[i].complaints)
            texts.push_back(line.message);
        return texts;
    };
    EXPECT_THAT(complaints(0), ElementsAre("DeviceException while determining camera info.", "gone"));
    EXPECT_THAT(complaints(1), IsEmpty());
    EXPECT_THAT(complaints(2), ElementsAre(HasSubstr("10.77.1.13")));
    EXPECT_FALSE(progress.turns()[3].hasCome);
    EXPECT_THAT(passedWithoutHardwareAddress(progress), ElementsAre("10.77.1.12"));
}

TEST(SearchProgress, GivesASkippedCameraAllTheLinesOfItsTurn) {
    using Diagnosis::LogLine;
    const LogLine found = {LogLine::Level::info, SearchProgress::loggerName, turn + unknown};
    const LogLine why = {LogLine::Level::error, "other", "Took too long: 1 bytes"};
    SearchProgress progress = searchedBy(
        {heard + "A 10.77.1.11", heard + "B 10.77.1.12", turn + unknown, "    skipped", turn + unknown});
    progress.takeAll({found, why}); // a turn is missing, whose line that is
    EXPECT_EQ(progress.turns()[0].complaints[0].message, "skipped");
    progress.takeAll({found, why, why, found, why});
    EXPECT_THAT(progress.turns()[0].complaints, ElementsAre(why, why));
    EXPECT_THAT(progress.turns()[1].complaints, IsEmpty());
}

TEST(SearchProgress, KeepsNoMoreThanItsBounds) {
    SearchProgress progress = searchedBy({});
    for (std::size_t i = 0; i < SearchProgress::mostOfAKind + 10; ++i) {
        progress.take("IP on network adapter: 10.77.1.1");
        progress.take("Got message that wasn't parsed as a Korva response: " + std::string(1000, 'x'));
        progress.take("setsockopt failed");
    }
    progress.take(heard + "A 10.77.1.11");
    progress.take(turn + unknown);
    for (int i = 0; i < 100; ++i)
        progress.take("    again");
    EXPECT_EQ(progress.search().networks.size(), SearchProgress::mostOfAKind);
    EXPECT_EQ(progress.search().strange.size(), SearchProgress::mostOfAKind);
    EXPECT_EQ(progress.search().lines.size(), SearchProgress::mostOfAKind);
    EXPECT_EQ(progress.search().strange[0].text.size(), 200u);
    EXPECT_EQ(progress.turns()[0].complaints.size(), 8u);
}

TEST(SearchFacts, NameTheAdaptersAndAddThoseThatWereNotSearched) {
    Diagnosis::Facts facts = factsOf(searchedBy({}), {});
    facts.adapters = {adapter("lo"),   adapter("net1", "10.77.1.1"), adapter("net2"), adapter("net3"),
                      adapter("net4"), adapter("net5", "10.77.5.1"), adapter("port")};
    facts.adapters[0].isLoopback = true;
    facts.adapters[6].isPart = true;
    facts.adapters[2].isUp = false;
    facts.adapters[3].hasLink = false;
    completeNetworks(facts);
    std::vector<std::pair<std::string, Outcome>> networks;
    for (const SearchedNetwork& network : facts.search->networks)
        networks.emplace_back(network.adapter, network.outcome);
    EXPECT_THAT(networks,
                ElementsAre(std::pair{"net1", Outcome::searched}, std::pair{"net2", Outcome::down},
                            std::pair{"net3", Outcome::noLink}, std::pair{"net4", Outcome::noAddress}));
    EXPECT_EQ(networkLines(*facts.search),
              "\n  searched      net1  10.77.1.1, mask 255.255.255.0, broadcast 10.77.1.255"
              "\n  not searched  net2: switched off"
              "\n  not searched  net3: nothing at the other end of its cable"
              "\n  not searched  net4: it has no IPv4 address");
}

TEST(SearchFacts, TellTooLittleOfNobodyAndOfThoseWhoAnswerTwiceOrAreNotIdentified) {
    const std::vector<CameraInfo> found = {cameraAt("10.77.1.11")};
    const std::string first = heard + "A 10.77.1.11";
    EXPECT_TRUE(tellsTooLittle(factsOf(searchedBy({}), {})));
    EXPECT_TRUE(tellsTooLittle(factsOf(searchedBy({first, first}), found)));
    EXPECT_TRUE(tellsTooLittle(factsOf(searchedBy({first, heard + "B 10.77.1.12"}), found)));
    EXPECT_FALSE(tellsTooLittle(factsOf(searchedBy({first}), found)));
}

TEST(SearchFacts, LearnFromALookWhereAnswersCameFromAndWhoElseIsThere) {
    Diagnosis::Facts look;
    look.search.emplace().answers = {answerFrom("10.77.1.11", "A 10.77.1.99"),
                                     answerFrom("10.77.1.12", "B 10.77.1.12")};
    look.foreign = look.limitedOnly = look.search->answers;
    look.neighbours = {{"net1", "10.77.1.11", ""}};
    look.askedByArp = false;
    Diagnosis::Facts facts = factsOf(searchedBy({heard + "A 10.77.1.99"}), {});
    EXPECT_THAT(absorbLook(facts, look), IsEmpty());
    ASSERT_EQ(facts.search->answers.size(), 1u) << "who did not answer the search is not found by it";
    EXPECT_EQ(facts.search->answers[0].source, "10.77.1.11");
    EXPECT_EQ(facts.foreign, look.foreign);
    EXPECT_EQ(facts.limitedOnly, look.limitedOnly);
    EXPECT_EQ(facts.neighbours, look.neighbours);
    EXPECT_EQ(facts.askedByArp, false);
    EXPECT_EQ(Diagnosis::verdictsOn(facts).at(0)->code, "wrong-address");
    Diagnosis::Facts all;
    absorb(all, facts);
    absorb(all, facts);
    EXPECT_EQ(all.foreign, look.foreign);
    EXPECT_EQ(all.askedByArp, false);
}

TEST(SearchFacts, OfASearchThatWasRefusedAreThoseOfTheLook) {
    Diagnosis::Facts facts = factsOf(searchedBy({refused}), {});
    facts.adapters = {adapter("net1", "10.77.1.1"), adapter("net2", "10.77.2.1"),
                      adapter("net3", "10.77.3.1")};
    completeNetworks(facts);
    Diagnosis::Facts look;
    look.search.emplace().networks = {
        {"net1", {"10.77.1.1", "255.255.255.0"}, "10.77.1.255", Outcome::refused, "in other words"},
        {"net2", {"10.77.2.1", "255.255.255.0"}, "10.77.2.255", Outcome::searched, ""}};
    look.search->answers = {answerFrom("10.77.2.11", "B 10.77.2.11")};
    look.limitedOnly = {answerFrom("10.77.1.11", "A 10.77.1.11"), answerFrom("10.77.3.11", "C 10.77.3.11")};
    look.limitedOnly[0].adapter = "net1";
    look.limitedOnly[1].adapter = "net3";
    EXPECT_THAT(absorbLook(facts, look), ElementsAre("10.77.2.11", "10.77.1.11"));
    EXPECT_THAT(
        networkLines(*facts.search),
        StartsWith(
            "\n  not searched  net1  10.77.1.1, mask 255.255.255.0, broadcast 10.77.1.255: the system "
            "did not send the query: not permitted, by a firewall of this computer or for want of rights"
            "\n  searched      net2"));
    EXPECT_EQ(facts.limitedOnly.size(), 1u);
    ASSERT_EQ(facts.cameras.size(), 2u);
    EXPECT_EQ(facts.cameras[0].room, "B");
    EXPECT_TRUE(facts.cameras[0].answeredSearch);
    addFound({cameraAt("10.77.2.11"), cameraAt("10.77.2.11")}, facts);
    EXPECT_EQ(facts.cameras[0].attempts.size(), 1u);
    const DiscoverReport report(facts, {cameraAt("10.77.2.11")});
    EXPECT_EQ(report.summary(), "1 ready, 1 unusable.");
    EXPECT_EQ(report.status(), ExitStatus::partlyFailed);
    EXPECT_EQ(report.failure()->code, "adapter-refused");
}

TEST(SearchFacts, OfFurtherSearchesAddWhatIsNew) {
    Diagnosis::Facts all;
    const std::vector<CameraInfo> found = {cameraAt("10.77.1.12")};
    absorb(all, factsOf(searchedBy({heard + "A 10.77.1.11", heard + "B 10.77.1.12"}), found));
    absorb(all, factsOf(searchedBy({heard + "B 10.77.1.12", heard + "C 10.77.1.13", heard + "A 10.77.1.11"}),
                        {cameraAt("10.77.1.11")}));
    EXPECT_EQ(all.search->answers.size(), 3u);
    ASSERT_EQ(all.cameras.size(), 3u);
    EXPECT_TRUE(all.cameras[0].identity && all.cameras[1].identity);
    EXPECT_FALSE(all.cameras[2].identity);
    Diagnosis::Facts last = factsOf(searchedBy({}), {});
    last.adapters = {adapter("net2")};
    last.adaptersKnown = false;
    last.defaultGateway = "10.77.1.254";
    absorb(all, last);
    EXPECT_EQ(all.adapters, last.adapters);
    EXPECT_FALSE(all.adaptersKnown);
    EXPECT_EQ(all.defaultGateway, "10.77.1.254");
}

TEST(SearchFacts, OfFurtherSearchesAddNoMoreThanOneSearchMayHold) {
    Diagnosis::Facts all = factsOf(searchedBy({heard + "A first"}), {});
    for (const std::string round : {"a", "b", "c"}) {
        Diagnosis::Facts further = factsOf(searchedBy({}), {});
        for (int i = 0; i < 10'000; ++i) {
            further.search->answers.emplace_back().address = round + std::to_string(i);
            further.cameras.emplace_back().address = round + std::to_string(i);
        }
        absorb(all, further);
    }
    EXPECT_EQ(all.search->answers.size(), SearchProgress::mostAnswers);
    EXPECT_EQ(all.cameras.size(), SearchProgress::mostAnswers);
}

TEST(SearchFacts, HaveOnlyAddressesLookedAtAndNoOtherTextOfAnAnswer) {
    const Diagnosis::Facts facts =
        factsOf(searchedBy({heard + "A tracker.example", heard + "B 10.77.1.12", heard + "C 010.77.1.3",
                            heard + "D 10.77.1.14", heard + "E 10.77.1.15"}),
                {});
    EXPECT_THAT(addressesIn(facts, 2), ElementsAre("10.77.1.12", "10.77.1.14"));
}

TEST(DiscoverReport, HasARowForEachWhoAnsweredSortedByAddressWithItsStatus) {
    const DiscoverReport report = mixed();
    ASSERT_EQ(report.rows().size(), 2u);
    EXPECT_EQ(report.rows()[0].address, "10.77.1.2");
    EXPECT_EQ(report.rows()[0].room, "Room B");
    EXPECT_EQ(report.rows()[0].verdict->code, "old-firmware");
    EXPECT_EQ(report.rows()[1].status(), "ready");
    EXPECT_THAT(report.table(false), StartsWith("ADDRESS          ROOM        MAC ADDRESS "));
    EXPECT_THAT(report.table(false), HasSubstr("10.77.1.12       Room A"));
    EXPECT_THAT(report.table(false), HasSubstr("  ready\n"));
    EXPECT_THAT(report.table(true), HasSubstr("  \x1b[32mready\x1b[0m\n"));
    EXPECT_EQ(report.summary(), "1 ready, 1 unusable.");
    EXPECT_EQ(report.status(), ExitStatus::partlyFailed);
}

TEST(DiscoverReport, JsonHoldsCamerasProblemsAndTheFirstProblemAsError) {
    const json object = json::parse(mixed().json().dump());
    ASSERT_EQ(object["cameras"].size(), 1u);
    EXPECT_EQ(object["cameras"][0]["serialNumber"], "7");
    ASSERT_EQ(object["problems"].size(), 1u);
    EXPECT_EQ(object["problems"][0]["address"], "10.77.1.2");
    EXPECT_EQ(object["problems"][0]["room"], "Room B");
    EXPECT_EQ(object["problems"][0]["code"], "old-firmware");
    EXPECT_EQ(object["error"]["code"], "old-firmware");
    EXPECT_NE(object["error"]["try"], "");
}

TEST(DiscoverReport, NotesThatOthersThanCamerasAnswered) {
    const std::vector<CameraInfo> one = {cameraAt("10.77.1.11")};
    Diagnosis::Facts facts = factsOf(
        searchedBy({heard + "A 10.77.1.11", "Got message that wasn't parsed as a Korva response: hello"}),
        one);
    Diagnosis::Facts look;
    look.search.emplace().strange = {{"10.77.1.9", "hello"}};
    absorbLook(facts, look);
    const DiscoverReport report(facts, one);
    EXPECT_THAT(report.summary(),
                StartsWith("1 ready, 0 unusable.\nNote: an answer to the search that no camera "
                           "gives from 10.77.1.9: \"hello\"; try: "));
    EXPECT_EQ(report.json()["problems"][0]["code"], "strange-answer");
    EXPECT_EQ(report.failure(), std::nullopt);
    EXPECT_EQ(report.status(), ExitStatus::done);
}

TEST(DiscoverReport, HasTheStatusOfWhatWasFound) {
    const std::vector<CameraInfo> one = {cameraAt("10.77.1.11")};
    const Lines answer = {heard + "A 10.77.1.11"};
    EXPECT_EQ(DiscoverReport(factsOf(searchedBy(answer), one), one).status(), ExitStatus::done);
    EXPECT_EQ(DiscoverReport(factsOf(searchedBy(answer), one), one).failure(), std::nullopt);
    EXPECT_EQ(DiscoverReport(factsOf(searchedBy(answer), {}), {}).status(), ExitStatus::failed);
    EXPECT_EQ(DiscoverReport(factsOf(searchedBy({}), {}), {}).status(), ExitStatus::nothingFound);
    Diagnosis::Facts cut = factsOf(searchedBy(answer), one);
    cut.search->cut = "after 1.0 s: it did not end";
    EXPECT_EQ(DiscoverReport(cut, one).status(), ExitStatus::partlyFailed);
    EXPECT_EQ(DiscoverReport(cut, one).failure()->code, "search-cut");
    EXPECT_EQ(DiscoverReport(cut, one).failure()->remedy, "a longer --max-time, or the camera's address");
    EXPECT_EQ(
        DiscoverReport(cut, one).json()["cut"],
        "the search was cut after 1.0 s: it did not end; cameras may be missing; try: a longer --max-time, "
        "or the camera's address");
    EXPECT_EQ(DiscoverReport(factsOf(searchedBy({"setsockopt failed"}), {}), {}).status(),
              ExitStatus::failed);
}

TEST(DiscoverReport, CountsThoseWhoseTurnDidNotComeByThemselves) {
    const std::vector<CameraInfo> one = {cameraAt("10.77.1.11")};
    Diagnosis::Facts facts = factsOf(searchedBy({heard + "A 10.77.1.11", heard + "B 10.77.1.12"}), one);
    facts.search->cut = "after 1.0 s: it did not end";
    const DiscoverReport report(facts, one);
    EXPECT_EQ(report.summary(), "1 ready, 0 unusable, 1 not asked.");
    EXPECT_EQ(report.rows()[1].verdict->code, "search-cut");
    EXPECT_EQ(report.status(), ExitStatus::partlyFailed);
}

TEST(DiscoverReport, OfACameraThatAnsweredTwiceCountsOne) {
    Diagnosis::Facts facts =
        factsOf(searchedBy({heard + "A 10.77.1.11", heard + "A 10.77.1.11", turn + "02-4b-00-01-00-01",
                            turn + "02-4b-00-01-00-01" + passed}),
                {cameraAt("10.77.1.11")});
    Diagnosis::Answer second = facts.search->answers[1];
    second.adapter = "net2";
    completeAnswers(facts.search->answers, {facts.search->answers[0], second});
    const DiscoverReport report(facts, {cameraAt("10.77.1.11")});
    ASSERT_EQ(report.rows().size(), 2u);
    EXPECT_EQ(report.rows()[0].status(), "ready");
    EXPECT_EQ(report.rows()[1].status(), "second answer of 10.77.1.11, over net2");
    EXPECT_EQ(report.summary(), "1 ready, 0 unusable.");
    EXPECT_EQ(report.status(), ExitStatus::done);
}

TEST(DiscoverReport, OfABrokenCameraThatAnsweredTwiceCountsOne) {
    const std::string mac = "02-4b-00-01-00-01";
    const std::string old =
        "Rejecting Korva camera, Vantrel requires Korva SW version at least 3.2.15 found 3.1.0";
    const DiscoverReport report(
        factsOf(
            searchedBy({heard + "A 10.77.1.11", heard + "A 10.77.1.11", turn + mac,
                        "DeviceException while determining camera info.", "    " + old, turn + mac + passed}),
            {}),
        {});
    EXPECT_EQ(report.summary(), "0 ready, 1 unusable.");
    EXPECT_EQ(report.json()["problems"].size(), 1u);
    EXPECT_EQ(report.failure()->code, "old-firmware");
}

TEST(DiscoverReport, OfTwoCamerasWithOneAddressNamesBoth) {
    const DiscoverReport report(
        factsOf(searchedBy({heard + "Twin A 10.77.1.11", heard + "Twin B 10.77.1.11"}),
                {cameraAt("10.77.1.11")}),
        {cameraAt("10.77.1.11")});
    ASSERT_EQ(report.rows().size(), 2u);
    for (const DiscoverReport::Row& row : report.rows())
        EXPECT_EQ(row.status(), "same address as another camera: Twin A, Twin B");
    EXPECT_THAT(report.table(false), Not(HasSubstr("M61"))); // of which of them it is, nobody knows
    EXPECT_EQ(report.rows()[1].room, "Twin B");
    EXPECT_EQ(report.summary(), "0 ready, 2 unusable.");
    EXPECT_EQ(report.json()["cameras"][0]["note"], report.json()["error"]);
    EXPECT_EQ(report.json()["error"]["code"], "duplicate-address");
}

TEST(DiscoverReport, NotesNothingOfWhoACameraIsWhereOnlyItsPortsAreOdd) {
    Diagnosis::Facts facts = factsOf(searchedBy({heard + "Lab 10.77.1.11"}), {cameraAt("10.77.1.11")});
    facts.cameras[0].picture = Diagnosis::PortState::refused;
    const DiscoverReport report(facts, {cameraAt("10.77.1.11")});
    EXPECT_EQ(report.json()["problems"][0]["code"], "picture-port-refused");
    EXPECT_FALSE(report.json()["cameras"][0].contains("note"));
}

TEST(DiscoverReport, OfNothingButNotesTellsTheFirstAsItsFailure) {
    Diagnosis::Facts facts =
        factsOf(searchedBy({heard + "A 10.77.1.11", heard + "A 10.77.1.11", turn + "02-4b-00-01-00-01",
                            turn + "02-4b-00-01-00-01" + passed}),
                {});
    const DiscoverReport report(facts, {});
    ASSERT_EQ(report.rows()[0].verdict->severity, Diagnosis::Severity::note);
    EXPECT_EQ(report.failure()->code, report.rows()[0].verdict->code);
    EXPECT_NE(report.failure()->text, "");
}

TEST(DiscoverReport, OfNobodySaysWhatWasSearchedAndTheLikelyCauses) {
    Diagnosis::Facts facts = factsOf(searchedBy({}), {});
    facts.adapters = {adapter("net1", "10.77.1.1")};
    completeNetworks(facts);
    const DiscoverReport report(facts, {});
    EXPECT_THAT(report.summary(), StartsWith("No Korva camera answered.\n  searched      net1  10.77.1.1, "));
    EXPECT_THAT(report.summary(), HasSubstr("\nLikely causes, the likeliest first:\n  "));
    EXPECT_EQ(report.json()["problems"][0]["code"], report.json()["error"]["code"]);
    EXPECT_EQ(report.table(true), "");
}

TEST(DiscoverReport, SortsAddressesByTheirNumbers) {
    EXPECT_LT(addressKey("10.77.1.9"), addressKey("10.77.1.10"));
    EXPECT_LT(addressKey("9.255.255.255"), addressKey("10.0.0.0"));
    EXPECT_NE(addressKey("1.23"), addressKey("12.3"));
}

TEST(DiscoverWatch, TellsWhoCameWhoChangedAndWhoIsGoneForTwoSearches) {
    const auto row = [](const std::string& address, bool isReady) {
        DiscoverReport::Row one;
        one.address = address;
        one.isReady = isReady;
        one.isPresent = true;
        if (!isReady)
            one.verdict = {"silent", Diagnosis::Severity::failure, "says nothing", "wait", "", ""};
        return one;
    };
    CameraChanges changes;
    const auto told = [&changes](const std::vector<DiscoverReport::Row>& rows) {
        Lines texts;
        for (const CameraChanges::Change& change : changes.take(rows))
            texts.push_back(change.what + " " + change.row.address);
        return texts;
    };
    EXPECT_THAT(told({row("a", true), row("b", true)}), ElementsAre("came a", "came b"));
    EXPECT_THAT(told({row("a", true), row("b", false)}), ElementsAre("changed b"));
    EXPECT_THAT(told({row("b", false)}), IsEmpty());
    EXPECT_THAT(told({row("b", false)}), ElementsAre("gone a"));
    EXPECT_THAT(told({row("b", false)}), IsEmpty());
    EXPECT_THAT(told({row("a", true), row("b", false)}), ElementsAre("came a"));
    DiscoverReport::Row absent = row("c", false);
    absent.isPresent = false;
    EXPECT_THAT(told({row("a", true), row("b", false), absent}), IsEmpty());
    EXPECT_THAT(told({row("a", true), row("b", false), row("c", true)}), ElementsAre("came c"));
    EXPECT_THAT(told({row("a", true), row("b", false), absent}), IsEmpty());
    EXPECT_THAT(told({row("a", true), row("b", false), absent}), ElementsAre("gone c"));
    DiscoverReport::Row further = row("a", false);
    further.isFurther = true;
    EXPECT_THAT(told({row("a", true), further, row("b", false)}), IsEmpty());
}

TEST(DiscoverWatch, TellsNothingNewOfWhatIsOnlyMeasuredAnew) {
    CameraChanges changes;
    const auto told = [&changes](const std::string& text) {
        DiscoverReport::Row row;
        row.address = "10.77.1.11";
        row.isPresent = true;
        row.verdict = {"took-too-long", Diagnosis::Severity::failure, text, "wait", "", ""};
        return changes.take({row}).size();
    };
    EXPECT_EQ(told("took too long: 58 bytes in 1.3 s, the operation may last 1.2 s"), 1u);
    EXPECT_EQ(told("took too long: 57 bytes in 1.4 s, the operation may last 1.2 s"), 0u);
    EXPECT_EQ(told("answers with error 5"), 1u);
    EXPECT_EQ(told("answers with error 6"), 1u);
}

TEST(DiscoverWatch, SaysNothingOfATwinAsLongAsTheOtherMayBeThere) {
    const auto row = [](const std::string& room, bool isTwin) {
        DiscoverReport::Row one;
        one.address = "10.77.1.11";
        one.room = room;
        one.isPresent = true;
        one.isReady = !isTwin;
        if (isTwin)
            one.verdict = {"duplicate-address", Diagnosis::Severity::failure, "twins", "wait", "", ""};
        return one;
    };
    CameraChanges changes;
    const auto told = [&changes](const std::vector<DiscoverReport::Row>& rows) {
        Lines texts;
        for (const CameraChanges::Change& change : changes.take(rows))
            texts.push_back(change.what + " " + change.row.room + " " + change.row.status());
        return texts;
    };
    EXPECT_THAT(told({row("A", false)}), ElementsAre("came A ready"));
    EXPECT_THAT(told({row("A", true), row("B", true)}), ElementsAre("changed A twins", "came B twins"));
    EXPECT_THAT(told({row("A", false)}), IsEmpty());
    EXPECT_THAT(told({row("A", true), row("B", true)}), IsEmpty());
    EXPECT_THAT(told({row("A", false)}), IsEmpty());
    EXPECT_THAT(told({row("A", false)}), ElementsAre("changed A ready", "gone B twins"));
    EXPECT_EQ(changes.rows().size(), 1u);
}

TEST(DiscoverWatch, EndsWithTheStatusOfAllThatItKnows) {
    for (const auto& [end, status] : {std::pair{WatchEnd{1, 0, true, false}, ExitStatus::done},
                                      {WatchEnd{1, 1, true, false}, ExitStatus::partlyFailed},
                                      {WatchEnd{1, 0, true, true}, ExitStatus::partlyFailed},
                                      {WatchEnd{0, 1, true, false}, ExitStatus::failed},
                                      {WatchEnd{0, 0, false, false}, ExitStatus::failed},
                                      {WatchEnd{0, 0, true, true}, ExitStatus::nothingFound}})
        EXPECT_EQ(statusOf(end), status) << end.ready << end.unusable << end.hasTrouble;
}

TEST(DiscoverWatch, TellsOfACameraThatIsStillAskedThatItHasAnswered) {
    const auto told = CameraChanges().take({stillAsked("10.77.1.11", searched({"A"}))});
    ASSERT_EQ(told.size(), 1u);
    EXPECT_EQ(json::parse(changeObject(told[0]).dump()),
              json::parse(R"({"event": "came", "address": "10.77.1.11", "room": "A",
        "serialNumber": "", "ready": false, "code": "search-cut",
        "text": "answered the search, not asked to the end",
        "try": "a longer --timeout, or korva doctor with its address"})"));
}

TEST(DiscoverWatch, SaysNothingOfWhoIsGoneButThat) {
    const auto object = changeObject({"gone", stillAsked("10.77.1.11", searched({"A"}))});
    EXPECT_EQ(object["text"], "no longer answers");
    EXPECT_EQ(object["code"], "");
    EXPECT_EQ(object["try"], "");
}

TEST(DiscoverWatch, KeepsNoMoreThanItsBoundAndAllOfThoseThatAnswer) {
    const Diagnosis::Facts seen = searched(Lines(mostWatched + 20, "A"));
    EXPECT_EQ(answering(seen, {}).size(), mostWatched);
    std::set<std::string> watched = {seen.cameras.back().address};
    EXPECT_EQ(answering(seen, watched).size(), mostWatched);
    EXPECT_EQ(answering(seen, watched).back(), *watched.begin());
    while (watched.size() < mostWatched)
        watched.insert("of another " + std::to_string(watched.size()));
    EXPECT_THAT(answering(seen, watched), ElementsAre(seen.cameras.back().address));
}

TEST(DiscoverWatch, TellsOfTroubleWhereNobodyAnswersOrAnAdapterRefusesTheSearch) {
    EXPECT_EQ(troubleOf(searched({}))->code, "no-camera");
    EXPECT_FALSE(troubleOf(searched({"A"})));
    Diagnosis::Facts blocked = searched({});
    Diagnosis::Camera& camera = cameraIn(blocked, "10.77.1.12"); // a neighbour
    camera.text = Diagnosis::PortState::open;
    camera.answersArp = true;
    camera.answersQuery = false;
    camera.textAnswer = "Version=3.2.15";
    camera.toldModel = "M61";
    EXPECT_EQ(troubleOf(blocked)->code, "discovery-blocked");
    Diagnosis::Facts partly = searched({"A"});
    partly.search->networks.emplace_back().outcome = Outcome::refused;
    EXPECT_EQ(troubleOf(partly)->code, "adapter-refused");
}

TEST(SearchFacts, SayWhyThereWasNoSearchByThePlugInsOwnLine) {
    const Diagnosis::Verdict why =
        Diagnosis::causesOf(factsOf(searchedBy({"setsockopt failed"}), {})).front();
    EXPECT_EQ(why.code, "search-failed");
    EXPECT_EQ(why.text, "this computer lets the tool send no search (a broadcast)");
    EXPECT_EQ(why.remedy,
              "check the security software or the settings of the container, or give the camera's address");
}

TEST(SearchProgress, KeepsTheLinesThatTellOfTheSearchAsAWhole) {
    for (const auto& [line, code, text] :
         {std::tuple{"Failed on call to GetAdaptersInfo 232", "no-adapter",
                     "no network adapter of this computer has an IPv4 address"},
          {"Failed on call to GetAdaptersInfo 31", "search-failed",
           "this computer does not tell its network adapters"},
          {"Failed on second call to GetAdaptersInfo 31", "search-failed",
           "this computer's network adapters changed during the search"},
          {"Unknown exception when trying to discover Korva devices.", "search-failed",
           "the search failed for a reason that the plug-in does not tell"}}) {
        const DiscoverReport report(factsOf(searchedBy({line}), {}), {});
        EXPECT_EQ(report.failure()->code, code);
        EXPECT_EQ(report.failure()->text, text);
        EXPECT_EQ(report.json()["problems"].size(), 1u) << report.json();
    }
}

TEST(DiscoverReport, NotesAFloodOfAnswers) {
    Diagnosis::Facts facts =
        factsOf(searchedBy({heard + "A 10.77.1.11", turn + "02-4b-00-01-00-01"}), {cameraAt("10.77.1.11")});
    const SearchProgress flood =
        searchedBy({"More than 16384 replies from Korva devices, ignoring the rest.."});
    Diagnosis::Facts further = facts;
    further.search->lines = flood.search().lines;
    absorb(facts, further);
    const DiscoverReport report(facts, {cameraAt("10.77.1.11")});
    EXPECT_THAT(report.summary(), StartsWith("1 ready, 0 unusable.\nNote: something floods the network "));
    EXPECT_EQ(report.json()["problems"][0]["code"], "too-many-answers");
    EXPECT_EQ(report.status(), ExitStatus::done);
}

TEST(DiscoverReport, TellsProgramsTheHardwareAddressThatTheTableTells) {
    Diagnosis::Facts facts;
    Diagnosis::Camera& camera = cameraIn(facts, "10.77.1.11");
    camera.wasAskedFor = true;
    camera.identity = identityOf(cameraAt("10.77.1.11"));
    camera.macAddresses = {"02-4b-00-01-00-0b"};
    const DiscoverReport report(facts, {cameraAt("10.77.1.11")});
    EXPECT_EQ(report.rows()[0].identity->macAddress, "02-4b-00-01-00-0b");
    EXPECT_EQ(report.json()["cameras"][0]["macAddress"], "02-4b-00-01-00-0b");
}

TEST(DiscoverReport, OfAnAddressThatWasAskedForSaysWhetherItAnswers) {
    Diagnosis::Facts facts;
    cameraIn(facts, "10.77.1.11").wasAskedFor = true;
    EXPECT_FALSE(DiscoverReport(facts, {}).rows()[0].isPresent);
    facts.cameras[0].text = Diagnosis::PortState::open;
    EXPECT_TRUE(DiscoverReport(facts, {}).rows()[0].isPresent);
}
