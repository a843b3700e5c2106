// `korva simulate` and `korva health` as their users see them.

#include "ToolRun.h"

#include <nlohmann/json.hpp>

#include <csignal>
#include <fstream>
#include <string>

using namespace Integration;
using nlohmann::json;

TEST(ToolSimulate, SaysWhatItServesAndWhatIsAsked) {
    SimulatedCamera camera({"--model", "M615", "--firmware", "3.3.1", "--size", "50x40", "--scene", "ramp",
                            "--fault", "get:checksum*1"});
    EXPECT_EQ(camera.capture().status, 0);
    EXPECT_THAT(camera.stop(), has({"M615", "3.3.1", "50 x 40", "ramp", "get:checksum*1",
                                    "configure: exposure 1.5 s, mode 2, SGI, depth 16, shift 4 -> Done",
                                    "take -> Done", "get -> GetImage", camera.place}));
}

TEST(ToolSimulate, EndsByItselfAfterTheTimeGiven) {
    EXPECT_THAT(runTool({"simulate", "--port", "0", "--text-port", "0", "--for", "0.1"}),
                ended(0, has({"has stopped"}), ""));
}

TEST(ToolSimulate, WhatCannotBeServedIsAFailureThatNamesIt) {
    const TemporaryFolder folder;
    std::ofstream(folder.file("set.json")) << R"({"cameras": [{"address": "127.0.0.31", "romo": "A"}]})";
    const SimulatedCamera camera;
    for (const auto& [arguments, reasons] :
         {std::pair<Names, Names>{{"--port", camera.port, "--text-port", "0"},
                                  {camera.port, "Address already in use", "; try: "}},
          // Set aside for documentation: no machine has it.
          {{"--port", "0", "--address", "192.0.2.1"}, {"192.0.2.1"}},
          {{"--port", "0", "--text-port", "0", "--scene", "file:/no/such.png"}, {"/no/such.png"}},
          {{"--config", folder.file("set.json")}, {"set.json, camera 1: there is no key \"romo\""}},
          {{"--config", "/no/such.json"}, {"/no/such.json", "; try: what korva simulate --help says"}}})
        EXPECT_THAT(runTool(joined({"simulate", "--for", "5"}, arguments)), failed(reasons));
}

TEST(ToolSimulate, ServesASetOfCamerasFromAFile) {
    const TemporaryFolder folder;
    std::ofstream(folder.file("set.json")) << R"({"cameras": [
        {"address": "127.0.0.31", "port": 0, "text-port": 0, "room": "Lab 2\u001b[2J", "model": "M615",
         "announce": "10.77.1.11", "faults": ["version:missing-key=--SW*1"]},
        {"address": "127.0.0.32", "port": 0, "text-port": 0, "serial": "K-7", "text": "refused",
         "discovery": "silent"}]})";
    Served set({"--config", folder.file("set.json"), "--for", "60"});
    EXPECT_TRUE(set.process.waitForOutput(" (silent)\n"));
    EXPECT_THAT(set.stop(),
                has({"room Lab 2\\x1b[2J, announced as 10.77.1.11, serial 1234, hardware M615, API 1.4\n",
                     "static, net mask 255.255.255.0, gateway 0.0.0.0\n",
                     "  text language on TCP 127.0.0.31:", "  fault: version:missing-key=--SW*1\n",
                     "  room Lab, serial K-7", "  text language on TCP refused\n",
                     "  discovery on UDP 127.0.0.32:", "The simulated cameras have stopped."}));
}

TEST(ToolHealth, CameraThatDoesNotIsAFailureThatSaysWhyAndWhatToTry) {
    SimulatedCamera gone;
    gone.stop();
    const SimulatedCamera unreadable({"--fault", "any:close"});
    const SimulatedCamera holding({"--fault", "probe:drip=1/300"});
    for (const auto& [result, place, reason, advice] :
         {std::tuple{gone.health(), gone.place, "refused", ""},
          {unreadable.health(), unreadable.place, "closed the connection", ""},
          {holding.health({"--max-time", "1"}), holding.place, "took too long: ", "--max-time"}})
        EXPECT_THAT(result, ended(1, AllOf(lines(1), has({place + ": ", reason, "; try: ", advice})), ""));
}

