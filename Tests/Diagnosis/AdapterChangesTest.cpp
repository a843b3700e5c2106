// What is told of this computer's adapters while cameras are watched.

#include "Worlds.h"

#include "Diagnosis/AdapterChanges.h"

#include <gmock/gmock.h>

using namespace Diagnosis;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

/// A computer with net1, 10.77.1.1, and net2, 10.77.2.1, whose router is behind net2.
struct WatchedComputer {
    WatchedComputer() {
        facts.adapters = {adapter("net1", "10.77.1.1"), adapter("net2", "10.77.2.1")};
        facts.defaultGateway = "10.77.2.254";
        changes.take(facts);
    }

    /// "net1 no-link", "net1 works".
    std::vector<std::string> told() {
        std::vector<std::string> texts;
        for (const AdapterChanges::Change& change : changes.take(facts))
            texts.push_back(change.adapter + " " + (change.verdict ? change.verdict->code : "works"));
        return texts;
    }

    std::string whyOut(const std::string& address) const {
        const Verdict* const why = changes.whyOutOfReach(address);
        return why == nullptr ? "" : why->code;
    }

    Facts facts;
    AdapterChanges changes;
};

} // namespace

TEST(AdapterChanges, AreToldOnceWhenAnAdapterLosesItsNetworkAndOnceWhenItHasItAgain) {
    for (const auto& [code, lose] :
         {std::pair<const char*, void (*)(Facts&)>{"adapter-down",
                                                   [](Facts& facts) { facts.adapters[0].isUp = false; }},
          {"no-link", [](Facts& facts) { facts.adapters[0].hasLink = false; }},
          {"no-address", [](Facts& facts) { facts.adapters[0].addresses.clear(); }},
          {"link-local-address",
           [](Facts& facts) {
               facts.adapters[0].addresses = {{"169.254.1.1", "255.255.0.0"}};
           }},
          {"own-address-changed",
           [](Facts& facts) {
               facts.adapters[0].addresses = {{"10.99.0.1", "255.255.255.0"}};
           }},
          {"adapter-gone", [](Facts& facts) { facts.adapters.erase(facts.adapters.begin()); }}}) {
        WatchedComputer computer;
        const Facts whole = computer.facts;
        lose(computer.facts);
        EXPECT_THAT(computer.told(), ElementsAre(std::string("net1 ") + code));
        EXPECT_THAT(computer.told(), IsEmpty()) << code;
        EXPECT_EQ(computer.whyOut("10.77.1.11"), code);
        EXPECT_EQ(computer.whyOut("10.77.2.11"), "") << code;
        computer.facts = whole;
        EXPECT_THAT(computer.told(), ElementsAre("net1 works")) << code;
        EXPECT_EQ(computer.whyOut("10.77.1.11"), "") << code;
    }
}

TEST(AdapterChanges, NameTheAdapterAndTheRemedy) {
    WatchedComputer computer;
    computer.facts.adapters[0].addresses = {{"10.99.0.1", "255.255.255.0"}};
    computer.facts.adapters.pop_back();
    const auto changes = computer.changes.take(computer.facts);
    ASSERT_EQ(changes.size(), 2u);
    EXPECT_EQ(changes[0].verdict->text, "net1 has another address: 10.99.0.1/24, no longer 10.77.1.1/24");
    EXPECT_EQ(changes[0].verdict->remedy, "sudo ip addr add 10.77.1.1/24 dev net1");
    EXPECT_EQ(changes[1].verdict->text, "this computer has no network adapter net2 any more");
}

TEST(AdapterChanges, ExplainWhatIsBehindTheRouterOfALostAdapter) {
    WatchedComputer computer;
    computer.facts.adapters[1].isUp = false;
    computer.facts.defaultGateway.clear();
    computer.told();
    EXPECT_EQ(computer.whyOut("192.168.3.4"), "adapter-down");
    for (const char* const address : {"10.77.1.11", "127.0.0.2", "camera.example"})
        EXPECT_EQ(computer.whyOut(address), "") << address;
}

TEST(AdapterChanges, SayNothingOfANetworkThatAnotherAdapterReaches) {
    WatchedComputer computer;
    computer.facts.adapters.push_back(adapter("net3", "10.77.1.2"));
    computer.told();
    computer.facts.adapters[0].hasLink = false;
    computer.told();
    EXPECT_EQ(computer.whyOut("10.77.1.11"), "");
}

TEST(AdapterChanges, SayNothingOfANetworkThatTheComputerWasGivenMeanwhile) {
    WatchedComputer computer;
    computer.facts.adapters[1].addresses = {{"10.99.0.1", "255.255.255.0"}};
    EXPECT_THAT(computer.told(), ElementsAre("net2 own-address-changed"));
    EXPECT_EQ(computer.whyOut("10.99.0.11"), "");
    EXPECT_EQ(computer.whyOut("10.77.2.11"), "own-address-changed");
    EXPECT_EQ(computer.whyOut("192.168.3.4"), "own-address-changed") << "behind the router that is lost";
    computer.facts.defaultGateway = "10.99.0.254";
    EXPECT_THAT(computer.told(), IsEmpty());
    EXPECT_EQ(computer.whyOut("192.168.3.4"), "") << "behind the new router";
    computer.facts.adapters[1].hasLink = false;
    computer.told();
    EXPECT_EQ(computer.whyOut("10.77.2.11"), "no-link");
}

TEST(AdapterChanges, TellFromTheBeginningOfAnAdapterWithAnAddressAndNotOfContainersOnes) {
    Facts facts;
    facts.adapters = {adapter("net1", "10.77.1.1"), adapter("docker0", "172.17.0.1"), adapter("net2", "")};
    for (Adapter& each : facts.adapters)
        each.hasLink = false;
    AdapterChanges changes;
    const auto told = changes.take(facts);
    ASSERT_EQ(told.size(), 1u);
    EXPECT_EQ(told[0].adapter, "net1");
    facts.adaptersKnown = false;
    facts.adapters.clear();
    EXPECT_THAT(changes.take(facts), IsEmpty());
}
