// The tool and its plug-in among cameras on networks of their own: discovery by broadcast, ARP,
// identification, pictures, and a cable that is pulled.

#include "LabRun.h"

#include <algorithm>
#include <filesystem>
#include <limits>
#include <map>
#include <nlohmann/json.hpp>

using namespace LabTests;
using nlohmann::json;
using testing::_;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
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

/// Interrupts `command` in a lab of that camera once `sign` stands in `file`, and tells how it ended.
std::string interrupt(const std::string& cameras, const std::string& command, const std::string& sign,
                      const std::string& file) {
    return runAmong(cameras, command + " 2>$KORVA_LAB/said & work=$!; for i in {1..300}; do grep -q '" +
                                 sign + "' $KORVA_LAB/" + file +
                                 " && break; sleep 0.05; done;"
                                 "kill -INT $work; begin=$SECONDS; wait $work;"
                                 "echo status $? after $((SECONDS - begin < 5)); tail -n 1 $KORVA_LAB/said")
        .output;
}

/// Answers a search behind the others, and so comes after them.
const std::string late = " --fault discovery:delay=200";

/// A camera that holds its identification: a byte every 200 ms of a sample picture of some hundred.
const std::string holdsIt = "1 --hardware X900 --size 40x30 --fault get:drip=1/200";
const std::string holding = holdsIt + "\n";
const std::string holdingLate = holdsIt + late + "\n";

/// A stranger in a lab's set that answers a search and then sends it datagrams for as long as it listens.
const std::string talker =
    "1 ! python3 -c 'import socket,time;s=socket.socket(socket.AF_INET,socket.SOCK_DGRAM);"
    "s.bind((\"\",32768));print(1,flush=True);a=s.recvfrom(99)[1];"
    "[(s.sendto(b\"again\",a),time.sleep(.1)) for i in range(600)]'\n";

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

TEST(LabDiscovery, TellsProgramsWhyThereWasNoSearch) {
    const ProcessResult result =
        runAmong("1\n", "ip route delete broadcast 10.77.2.255 dev net2 table local &&"
                        "ip route add prohibit 10.77.2.255 table local && korva discover --json");
    EXPECT_THAT(result, ended(1, lines(1), has({"  searched      net1", "  not searched  net2", "korva: "})));
    EXPECT_EQ(json::parse(result.output)["error"]["code"], "adapter-refused");
    EXPECT_EQ(json::parse(result.output)["problems"][0]["code"], "adapter-refused");
}

TEST(LabDiscovery, OneInterruptEndsItWhileACameraHoldsIt) {
    EXPECT_EQ(interrupt(holding, "korva discover", "fault get:drip", "camera-1.log"),
              "status 130 after 1\nkorva: interrupted\n");
}

TEST(LabDiscovery, CameraThatHoldsItLeavesTheOthersTheirTurn) {
    EXPECT_FALSE(expectFound(holding + "1" + late + "\n2" + late, "--max-time 9",
                             {"10.77.1.12", "10.77.2.13"}, HasSubstr("took too long: "), 4)
                     .contains("cut"));
}

