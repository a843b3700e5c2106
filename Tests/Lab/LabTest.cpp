#include "LabRun.h"

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <sstream>

using LabTests::LabResult;
using LabTests::runLab;
using LabTests::runScript;
using LabTests::TemporaryFile;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

/// Connects to a camera's port and tells its hardware address from the host's table.
std::string meet(const std::string& address) {
    return "exec 3<>/dev/tcp/" + address + "/32769 && ip neigh show " + address + " | cut -d' ' -f 1,3,5;";
}

const std::string silentProgram = "1 ! sleep 100\n";

} // namespace

TEST(Lab, RunsTheCommandAndEndsWithItsStatus) {
    const LabResult result = runScript({}, "echo out; echo err >&2; exit 7");
    EXPECT_EQ(result.status, 7);
    EXPECT_EQ(result.output, "out\n");
    EXPECT_EQ(result.errors, "err\n");
}

TEST(Lab, EndsWithTheNumberOfTheSignalThatEndedTheCommand) {
    EXPECT_EQ(runScript({"--cameras", "0"}, "kill -SEGV $$").status, 128 + 11);
}

TEST(Lab, HandsStandardInputOn) {
    const auto result = LabTests::run(
        {"/bin/sh", "-c",
         std::string("echo word | ") + KORVA_LAB_RUN + " --cameras 0 --korva " + KORVA_TOOL + " cat"});
    EXPECT_EQ(result.output, "word\n");
}

TEST(Lab, ShowsTheHostItsAdaptersAlone) {
    const LabResult result =
        runScript({"--networks", "3"}, "ip -4 -br address | tr -s ' ' | sed 's/@if[0-9]*//'");
    EXPECT_EQ(result.output, "lo UNKNOWN 127.0.0.1/8 \n"
                             "net1 UP 10.77.1.1/24 \n"
                             "net2 UP 10.77.2.1/24 \n"
                             "net3 UP 10.77.3.1/24 \n");
}

TEST(Lab, SpreadsCamerasOverTheNetworksAndListsThem) {
    const LabResult result = runScript({"--networks", "2", "--cameras", "3"}, "cat $KORVA_LAB/cameras");
    EXPECT_EQ(result.output, "1 10.77.1.11 02:4b:00:01:00:01 1\n"
                             "2 10.77.2.12 02:4b:00:02:00:02 2\n"
                             "3 10.77.1.13 02:4b:00:01:00:03 1\n");
}

TEST(Lab, ServesEveryCameraAtItsOwnAddresses) {
    const LabResult result = runScript({"--networks", "2", "--cameras", "3"},
                                       meet("10.77.1.11") + meet("10.77.2.12") + meet("10.77.1.13"));
    EXPECT_EQ(result.output, "10.77.1.11 net1 02:4b:00:01:00:01\n"
                             "10.77.2.12 net2 02:4b:00:02:00:02\n"
                             "10.77.1.13 net1 02:4b:00:01:00:03\n");
}

TEST(Lab, GivesEveryCameraAMachineOfItsOwn) {
    const LabResult result =
        runScript({"--cameras", "2"}, "stat -Lc %i $KORVA_LAB/namespaces/{host,switch,camera-1,camera-2}"
                                      " | sort -u | wc -l; ps -C korva -o args= | sort");
    EXPECT_THAT(result.output, StartsWith("4\n"));
    EXPECT_THAT(result.output, HasSubstr("korva simulate --address 10.77.1.11 "));
    EXPECT_THAT(result.output, HasSubstr("korva simulate --address 10.77.1.12 "));
}

TEST(Lab, StartsTheCommandOnlyWhenAllCamerasServe) {
    const TemporaryFile set("1 ! bash -c \"sleep 0.5; echo late; sleep 100\"\n");
    EXPECT_EQ(runScript({"--set", set.path()}, "cat $KORVA_LAB/camera-1.log").output, "late\n");
}

