#include "Console/CaptureOptions.h"

#include <CLI/CLI.hpp>
#include <gtest/gtest.h>

#include <string>
#include <vector>

using Console::CaptureOptions;
using Console::exposureUnitsFromSeconds;
using Console::pictureFileName;

namespace {

CaptureOptions parsed(std::vector<std::string> arguments) {
    CLI::App app;
    CaptureOptions options;
    addCaptureOptions(app, options);
    std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
    app.parse(reversed);
    return options;
}

CaptureOptions named(const std::string& output, int count) {
    CaptureOptions options;
    options.output = output;
    options.count = count;
    return options;
}

} // namespace

TEST(CaptureOptions, CountExposureInSteps) {
    EXPECT_EQ(exposureUnitsFromSeconds("0.1"), 1);
    EXPECT_EQ(exposureUnitsFromSeconds("0.3"), 3);
    EXPECT_EQ(exposureUnitsFromSeconds("1.50"), 15);
    EXPECT_EQ(exposureUnitsFromSeconds("2"), 20);
    EXPECT_EQ(exposureUnitsFromSeconds("359.9"), 3599);
    EXPECT_EQ(exposureUnitsFromSeconds("360"), 3600);
}

TEST(CaptureOptions, EveryStepOfExposureIsReached) {
    for (int units = 1; units <= 3600; ++units) {
        const std::string text = std::to_string(units / 10) + "." + std::to_string(units % 10);
        EXPECT_EQ(exposureUnitsFromSeconds(text), units) << text;
    }
}

TEST(CaptureOptions, RefuseExposureOutsideTheRange) {
    for (const char* text : {"0", "0.0", "0.09", "-1", "360.1", "361", "1000000", "99999999999999999999"})
        EXPECT_EQ(exposureUnitsFromSeconds(text), std::nullopt) << text;
}

TEST(CaptureOptions, RefuseExposureBetweenTwoSteps) {
    for (const char* text : {"0.15", "1.51", "359.95", "0.1000001"})
        EXPECT_EQ(exposureUnitsFromSeconds(text), std::nullopt) << text;
}

TEST(CaptureOptions, RefuseExposureThatIsNoDecimalNumber) {
    for (const char* text : {"", "x", "1,5", "1.5s", " 1", "nan", "inf", "1e0", "0x1"})
        EXPECT_EQ(exposureUnitsFromSeconds(text), std::nullopt) << text;
}

TEST(CaptureOptions, DefaultsAreOnePictureOfOneAndAHalfSeconds) {
    const CaptureOptions options = parsed({"10.0.0.7"});
    EXPECT_EQ(options.camera.address, "10.0.0.7");
    EXPECT_EQ(options.camera.pluginFile, "");
    EXPECT_EQ(options.exposureUnits, 15);
    EXPECT_EQ(options.count, 1);
    EXPECT_EQ(pictureFileName(options, "10.0.0.7", 1), "korva-10.0.0.7.png");
    EXPECT_FALSE(options.json);
}

TEST(CaptureOptions, TakeWhatTheCommandLineSays) {
    const CaptureOptions options = parsed({"camera", "--exposure", "0.2", "--count", "3", "--output",
                                           "wall.png", "--json", "--plugin", "p.so"});
    EXPECT_EQ(options.camera.address, "camera");
    EXPECT_EQ(options.exposureUnits, 2);
    EXPECT_EQ(options.count, 3);
    EXPECT_EQ(options.output, "wall.png");
    EXPECT_TRUE(options.json);
    EXPECT_EQ(options.camera.pluginFile, "p.so");
}

