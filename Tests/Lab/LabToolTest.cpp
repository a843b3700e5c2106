// The tool and its plug-in among cameras on networks of their own: discovery by broadcast, ARP,
// identification, pictures, and a cable that is pulled.

#include "NeedsNamespaces.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <limits>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>
#include <thread>

using namespace LabTests;
using nlohmann::json;
using testing::_;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

/// The addresses in the list `key` of what a command prints, sorted as texts.
Names addressesIn(const char* key, const ProcessResult& result) {
    const json object = json::parse(result.output);
    Names addresses;
    for (const json& camera : object.at(key))
        addresses.push_back(camera.at("address"));
    std::sort(addresses.begin(), addresses.end());
    return addresses;
}

/// Expects that a search among those cameras finds these, ends so and says that; gives what it prints.
json expectFound(const std::string& cameras, const std::string& options, const Names& addresses,
                 const Text& errors, int status = 0) {
    const ProcessResult result = runAmong(cameras, "korva discover --json " + options);
    EXPECT_THAT(result, ended(status, _, errors));
    EXPECT_EQ(addressesIn("cameras", result), addresses);
    return json::parse(result.output, nullptr, false);
}

/// Captures of all cameras of a set, into files of its own; those of `blocked` cannot be written.
struct CaptureOfAll {
    explicit CaptureOfAll(const std::string& cameras, const std::string& options = "",
                          const Names& blocked = {}) {
        for (const std::string& address : blocked)
            std::filesystem::create_directories(fileOf(address));
        result = runAmong(cameras, "korva capture --all --json --output " + folder.file("all") + options);
    }

    std::string fileOf(const std::string& address) const {
        return folder.file("all/korva-" + address + ".png");
    }
    unsigned widthOf(const std::string& address) const { return readGreyPng(fileOf(address)).width; }

    /// It failed, for that reason, and took the pictures of these cameras nevertheless.
    void expectFailure(const Names& others, const std::string& reason) const {
        EXPECT_EQ(result.status, 4);
        EXPECT_EQ(addressesIn("files", result), others);
        for (const std::string& address : others)
            EXPECT_EQ(widthOf(address), 1676u);
        EXPECT_EQ(json::parse(result.output)["error"]["code"], "partly-failed");
        EXPECT_THAT(result.errors, has({reason}));
    }

    const TemporaryFolder folder;
    ProcessResult result;
};

/// Of the day, of "23:14:55.123".
double millisecondsOf(const std::string& time) {
    return std::stod(time) * 3'600'000 + std::stod(time.substr(3)) * 60'000 +
           std::stod(time.substr(6)) * 1000;
}

constexpr double exposure = 2000.0;
constexpr int sixteen = 16;

/// What captures take, in milliseconds.
struct SixteenAtOnce {
    double all = std::numeric_limits<double>::max(); ///< from the end of the search
    double slowest = 0.0;                            ///< of them
    double alone = 0.0;                              ///< one of them, before

    /// Beyond the slowest camera's time and 1.5 s.
    double excess() const {
        constexpr double promised = 1500.0;
        return all - (slowest + promised);
    }
};

SixteenAtOnce captureOfSixteen() {
    const ProcessResult result =
        runScript("--networks 4 --cameras 16 --start-within 50 --arguments --wait-exposure",
                  "cd $KORVA_LAB; korva capture 10.77.1.11 --exposure 2 --json --output one.png &&"
                  "korva capture --all --exposure 2 --json --output all && date -u +%T.%3N");
    EXPECT_EQ(result.status, 0) << result.errors;
    std::istringstream said(result.output);
    std::array<std::string, 3> lines;
    for (std::string& line : lines)
        std::getline(said, line);
    const json one = json::parse(lines[0], nullptr, false);
    const json all = json::parse(lines[1], nullptr, false);
    if (result.status != 0 || all["results"].size() != sixteen)
        return {};
    SixteenAtOnce took;
    took.alone = one["results"][0]["milliseconds"];
    double begin = std::numeric_limits<double>::max(); // the search has ended by then
    for (const json& each : all["results"]) {
        begin = std::min(begin, millisecondsOf(each["takenAt"].get<std::string>().substr(11)));
        took.slowest = std::max(took.slowest, each["milliseconds"].get<double>());
    }
    constexpr double day = 86'400'000;
    took.all = std::fmod(millisecondsOf(lines[2]) - begin + day, day);
    return took;
}

/// Answers a search behind the others, and so comes after them.
const std::string late = " --fault discovery:delay=200";

/// A camera that holds its identification: a byte every 200 ms of a sample picture of some hundred.
const std::string holdsIt = "1 --hardware X900 --size 40x30 --fault get:drip=1/200";
const std::string holding = holdsIt + "\n";
const std::string holdingLate = holdsIt + late + "\n";

/// Two cameras with one address.
const std::string twins =
    "1 --room \"Twin A\"\n1 --room \"Twin B\" --fault discovery:wrong-address=10.77.1.11\n";