TEST(Lab, ReadsCamerasFromAFile) {
    const TemporaryFile set("# a comment\n\n1 --model M615\n2 --model M62 --firmware 3.3.3\n");
    const LabResult result =
        runScript({"--networks", "2", "--set", set.path()}, "head -qn 1 $KORVA_LAB/*.log");
    EXPECT_EQ(result.output,
              "Simulated Korva camera M615, firmware 3.2.15, pictures of 2748 x 1836, scene: grid\n"
              "Simulated Korva camera M62, firmware 3.3.3, pictures of 2748 x 1836, scene: grid\n");
}

TEST(Lab, ReadsTheLastLineOfAFileThatLacksItsEnd) {
    const TemporaryFile set("1\n1");
    EXPECT_EQ(runScript({"--set", set.path()}, "wc -l <$KORVA_LAB/cameras").output, "2\n");
}

TEST(Lab, PutsOneCameraOnTwoNetworks) {
    const TemporaryFile set("1,2\n");
    const LabResult result = runScript({"--networks", "2", "--set", set.path()},
                                       "cat $KORVA_LAB/cameras;" + meet("10.77.1.11") + meet("10.77.2.11"));
    EXPECT_EQ(result.output, "1 10.77.1.11 02:4b:00:01:00:01 1,2\n"
                             "10.77.1.11 net1 02:4b:00:01:00:01\n"
                             "10.77.2.11 net2 02:4b:00:02:00:01\n");
}

TEST(Lab, RunsAnyProgramWithItsNamesFilled) {
    const TemporaryFile set(
        "1\n2,1 ! bash -c 'echo {address} {serve} {number} {network} {mac} {gateway}; sleep 100'\n");
    const LabResult result =
        runScript({"--networks", "2", "--set", set.path()}, "cat $KORVA_LAB/camera-2.log");
    EXPECT_EQ(result.output, "10.77.2.12 0.0.0.0 2 2 02:4b:00:02:00:02 10.77.2.1\n");
}

TEST(Lab, ShowsHostAndCamerasEachOther) {
    const TemporaryFile set("1 ! bash -c 'echo up; exec sleep 100'\n");
    EXPECT_EQ(runScript({"--set", set.path()}, "nsenter --net=$KORVA_LAB/namespaces/camera-1 ip -4 -o "
                                               "address show net1 | grep -o 'inet.*brd [^ ]*'")
                  .output,
              "inet 10.77.1.11/24 brd 10.77.1.255\n");
}

TEST(Lab, TellsCamerasWhoTheyAreUnlessTheirArgumentsDo) {
    const TemporaryFile set("1\n1,2 --room Hall --serial 7 --announce 10.77.2.12\n");
    const LabResult result = runScript({"--networks", "2", "--set", set.path()},
                                       "grep -hE '^  (room|static|disc)' $KORVA_LAB/*.log");
    EXPECT_EQ(result.output, "  room Room 1, announced as 10.77.1.11, serial 1001, hardware M61, API 1.4\n"
                             "  static, net mask 255.255.255.0, gateway 10.77.1.1\n"
                             "  discovery on UDP 10.77.1.11:32768, 10.77.1.255, 255.255.255.255\n"
                             "  room Hall, announced as 10.77.2.12, serial 7, hardware M61, API 1.4\n"
                             "  static, net mask 255.255.255.0, gateway 10.77.1.1\n"
                             "  discovery on UDP 0.0.0.0:32768\n");
}

TEST(Lab, HandsArgumentsToEveryCamera) {
    const LabResult result = runScript({"--cameras", "2", "--arguments", "--model M62 --firmware '4.0 beta'"},
                                       "head -qn 1 $KORVA_LAB/*.log");
    EXPECT_EQ(result.output,
              "Simulated Korva camera M62, firmware 4.0 beta, pictures of 2748 x 1836, scene: grid\n"
              "Simulated Korva camera M62, firmware 4.0 beta, pictures of 2748 x 1836, scene: grid\n");
}

TEST(Lab, FindsTheToolInThePath) {
    EXPECT_THAT(runLab({"--cameras", "0", "korva", "--version"}).output, StartsWith("korva"));
}

TEST(Lab, CarriesSixtyFourCameras) {
    const LabResult result = runScript({"--networks", "2", "--cameras", "64", "--start-within", "50"},
                                       "wc -l <$KORVA_LAB/cameras;" + meet("10.77.2.74"));
    EXPECT_EQ(result.output, "64\n10.77.2.74 net2 02:4b:00:02:00:40\n");
}

