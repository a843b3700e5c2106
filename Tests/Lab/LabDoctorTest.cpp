// Broken worlds, and what the tool says of each.

#include "LabRun.h"

#include <nlohmann/json.hpp>

#include <algorithm>

using namespace LabTests;
using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

/// The worlds of Lab/run, each called as the first verdict on it.
const char* const worlds[] = {
    "no-link",
    "adapter-down",
    "no-address",
    "link-local-address",
    "wrong-mask",
    "other-subnet",
    "adapter-refused",
    "own-address-taken",
    "duplicate-address",
    "died-after-answer",
    "discovery-blocked",
    "text-port-blocked",
    "picture-port-blocked",
    "old-firmware",
    "silent",
    "garbage",
    "unknown-model",
    "dark",
    "overexposed",
};

/// Their names, a line for each.
std::string listed() {
    std::string names;
    for (const char* world : worlds)
        names += world + std::string("\n");
    return names;
}

class LabDoctorIn : public testing::TestWithParam<const char*> {};

std::string nameOf(const testing::TestParamInfo<const char*>& row) {
    std::string name = row.param;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

} // namespace

TEST_P(LabDoctorIn, ABrokenWorldNamesItsCauseFirst) {
    const std::string name = GetParam();
    const ProcessResult result = runScript("--break " + name, "korva doctor --json");
    EXPECT_EQ(result.errors, "");
    const json said = json::parse(result.output, nullptr, false);
    ASSERT_TRUE(said.is_object()) << result.output;
    ASSERT_FALSE(said["causes"].empty()) << result.output;
    EXPECT_EQ(said["causes"][0]["code"], name) << result.output;
    EXPECT_EQ(said["causes"][0]["severity"], "failure") << result.output;
    EXPECT_NE(said["causes"][0]["try"], "") << result.output;
    EXPECT_EQ(result.status, 1) << result.output;
}

INSTANTIATE_TEST_SUITE_P(Lab, LabDoctorIn, testing::ValuesIn(worlds), nameOf);

TEST(LabDoctor, FindsNothingWrongInAHealthyLab) {
    const ProcessResult result = runScript("--networks 2 --cameras 3", "korva doctor --json");
    EXPECT_EQ(result.status, 0) << result.errors;
    const json said = json::parse(result.output, nullptr, false);
    EXPECT_EQ(said["causes"], json::array()) << result.output;
    for (const json& look : said["looks"])
        EXPECT_EQ(look["status"], "ok") << look;
    const auto pictures = std::count_if(said["looks"].begin(), said["looks"].end(),
                                        [](const json& look) { return look["code"] == "picture"; });
    EXPECT_EQ(pictures, 3) << result.output;
}

TEST(LabDoctor, TellsPeopleTheVerdictFirstThenEachLook) {
    const ProcessResult result = runScript("--break picture-port-blocked", "korva doctor");
    EXPECT_EQ(result.status, 1) << result.errors;
    EXPECT_THAT(result.output, StartsWith("FAIL  10.77.1.11 (Room 1): "));
    EXPECT_THAT(result.output, HasSubstr("\n\nok    adapter         net1 is on, and connected\n"));
    EXPECT_THAT(result.output, HasSubstr("\nok    text-port       10.77.1.11: TCP 32768: open\n"));
    EXPECT_THAT(result.output, HasSubstr("\nFAIL  picture-port    10.77.1.11: TCP 32769: no answer; try: "));
    EXPECT_THAT(runScript("", "korva doctor").output, StartsWith("ok    Nothing is wrong.\n\n"));
}

