#include "Diagnosis/Print.h"
#include "Diagnosis/Figures.h"
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
    EXPECT_EQ(dumped(errorOf(ofCamera)), error);
    EXPECT_EQ(dumped(listOf({ofCamera, ofNetwork}, problemOf)),
              R"([{"address":"10.77.1.11","room":"Lab 2",)" + error.substr(1) +
                  R"(,{"address":"","room":"","code":"no-address","text":"net1 has no IPv4 address",)" +
                  R"("try":"give it one"}])");
    EXPECT_EQ(dumped(listOf({}, problemOf)), "[]");
    EXPECT_EQ(
        dumped(listOf({ofCamera, ofNetwork}, causeOf)),
        R"([{"code":"text-port-blocked","severity":"failure","text":"no answer: a firewall?",)"
        R"("try":"let TCP 32768 through","address":"10.77.1.11"},{"code":"no-address","severity":"note",)"
        R"("text":"net1 has no IPv4 address","try":"give it one","address":""}])");
}

TEST(Print, JsonIsAsciiWhateverACameraSays) {
    for (const char byte : dumped(listOf({hostile}, problemOf)))
        EXPECT_TRUE(byte >= ' ' && byte < '\x7F') << static_cast<int>(byte);
}

TEST(Figures, LeaveATextThatTellsOfTheSameState) {
    for (const auto& [text, state] : {std::pair{"took too long: 58 bytes in 1.3 s, at most 1.2 s",
                                                "took too long: # bytes in # s, at most # s"},
                                      {"31 % black", "# % black"},
                                      {"with error 5", "with error 5"},
                                      {"firmware 3.1.0, needs 3.2.15", "firmware 3.1.0, needs 3.2.15"},
                                      {"Room 2 stays", "Room 2 stays"},
                                      {"2 s", "# s"},
                                      {"2  s ", "2  s "},
                                      {" 7", " 7"},
                                      {"", ""}})
        EXPECT_EQ(withoutFigures(text), state);
}
