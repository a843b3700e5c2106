#include "NeedsNamespaces.h"

#include <string>

using namespace LabTests;
using testing::_;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

/// Connects to a camera's port and tells its hardware address from the host's table.
std::string meet(const std::string& address) {
    return "exec 3<>/dev/tcp/" + address + "/32769 && ip neigh show " + address + " | cut -d' ' -f 1,3,5;";
}

/// What a script says in a lab.
struct Said {
    const char* name;
    std::string cameras; ///< options, or the lines of a set
    std::string script;
    std::string output;
};

class ALab : public testing::TestWithParam<Said> {};

const Said said[] = {
    {"ShowsTheHostItsAdaptersAlone", "--networks 3", "ip -4 -br address | tr -s ' ' | sed 's/@if[0-9]*//'",
     "lo UNKNOWN 127.0.0.1/8 \nnet1 UP 10.77.1.1/24 \nnet2 UP 10.77.2.1/24 \nnet3 UP 10.77.3.1/24 \n"},
    {"SpreadsCamerasOverTheNetworksEachAtItsOwnAddress", "--networks 2 --cameras 3",
     "cat $KORVA_LAB/cameras;" + meet("10.77.1.11") + meet("10.77.2.12") + meet("10.77.1.13"),
     "1 10.77.1.11 02:4b:00:01:00:01 1\n2 10.77.2.12 02:4b:00:02:00:02 2\n"
     "3 10.77.1.13 02:4b:00:01:00:03 1\n10.77.1.11 net1 02:4b:00:01:00:01\n"
     "10.77.2.12 net2 02:4b:00:02:00:02\n10.77.1.13 net1 02:4b:00:01:00:03\n"},
    {"CarriesSixtyFourCameras", "--networks 2 --cameras 64 --start-within 50",
     "wc -l <$KORVA_LAB/cameras;" + meet("10.77.2.74"), "64\n10.77.2.74 net2 02:4b:00:02:00:40\n"},
    {"GivesEveryCameraAMachineOfItsOwn", "--cameras 2",
     "stat -Lc %i $KORVA_LAB/namespaces/{host,switch,camera-1,camera-2} | sort -u | wc -l;"
     "ps -C korva -o args= | sort | grep -o 'korva simulate --address [^ ]*'",
     "4\nkorva simulate --address 10.77.1.11\nkorva simulate --address 10.77.1.12\n"},
    {"HandsArgumentsToEveryCamera", "--cameras 2 --arguments \"--model M62 --firmware '4.0 beta'\"",
     "head -qn 1 $KORVA_LAB/*.log | cut -d, -f 1,2 | uniq -c",
     "      2 Simulated Korva camera M62, firmware 4.0 beta\n"},
    {"StartsTheCommandOnlyWhenAllCamerasServe", "1 ! bash -c \"sleep 0.5; echo late; sleep 100\"\n",
     "cat $KORVA_LAB/camera-1.log", "late\n"},
    {"ReadsCamerasFromAFile", "# a comment\n\n1 --model M615\n2 --model M62 --firmware 3.3.3\n",
     "head -qn 1 $KORVA_LAB/*.log",
     "Simulated Korva camera M615, firmware 3.2.15, pictures of 2748 x 1836, scene: grid\n"
     "Simulated Korva camera M62, firmware 3.3.3, pictures of 2748 x 1836, scene: grid\n"},
    {"ReadsTheLastLineOfAFileThatLacksItsEnd", "1\n1", "wc -l <$KORVA_LAB/cameras", "2\n"},
    {"PutsOneCameraOnTwoNetworks", "1,2\n",
     "cat $KORVA_LAB/cameras;" + meet("10.77.1.11") + meet("10.77.2.11"),
     "1 10.77.1.11 02:4b:00:01:00:01 1,2\n10.77.1.11 net1 02:4b:00:01:00:01\n"
     "10.77.2.11 net2 02:4b:00:02:00:01\n"},
    {"RunsAnyProgramWithItsNamesFilled",
     "1\n2,1 ! bash -c 'echo {address} {serve} {number} {network} {mac} {gateway}; sleep 100'\n",
     "cat $KORVA_LAB/camera-2.log", "10.77.2.12 0.0.0.0 2 2 02:4b:00:02:00:02 10.77.2.1\n"},
    {"ShowsHostAndCamerasEachOther", "1 ! bash -c 'echo up; exec sleep 100'\n",
     "nsenter --net=$KORVA_LAB/namespaces/camera-1 ip -4 -o address show net1 | grep -o 'inet.*brd [^ ]*'",
     "inet 10.77.1.11/24 brd 10.77.1.255\n"},
    {"TellsCamerasWhoTheyAreUnlessTheirArgumentsDo", "1\n1,2 --room Hall --serial 7 --announce 10.77.2.12\n",
     "grep -hE '^  (room|static|disc)' $KORVA_LAB/*.log",
     "  room Room 1, announced as 10.77.1.11, serial 1001, hardware M61, API 1.4\n"
     "  static, net mask 255.255.255.0, gateway 10.77.1.1\n"
     "  discovery on UDP 10.77.1.11:32768, 10.77.1.255, 255.255.255.255\n"
     "  room Hall, announced as 10.77.2.12, serial 7, hardware M61, API 1.4\n"
     "  static, net mask 255.255.255.0, gateway 10.77.1.1\n"
     "  discovery on UDP 0.0.0.0:32768\n"},
};

} // namespace

