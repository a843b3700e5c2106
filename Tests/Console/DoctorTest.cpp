// What `korva doctor` prints of facts and causes.

#include "Console/DoctorCommand.h"
#include "Diagnosis/Json.h"
#include "Diagnosis/Printable.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

using namespace Console;
using namespace Diagnosis;
using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

/// A camera that answers nonsense.
Facts someFacts() {
    Facts facts;
    Camera& camera = facts.cameras.emplace_back();
    camera.address = "10.77.1.11";
    camera.text = PortState::open;
    camera.textAnswer = "\x1B[2J\x9B\n";
    return facts;
}

const std::vector<Verdict> someCauses = {
    {"garbage", Severity::failure, "it answers nonsense", "restart it", "10.77.1.11", "Lab 2"},
    {"strange-answer", Severity::note, "somebody is odd", "find out who", "", ""},
};

} // namespace

TEST(DoctorText, BeginsWithTheCausesAndShowsThemAtTheirLooks) {
    EXPECT_THAT(
        doctorText(someFacts(), someCauses),
        AllOf(StartsWith("FAIL  10.77.1.11 (Lab 2): it answers nonsense; try: restart it\n"
                         "note  somebody is odd; try: find out who\n\nok    default-route   there is none\n"),
              HasSubstr("\nFAIL  text-answer     10.77.1.11: \\x1b[2J\\x9b\\x0a; try: restart it\n")));
}

TEST(DoctorText, SaysThatNothingIsWrong) {
    EXPECT_THAT(doctorText({}, {}), StartsWith("ok    Nothing is wrong.\n\n"));
}

TEST(DoctorJson, HoldsCausesAndLooksInOrderInAsciiAlone) {
    const std::string text = dumped(doctorJson(someFacts(), someCauses));
    EXPECT_EQ(printable(text), text);
    const json said = json::parse(text);
    EXPECT_EQ(said["causes"], json::parse(R"([
        {"code": "garbage", "severity": "failure", "text": "it answers nonsense", "try": "restart it",
         "address": "10.77.1.11"},
        {"code": "strange-answer", "severity": "note", "text": "somebody is odd", "try": "find out who",
         "address": ""}])"));
    EXPECT_EQ(said["looks"][0], json::parse(R"(
        {"code": "default-route", "status": "ok", "seen": "there is none", "address": ""})"));
    EXPECT_EQ(said["looks"].back(), json::parse(R"({"code": "text-answer", "status": "FAIL",
        "seen": "\u001b[2J\ufffd\n", "address": "10.77.1.11"})"));
}