TEST(LabDoctor, TakesASlowCamerasPictureThoughItHasNoTimeToWaitForItsProbe) {
    // The address where nobody is takes the time.
    const json said = json::parse(
        runScript("--arguments '--fault probe:delay=2500'", "korva doctor --json 10.77.1.11 10.77.1.99")
            .output);
    EXPECT_EQ(said["causes"][0]["code"], "absent") << said;
    EXPECT_EQ(said["causes"][1]["code"], "took-too-long") << said;
    EXPECT_EQ(said["causes"][1]["severity"], "note") << said;
    EXPECT_THAT(said["causes"][1]["text"].get<std::string>(), StartsWith("did not answer the probe within "));
    for (const json& look : said["looks"])
        EXPECT_TRUE(look["code"] != "picture" || look["status"] == "ok") << look;
    EXPECT_THAT(said["looks"].dump(), HasSubstr("\"picture\""));
}

TEST(LabDoctor, FailsACameraThatAnswersNeitherProbeNorPicture) {
    const ProcessResult result = runScript("--arguments '--binary silent'", "korva doctor --json");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(json::parse(result.output)["causes"][0]["code"], "silent") << result.output;
}

TEST(LabDoctor, OfAnAddressTellsWhatElseIsWrongInNotesBehind) {
    const ProcessResult result =
        runScript("--break adapter-refused", "korva doctor --json 10.77.1.11; korva doctor 10.77.2.12");
    const json said = json::parse(result.output.substr(0, result.output.find('\n')));
    EXPECT_EQ(said["causes"][0]["code"], "adapter-refused");
    EXPECT_EQ(said["causes"][0]["severity"], "note");
    EXPECT_THAT(result.output, HasSubstr("\nFAIL  no search can be sent on net2"));
    const ProcessResult second = runAmong("1,2\n", "korva doctor 10.77.2.11");
    EXPECT_THAT(
        second,
        ended(0, StartsWith("note  10.77.2.11 (Room 1): second answer of 10.77.1.11, over net2;"), ""));
    const ProcessResult named = runScript("--arguments '--announce 10.77.1.99'", "korva doctor 10.77.1.11");
    EXPECT_THAT(
        named,
        ended(0,
              StartsWith("note  10.77.1.11 (Room 1): answers here, but says that its address is 10.77.1.99;"),
              ""));
}

TEST(LabDoctor, OfAnAdapterThatNobodyUsesSaysNoMoreThanANoteBehindTheCause) {
    const std::string idle = "ip link add wlan0 type veth peer name x; ip link set wlan0 up;";
    for (const std::string world : {"other-subnet", "discovery-blocked", "wrong-mask"}) {
        const json said =
            json::parse(runScript("--break " + world, idle + "korva doctor --json; true").output);
        EXPECT_EQ(said["causes"][0]["code"], world) << said;
        EXPECT_EQ(said["causes"][1]["code"], "no-link") << said;
        EXPECT_EQ(said["causes"][1]["severity"], "note") << said;
    }
    const ProcessResult asked = runScript("", idle + "korva identify 192.168.5.5");
    EXPECT_THAT(asked, failed({"192.168.5.5: ", "in none of "}));
}

TEST(LabDoctor, FindsNothingWrongWithABridgesPorts) {
    const ProcessResult result =
        runScript("", "ip link add br0 type bridge; ip address flush dev net1; ip link set net1 master br0;"
                      "ip address add 10.77.1.1/24 broadcast + dev br0; ip link set br0 up;"
                      "until ip link show br0 | grep -q LOWER_UP; do sleep 0.05; done; korva doctor --json");
    EXPECT_THAT(result, ended(0, AllOf(HasSubstr("\"causes\":[]"), Not(HasSubstr("\"note\""))), ""));
}

TEST(LabDoctor, WithoutRightsSaysWhatItCannotSee) {
    const std::string note =
        "note  own-address     whether another device has one of these addresses is not known: "
        "to ask takes an administrator's rights; try: sudo korva doctor\n";
    EXPECT_THAT(
        runScript("--break own-address-taken",
                  "setpriv --bounding-set=-net_raw --inh-caps=-net_raw korva doctor")
            .output,
        AllOf(StartsWith("FAIL  no camera answered"), HasSubstr("; sudo korva doctor, "), HasSubstr(note)));
}

