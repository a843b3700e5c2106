// What has become of this computer's own adapter while a camera was in use.

#include "Worlds.h"

#include "Diagnosis/Rules.h"

#include <gtest/gtest.h>

using namespace Diagnosis;

namespace {

constexpr auto address = "10.77.1.11";

struct Row {
    const char* name;
    const char* code; ///< empty: the adapter is not to blame
    const char* text;
    std::function<void(Facts&)> change; ///< of the computer, since the look before
    std::function<void(Facts&)> start = [](Facts&) {};
    Camera camera = askedCamera(address);
};

void PrintTo(const Row& row, std::ostream* out) {
    *out << row.name;
}

Adapter& net1(Facts& facts) {
    return facts.adapters[1];
}

void pullOut(Facts& facts) {
    net1(facts).hasLink = false;
}

/// Another adapter in the network of net1.
void addSecond(Facts& facts) {
    facts.adapters.push_back(adapter("net3", "10.77.1.2"));
}

void addRouter(Facts& facts) {
    facts.defaultGateway = "10.77.1.254";
}

Camera named(const std::string& text, const std::string& place) {
    Camera camera = askedCamera(text);
    camera.identity.emplace().address = place;
    return camera;
}

Camera over(const std::string& adapterName) {
    Camera camera = askedCamera(address);
    camera.adapter = adapterName;
    return camera;
}

constexpr auto out = "nothing is at the other end of the cable of net1";

const Row rows[] = {
    {"nothing", "", "", [](Facts&) {}},
    {"cable out", "no-link", out, pullOut},
    {"switched off", "adapter-down", "the network adapter net1 is switched off",
     [](Facts& f) { net1(f).isUp = net1(f).hasLink = false; }},
    {"address lost", "no-address", "net1 has no IPv4 address", [](Facts& f) { net1(f).addresses.clear(); }},
    {"an address of its own making", "link-local-address",
     "net1 has only the address 169.254.7.1/16 that it gave itself, since nobody gave it one",
     [](Facts& f) {
         net1(f).addresses = {{"169.254.7.1", "255.255.0.0"}};
     }},
    {"another address", "own-address-changed",
     "net1 has another address: 10.9.0.5/24, no longer 10.77.1.1/24",
     [](Facts& f) {
         net1(f).addresses = {{"10.9.0.5", "255.255.255.0"}};
     }},
    {"another address of the same network", "", "",
     [](Facts& f) {
         net1(f).addresses = {{"10.77.1.9", "255.255.255.0"}};
     }},
    {"gone", "adapter-gone", "this computer has no network adapter net1 any more",
     [](Facts& f) { f.adapters.erase(f.adapters.begin() + 1); }},
    {"not told any more", "", "",
     [](Facts& f) {
         f.adapters.clear();
         f.adaptersKnown = false;
     }},
    {"cable of another", "", "", [](Facts& f) { f.adapters[2].hasLink = false; }},
    {"cable on the way to the router", "no-link", out, pullOut, addRouter, askedCamera("192.168.7.7")},
    {"no way known", "", "", pullOut, [](Facts&) {}, askedCamera("192.168.7.7")},
    {"camera played here", "", "", pullOut, addRouter, askedCamera("127.0.0.2")},
    {"camera of an own address", "", "", pullOut, addRouter, askedCamera("10.77.1.1")},
    {"camera of a name", "no-link", out, pullOut, [](Facts&) {}, named("lab", address)},
    {"camera of a name that nobody knows", "", "", pullOut, addRouter, named("lab", "")},
    {"one of two cables", "no-link", out, pullOut, addSecond},
    {"the one of two that was out before", "", "", [](Facts&) {},
     [](Facts& f) {
         addSecond(f);
         pullOut(f);
     }},
    {"the one that was out before", "no-link", out, [](Facts&) {}, pullOut},
    {"not the one that the route is over", "", "", pullOut, addSecond, over("net3")},
};

class TheWay : public testing::TestWithParam<Row> {};

} // namespace

TEST_P(TheWay, IsToBlameIfItsAdapterIs) {
    const Facts before = with(computer(), GetParam().start);
    const auto verdict = verdictOnWay(GetParam().camera, before, with(before, GetParam().change));
    EXPECT_EQ(verdict ? verdict->code : "", GetParam().code);
    EXPECT_EQ(verdict ? verdict->text : "", GetParam().text);
    if (verdict) {
        EXPECT_EQ(verdict->address, GetParam().camera.address);
        EXPECT_EQ(verdict->severity, Severity::failure);
        EXPECT_NE(verdict->remedy.find("net1"), std::string::npos);
    }
}

INSTANTIATE_TEST_SUITE_P(Adapters, TheWay, testing::ValuesIn(rows));

TEST(TheWay, GivesTheLostAddressBack) {
    const Facts now = with(computer(), [](Facts& facts) { net1(facts).addresses.clear(); });
    EXPECT_EQ(verdictOnWay(askedCamera(address), computer(), now)->remedy,
              "sudo ip addr add 10.77.1.1/24 dev net1");
}

TEST(TheWay, IsToBlameForWhatDoesNotComeAndNotForWhatCame) {
    for (const auto& [code, mayBe] : {std::pair{"silent", true},
                                      {"connection-lost", true},
                                      {"took-too-long", true},
                                      {"short-time", true},
                                      {"exposure-too-long", true},
                                      {"died-after-answer", true},
                                      {"camera-error", false},
                                      {"all-black", false},
                                      {"wrong-size", false},
                                      {"interrupted", false},
                                      {"file-failed", false}}) {
        Verdict verdict;
        verdict.code = code;
        EXPECT_EQ(mayBeOfTheWay(verdict), mayBe) << code;
    }
}