TEST(Lab, KeepsTheLogsWhereItIsToldTo) {
    const TemporaryFile place("");
    const std::string folder = place.path() + ".d";
    runLab({"--keep-logs", folder, "true"});
    std::stringstream log;
    log << std::ifstream(folder + "/camera-1.log").rdbuf();
    EXPECT_THAT(log.str(), StartsWith("Simulated Korva camera M61"));
    std::filesystem::remove_all(folder);
}

TEST(Lab, WorksForAPlainUserThroughAUserNamespace) {
    const LabResult result = LabTests::run(LabTests::labCommandWhereUnshareNeeds(
        "U", {"--", "bash", "-c", meet("10.77.1.11") + "wc -l </proc/self/uid_map"}));
    EXPECT_EQ(result.output, "10.77.1.11 net1 02:4b:00:01:00:01\n1\n");
    EXPECT_EQ(result.status, 0);
}

TEST(Lab, SaysSoWhereNamespacesAreNotAllowed) {
    const LabResult result = LabTests::run(LabTests::labCommandWhereUnshareNeeds("impossible", {"true"}));
    EXPECT_EQ(result.status, 77);
    EXPECT_EQ(result.errors,
              "Lab/run: this system lets its users make no namespaces (see unshare(1)); no lab here.\n");
}

TEST(Lab, GivesUpOnACameraThatEndsAndShowsWhy) {
    const LabResult result = runLab({"--arguments", "--no-such-option", "echo", "ran"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.errors,
                StartsWith("Lab/run: camera 1 has ended: The following argument was not expected"));
}

TEST(Lab, GivesUpOnACameraThatEndsWithoutAWord) {
    const TemporaryFile set("1 ! true\n");
    const LabResult result = runLab({"--set", set.path(), "true"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.errors, "Lab/run: camera 1 has ended without a word\n");
}

TEST(Lab, BoundsTheWaitForACamera) {
    const TemporaryFile set(silentProgram);
    const LabResult result = runLab({"--start-within", "1", "--set", set.path(), "true"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.errors, "Lab/run: camera 1 is not ready after 1 s\n");
}

TEST(Lab, RefusesNetworksThatAreNotThere) {
    for (const std::string wrong : {"3", "0", "x", "1,3", "01"}) {
        const TemporaryFile set(wrong + "\n");
        const LabResult result = runLab({"--networks", "2", "--set", set.path(), "true"});
        EXPECT_EQ(result.status, 1) << wrong;
        EXPECT_THAT(result.errors, HasSubstr("but there are 1 to 2")) << wrong;
    }
}

TEST(Lab, RefusesWrongUsage) {
    const auto statusOf = [](const std::vector<std::string>& arguments) {
        const LabResult result = runLab(arguments);
        EXPECT_THAT(result.errors, HasSubstr("see Lab/run --help"));
        return result.status;
    };
    EXPECT_EQ(statusOf({}), 2);
    EXPECT_EQ(statusOf({"--cameras"}), 2);
    EXPECT_EQ(statusOf({"--cameras", "201", "true"}), 2);
    EXPECT_EQ(statusOf({"--cameras", "-1", "true"}), 2);
    EXPECT_EQ(statusOf({"--networks", "0", "true"}), 2);
    EXPECT_EQ(statusOf({"--networks", "100", "true"}), 2);
    EXPECT_EQ(statusOf({"--networks", "two", "true"}), 2);
    EXPECT_EQ(statusOf({"--start-within", "0", "true"}), 2);
    EXPECT_EQ(statusOf({"--unknown", "true"}), 2);
    EXPECT_EQ(statusOf({"--cameras", "1", "--set", "file", "true"}), 2);
}

TEST(Lab, RefusesFilesThatAreNotThere) {
    EXPECT_EQ(runLab({"--set", "/no/such/file", "true"}).errors, "Lab/run: cannot read /no/such/file\n");
    EXPECT_EQ(runLab({"--korva", "/no/such/file", "true"}).errors, "Lab/run: /no/such/file is no program\n");
}