TEST(LabDoctor, SaysWhatHasBecomeOfItsOwnAdapterMeanwhile) {
    const ProcessResult result = runScript("--arguments --wait-exposure",
                                           "korva doctor --json & work=$!; for i in {1..300}; do grep -q "
                                           "'configure: ' $KORVA_LAB/camera-1.log && "
                                           "break; sleep 0.05; done; ip link set net1 down; wait $work");
    EXPECT_EQ(result.status, 1);
    const json causes = json::parse(result.output)["causes"];
    EXPECT_EQ(causes[0]["code"], "adapter-down") << result.output;
    EXPECT_EQ(causes.size(), 1u) << result.output;
}

TEST(LabDoctor, TakesFiveSecondsAtMostBesidesSearchAndPicture) {
    const ProcessResult result = runScript(
        "--break text-port-blocked", "begin=$(date +%s%N); korva doctor 10.77.1.11 10.77.1.12 10.77.1.13 >&2;"
                                     "echo $((($(date +%s%N) - begin) / 1000000))");
    constexpr long searchMs = 1000;
    constexpr long slackOfABusyMachineMs = 1000;
    EXPECT_LE(std::stol(result.output), 5000 + searchMs + slackOfABusyMachineMs) << result.errors;
}

TEST(LabDoctor, EndsAtCtrlCWhateverItLooksAt) {
    // The search, the looks at an address, and the picture.
    const std::string interrupted =
        "for moment in 0.6 2.5; do korva doctor --json 2>&1 & work=$!; sleep $moment; begin=$(date +%s%N);"
        "kill -INT $work; wait $work; echo $? $((($(date +%s%N) - begin) / 500000000)); done";
    for (const char* world : {"--break text-port-blocked", "--arguments --wait-exposure"})
        EXPECT_THAT(runScript(world, interrupted).output,
                    testing::MatchesRegex(
                        "(\\{.causes.:\\[\\],.looks.:\\[\\],.error.:.*\nkorva: interrupted\n130 0\n){2}"));
    // An identification, which looks at no clock.
    EXPECT_EQ(interrupt("1 --hardware X900 --size 40x30 --fault get:drip=1/200\n", "korva doctor",
                        "fault get:drip", "camera-1.log"),
              "status 130 after 1\nkorva: interrupted\n");
}

TEST(LabDoctor, IsAskedWhatItCannotLookAtAndSaysSo) {
    EXPECT_THAT(runScript("", "korva doctor ::1"), ended(2, "", StartsWith("korva: ")));
    const ProcessResult result =
        runScript("", "korva doctor --plugin /nowhere 10.77.1.11 10.77.1.77 nobody.invalid");
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output,
                AllOf(StartsWith("FAIL  "), HasSubstr("/nowhere"), HasSubstr("10.77.1.77: "),
                      HasSubstr("nobody.invalid: "), HasSubstr("10.77.1.11: TCP 32769: open")));
}

TEST(LabBreak, ListsItsWorldsEachWithWhatIsWrong) {
    EXPECT_THAT(run({"/bin/bash", "-c", "\"$0\" --break list | grep '^[a-z-]*  *[a-z]' | cut -d' ' -f1",
                     KORVA_LAB_RUN}),
                ended(0, listed(), ""));
}

TEST(LabBreak, RefusesAWorldItDoesNotKnowAndOneWithOtherCameras) {
    for (const char* name : {"nothing", "", "dar", ".*"})
        EXPECT_THAT(
            runLab({"--break", name, "true"}),
            ended(2, "", HasSubstr("there is no world \"" + std::string(name) + "\"; Lab/run --break list")));
    for (const char* option : {"--networks", "--cameras", "--arguments", "--set"})
        EXPECT_THAT(runLab({"--break", "dark", option, "1", "true"}),
                    ended(2, "", HasSubstr("--break says all about networks and cameras")));
    EXPECT_THAT(runLab({"--break"}), ended(2, "", HasSubstr("--break wants a value")));
}
