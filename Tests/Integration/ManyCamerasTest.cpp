// `korva capture` of several cameras at a time.

#include "ToolRun.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <unistd.h>
#include <vector>

using namespace Integration;
using nlohmann::json;
using testing::_;

namespace {

/// Of this process's own: "127.A.B.1", "127.A.B.2" ...
std::string addressOf(int camera) {
    const auto process = static_cast<unsigned>(getpid());
    return "127." + std::to_string(1 + process % 60) + "." + std::to_string(process / 60 % 250) + "." +
           std::to_string(camera);
}

/// The simulator with a camera for each of these settings, beside its address and serial number, and a model
/// of small pictures.
class ServedSet {
public:
    explicit ServedSet(const std::vector<json>& settings) {
        json cameras = json::array();
        for (const json& each : settings) {
            addresses.push_back(addressOf(static_cast<int>(addresses.size()) + 1));
            json camera = {{"address", addresses.back()},
                           {"serial", "100" + std::to_string(addresses.size())},
                           {"hardware", "X900"},
                           {"size", "120x80"}};
            camera.update(each);
            cameras.push_back(camera);
        }
        std::ofstream(own.file("set.json")) << json{{"cameras", cameras}};
        served.emplace(Names{"--config", own.file("set.json"), "--for", "240"});
    }

    /// The arguments of a capture of all of them, those that answer last first.
    Names captureArguments(const Names& more = {}) const {
        Names arguments{"capture", "--output", pictures.path()};
        arguments.insert(arguments.end(), addresses.rbegin(), addresses.rend());
        return joined(arguments, more);
    }

    const TemporaryFolder own;
    const TemporaryFolder pictures;
    Names addresses;
    std::optional<Served> served;
};

using Cameras = std::vector<json>;

const json plain = json::object();
const json white = {{"scene", "white"}};
const json silent = {{"text", "silent"}};
const json slow = {{"wait-exposure", true}};
const json mute = {{"binary", "refused"}, {"hardware", "M61"}};

} // namespace

TEST(ManyCameras, ExposeAtTheSameTime) {
    const ServedSet set(Cameras(16, slow));
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_THAT(runTool(set.captureArguments({"--exposure", "1"})), ended(0, lines(17), ""));
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
    std::printf("figure: capture of 16 cameras at 1 s exposure: %.2f s, at most 2.5 s on an idle machine\n",
                took.count());
    constexpr double slackOfABusyMachine = 5.0;
    EXPECT_LT(took.count(), 2.5 + slackOfABusyMachine) << "16 s and more, one after the other";
    EXPECT_EQ(set.pictures.names().size(), 16u);
}

TEST(ManyCameras, AreUsedOneAfterTheOtherWhereTheirJobsAreFewer) {
    const ServedSet set(Cameras{slow, slow});
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(runTool(set.captureArguments({"--exposure", "0.6", "--jobs", "1"})).status, 0);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(1200));
}

TEST(ManyCameras, AreSaidAsTheyComeAlsoThoseThatFail) {
    const ServedSet set(Cameras{slow, mute, plain});
    const ProcessResult result = runToolBy(R"("$0" "$@" 2>&1)", set.captureArguments({"--exposure", "2"}));
    EXPECT_EQ(result.status, 4);
    const auto placeOf = [&](const std::string& text) { return result.output.find(text); };
    const std::size_t failure = placeOf("korva: " + set.addresses[1] + ": ");
    const std::size_t slowOne = placeOf("korva-" + set.addresses[0] + ".png: 120 x 80 pixels");
    EXPECT_LT(failure, slowOne) << result.output;
    EXPECT_LT(slowOne, std::string::npos) << result.output;
    EXPECT_THAT(result.output, testing::EndsWith("\n2 of 3 pictures; failed: " + set.addresses[1] + "\n"));
}

