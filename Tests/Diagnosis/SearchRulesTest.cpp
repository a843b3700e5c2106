// What is said of a search's end, of its networks, and of who answered it and nothing more.

#include "Worlds.h"

#include "Diagnosis/RulesOfAnswer.h"
#include "Diagnosis/RulesOfSearch.h"
#include "Diagnosis/RulesOfTool.h"

#include <gtest/gtest.h>

using namespace Diagnosis;
using Outcome = SearchedNetwork::Outcome;

TEST(SearchRules, SayWhatCutASearchAndHowManyWereNotAsked) {
    for (const auto& [by, unasked, reason] :
         {std::tuple{CutBy::ownLength, 0u, "after 3.0 s: it listens for a second after the last answer"},
          {CutBy::datagrams, 1u, "after 3.0 s: datagrams kept coming; 1 answer was not asked any more"},
          {CutBy::cameras, 2u, "after 3.0 s: cameras kept it waiting; 2 answers were not asked any more"},
          {CutBy::nothing, 0u, "after 3.0 s: it did not end"}})
        EXPECT_EQ(cutReason(Milliseconds(3049), by, unasked), reason);
    Search search;
    search.cut = "after 3.0 s: it did not end";
    EXPECT_EQ(verdictOnCut(search).text,
              "the search was cut after 3.0 s: it did not end; cameras may be missing");
    EXPECT_EQ(verdictOnCut(search).remedy, "a longer --max-time, or the camera's address");
}

TEST(SearchRules, SayWhyANetworkWasNotSearched) {
    for (const auto& [outcome, why] : {std::pair{Outcome::searched, ""},
                                       {Outcome::refused, "the system did not send the query: no rights"},
                                       {Outcome::down, "switched off"},
                                       {Outcome::noLink, "nothing at the other end of its cable"},
                                       {Outcome::noAddress, "it has no IPv4 address"},
                                       {Outcome::linkLocal, "only a self-given address"}}) {
        SearchedNetwork network;
        network.outcome = outcome;
        network.reason = "no rights";
        EXPECT_EQ(whyNotSearched(network), why);
    }
}

TEST(SearchRules, TellOfThePlugInsLinesWhichSayThatThereWasNoSearch) {
    for (const auto& [line, isOne, failure] :
         {std::tuple{"setsockopt failed", true, "this computer lets the tool send no search (a broadcast)"},
          {"Failed on call to GetAdaptersInfo 31", true, "this computer does not tell its network adapters"},
          {"Failed on call to GetAdaptersInfo 232", true, ""},
          {"More than 16384 replies", true, ""},
          {"Message from Korva device: setsockopt failed", false, ""}}) {
        EXPECT_EQ(isOfInterest(line), isOne) << line;
        EXPECT_EQ(searchFailureIn(line), failure) << line;
    }
}

TEST(SearchRules, SayInWordsWhyTheSystemSentNoQuery) {
    for (const auto& [code, reason] :
         {std::pair{"10013", "not permitted, by a firewall of this computer or for want of rights"},
          {"10050", "the network is down"},
          {"10051", "there is no route to it"},
          {"10065", "there is no route to it"},
          {"10049", "the adapter's address is not usable"},
          {"10055", "the system has no memory for it"},
          {"1", "the system does not send there"}})
        EXPECT_EQ(
            refusalIn("Korva Query - sendto call failed: sendReturn = -1 WSAError = " + std::string(code)),
            reason);
}

TEST(AnswerRules, SayOfWhoIsNotIdentifiedWhatIsKnown) {
    Facts facts;
    Camera camera = askedCamera("10.77.1.11");
    camera.room = "Lab";
    EXPECT_EQ(notIdentified(camera, facts).code, "silent");
    EXPECT_EQ(notIdentified(camera, facts).text, "answered, and nothing more");
    EXPECT_EQ(notIdentified(camera, facts).room, "Lab");
    facts.search.emplace().cut = "after 3.0 s: it did not end";
    EXPECT_EQ(notIdentified(camera, facts).code, "search-cut");
    EXPECT_EQ(notIdentified(camera, facts).text, "answered, and the search was cut before its turn");
    camera.attempts.emplace_back().reason = interruptedBriefly;
    EXPECT_EQ(notIdentified(camera, facts).code, "interrupted");
}

TEST(AnswerRules, SayOfASearchThatWasCutOnlyThatNobodyWasFound) {
    Facts facts;
    EXPECT_EQ(headlineOfNobody(facts), "No Korva camera answered.");
    facts.search.emplace().cut = "after 3.0 s: it did not end";
    EXPECT_EQ(headlineOfNobody(facts), "No Korva camera found.");
    EXPECT_EQ(nobodyThere().code, "no-camera");
}
