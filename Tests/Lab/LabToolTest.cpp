// The tool and its plug-in among cameras on networks of their own: discovery by broadcast, ARP,
// identification, pictures, and a cable that is pulled.

#include "LabRun.h"

#include <algorithm>
#include <filesystem>
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

/// Expects that a search among those cameras finds these and says that; gives what it prints.
json expectFound(const std::string& cameras, const std::string& options, const Names& addresses,
                 const Text& errors) {
    const ProcessResult result = runAmong(cameras, "korva discover --json " + options);
    EXPECT_THAT(result, ended(0, _, errors));
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
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(addressesIn("files", result), others);
        for (const std::string& address : others)
            EXPECT_EQ(widthOf(address), 1676u);
        EXPECT_THAT(json::parse(result.output)["error"], has({reason}));
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
    const json said = expectFound("1 --model M615 --serial 11 --firmware 3.3.1 --api 2.0\n"
                                  "2 --model M61 --serial 12\n",
                                  "", {"10.77.1.11", "10.77.2.12"}, has({"10.77.1.11", "2 cameras found."}));
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
                ended(0, AllOf(lines(4), StartsWith("ADDRESS"), EndsWith("2 cameras found.\n")), ""));
    EXPECT_THAT(runAmong("", "korva discover"), ended(0, "No Korva camera answered.\n", ""));
    EXPECT_THAT(runAmong("", "korva discover --max-time 0.5"),
                ended(0, "No Korva camera found.\n",
                      HasSubstr(": it listens for a second after the last answer; cameras may be")));
}

TEST(LabDiscovery, CameraOnTwoNetworksIsReportedOnce) {
    expectFound("1,2\n", "--log info", {"10.77.1.11"},
                testing::ContainsRegex("(Message from Korva device: (.|\n)*){2}"));
}

TEST(LabDiscovery, CameraThatIsDeadAfterItsAnswerIsSkippedWithAWarning) {
    expectFound("1 --text refused\n2 --text silent\n1\n", "", {"10.77.1.13"},
                has({"korva: warning: ", "10.77.1.11:32768: connect failed: Connection refused",
                     "Couldn't get any version info from Korva device at: 10.77.2.12.. ignore it"}));
}

TEST(LabDiscovery, OneInterruptEndsItWhileACameraHoldsIt) {
    EXPECT_EQ(interrupt(holding, "korva discover", "fault get:drip", "camera-1.log"),
              "status 1 after 1\nkorva: interrupted\n");
}

TEST(LabDiscovery, CameraThatHoldsItLeavesTheOthersTheirTurn) {
    EXPECT_FALSE(expectFound(holding + "1" + late + "\n2" + late, "--max-time 9",
                             {"10.77.1.12", "10.77.2.13"},
                             HasSubstr("10.77.1.11:32769: receive failed: Took too long: "))
                     .contains("cut"));
}

TEST(LabDiscovery, ShowsWhatItFoundWhereItsTimeIsOver) {
    const json said = expectFound(
        "1\n" + holdingLate + holdingLate + holdingLate + holdingLate, "--max-time 2", {"10.77.1.11"},
        has({"korva: warning: the search was cut after ", ": cameras kept it waiting"}));
    EXPECT_THAT(said["cut"], has({"the search was cut"}));
}

TEST(LabDiscovery, AsksWhoHasAnsweredWhileDatagramsKeepComing) {
    const json said = expectFound("1\n" + talker + "2\n", "--max-time 6", {"10.77.1.11", "10.77.2.13"},
                                  HasSubstr("korva: warning: the search was cut after 3."));
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
    const long elapsed = std::stol(result.errors.substr(result.errors.find(".\n") + 2)); // behind all else
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
                failed({"no camera identified at 10.77.1.99:32768", "check the address, the cable"}));
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
        .expectFailure({"10.77.2.12"}, "no picture from 10.77.1.11:32769: ");
}

TEST(LabCapture, OneCameraThatHoldsDoesNotKeepTheOthersFromTheirPictures) {
    CaptureOfAll("1 --fault get:drip=1/100\n2" + late, " --max-time 3")
        .expectFailure({"10.77.2.12"}, "no picture from 10.77.1.11:32769: Communicator error: "
                                       "10.77.1.11:32769: receive failed: Took too long: ");
}

TEST(LabCapture, OneFileOfAllThatCannotBeWrittenDoesNotKeepTheOthersFromTheirs) {
    // Two of them, so that one comes before another camera.
    const CaptureOfAll all("1\n1\n1\n", "", {"10.77.1.11", "10.77.1.12"});
    all.expectFailure({"10.77.1.13"}, "cannot write");
    for (const std::string address : {"10.77.1.11", "10.77.1.12"})
        EXPECT_THAT(all.result.errors, HasSubstr("korva: " + address + ": cannot write " +
                                                 all.fileOf(address) + ": Is a directory"));
}

TEST(LabCapture, TakesPicturesOfThoseWhoAnsweredWhileDatagramsKeepComing) {
    const CaptureOfAll all("1\n" + talker, " --max-time 6");
    EXPECT_THAT(all.result, ended(0, HasSubstr("datagrams kept coming"), _));
    EXPECT_EQ(all.widthOf("10.77.1.11"), 1676u);
}

TEST(LabCapture, OneInterruptEndsItsSearch) {
    EXPECT_EQ(interrupt(talker, "korva capture --all --log info", "as a Korva response: again", "said"),
              "status 1 after 1\nkorva: interrupted\n");
}

TEST(LabHealth, FollowsACableThatIsPulledAndPutBack) {
    const std::string cable = "nsenter --net=$KORVA_LAB/namespaces/switch ip link set port1-1 ";
    EXPECT_THAT(
        runScript("", "await() { for i in {1..300}; do [ $(grep -c \"$1\" $log) -ge $2 ] && return; "
                      "sleep 0.05; done; echo \"no $1\" >&2; exit 9; };"
                      "log=$KORVA_LAB/health; xml=$KORVA_LAB/xml; korva describe 10.77.1.11 >$xml;"
                      "korva health --from $xml --watch >$log & watch=$!; await good 1;" +
                          cable + "down; await '2056 connection check failed' 1;" + cable +
                          "up; await good 2; kill -INT $watch; wait $watch; echo status $?; cat $log"),
        ended(0,
              AllOf(StartsWith("status 0\n10.77.1.11:32769: good, the camera answers\n"
                               "10.77.1.11:32769: 2056 connection check failed: "),
                    EndsWith("\n10.77.1.11:32769: good, the camera answers\n")),
              _));
}
