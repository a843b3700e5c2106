#include "NativeCameraKorva/KorvaImageDump.h"

#include "PluginLog.h"
#include "ReferenceHost/HostControl.h"
#include "Support/TemporaryFolder.h"
#include "World/Stage.h"

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

namespace {

using namespace PluginLogs;
using Korva::dumpImage;
using Korva::Binary::FullArg;

FullArg pictureOf(const std::string& bytes) {
    FullArg picture;
    picture.header.type = 6;
    picture.header.length = Korva::Binary::bigEndian32(static_cast<std::uint32_t>(bytes.size()));
    picture.data.reset(new std::uint8_t[bytes.size()]);
    std::memcpy(picture.data.get(), bytes.data(), bytes.size());
    return picture;
}

const std::string pictureName = "KorvaImage Mon Nov 16 02-10-00 2026";

struct ImageDump : ::testing::Test {
    TestSupport::TemporaryFolder folder;
    World::Stage world;
    PluginLog log{"Plenar.KorvaCamera.KorvaCapture", "KorvaHelper"};
    FullArg picture = pictureOf(std::string("\x01\xDA\x00picture", 10));

    ImageDump() {
        world.system.secondsSince1970 = 1794795000; // Mon Nov 16 02:10:00 2026
        ReferenceHost::setImagesSubDirectory(folder.path().wstring());
    }
    std::vector<std::string> fileCalls() const { return world.calls.of({"fopen", "fwrite", "fclose"}); }
    std::string content(const std::string& extension) const {
        std::ifstream stream(folder.path() / (pictureName + extension), std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }
};

TEST_F(ImageDump, WritesTheArgumentsBytesAndNothingElse) {
    dumpImage(false, picture);
    EXPECT_THAT(folder.names(), ElementsAre(pictureName + ".sgi"));
    EXPECT_EQ(content(".sgi"), std::string("\x01\xDA\x00picture", 10));
}

TEST_F(ImageDump, OpensWritesOneElementAndCloses) {
    dumpImage(true, picture);
    EXPECT_THAT(fileCalls(), ElementsAre("fopen " + folder.path().string() + "/" + pictureName + ".png wb",
                                         "fwrite 10 1", "fclose"));
}

TEST_F(ImageDump, KeepsTheBlanksOfTheTimeReplacesEveryStarAndColonAndDropsTheLastCharacter) {
    world.system.timeText = "*Thu Jan  1* :02::10*\n";
    dumpImage(true, picture);
    EXPECT_THAT(folder.names(), ElementsAre("KorvaImage -Thu Jan  1- -02--10-.png"));
}

TEST_F(ImageDump, TracesTheNameWithoutFolderAndExtensionBeforeItOpensTheFile) {
    world.calls.throwFrom("images folder", std::runtime_error("no folder"));
    EXPECT_NO_THROW(dumpImage(true, picture));
    EXPECT_THAT(log.texts(), ElementsAre(trace("Dumping Korva picture to " + pictureName)));
    EXPECT_THAT(fileCalls(), IsEmpty());
}

TEST_F(ImageDump, SaysNothingWhereTraceIsOff) {
    log.setLevel(log4cxx::Level::getDebug());
    dumpImage(true, picture);
    EXPECT_THAT(log.lines(), IsEmpty());
    EXPECT_EQ(folder.names().size(), 1u);
}

TEST_F(ImageDump, WritesIntoAFolderWhoseNameIsNotAscii) {
    ReferenceHost::setImagesSubDirectory(folder.path().wstring() + L"/Bildschärfe \x1F4F7");
    const std::string expected = folder.path().string() + "/Bildsch\xC3\xA4rfe \xF0\x9F\x93\xB7";
    std::filesystem::create_directory(expected);
    dumpImage(true, picture);
    EXPECT_TRUE(std::filesystem::exists(expected + "/" + pictureName + ".png"));
}

TEST_F(ImageDump, OverwritesAPictureOfTheSameSecond) {
    dumpImage(true, picture);
    FullArg later = pictureOf("later");
    dumpImage(true, later);
    EXPECT_EQ(content(".png"), "later");
}

TEST_F(ImageDump, MakesAnEmptyFileOfAnArgumentOfLengthZeroWithDataOrWithout) {
    FullArg empty = pictureOf("");
    FullArg withoutData;
    dumpImage(true, empty);
    dumpImage(false, withoutData);
    EXPECT_THAT(folder.names(), ElementsAre(pictureName + ".png", pictureName + ".sgi"));
    EXPECT_EQ(content(".png") + content(".sgi"), "");
    EXPECT_EQ(fileCalls().at(1), "fwrite 0 1");
    EXPECT_EQ(fileCalls().size(), 6u);
}

TEST_F(ImageDump, TakesAFolderWhoseNameCannotBeConvertedForEmpty) {
    world.calls.failAlways("WideCharToMultiByte", 0);
    world.calls.fail("fopen", 0);
    dumpImage(true, picture);
    EXPECT_THAT(fileCalls(), ElementsAre("fopen /" + pictureName + ".png wb"));
}

TEST_F(ImageDump, IgnoresWhateverFails) {
    FullArg inlineOnly;
    inlineOnly.header.length = Korva::Binary::bigEndian32(4);
    EXPECT_NO_THROW(dumpImage(true, inlineOnly)); // it has no data
    world.calls.fail("_ctime64", 0);
    EXPECT_NO_THROW(dumpImage(true, picture));
    EXPECT_THAT(fileCalls(), IsEmpty());
    world.calls.fail("fwrite", 0);
    world.calls.fail("fclose", 0);
    EXPECT_NO_THROW(dumpImage(true, picture));
    EXPECT_THAT(fileCalls(), ElementsAre(::testing::_, "fwrite 10 1", "fclose"));
    ReferenceHost::setImagesSubDirectory((folder.path() / "missing").wstring());
    EXPECT_NO_THROW(dumpImage(true, picture));
    EXPECT_EQ(fileCalls().size(), 4u) << "nothing is written to a file that failed to open";
}

} // namespace