TEST(CaptureOptions, RefuseWrongUsage) {
    EXPECT_THROW(parsed({}), CLI::ParseError);
    EXPECT_THROW(parsed({""}), CLI::ParseError);
    EXPECT_THROW(parsed({"a", "b"}), CLI::ParseError);
    EXPECT_THROW(parsed({"a", "--exposure", "0"}), CLI::ParseError);
    EXPECT_THROW(parsed({"a", "--exposure", "360.1"}), CLI::ParseError);
    EXPECT_THROW(parsed({"a", "--exposure"}), CLI::ParseError);
    EXPECT_THROW(parsed({"a", "--count", "0"}), CLI::ParseError);
    EXPECT_THROW(parsed({"a", "--count", "10000"}), CLI::ParseError);
    EXPECT_THROW(parsed({"a", "--count", "1.5"}), CLI::ParseError);
    EXPECT_THROW(parsed({"a", "--port", "32769"}), CLI::ParseError);
    EXPECT_THROW(parsed({"a", "--unknown"}), CLI::ParseError);
}

TEST(CaptureOptions, OnePictureKeepsTheNameGiven) {
    EXPECT_EQ(pictureFileName(named("wall.png", 1), "10.0.0.7", 1), "wall.png");
}

TEST(CaptureOptions, SeveralPicturesAreNumberedBeforeTheExtension) {
    EXPECT_EQ(pictureFileName(named("wall.png", 2), "10.0.0.7", 1), "wall-1.png");
    EXPECT_EQ(pictureFileName(named("wall.png", 12), "10.0.0.7", 12), "wall-12.png");
    EXPECT_EQ(pictureFileName(named("", 2), "10.0.0.7", 2), "korva-10.0.0.7-2.png");
}

TEST(CaptureOptions, DotsOutsideTheFileNamesExtensionAreNoExtension) {
    EXPECT_EQ(pictureFileName(named("run.1/wall", 2), "10.0.0.7", 1), "run.1/wall-1");
    EXPECT_EQ(pictureFileName(named("run.1/.wall", 2), "10.0.0.7", 1), "run.1/.wall-1");
    EXPECT_EQ(pictureFileName(named("run.1/a.b.png", 2), "10.0.0.7", 1), "run.1/a.b-1.png");
}

TEST(CaptureOptions, DefaultNameHoldsNothingThatAPathWouldMind) {
    const CaptureOptions options;
    EXPECT_EQ(pictureFileName(options, "../fe80::1%eth0\n", 1), "korva-.._fe80__1_eth0_.png");
}

TEST(CaptureOptions, DefaultNameIsBoundedWhateverTheAddress) {
    CaptureOptions options;
    const std::string longest(64, 'a');
    EXPECT_EQ(pictureFileName(options, longest, 1), "korva-" + longest + ".png");
    EXPECT_EQ(pictureFileName(options, longest + std::string(170, 'b'), 1), "korva-" + longest + ".png");
    options.camera.all = true;
    options.output = "wall";
    EXPECT_EQ(pictureFileName(options, longest + "b", 1), "wall/korva-" + longest + ".png");
}

TEST(CaptureOptions, OfAllCamerasTheOutputIsAFolder) {
    CaptureOptions options = named("wall", 1);
    options.camera.all = true;
    EXPECT_EQ(pictureFileName(options, "10.0.0.7", 1), "wall/korva-10.0.0.7.png");
    options.output = "wall/";
    options.count = 2;
    EXPECT_EQ(pictureFileName(options, "../../evil", 2), "wall/korva-.._.._evil-2.png");
    options.output = "";
    EXPECT_EQ(pictureFileName(options, "10.0.0.7", 1), "korva-10.0.0.7-1.png");
}

TEST(CaptureOptions, NameTheCameraInExactlyOneWay) {
    EXPECT_EQ(parsed({"--from", "camera.xml"}).camera.descriptionFile, "camera.xml");
    EXPECT_TRUE(parsed({"--all"}).camera.all);
    EXPECT_THROW(parsed({"a", "--all"}), CLI::ParseError);
    EXPECT_THROW(parsed({"a", "--from", "camera.xml"}), CLI::ParseError);
    EXPECT_THROW(parsed({"--all", "--from", "camera.xml"}), CLI::ParseError);
    EXPECT_THROW(parsed({"--from", ""}), CLI::ParseError);
}