TEST(ToolHealth, OfAnErrorSaysThatTheCameraAnswersWithIt) {
    const SimulatedCamera camera({"--fault", "probe:error=4294967295"});
    EXPECT_THAT(
        camera.health(),
        ended(0, AllOf(lines(1), has({camera.place + ": the camera answers, with error 4294967295; try: "})),
              ""));
    const json object = json::parse(camera.health({"--json"}).output);
    EXPECT_TRUE(object["results"][0]["ok"]);
    EXPECT_EQ(object["results"][0]["note"]["code"], "camera-error");
    EXPECT_FALSE(object.contains("error"));
    const SimulatedCamera other({"--fault", "probe:unknown-code"});
    EXPECT_THAT(other.health(), ended(0, has({": good, the camera answers\n"}), ""));
}

TEST(ToolHealth, WatchSaysOnlyWhatIsNewAndEndsAtCtrlC) {
    // Each of the first three checks is told by a fault of its own.
    SimulatedCamera camera(
        {"--fault", "probe:delay=1*1", "--fault", "probe:delay=2*1", "--fault", "probe:delay=3*1"});
    ChildProcess watch(toolCommand({"health", "--from", camera.description, "--watch"}));
    EXPECT_TRUE(watch.waitForOutput(": good, the camera answers\n"));
    EXPECT_TRUE(camera.process.waitForOutput("fault probe:delay=3"));
    EXPECT_THAT(watch.endBy(SIGINT),
                ended(0, AllOf(lines(1), testing::ContainsRegex("^[0-9-]{10} [0-9:]{8}  1")), ""));
}

TEST(ToolHealth, DescriptionThatIsNoneIsAFailureThatNamesIt) {
    const TemporaryFolder folder;
    std::ofstream(folder.file("a.xml")) << "<Device>";
    std::ofstream(folder.file("b.xml"))
        << "<Device><CameraInfo><cameraTypeEnum>5</cameraTypeEnum></CameraInfo></Device>";
    for (const char* name : {"a.xml", "b.xml", "missing.xml"})
        EXPECT_THAT(runTool({"health", "--from", folder.file(name)}), failed({folder.file(name)}));
    const std::string missing = folder.file("missing.xml");
    const ProcessResult result = runTool({"health", "--from", missing, "--json"});
    EXPECT_EQ(result.errors, "korva: " + missing +
                                 ": No such file or directory; try: korva describe ADDRESS > " + missing +
                                 "\n");
    EXPECT_EQ(nlohmann::json::parse(result.output)["error"],
              (nlohmann::json{{"code", "file-failed"},
                              {"text", missing + ": No such file or directory"},
                              {"try", "korva describe ADDRESS > " + missing}}));
}

TEST(ToolSimulate, TellsProgramsWhatItServesOrWhyNotAndNothingElse) {
    const ProcessResult served = runTool({"simulate", "--room", "Lab 2", "--port", "0", "--text-port", "0",
                                          "--text", "refused", "--for", "0", "--json"});
    EXPECT_THAT(served, ended(0, lines(1), ""));
    const auto camera = nlohmann::json::parse(served.output)["cameras"][0];
    EXPECT_EQ(camera["address"], "127.0.0.1");
    EXPECT_EQ(camera["room"], "Lab 2");
    EXPECT_GT(camera["picturePort"], 0);
    EXPECT_EQ(camera["textPort"], nullptr);
    const ProcessResult none = runTool({"simulate", "--config", "/no/file", "--json"});
    EXPECT_THAT(none, ended(1, lines(1), lines(1)));
    EXPECT_EQ(nlohmann::json::parse(none.output)["error"]["code"], "file-failed");
}