TEST(LabDiscovery, ShowsWhatItFoundWhereItsTimeIsOver) {
    const json said = expectFound(
        "1\n" + holdingLate + holdingLate + holdingLate + holdingLate, "--max-time 2", {"10.77.1.11"},
        has({"korva: warning: the search was cut after ", ": cameras kept it waiting"}), 4);
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
    const TemporaryFolder folder;
    const ProcessResult result = runScript(
        "--networks 4 --cameras 16 --start-within 50 --arguments --wait-exposure",
        "korva capture --all --exposure 2 --json --output " + folder.file("all") + "; date -u +%T.%3N >&2");
    ASSERT_EQ(result.status, 0) << result.errors;
    const auto millisecondsOf = [](const std::string& time) { // "23:14:55.123"
        return std::stol(time) * 3'600'000 + std::stol(time.substr(3)) * 60'000 +
               std::stol(time.substr(6)) * 1000 + std::stol(time.substr(9));
    };
    const json said = json::parse(result.output);
    ASSERT_EQ(said["results"].size(), 16u);
    long begin = std::numeric_limits<long>::max(); // the search has ended by then
    double slowest = 0.0;
    for (const json& each : said["results"]) {
        begin = std::min(begin, millisecondsOf(each["takenAt"].get<std::string>().substr(11)));
        slowest = std::max(slowest, each["milliseconds"].get<double>());
    }
    constexpr long day = 86'400'000;
    const long took = (millisecondsOf(result.errors) - begin + day) % day;
    std::printf("figure: capture of 16 cameras at 2 s exposure: %ld ms, at most %.0f ms on an idle machine\n",
                took, slowest + 1500);
    constexpr double slackOfABusyMachine = 10'000;
    EXPECT_LE(static_cast<double>(took), slowest + 1500 + slackOfABusyMachine);
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

TEST(LabCapture, TakesPicturesOfThoseWhoAnsweredWhileDatagramsKeepComing) {
    const CaptureOfAll all("1\n" + talker, " --max-time 6");
    EXPECT_THAT(all.result, ended(0, HasSubstr("datagrams kept coming"), _));
    EXPECT_EQ(all.widthOf("10.77.1.11"), 1676u);
}

TEST(LabCapture, CountsWhoAnsweredAndGivesNoPictureAsFailed) {
    const std::string slow = "1 --fault version:delay=900\n";
    const std::string twin = "1 --room \"Twin B\" --fault discovery:wrong-address=10.77.1.11\n";
    for (const auto& [cameras, more, status, output, error] :
         {std::tuple{slow + slow, " --max-time 1.3", 1, "0 of 2 pictures; failed: 10.77.1.11 (Room 1), ",
                     "answered, and the search was cut before its turn"},
          {"1\n" + twin, "", 4, "1 of 2 pictures; failed: 10.77.1.11\n", "same address as another camera"}})
        EXPECT_THAT(runAmong(cameras, "cd $KORVA_LAB; korva capture --all --output all" + std::string(more)),
                    ended(status, HasSubstr(output), HasSubstr(error)));
}

TEST(LabCapture, OneInterruptEndsItsSearch) {
    EXPECT_EQ(interrupt(talker, "korva capture --all --log info", "as a Korva response: again", "said"),
              "status 130 after 1\nkorva: interrupted\n");
}

TEST(LabCapture, OneInterruptEndsItWhileItConnectsToNobody) {
    const std::string nobody =
        "<Device><CameraInfo><cameraTypeEnum>6</cameraTypeEnum><resolutionX>8</resolutionX>"
        "<resolutionY>6</resolutionY></CameraInfo><connection><address>10.77.1.99</address>"
        "<port>32769</port></connection></Device>";
    EXPECT_THAT(
        runScript("", "cd $KORVA_LAB; echo '" + nobody +
                          "' >xml; korva capture --from xml --output a.png --log info 2>said & work=$!;"
                          "for i in {1..300}; do grep -q 'Setting korva exposure' said && break; sleep 0.05;"
                          "done; sleep 0.3; kill -INT $work; begin=$(date +%s%N); wait $work;"
                          "echo status $? after $((($(date +%s%N) - begin) / 1000000 < 1500));"
                          "tail -n 1 said"),
        ended(0, "status 130 after 1\nkorva: interrupted\n", _));
}

TEST(LabHealth, FollowsACableThatIsPulledAndPutBack) {
    const std::string cable = "nsenter --net=$KORVA_LAB/namespaces/switch ip link set port1-1 ";
    EXPECT_THAT(
        runScript("", "await() { for i in {1..300}; do [ $(grep -c \"$1\" $log) -ge $2 ] && return; "
                      "sleep 0.05; done; echo \"no $1\" >&2; exit 9; };"
                      "log=$KORVA_LAB/health; xml=$KORVA_LAB/xml; korva describe 10.77.1.11 >$xml;"
                      "korva health --from $xml --watch >$log & watch=$!; await good 1;" +
                          cable + "down; await '; try: ' 1;" + cable +
                          "up; await good 2; kill -INT $watch; wait $watch; echo status $?; cat $log"),
        ended(
            0,
            AllOf(testing::ContainsRegex("^status 0\n[-: 0-9]{21}10.77.1.11:32769: good, the camera answers\n"
                                         "[-: 0-9]{21}10.77.1.11:32769: .*; try: "),
                  EndsWith("  10.77.1.11:32769: good, the camera answers\n")),
            _));
}