/// The description of a camera at an address that nobody has.
const std::string nobody =
    "<Device><CameraInfo><cameraTypeEnum>6</cameraTypeEnum><resolutionX>8</resolutionX>"
    "<resolutionY>6</resolutionY></CameraInfo><connection><address>10.77.1.99</address>"
    "<port>32769</port></connection></Device>";

/// What a watch among these cameras prints while `script` goes on, behind a line with its status after
/// Ctrl-C. In the script "await TEXT COUNT" waits for so many lines with the text.
ProcessResult watched(const std::string& cameras, const std::string& command, const std::string& script,
                      const std::string& before = "") {
    return runAmong(cameras, "await() { for i in {1..300}; do [ $(grep -c \"$1\" $log) -ge $2 ] && return; "
                             "sleep 0.05; done; echo \"no $1\" >&2; cat $log >&2; exit 9; };"
                             "log=$KORVA_LAB/watch;" +
                                 before + "korva " + command + " --watch >$log & watch=$!;" + script +
                                 "kill -INT $watch; wait $watch; echo status $?; cat $log");
}

} // namespace

TEST(LabDiscovery, TellsWhoAnswersOnEveryNetwork) {
    const json said =
        expectFound("1 --model M615 --serial 11 --firmware 3.3.1 --api 2.0\n"
                    "2 --model M61 --serial 12\n",
                    "", {"10.77.1.11", "10.77.2.12"}, has({"10.77.1.11", "2 ready, 0 unusable."}));
    EXPECT_THAT(said["cameras"], testing::UnorderedElementsAreArray(json::parse(R"([
        {"address": "10.77.1.11", "macAddress": "02-4b-00-01-00-01", "model": "Korva Meridian M615",
         "serialNumber": "11", "firmware": "SW-3.3.1_API-2.0", "subnetMask": "255.255.255.0",
         "defaultGateway": "10.77.1.1", "resolution": {"x": 2748, "y": 1836}, "cameraType": 6},
        {"address": "10.77.2.12", "macAddress": "02-4b-00-02-00-02", "model": "Korva Meridian M61",
         "serialNumber": "12", "firmware": "SW-3.2.15_API-1.4", "subnetMask": "255.255.255.0",
         "defaultGateway": "10.77.2.1", "resolution": {"x": 1676, "y": 1266}, "cameraType": 6}])")));
}

TEST(LabDiscovery, TellsPeopleInATableOrThatNobodyAnsweredOrThatItsTimeWasTooShortForThat) {
    EXPECT_THAT(runAmong("1\n2\n", "korva discover"),
                ended(0,
                      AllOf(lines(4), StartsWith("ADDRESS"), has({"Room 1", "Room 2", "  ready\n"}),
                            EndsWith("2 ready, 0 unusable.\n")),
                      ""));
    EXPECT_THAT(runAmong("", "ip link set net2 down; korva discover"),
                ended(3,
                      AllOf(StartsWith("No Korva camera answered.\n"),
                            has({"  searched      net1  10.77.1.1, mask 255.255.255.0, broadcast 10.77.1.255",
                                 "  not searched  net2", ": switched off", "\nLikely causes"})),
                      ""));
    EXPECT_THAT(runAmong("", "korva discover --max-time 0.5"),
                ended(3, StartsWith("No Korva camera found.\n"),
                      HasSubstr(": it listens for a second after the last answer; cameras may be")));
}

TEST(LabDiscovery, CameraOnTwoNetworksIsReportedOnceAndItsSecondAnswerNamed) {
    const json said =
        expectFound("1,2\n", "--log info", {"10.77.1.11"},
                    AllOf(testing::ContainsRegex("(Message from Korva device: (.|\n)*){2}"),
                          has({"second answer of 10.77.1.11, over net", "1 ready, 0 unusable."})));
    EXPECT_EQ(said["problems"][0]["code"], "second-answer");
}

TEST(LabDiscovery, CamerasThatCannotBeUsedHaveTheirRowAndTheReason) {
    const json said = expectFound(
        "1 --text refused\n2 --text silent\n1\n2 --firmware 3.1.0\n1 --binary refused\n", "",
        {"10.77.1.13", "10.77.1.15"},
        has({"refuses TCP 32768", "firmware 3.1.0, needs 3.2.15", "\n1 ready, 4 unusable.\n"}), 4);
    std::map<std::string, std::string> codes;
    for (const json& problem : said["problems"])
        codes[problem["address"]] = problem["code"];
    EXPECT_THAT(codes,
                ElementsAre(std::pair{"10.77.1.11", "text-port-refused"},
                            std::pair{"10.77.1.15", "picture-port-refused"},
                            std::pair{"10.77.2.12", "silent"}, std::pair{"10.77.2.14", "old-firmware"}));
    EXPECT_EQ(said["problems"][0]["room"], "Room 1");
}

TEST(LabDiscovery, SearchesAgainUntilItsTimeIsOver) {
    // It does not answer the first query that it hears.
    expectFound("1 --fault discovery:silent*1\n", "--timeout 3", {"10.77.1.11"},
                has({"1 ready, 0 unusable."}));
}

TEST(LabDiscovery, WatchTellsWhoComes) {
    const ProcessResult result =
        runAmong("1\n", "timeout -s INT 6 korva discover --watch --json; echo status $? >&2");
    EXPECT_THAT(result.errors, HasSubstr("status 124"));
    const json line = json::parse(result.output.substr(0, result.output.find('\n')));
    EXPECT_EQ(line["event"], "came");
    EXPECT_EQ(line["address"], "10.77.1.11");
    EXPECT_TRUE(line["ready"]);
}

TEST(LabDiscovery, WatchTellsOfTheComputersOwnAdapterOnceAndNotOfEachCamera) {
    EXPECT_THAT(watched("1\n1\n", "discover",
                        "await 'came ' 2; ip link set net1 down; await 'switched off' 1; sleep 7;"
                        "ip link set net1 up; await 'works again' 1; sleep 5;"),
                ended(0, AllOf(lines(5), StartsWith("status 0\n"), EndsWith("  net1 works again\n")), _));
}

TEST(LabDiscovery, WatchDoesNotHaveOneCameraWaitForAnother) {
    EXPECT_THAT(watched(holdsIt + "\n1\n", "discover --max-time 60", "await 'came *10.77.1.12' 1;"),
                ended(0,
                      AllOf(StartsWith("status 4\n"), lines(3), HasSubstr("(Room 2): ready\n"),
                            EndsWith("10.77.1.11 (Room 1): answered the search, not asked to the end\n")),
                      _));
}

TEST(LabDiscovery, WatchEndsWithTheStatusOfWhatAnsweredAndALineForIt) {
    for (const auto& [world, timeout, status, line] :
         {std::tuple{"text-port-blocked", "3", 1,
                     "came  10.77.1.11 (Room 1): answered the search, not asked"},
          {"adapter-refused", "6", 4, "came  10.77.2.12 (Room 2): ready\n"},
          {"discovery-blocked", "8", 3, "10.77.1.11 answers on TCP alone"},
          {"own-address-taken", "8", 3, "another device on net1 both have this address"}})
        EXPECT_THAT(runScript("--break " + std::string(world),
                              "korva discover --watch --timeout " + std::string(timeout)),
                    ended(status, HasSubstr(line), ""))
            << world;
}

TEST(LabDiscovery, WatchTellsOfATwinThatComesAndGoes) {
    const std::string twin = "nsenter --net=$KORVA_LAB/namespaces/switch ip link set port1-2 ";
    EXPECT_THAT(
        watched(twins, "discover",
                "await 'same address as another camera: Twin A, Twin B' 2;" + twin +
                    "down; await gone 1; await ready 1;",
                twin + "up;"),
        ended(0, AllOf(StartsWith("status 0\n"), HasSubstr("gone  10.77.1.11 (Twin B): no longer")), _));
}

TEST(LabDiscovery, FindsThoseOnOtherNetworksWhereOneRefusesTheSearch) {
    const ProcessResult result =
        runScript("--break adapter-refused",
                  "said() { \"$@\"; [ $? = 4 ] || echo \"{}\"; }; cd $KORVA_LAB; said korva discover --json;"
                  "said korva health --all --json; said korva capture --all --json");
    EXPECT_THAT(result, ended(0, lines(3),
                              has({"  searched      net1", "  not searched  net2",
                                   "korva: ", "\n2 ready, 0 unusable.\n"})));
    std::istringstream each(result.output);
    json said;
    for (const std::size_t results : {0u, 2u, 2u}) {
        std::string line;
        std::getline(each, line);
        const json one = json::parse(line);
        EXPECT_EQ(one.value("results", json::array()).size(), results);
        if (said.is_null())
            said = one;
        EXPECT_EQ(one["error"], said["error"]);
    }
    EXPECT_EQ(said["error"]["code"], "adapter-refused");
    EXPECT_EQ(said["problems"][0]["code"], "adapter-refused");
    EXPECT_EQ(said["cameras"][0]["address"], "10.77.1.11");
    EXPECT_EQ(said["cameras"][1]["address"], "10.77.2.12") << "it answers the limited broadcast";
}

TEST(LabDiscovery, SaysOfACameraWhichOtherAddressItHas) {
    const std::string names = "1 --announce 10.77.1.99\n";
    const std::string why = "the camera says that this is its address, but it answers from 10.77.1.11";
    expectFound(names, "", {}, HasSubstr(why), 1);
    EXPECT_THAT(runAmong(names, "korva capture --all"), failed({why}));
    EXPECT_THAT(runAmong(names, "korva health --all"), ended(1, HasSubstr(why), ""));
}

TEST(LabDiscovery, OfNobodyNamesWhatKeepsTheAnswersAway) {
    for (const std::string world : {"discovery-blocked", "own-address-taken", "other-subnet", "wrong-mask"})
        for (const std::string command : {"discover", "capture --all"}) {
            const ProcessResult result = runScript("--break " + world, "korva " + command + " --json");
            EXPECT_EQ(result.status, 3) << result.output;
            EXPECT_EQ(json::parse(result.output)["error"]["code"], world) << command;
        }
}

TEST(LabDiscovery, HasNoRoomForACameraWhoseRoomHasNoName) {
    EXPECT_THAT(runAmong("1 --room ''\n", "korva discover; korva doctor").output, Not(HasSubstr("--IP")));
}

TEST(LabDiscovery, OneInterruptEndsItWhileACameraHoldsIt) {
    EXPECT_EQ(interrupt(holding, "korva discover", "fault get:drip", "camera-1.log"),
              "status 130 after 1\nkorva: interrupted\n");
}

TEST(LabDiscovery, InterruptShowsWhomItHasFoundBefore) {
    // The second question to the camera is the second search's.
    const std::string interrupted = " & work=$!; for i in {1..300}; do [ $(grep -c '(discovery)' "
                                    "$KORVA_LAB/camera-1.log) -gt 1 ] && break;"
                                    "sleep 0.05; done; kill -INT $work; wait $work; echo status $?";
    EXPECT_THAT(runScript("", "korva discover --timeout 60" + interrupted),
                ended(0, AllOf(HasSubstr("\n10.77.1.11 "), HasSubstr("ready\nstatus 130\n")),
                      HasSubstr("korva: interrupted")));
    const json said =
        json::parse(runScript("", "korva discover --timeout 60 --json" + interrupted + " >&2").output);
    EXPECT_EQ(said["cameras"].size(), 1u) << said;
    EXPECT_EQ(said["problems"].size(), 0u) << said;
    EXPECT_EQ(said["error"]["code"], "interrupted") << said;
}

TEST(LabDiscovery, CameraThatHoldsItLeavesTheOthersTheirTurn) {
    EXPECT_FALSE(expectFound(holding + "1" + late + "\n2" + late, "--max-time 9",
                             {"10.77.1.12", "10.77.2.13"}, HasSubstr("took too long: "), 4)
                     .contains("cut"));
}

TEST(LabDiscovery, ShowsWhatItFoundWhereItsTimeIsOver) {
    const json said = expectFound(
        "1\n" + holdingLate + holdingLate + holdingLate + holdingLate, "--max-time 2", {"10.77.1.11"},
        testing::ContainsRegex(
            "korva: warning: the search was cut after [23][.][0-9] s: cameras kept it waiting"),
        4);
    EXPECT_THAT(said["cut"], has({"the search was cut"}));
}

TEST(LabDiscovery, AsksWhoHasAnsweredWhileDatagramsKeepComing) {
    const json said = expectFound("1\n" + talker + "2\n", "--max-time 6", {"10.77.1.11", "10.77.2.13"},
                                  HasSubstr("korva: warning: the search was cut after 3."), 4);
    EXPECT_THAT(said["cut"], has({": datagrams kept coming; cameras may be missing; try: "}));
}

class LabDiscoveryOf : public testing::TestWithParam<int> {};

TEST_P(LabDiscoveryOf, SoManyCamerasFindsThemAll) {
    const int count = GetParam();
    constexpr int adapters = 8;
    const ProcessResult result =
        runScript("--networks 8 --start-within 50 --cameras " + std::to_string(count),
                  "begin=$(date +%s%N); korva discover --json; end=$(date +%s%N);"
                  "echo $(((end - begin) / 1000000)) >&2");
    // Each of them, and each once.
    Names addresses;
    for (int camera = 0; camera < count; ++camera)
        addresses.push_back("10.77." + std::to_string(camera % adapters + 1) + "." +
                            std::to_string(11 + camera));
    std::sort(addresses.begin(), addresses.end());
    EXPECT_EQ(addressesIn("cameras", result), addresses);
    const std::size_t before = result.errors.rfind('\n', result.errors.size() - 2);
    const long elapsed = std::stol(result.errors.substr(before + 1)); // in the last line
    constexpr long startOfTheTool = 250;
    const long expected = 1000 + 150L * count + startOfTheTool;
    std::printf(
        "figure: search of %d cameras on %d adapters: %ld.%03ld s, at most %ld.%03ld s on an idle machine\n",
        count, adapters, elapsed / 1000, elapsed % 1000, expected / 1000, expected % 1000);
    EXPECT_GE(elapsed, 1000); // a second after the last reply
    constexpr long slackOfABusyMachine = 10000;
    EXPECT_LE(elapsed, expected + slackOfABusyMachine);
}

INSTANTIATE_TEST_SUITE_P(Lab, LabDiscoveryOf, testing::Values(0, 1, 3, 64),
                         testing::PrintToStringParamName());

TEST(LabIdentify, AddressWithoutAMachineIsAFailureThatSaysSo) {
    EXPECT_THAT(runScript("", "korva identify 10.77.1.99"),
                failed({"korva: 10.77.1.99: nobody answers at this address; try: check the address"}));
}

TEST(LabIdentify, TellsTheMacAddressOfACameraOnThisNetwork) {
    const ProcessResult result = runScript("", "korva identify 10.77.1.11 --json");
    EXPECT_EQ(json::parse(result.output)["macAddress"], "02-4b-00-01-00-01");
}

TEST(LabHealth, OfAllSaysWhoDoesNotAnswer) {
    const ProcessResult result = runAmong("1\n2 --text refused\n", "korva health --all");
    EXPECT_THAT(result, ended(4,
                              has({"10.77.1.11:32769: good, the camera answers\n",
                                   "10.77.2.12: refuses TCP 32768", "; try: "}),
                              ""));
}

TEST(LabCapture, TakesAPictureWithEveryCameraFoundAndASheetOfThem) {
    const TemporaryFolder folder;
    const CaptureOfAll all("1 --model M615\n2\n2 --model M62 --scene ramp\n",
                           " --contact-sheet " + folder.file("sheet.png"));
    EXPECT_EQ(all.result.status, 0) << all.result.errors;
    EXPECT_EQ(all.widthOf("10.77.1.11"), 2748u);
    EXPECT_EQ(all.widthOf("10.77.2.12"), 1676u);
    EXPECT_EQ(all.widthOf("10.77.2.13"), 2748u);
    EXPECT_EQ(readGreyPng(folder.file("sheet.png")).width, 3u * 500 + 20);
}

TEST(LabCapture, OneFailedCameraOfAllDoesNotKeepTheOthersFromTheirPictures) {
    CaptureOfAll("1 --binary refused\n2" + late)
        .expectFailure({"10.77.2.12"}, "korva: 10.77.1.11 (Room 1): ");
}

TEST(LabCapture, OfSixteenCamerasTakesLittleMoreThanTheSlowest) {
    constexpr int tries = 3; // of which the best counts, since others use the machine too
    SixteenAtOnce best = captureOfSixteen();
    for (int more = 1; more < tries && best.excess() > 0; ++more)
        if (const SixteenAtOnce next = captureOfSixteen(); next.excess() < best.excess())
            best = next;
    std::printf("figure: capture of 16 cameras at 2 s exposure: %.0f ms; of the slowest %.0f ms, of one "
                "alone %.0f ms\n",
                best.all, best.slowest, best.alone);
    EXPECT_LE(best.excess(), 0.0);
    EXPECT_LT(best.all, sixteen * exposure / 2) << "cameras are slow because they wait for each other";
}

TEST(LabCapture, SaysOfEachCameraWhatHasBecomeOfThisComputersAdapterMeanwhile) {
    const std::string switched = "nsenter --net=$KORVA_LAB/namespaces/switch ip link set port1-0 down";
    for (const auto& [damage, code, cameras] :
         {std::tuple<std::string, std::string, std::string>{switched, "no-link", "--all"},
          {"ip link set net1 down", "adapter-down", "one two"},
          {"ip address flush dev net1", "no-address", "--all"}}) {
        const ProcessResult result =
            runScript("--cameras 2 --arguments --wait-exposure",
                      "printf '10.77.1.11 one\\n10.77.1.12 two\\n' >$KORVA_LAB/hosts;"
                      "mount --bind $KORVA_LAB/hosts /etc/hosts || exit 9; korva capture " +
                          cameras +
                          " --exposure 3 --max-time 5 --json --output $KORVA_LAB/all & work=$!;"
                          "for i in {1..300}; do [ $(cat $KORVA_LAB/camera-*.log | grep -c 'configure: ') = "
                          "2 ] && break;"
                          "sleep 0.05; done; " +
                          damage + "; wait $work");
        EXPECT_THAT(result, ended(1, lines(1), lines(2))) << code;
        const json said = json::parse(result.output);
        for (const json& each : said["results"])
            EXPECT_EQ(each["error"]["code"], code) << each;
    }
}

TEST(LabCapture, LooksAtACameraThatIsLostInItsPicture) {
    const ProcessResult result =
        runScript("--cameras 2 --arguments --wait-exposure",
                  "korva capture 10.77.1.11 10.77.1.12 --exposure 3 --max-time 12 --json --output "
                  "$KORVA_LAB/all & work=$!;"
                  "for i in {1..300}; do [ $(cat $KORVA_LAB/camera-*.log | grep -c 'configure: ') = 2 ] && "
                  "break; sleep 0.05; done;"
                  "nsenter --net=$KORVA_LAB/namespaces/switch ip link set port1-1 down; wait $work");
    EXPECT_THAT(result, ended(4, lines(1),
                              has({"korva: 10.77.1.11: answered before, then nothing at all: it has lost "
                                   "power or its cable, or restarts; try: "})));
    const json said = json::parse(result.output);
    EXPECT_EQ(said["results"][0]["error"]["code"], "died-after-answer") << said;
    EXPECT_TRUE(said["results"][1]["ok"]) << said;
}

TEST(LabCapture, OfADescribedCameraThatWasNeverThereSaysThatNobodyAnswers) {
    for (const std::string command : {"capture --output a.png", "health"})
        EXPECT_THAT(runScript("", "cd $KORVA_LAB; echo '" + nobody + "' >xml; korva " + command +
                                      " --from xml --json 2>&1"),
                    ended(1, has({R"("code":"absent","text":"nobody answers at this address")"}), ""))
            << command;
}

TEST(LabCapture, OfAllSaysTheSameAsDiscoverWhereNobodyIsFound) {
    for (const std::string world : {"wrong-mask", "other-subnet", "adapter-down"}) {
        const ProcessResult result = runScript(
            "--break " + world,
            "korva discover --json; echo $?; korva capture --all --json --output $KORVA_LAB/all; echo $?");
        std::istringstream said(result.output);
        json errors;
        Names statuses;
        for (std::string line, status; std::getline(said, line) && std::getline(said, status);) {
            errors.push_back(json::parse(line)["error"]);
            statuses.push_back(status);
        }
        ASSERT_THAT(statuses, ElementsAre("3", "3")) << result.output;
        EXPECT_EQ(errors[0]["code"], world);
        EXPECT_EQ(errors[0], errors[1]);
    }
}

TEST(LabCapture, OfAModelWhoseSizeIsGuessedWronglySaysHowToGetItsPictureNevertheless) {
    EXPECT_THAT(runScript("--break unknown-model",
                          "cd $KORVA_LAB; korva capture 10.77.1.11 --output a.png;"
                          "korva describe 10.77.1.11 | sed 's/>2748</>1676</; s/>1836</>1266</' >camera.xml;"
                          "korva capture --from camera.xml --output a.png"),
                ended(0, StartsWith("a.png: 1676 x 1266 pixels, "),
                      AllOf(lines(2), has({"korva: 10.77.1.11: the camera sent 1676 x 1266, it should send "
                                           "2748 x 1836 (model X99 is unknown): what it should send is a "
                                           "guess; try: korva describe 10.77.1.11 > camera.xml, ",
                                           "\nkorva: warning: 10.77.1.11: model X99 is unknown: "}))));
}

TEST(LabCapture, OfACameraWhoseAnswersAreGarbageWarnsBesideItsPicture) {
    for (const std::string which : {"10.77.1.11 --output a.png", "--all --output all"})
        EXPECT_THAT(runScript("--break garbage", "cd $KORVA_LAB; korva capture " + which),
                    ended(0, lines(1),
                          AllOf(lines(1), has({"korva: warning: 10.77.1.11",
                                               ": answers on TCP 32768, but not as a camera does; try: "}))));
}

TEST(LabCapture, CountsThoseWhoAnsweredAndCannotBeUsed) {
    const CaptureOfAll all("1 --firmware 3.1.0\n2" + late);
    all.expectFailure({"10.77.2.12"}, "korva: 10.77.1.11 (Room 1): firmware 3.1.0, needs 3.2.15");
    EXPECT_EQ(json::parse(all.result.output)["results"][1]["room"], "Room 2");
    EXPECT_THAT(runAmong("", "korva capture --all"), ended(3, "", _));
}

TEST(LabCapture, OneCameraThatHoldsDoesNotKeepTheOthersFromTheirPictures) {
    CaptureOfAll("1 --fault get:drip=1/100\n2" + late, " --max-time 3")
        .expectFailure({"10.77.2.12"}, "korva: 10.77.1.11 (Room 1): took too long: ");
}

TEST(LabCapture, OneFileOfAllThatCannotBeWrittenDoesNotKeepTheOthersFromTheirs) {
    // Two of them, so that one comes before another camera.
    const CaptureOfAll all("1\n1\n1\n", "", {"10.77.1.11", "10.77.1.12"});
    all.expectFailure({"10.77.1.13"}, "cannot write");
    for (const auto& [room, address] : {std::pair{"1", "10.77.1.11"}, {"2", "10.77.1.12"}})
        EXPECT_THAT(all.result.errors, has({std::string("korva: ") + address + " (Room " + room +
                                            "): cannot write " + all.fileOf(address) + ": Is a directory"}));
}

TEST(LabCapture, CountsACameraWhoseAddressIsAnotherOnesAsFailed) {
    const std::string twin = "1 --room \"Twin B\" --fault discovery:wrong-address=10.77.1.11\n";
    EXPECT_THAT(runAmong("1\n" + twin, "cd $KORVA_LAB; korva capture --all --output all"),
                ended(4, HasSubstr("1 of 2 pictures; failed: 10.77.1.11\n"),
                      HasSubstr("same address as another camera")));
}

TEST(LabCapture, OfTwinsBearsThatInItsLineAndOfAGivenAddressWarnsAsDescribeDoes) {
    const std::string sign = "same address as another camera";
    EXPECT_THAT(runLab({"--break", "duplicate-address", "--", "bash", "-c",
                        "cd $KORVA_LAB; korva capture --all --output all 2>/dev/null; korva capture "
                        "10.77.1.11 2>&1 >/dev/null; korva describe 10.77.1.11 2>&1 >/dev/null"})
                    .output,
                testing::ContainsRegex("pixels[^\n]*" + sign + "[^$]*warning: 10.77.1.11: " + sign +
                                       "[^$]*warning: 10.77.1.11: " + sign));
}

TEST(LabCapture, LeavesNoCameraADumpOfTheSearch) {
    const TemporaryFolder folder;
    const CaptureOfAll all("1 --model X9999\n1 --model X9999\n1 --model X9999\n",
                           " --log trace --diagnostics " + folder.file("dumps"));
    std::map<std::string, int> dumps;
    for (const auto& each : std::filesystem::directory_iterator(folder.file("dumps"))) {
        const std::string name = each.path().stem();
        const std::size_t owner = name.rfind(' ') + 1;
        ++dumps[name.substr(owner, name.rfind('-') - owner)];
    }
    const std::map<std::string, int> expected{
        {"10.77.1.11", 1}, {"10.77.1.12", 1}, {"10.77.1.13", 1}, {"other", 3}};
    EXPECT_EQ(dumps, expected);
}

TEST(LabCapture, OneInterruptEndsItWhileItConnectsToNobody) {
    EXPECT_THAT(
        runScript("", "cd $KORVA_LAB; echo '" + nobody +
                          "' >xml; korva capture --from xml --output a.png --log info 2>said & work=$!;"
                          "for i in {1..300}; do grep -q 'Setting korva exposure' said && break; sleep 0.05;"
                          "done; sleep 0.3; kill -INT $work; begin=$(date +%s%N); wait $work;"
                          "echo status $? after $((($(date +%s%N) - begin) / 1000000 < 500));"
                          "tail -n 1 said"),
        ended(0, "status 130 after 1\nkorva: interrupted\n", _));
}

TEST(LabHealth, OfNobodySaysTheLikeliestCause) {
    const ProcessResult result = runScript("", "ip link set net1 down; korva health --all --json");
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(json::parse(result.output)["error"]["code"], "adapter-down");
}

TEST(LabHealth, OfTwinsSaysSoAndNotThatTheyAreGood) {
    const ProcessResult result = runAmong(twins, "korva health --all --json");
    const json object = json::parse(result.output);
    ASSERT_EQ(object["results"].size(), 1u);
    EXPECT_EQ(object["results"][0]["error"]["code"], "duplicate-address");
    EXPECT_EQ(object["error"], object["results"][0]["error"]);
    EXPECT_EQ(result.status, 1);
}

TEST(LabTool, EachCommandSaysThatAModelIsUnknownUnlessItHasItsPicture) {
    const ProcessResult result =
        runAmong("1 --hardware X900 --size 40x30\n",
                 "cd $KORVA_LAB; a=10.77.1.11; korva discover $a; korva identify $a 2>&1; korva health $a;"
                 "korva health --all; echo ---; korva capture $a 2>&1; korva capture --all 2>&1");
    EXPECT_EQ(result.status, 0) << result.errors;
    const std::string sign = "model X900 is unknown: ";
    EXPECT_THAT(result.output, testing::ContainsRegex("(" + sign + "[^$]*){4}---"));
    EXPECT_THAT(result.output.substr(result.output.find("---")), Not(HasSubstr(sign)));
    EXPECT_THAT(result.output, has({"10.77.1.11:32769: good, but " + sign}));
}

TEST(LabTool, OfAnAddressThatTwoCamerasHaveNoCommandSaysThatItIsWell) {
    EXPECT_THAT(runScript("--break duplicate-address",
                          "said() { \"$@\" 10.77.1.11; [ $? = 1 ] || echo wrong; }; said korva discover;"
                          "said korva health; said korva doctor | head -n 1"),
                ended(0,
                      AllOf(testing::ContainsRegex("(same address as another camera: [^\n]*\n[^$]*){3}"),
                            testing::Not(HasSubstr("wrong"))),
                      ""));
}

TEST(LabTool, OfTwoCamerasWithOneMacAddressTellsBoth) {
    const std::string other = "1 ! bash -c 'ip link set net1 down address 02:4b:00:01:00:01 up;"
                              "exec korva simulate --address {address} --room Other'\n";
    const ProcessResult result = runAmong("1\n" + other, "korva discover; korva health --all --json");
    EXPECT_THAT(result.output, has({"as another camera: 10.77.1.11 (Room 1)",
                                    "as another camera: 10.77.1.12 (Other)", "0 ready, 2 unusable."}));
    EXPECT_THAT(result.output, Not(HasSubstr("\"ok\":true")));
}

TEST(LabTool, WatchEndsWhereWhatItSaysCannotBeWritten) {
    for (const std::string watch : {"health --all", "discover", "discover 10.77.1.11"})
        EXPECT_THAT(runAmong("1\n", "timeout 30 korva " + watch + " --watch >/dev/full"),
                    ended(1, "", StartsWith("korva: standard output could not be written; try: ")))
            << watch;
}

TEST(LabTool, ShowsOnATerminalAloneWhatItIsAtAndErasesThat) {
    const std::string at = "\x1b[K";
    for (const auto& [command, signs] : {std::pair{"health --all", Names{at + "searching...", at + "0 of 2"}},
                                         {"doctor 10.77.1.11", {at + "searching...", at + "0 of 1 picture"}},
                                         {"identify 10.77.1.11", {at + "asking..."}}}) {
        const Names words = joined(
            labCommand({"--cameras", "2", "--arguments", "--wait-exposure --fault probe:delay=300", "--"}),
            {"bash", "-c", std::string("korva ") + command});
        EXPECT_THAT(ChildProcess(words, ChildProcess::ErrorStream::terminal).result(),
                    ended(0, _, AllOf(has(signs), EndsWith("\r" + at))))
            << command;
        EXPECT_THAT(run(words), ended(0, _, "")) << command;
    }
}

TEST(LabHealth, TellsAtCtrlCWhatItHasFoundOut) {
    const std::string said =
        interrupt("1\n" + holdsIt + "\n", "korva health 10.77.1.11 10.77.1.12 --json --max-time 60",
                  "fault get:drip", "camera-2.log");
    const json object = json::parse(said.substr(0, said.find('\n')));
    EXPECT_EQ(object["error"]["code"], "interrupted");
    EXPECT_EQ(object["results"], json::parse(R"([{"address": "10.77.1.11", "ok": true}])"));
}

TEST(LabHealth, WatchTellsOfTheComputersOwnAdapterOnceAndNotOfEachCamera) {
    EXPECT_THAT(
        watched("1\n1\n", "health 10.77.1.11 10.77.1.12",
                "await good 2; ip link set net1 down; await 'switched off' 1; sleep 5;"
                "ip link set net1 up; await 'works again' 1; sleep 3;"),
        ended(0,
              testing::ContainsRegex(
                  "^status 0\n([-: 0-9]{21}10.77.1.1[12]:32769: good, the camera answers\n){2}"
                  "[-: 0-9]{21}the network adapter net1 is switched off; try: sudo ip link set net1 up\n"
                  "[-: 0-9]{21}net1 works again\n$"),
              _));
}

TEST(LabHealth, WatchTellsProgramsFirstThatItsSearchWasCutAndLastOfACamera) {
    const ProcessResult result = watched("1\n" + holdingLate + holdingLate + holdingLate + holdingLate,
                                         "health --all --json --max-time 2", "await '\"ok\":true' 1;");
    EXPECT_THAT(result,
                ended(0, StartsWith("status 4\n"), HasSubstr("korva: warning: the search was cut after ")));
    std::istringstream said(result.output);
    std::vector<json> told;
    for (std::string line; std::getline(said, line);)
        told.push_back(json::parse(line, nullptr, false));
    ASSERT_GE(told.size(), 3u) << result.output;
    EXPECT_THAT(told[1].value("cut", ""), StartsWith("the search was cut after "));
    EXPECT_EQ(told[1]["error"]["code"], "search-cut");
    EXPECT_TRUE(told[1].contains("time"));
    EXPECT_FALSE(told.back().contains("cut")) << "it is told once";
    EXPECT_TRUE(told.back().contains("address")) << told.back();
}

TEST(LabHealth, FollowsACableThatIsPulledAndPutBack) {
    const std::string cable = "nsenter --net=$KORVA_LAB/namespaces/switch ip link set port1-1 ";
    EXPECT_THAT(watched("1\n", "health --from $KORVA_LAB/xml",
                        "await good 1;" + cable + "down; await '; try: ' 1;" + cable + "up; await good 2;",
                        "korva describe 10.77.1.11 >$KORVA_LAB/xml;"),
                ended(0,
                      AllOf(testing::ContainsRegex(
                                "^status 0\n[-: 0-9]{21}10.77.1.11:32769: good, the camera answers\n"
                                "[-: 0-9]{21}10.77.1.11:32769: .*; try: "),
                            EndsWith("  10.77.1.11:32769: good, the camera answers\n")),
                      _));
}
