// `korva capture` of several cameras at a time.

#include "ServedSet.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>

using namespace Integration;
using nlohmann::json;
using testing::_;

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

TEST(ManyCameras, ThatAreOneByItsNameAndItsAddressAreUsedOneAfterTheOther) {
    const ServedSet set(Cameras{slow});
    const std::string hosts = set.own.file("hosts");
    std::ofstream(hosts) << set.addresses[0] << " cam\n";
    const std::string named =
        "unshare -rm bash -c 'mount --bind " + hosts + R"( /etc/hosts && exec "$0" "$@"')";
    if (runToolBy(named + " true", {}).status != 0)
        GTEST_SKIP() << "This system lets its users mount nothing.";
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_THAT(
        runToolBy("exec " + named + R"( "$0" "$@")",
                  {"capture", "cam", set.addresses[0], "--exposure", "1.5", "--output", set.pictures.path()}),
        ended(0, lines(3), _));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(3000));
    EXPECT_EQ(set.pictures.names().size(), 2u);
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

TEST(ManyCameras, AreWatchedSideBySide) {
    const ServedSet set(Cameras{plain, plain});
    for (const Names& form : {Names{}, Names{"--json"}}) {
        ChildProcess watch(
            toolCommand(joined({"health", "--watch", set.addresses[0], set.addresses[1]}, form)));
        for (const std::string& address : set.addresses)
            EXPECT_TRUE(watch.waitForOutput(address)) << watch.errors();
        EXPECT_THAT(watch.endBy(SIGINT, std::chrono::seconds(20)), ended(0, lines(2), ""));
    }
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

TEST(ManyCameras, KeepFilesWordsAndDumpsApartThoughTheyComeAtTheSameTime) {
    const ServedSet set(Cameras{large, mute, large, white, large, mute, large});
    const ProcessResult result =
        runTool(set.captureArguments({"--count", "3", "--json", "--log", "trace", "--diagnostics",
                                      set.own.file("dumps"), "--contact-sheet", set.own.file("sheet.png")}));
    EXPECT_THAT(result, ended(4, lines(1), _));
    const json said = json::parse(result.output);
    std::map<std::string, int> wrong; // pictures that are not what that camera's are
    for (const json& each : said["results"])
        if (each["ok"].get<bool>())
            wrong[each["address"]] +=
                readGreyPng(each["file"]).width != (each["clipped"] == 1.0 ? 120u : 800u);
        else
            EXPECT_EQ(each["error"]["code"], "picture-port-refused");
    EXPECT_THAT(wrong, testing::AllOf(testing::SizeIs(5), testing::Each(testing::Pair(_, 0))));
    EXPECT_EQ(said["results"].size(), 5u * 3 + 2);
    EXPECT_EQ(set.pictures.names().size(), 5u * 3);
    std::map<std::string, int> dumps; // by the address in their names
    for (const auto& file : std::filesystem::directory_iterator(set.own.file("dumps"))) {
        const std::string name = file.path().stem();
        const std::size_t address = name.rfind(' ') + 1;
        dumps[name.substr(address, name.rfind('-') - address)] += file.path().extension() == ".sgi";
    }
    EXPECT_THAT(dumps, testing::AllOf(testing::SizeIs(5), testing::Each(testing::Pair(_, 3))));
}

TEST(ManyCameras, EndAtOneInterruptWhateverEachOfThemIsAt) {
    for (const Cameras& cameras :
         {Cameras{slow, silent}, Cameras{large, mute, large, slow, large, silent, large, dripping}}) {
        ServedSet set(cameras);
        ChildProcess capture(toolCommand(set.captureArguments({"--exposure", "8", "--count", "1000"})));
        EXPECT_TRUE(set.served->process.waitForOutput("take"));
        EXPECT_THAT(capture.endBy(SIGINT, promptly),
                    ended(130, _, testing::EndsWith("korva: interrupted\n")));
        for (const std::string& name : set.pictures.names())
            EXPECT_EQ(readGreyPng(set.pictures.file(name)).width, 800u) << "half a file";
    }
}

TEST(ManyCameras, GetTheirPicturesByAsFewThreadsAsCanBeStartedAndNoneByNone) {
    if (KORVA_SANITIZED)
        GTEST_SKIP() << "An instrumented build maps far more than a limit of memory lets it.";
    const ServedSet set(Cameras{plain, white, mute, plain, large});
    // In gigabytes for a thread and for all, so that no other memory counts.
    const auto among = [](const std::string& most) {
        return "ulimit -s 1000000; ulimit -v " + most + "; exec \"$0\" \"$@\"";
    };
    for (const char* most : {"1900000", "2900000", "4900000"})
        EXPECT_THAT(runToolBy(among(most), set.captureArguments()),
                    ended(4, has({"\n4 of 5 pictures"}), lines(1)))
            << most;
    const Text failure = testing::AllOf(lines(1), testing::StartsWith("korva: "));
    EXPECT_THAT(runToolBy(among("900000"), set.captureArguments()), ended(1, "", failure));
    const Text note = testing::AllOf(
        lines(1), testing::StartsWith("korva: warning: " + set.addresses[0] + ": model X900 is unknown: "));
    for (const auto& [command, errors] :
         {std::pair{"identify", note}, std::pair{"health", Text("")}, std::pair{"discover", Text("")}})
        EXPECT_THAT(runToolBy(among("900000"), {command, set.addresses[0]}), ended(0, _, errors)) << command;
}

TEST(ManyCameras, ShowOnATerminalHowManyAreDone) {
    const ServedSet set(Cameras{slow, plain});
    ChildProcess capture(toolCommand(set.captureArguments()), ChildProcess::ErrorStream::terminal);
    EXPECT_THAT(capture.result(), ended(0, lines(3), has({"1 of 2"})));
}

TEST(ManyCameras, AreSearchedForWithAWordOnATerminal) {
    const Names alone = {"/usr/bin/unshare", "-rn"}; // where there is nothing to search
    if (run(joined(alone, {"true"})).status != 0)
        GTEST_SKIP() << "This system lets its users make no namespaces.";
    for (const Names& command : {Names{"discover"}, Names{"capture", "--all"}}) {
        ChildProcess search(joined(alone, toolCommand(command)), ChildProcess::ErrorStream::terminal);
        EXPECT_THAT(search.result().errors, has({"searching...", "\r\x1b[K"})) << command[0];
    }
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
    EXPECT_EQ(json::parse(runTool(joined(capture, {"--json"})).output)["results"][0]["address"],
              set.addresses[0]);
    EXPECT_EQ(runTool(joined(capture, {"--any-camera"})).status, 0);
}

TEST(DescribedCamera, OfAnotherPortIsNotComparedWithWhoAnswersTextsThere) {
    const ServedSet set(Cameras(1, plain));
    const SimulatedCamera behind({"--address", set.addresses[0]});
    const std::string description = set.own.file("camera.xml");
    std::string xml = runTool({"describe", set.addresses[0]}).output;
    xml.replace(xml.find(">1001<"), 6, ">1009<");
    xml.replace(xml.find(">32769<"), 7, ">" + behind.port + "<");
    std::ofstream(description) << xml;
    EXPECT_THAT(runTool({"capture", "--from", description, "--output", set.pictures.file("a.png")}),
                ended(0, _, ""));
}
