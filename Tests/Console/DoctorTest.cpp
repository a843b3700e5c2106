// What `korva doctor` prints of facts and causes.

#include "Console/CameraCheck.h"
#include "Console/DoctorCommand.h"
#include "Console/Examination.h"
#include "Diagnosis/Json.h"
#include "Diagnosis/Printable.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <string>
#include <tuple>
#include <vector>

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
              HasSubstr("\nFAIL  text-answer     10.77.1.11: \\x1b[2J\\x9b\\x0a: it answers nonsense; try: "
                        "restart it\n")));
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
        "seen": "\u001b[2J\ufffd\n: it answers nonsense", "address": "10.77.1.11"})"));
}

TEST(DoctorJson, HasTheFirstCauseThatIsAFailureAsItsErrorAndNoneForNotes) {
    const std::vector<Verdict> noteFirst(someCauses.rbegin(), someCauses.rend());
    for (const auto& causes : {someCauses, noteFirst})
        EXPECT_EQ(json(doctorJson(someFacts(), causes)["error"]),
                  json::parse(R"({"code": "garbage", "text": "it answers nonsense", "try": "restart it"})"));
    for (const auto& causes : {std::vector<Verdict>{someCauses[1]}, std::vector<Verdict>{}})
        EXPECT_FALSE(doctorJson(someFacts(), causes).contains("error"));
}

TEST(DoctorCameras, AreThoseThatTellAModelHoweverLongItIsOrAnswerInBrackets) {
    for (const auto& [text, told, isOne] : {std::tuple{"[Version --HW M61 --SW 3.2.15]", "M61", true},
                                            {"[Version --HW MMMM", "", true},
                                            {"[Version --SW 3.2.15]", "", true},
                                            {"[]", "", true},
                                            {"[Version --", "", false},
                                            {"zz", "", false}}) {
        Camera camera = someFacts().cameras[0];
        camera.textAnswer = text;
        camera.toldModel = told;
        EXPECT_EQ(answersAsCamera(camera), isOne) << text;
        camera.text = PortState::silent;
        EXPECT_FALSE(answersAsCamera(camera)) << text;
    }
}

TEST(DoctorCauses, NameAnAdapterThatWasLostMeanwhileOnceInThePlaceOfWhatThatLooksLike) {
    Console::Examination seen;
    Adapter net1;
    net1.name = "net1";
    net1.addresses = {{"10.77.1.1", "255.255.255.0"}};
    seen.facts.adapters = {net1};
    for (const char* address : {"10.77.1.11", "10.77.1.12", "10.77.1.13"}) {
        Camera& camera = seen.facts.cameras.emplace_back();
        camera.address = address;
        camera.text = PortState::silent;
    }
    seen.facts.cameras[2].text = PortState::refused;
    seen.after = seen.facts;
    const auto codes = [&seen] {
        std::vector<std::string> all;
        for (const Verdict& cause : causesOf(seen))
            all.push_back(cause.code + " " + cause.address);
        return all;
    };
    EXPECT_THAT(codes(), testing::ElementsAre("absent 10.77.1.11", "absent 10.77.1.12",
                                              "text-port-refused 10.77.1.13"));
    seen.after.adapters[0].hasLink = false;
    EXPECT_THAT(codes(), testing::ElementsAre("no-link ", "text-port-refused 10.77.1.13"));
}
