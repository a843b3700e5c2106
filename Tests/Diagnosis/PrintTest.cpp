#include "Diagnosis/Print.h"
#include "Diagnosis/Json.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using namespace Diagnosis;

namespace {

const Verdict ofCamera{"text-port-blocked",     Severity::failure, "no answer: a firewall?",
                       "let TCP 32768 through", "10.77.1.11",      "Lab 2"};
const Verdict ofNetwork{"no-address", Severity::note, "net1 has no IPv4 address", "give it one", "", ""};
const Verdict hostile{"garbage", Severity::failure, "says \x1B[2J", "r\xFF", "1\n2", "\xC2\x9B"};

} // namespace

TEST(Print, LineNamesAddressRoomTextAndRemedyOnce) {
    EXPECT_EQ(lineOf(ofCamera), "10.77.1.11 (Lab 2): no answer: a firewall?; try: let TCP 32768 through");
    Verdict withoutRoom = ofCamera;
    withoutRoom.room.clear();
    EXPECT_EQ(lineOf(withoutRoom), "10.77.1.11: no answer: a firewall?; try: let TCP 32768 through");
    EXPECT_EQ(lineOf(ofNetwork), "net1 has no IPv4 address; try: give it one");
}

TEST(Print, LineCannotSteerATerminal) {
    EXPECT_EQ(lineOf(hostile), "1\\x0a2 (\\xc2\\x9b): says \\x1b[2J; try: r\\xff");
}

TEST(Print, JsonHasItsKeysInOrder) {
    const std::string error =
        R"({"code":"text-port-blocked","text":"no answer: a firewall?","try":"let TCP 32768 through"})";
    EXPECT_EQ(errorJson(ofCamera), error);
    EXPECT_EQ(problemsJson({ofCamera, ofNetwork}),
              R"([{"address":"10.77.1.11","room":"Lab 2",)" + error.substr(1) +
                  R"(,{"address":"","room":"","code":"no-address","text":"net1 has no IPv4 address",)" +
                  R"("try":"give it one"}])");
    EXPECT_EQ(problemsJson({}), "[]");
    EXPECT_EQ(
        dumped(listOf({ofCamera, ofNetwork}, causeOf)),
        R"([{"code":"text-port-blocked","severity":"failure","text":"no answer: a firewall?",)"
        R"("try":"let TCP 32768 through","address":"10.77.1.11"},{"code":"no-address","severity":"note",)"
        R"("text":"net1 has no IPv4 address","try":"give it one","address":""}])");
}

TEST(Print, JsonIsAsciiWhateverACameraSays) {
    for (const char byte : problemsJson({hostile}))
        EXPECT_TRUE(byte >= ' ' && byte < '\x7F') << static_cast<int>(byte);
}