TEST(ManyCameras, AreInJsonAndOnTheSheetInTheOrderOfTheirAddresses) {
    const ServedSet set(Cameras{slow, mute, white});
    const ProcessResult result =
        runTool(set.captureArguments({"--json", "--contact-sheet", set.own.file("sheet.png")}));
    EXPECT_THAT(result, ended(4, lines(1), lines(1)));
    const json said = json::parse(result.output);
    for (std::size_t at = 0; at < 3; ++at) {
        EXPECT_EQ(said["results"][at]["address"], set.addresses[at]);
        EXPECT_EQ(said["results"][at]["ok"], at != 1);
        EXPECT_EQ(said["results"][at]["serialNumber"], "100" + std::to_string(at + 1));
    }
    EXPECT_EQ(said["results"][1]["error"]["code"], "picture-port-refused");
    EXPECT_EQ(said["results"][2]["verdict"]["code"], "overexposed");
    EXPECT_EQ(said["error"]["code"], "partly-failed");
    const GreyPicture sheet = readGreyPng(set.own.file("sheet.png"));
    ASSERT_EQ(sheet.width, 3u * 500 + 20);
    const auto at = [&sheet](std::size_t x) { return sheet.pixels[22 * std::size_t{sheet.width} + x]; };
    EXPECT_EQ(at(522), 64) << "the tile of the one without a picture";
    EXPECT_EQ(at(1022), 255) << "the white one";
}

TEST(ManyCameras, WithoutAnyPictureAreAFailure) {
    const ServedSet set(Cameras{mute, mute});
    EXPECT_THAT(runTool(set.captureArguments()), ended(1, lines(1), lines(2)));
}

TEST(ManyCameras, OfTheSameSecondKeepTheirDumpsApart) {
    const ServedSet set(Cameras{plain, plain, plain});
    EXPECT_EQ(runTool(set.captureArguments({"--diagnostics", set.own.file("dumps")})).status, 0);
    std::map<std::string, int> dumps; // by their kind: the samples that tell the size are PNG
    for (const auto& file : std::filesystem::directory_iterator(set.own.file("dumps")))
        ++dumps[file.path().extension()];
    EXPECT_EQ(dumps, (std::map<std::string, int>{{".png", 3}, {".sgi", 3}}));
}

TEST(ManyCameras, EndAtOneInterruptAlsoWhileOneIsIdentifiedAndOneExposes) {
    ServedSet set(Cameras{slow, silent});
    ChildProcess capture(toolCommand(set.captureArguments({"--exposure", "8"})));
    EXPECT_TRUE(set.served->process.waitForOutput("take"));
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_THAT(capture.endBy(SIGINT), ended(130, _, "korva: interrupted\n"));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(2))
        << "0.5 s on an idle machine";
    EXPECT_EQ(set.pictures.names(), Names{});
}

TEST(ManyCameras, ShowOnATerminalHowManyAreDone) {
    const ServedSet set(Cameras{slow, plain});
    ChildProcess capture(toolCommand(set.captureArguments()), ChildProcess::ErrorStream::terminal);
    EXPECT_THAT(capture.result(), ended(0, lines(3), has({"1 of 2"})));
}

TEST(DescribedCamera, IsRefusedWhereAnotherIsThereUnlessAnyWillDo) {
    const ServedSet set(Cameras(1, plain));
    const std::string description = set.own.file("camera.xml");
    const std::string file = set.pictures.file("a.png");
    std::string xml = runTool({"describe", set.addresses[0]}).output;
    std::ofstream(description) << xml;
    const Names capture{"capture", "--from", description, "--output", file};
    EXPECT_EQ(runTool(capture).status, 0);
    xml.replace(xml.find(">1001<"), 6, ">1009<");
    std::ofstream(description) << xml;
    EXPECT_THAT(runTool(capture),
                failed({set.addresses[0] + ": another camera: its serial number is 1001, the "
                                           "description's is 1009"}));
    EXPECT_EQ(runTool(joined(capture, {"--any-camera"})).status, 0);
}
