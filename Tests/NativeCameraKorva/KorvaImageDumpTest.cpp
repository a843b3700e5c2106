#include "NativeCameraKorva/KorvaImageDump.h"

#include "PluginLog.h"
#include "ReferenceHost/HostControl.h"
#include "Support/PictureFiles.h"
#include "Support/TemporaryFolder.h"
#include "World/Stage.h"

#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

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

// What fails is failed in turn by the torture.
struct ImageDump : ::testing::Test {
    TestSupport::TemporaryFolder folder;
    World::Stage world;
    PluginLog log{"Plenar.KorvaCamera.KorvaCapture", "KorvaHelper"};
    const std::string written{"\x01\xDA\x00picture", 10};
    FullArg picture = pictureOf(written);

    ImageDump() {
        ReferenceHost::setImagesSubDirectory(folder.path().wstring());
        world.system.secondsSince1970 = 1794795000; // Mon Nov 16 02:10:00 2026
    }
    std::vector<std::string> fileCalls() const { return world.calls.of({"fopen", "fwrite", "fclose"}); }
    std::string content(const std::string& name) const {
        const Support::Bytes bytes = Support::readFile(folder.path() / name);
        return {bytes.begin(), bytes.end()};
    }
};

TEST_F(ImageDump, OpensWritesOneElementAndCloses) {
    dumpImage(true, picture);
    EXPECT_THAT(fileCalls(),
                ElementsAre("fopen " + folder.file(pictureName + ".png") + " wb", "fwrite 10 1", "fclose"));
    dumpImage(false, picture);
    EXPECT_THAT(folder.names(), ElementsAre(pictureName + ".png", pictureName + ".sgi"));
    EXPECT_EQ(content(pictureName + ".sgi"), written);
    FullArg later = pictureOf("later"); // in the same second
    dumpImage(true, later);
    EXPECT_EQ(content(pictureName + ".png"), "later");
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
    log.setLevel(log4cxx::Level::getDebug());
    dumpImage(true, picture);
    EXPECT_THAT(log.lines(), SizeIs(1)) << "nothing where trace is off";
    EXPECT_THAT(folder.names(), SizeIs(1));
}

TEST_F(ImageDump, WritesIntoAFolderWhoseNameIsNotAscii) {
    ReferenceHost::setImagesSubDirectory(folder.path().wstring() + L"/Bildschärfe \U0001F4F7");
    const std::filesystem::path expected = folder.path() / u8"Bildsch\u00E4rfe \U0001F4F7";
    std::filesystem::create_directory(expected);
    dumpImage(true, picture);
    EXPECT_TRUE(std::filesystem::exists(expected / (pictureName + ".png")));
}

TEST_F(ImageDump, MakesAnEmptyFileOfAnArgumentOfLengthZeroWithDataOrWithoutAndNoneOfALengthWithoutData) {
    FullArg empty = pictureOf("");
    FullArg withoutData;
    dumpImage(true, empty);
    dumpImage(false, withoutData);
    EXPECT_EQ(content(pictureName + ".png") + content(pictureName + ".sgi"), "");
    EXPECT_EQ(fileCalls().at(1), "fwrite 0 1");
    withoutData.header.length = Korva::Binary::bigEndian32(4);
    dumpImage(false, withoutData);
    EXPECT_EQ(fileCalls().size(), 6u);
}

} // namespace