TEST_P(ALab, IsAsItWasAskedFor) {
    const auto& [name, cameras, script, output] = GetParam();
    EXPECT_THAT(cameras.starts_with("--") ? runScript(cameras, script) : runAmong(cameras, script),
                ended(0, output, ""));
}

INSTANTIATE_TEST_SUITE_P(Lab, ALab, testing::ValuesIn(said), [](const auto& row) { return row.param.name; });

TEST(Lab, RunsTheCommandAndEndsWithItsStatus) {
    EXPECT_THAT(runScript("", "echo out; echo err >&2; exit 7"), ended(7, "out\n", "err\n"));
    EXPECT_EQ(runScript("--cameras 0", "kill -SEGV $$").status, 128 + 11);
}

TEST(Lab, HandsStandardInputOnToACommandThatHasTheToolInItsPath) {
    const std::string lab = std::string(KORVA_LAB_RUN) + " --cameras 0 --korva " + KORVA_TOOL;
    EXPECT_THAT(run({"/bin/sh", "-c", "echo word | " + lab + " cat; " + lab + " korva --version"}).output,
                StartsWith("word\nkorva"));
}

TEST(Lab, KeepsTheLogsWhereItIsToldTo) {
    const TemporaryFolder folder;
    runLab({"--keep-logs", folder.file("logs"), "true"});
    EXPECT_THAT(run({"/bin/cat", folder.file("logs/camera-1.log")}).output,
                StartsWith("Simulated Korva camera M61"));
}

TEST(Lab, WorksForAPlainUserThroughAUserNamespace) {
    EXPECT_THAT(run(labCommandWhereUnshareNeeds(
                    "U", {"--", "bash", "-c", meet("10.77.1.11") + "wc -l </proc/self/uid_map"})),
                ended(0, "10.77.1.11 net1 02:4b:00:01:00:01\n1\n", _));
}

TEST(Lab, SaysSoWhereNamespacesAreNotAllowed) {
    EXPECT_THAT(
        run(labCommandWhereUnshareNeeds("impossible", {"true"})),
        ended(77, "",
              "Lab/run: this system lets its users make no namespaces (see unshare(1)); no lab here.\n"));
}

TEST(Lab, GivesUpOnACameraThatEndsOrIsNotReadyAndSaysWhy) {
    EXPECT_THAT(
        runLab({"--arguments", "--no-such-option", "echo", "ran"}),
        ended(1, "",
              StartsWith("Lab/run: camera 1 has ended: korva: there is no option \"--no-such-option\"")));
    EXPECT_THAT(runAmong("1 ! true\n", "echo ran"),
                ended(1, "", "Lab/run: camera 1 has ended without a word\n"));
    EXPECT_THAT(runAmong("1 ! sleep 100\n", "echo ran", "--start-within 1"),
                ended(1, "", "Lab/run: camera 1 is not ready after 1 s\n"));
}

TEST(Lab, RefusesNetworksThatAreNotThere) {
    for (const std::string wrong : {"3", "0", "x", "1,3", "01"})
        EXPECT_THAT(runAmong(wrong + "\n", "echo ran"), ended(1, "", HasSubstr("but there are 1 to 2")))
            << wrong;
}

TEST(Lab, RefusesWrongUsageAndFilesThatAreNotThere) {
    for (const Names& arguments :
         {Names{}, Names{"--cameras"}, Names{"--cameras", "201", "true"}, Names{"--cameras", "-1", "true"},
          Names{"--networks", "0", "true"}, Names{"--networks", "100", "true"},
          Names{"--networks", "two", "true"}, Names{"--start-within", "0", "true"},
          Names{"--unknown", "true"}, Names{"--cameras", "1", "--set", "file", "true"}})
        EXPECT_THAT(runLab(arguments), ended(2, _, HasSubstr("see Lab/run --help")))
            << testing::PrintToString(arguments);
    EXPECT_EQ(runLab({"--set", "/no/such/file", "true"}).errors, "Lab/run: cannot read /no/such/file\n");
    EXPECT_EQ(runLab({"--korva", "/no/such/file", "true"}).errors, "Lab/run: /no/such/file is no program\n");
}
