#include "Console/CaptureOptions.h"

#include "Parsed.h"

using Console::addCaptureOptions;
using Console::CaptureOptions;
using Console::exposureUnitsFromSeconds;
using ConsoleTests::expectRefusal;
using ConsoleTests::parsed;

TEST(ExposureOption, IsCountedInSteps) {
    for (const auto& [text, units] :
         {std::pair{"0.1", 1}, {"0.3", 3}, {"1.50", 15}, {"2", 20}, {"359.9", 3599}, {"360", 3600}})
        EXPECT_EQ(exposureUnitsFromSeconds(text), units) << text;
}

TEST(ExposureOption, ReachesEveryStep) {
    for (int units = 1; units <= 3600; ++units) {
        const std::string text = std::to_string(units / 10) + "." + std::to_string(units % 10);
        EXPECT_EQ(exposureUnitsFromSeconds(text), units) << text;
    }
}

TEST(ExposureOption, RefusesWhatIsOutsideTheRangeBetweenTwoStepsOrNoDecimalNumber) {
    for (const char* text :
         {"0",    "0.0",  "0.09",   "-1",        "360.1", "361", "1000000", "99999999999999999999",
          "0.15", "1.51", "359.95", "0.1000001", "",      "x",   "1,5",     "1.5s",
          " 1",   "nan",  "inf",    "1e0",       "0x1"})
        EXPECT_EQ(exposureUnitsFromSeconds(text), std::nullopt) << text;
}

TEST(CaptureOptions, DefaultsAreOnePictureOfOneAndAHalfSeconds) {
    const CaptureOptions options = parsed(addCaptureOptions, "10.0.0.7");
    EXPECT_EQ(options.camera.address, "10.0.0.7");
    EXPECT_EQ(options.camera.pluginFile, "");
    EXPECT_EQ(options.exposureUnits, 15);
    EXPECT_EQ(options.count, 1);
    EXPECT_EQ(options.output, "");
    EXPECT_FALSE(options.json);
}

TEST(CaptureOptions, TakeWhatTheCommandLineSays) {
    const CaptureOptions options =
        parsed(addCaptureOptions, "camera --exposure 0.2 --count 3 --output wall.png --json --plugin p.so");
    EXPECT_EQ(options.camera.address, "camera");
    EXPECT_EQ(options.exposureUnits, 2);
    EXPECT_EQ(options.count, 3);
    EXPECT_EQ(options.output, "wall.png");
    EXPECT_TRUE(options.json);
    EXPECT_EQ(options.camera.pluginFile, "p.so");
}

TEST(CaptureOptions, NameTheCameraInExactlyOneWay) {
    EXPECT_EQ(parsed(addCaptureOptions, "--from camera.xml").camera.descriptionFile, "camera.xml");
    EXPECT_TRUE(parsed(addCaptureOptions, "--all").camera.all);
    expectRefusal(addCaptureOptions, {"", "''", "a b", "a --all", "a --from camera.xml",
                                      "--all --from camera.xml", "--from ''"});
}

TEST(CaptureOptions, RefuseWrongUsage) {
    expectRefusal(addCaptureOptions, {"a --exposure 0", "a --exposure 360.1", "a --exposure", "a --count 0",
                                      "a --count 10000", "a --count 1.5", "a --port 32769", "a --unknown"});
}

namespace {

/// A picture of one camera, and its file's name.
struct PictureName {
    const char* output;
    int count;
    std::string address;
    int number;
    std::string name;
};

const std::string longest(64, 'a');

void expectNames(bool ofAllCameras, const std::vector<PictureName>& pictures) {
    for (const PictureName& each : pictures) {
        CaptureOptions options;
        options.camera.all = ofAllCameras;
        options.output = each.output;
        options.count = each.count;
        EXPECT_EQ(pictureFileName(options, each.address, each.number), each.name);
    }
}

} // namespace

TEST(PictureName, IsNumberedBeforeTheExtensionWhereThereAreSeveral) {
    expectNames(false, {{"wall.png", 1, "10.0.0.7", 1, "wall.png"},
                        {"wall.png", 2, "10.0.0.7", 1, "wall-1.png"},
                        {"wall.png", 12, "10.0.0.7", 12, "wall-12.png"},
                        {"run.1/a.b.png", 2, "10.0.0.7", 1, "run.1/a.b-1.png"}});
}

TEST(PictureName, HasNoExtensionInAFolderOrAtItsBeginning) {
    expectNames(false, {{"run.1/wall", 2, "10.0.0.7", 1, "run.1/wall-1"},
                        {"run.1/.wall", 2, "10.0.0.7", 1, "run.1/.wall-1"}});
}

TEST(PictureName, IsMadeOfTheAddressWithoutWhatAPathWouldMindOrBeTooLongFor) {
    expectNames(false, {{"", 1, "10.0.0.7", 1, "korva-10.0.0.7.png"},
                        {"", 2, "10.0.0.7", 2, "korva-10.0.0.7-2.png"},
                        {"", 1, "../fe80::1%eth0\n", 1, "korva-.._fe80__1_eth0_.png"},
                        {"", 1, longest, 1, "korva-" + longest + ".png"},
                        {"", 1, longest + std::string(170, 'b'), 1, "korva-" + longest + ".png"}});
}

TEST(PictureName, OfAllCamerasLiesInTheFolderOfTheOutput) {
    expectNames(true, {{"wall", 1, "10.0.0.7", 1, "wall/korva-10.0.0.7.png"},
                       {"wall/", 2, "../../evil", 2, "wall/korva-.._.._evil-2.png"},
                       {"", 2, "10.0.0.7", 1, "korva-10.0.0.7-1.png"},
                       {"wall", 1, longest + "b", 1, "wall/korva-" + longest + ".png"}});
}
