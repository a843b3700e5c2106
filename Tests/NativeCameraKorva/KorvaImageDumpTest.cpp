#include "NativeCameraKorva/KorvaImageDump.h"

#include "ReferenceHost/HostControl.h"
#include "Support/LogCapture.h"
#include "Support/TemporaryFolder.h"
#include "World/Stage.h"

#include <gmock/gmock.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

namespace {

using Korva::dumpImage;
using Korva::Binary::FullArg;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::LogCapture;
using TestSupport::LogText;

constexpr char loggerName[] = "Plenar.KorvaCamera.KorvaCapture";

FullArg pictureOf(const std::string& bytes) {
    FullArg picture;
    picture.header.type = 6;
    picture.header.length = Korva::Binary::bigEndian32(static_cast<std::uint32_t>(bytes.size()));
    picture.data.reset(new std::uint8_t[bytes.size()]);
    std::memcpy(picture.data.get(), bytes.data(), bytes.size());
    return picture;
}

std::string contentOf(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

struct ImageDump : ::testing::Test {
    std::vector<std::string> fileCalls() const { return world.calls.of({"fopen", "fwrite", "fclose"}); }

    TestSupport::TemporaryFolder folder;
    World::Stage world;
    LogCapture log{loggerName};
    FullArg picture = pictureOf(std::string("\x01\xDA\x00picture", 10));

    ImageDump() {
        world.system.secondsSince1970 = 1794795000; // Mon Nov 16 02:10:00 2026
        ReferenceHost::setImagesSubDirectory(folder.path().wstring());
    }
};

TEST_F(ImageDump, WritesTheArgumentsBytesAndNothingElse) {
    dumpImage(false, picture);
    EXPECT_THAT(folder.names(), ElementsAre("KorvaImage Mon Nov 16 02-10-00 2026.sgi"));
    EXPECT_EQ(contentOf(folder.path() / "KorvaImage Mon Nov 16 02-10-00 2026.sgi"),
              std::string("\x01\xDA\x00picture", 10));
}

TEST_F(ImageDump, NamesAPngFileSo) {
    dumpImage(true, picture);
    EXPECT_THAT(folder.names(), ElementsAre("KorvaImage Mon Nov 16 02-10-00 2026.png"));
}

TEST_F(ImageDump, OpensWritesOneElementAndCloses) {
    dumpImage(true, picture);
    EXPECT_THAT(fileCalls(),
                ElementsAre("fopen " + folder.path().string() + "/KorvaImage Mon Nov 16 02-10-00 2026.png wb",
                            "fwrite 10 1", "fclose"));
}

TEST_F(ImageDump, KeepsTheBlanksOfTheTime) {
    world.system.timeText = "Thu Jan  1 00:00:00 1970\n";
    dumpImage(true, picture);
    EXPECT_THAT(folder.names(), ElementsAre("KorvaImage Thu Jan  1 00-00-00 1970.png"));
}

TEST_F(ImageDump, ReplacesEveryStarAndColonAndDropsTheLastCharacter) {
    world.system.timeText = "*Mon* :02::10*\n";
    dumpImage(true, picture);
    EXPECT_THAT(folder.names(), ElementsAre("KorvaImage -Mon- -02--10-.png"));
}

TEST_F(ImageDump, TracesTheNameWithoutFolderAndExtension) {
    dumpImage(true, picture);
    EXPECT_THAT(log.texts(), ElementsAre(LogText{
                                 "TRACE", "Dumping Korva picture to KorvaImage Mon Nov 16 02-10-00 2026"}));
    EXPECT_EQ(log.lines()[0].logger, loggerName);
    EXPECT_EQ(log.lines()[0].file, "BackEnd/NativeCameraKorva/KorvaHelper");
    EXPECT_GT(log.lines()[0].line, 0);
}

TEST_F(ImageDump, TracesBeforeItOpensTheFile) {
    world.calls.throwFrom("images folder", std::runtime_error("no folder"));
    EXPECT_NO_THROW(dumpImage(true, picture));
    EXPECT_EQ(log.texts().size(), 1u);
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
    EXPECT_TRUE(std::filesystem::exists(expected + "/KorvaImage Mon Nov 16 02-10-00 2026.png"));
}

TEST_F(ImageDump, OverwritesAPictureOfTheSameSecond) {
    dumpImage(true, picture);
    FullArg later = pictureOf("later");
    dumpImage(true, later);
    EXPECT_EQ(contentOf(folder.path() / "KorvaImage Mon Nov 16 02-10-00 2026.png"), "later");
}

TEST_F(ImageDump, MakesAnEmptyFileOfAnEmptyArgument) {
    FullArg empty = pictureOf("");
    dumpImage(true, empty);
    EXPECT_EQ(std::filesystem::file_size(folder.path() / "KorvaImage Mon Nov 16 02-10-00 2026.png"), 0u);
    EXPECT_EQ(fileCalls().at(1), "fwrite 0 1");
}

TEST_F(ImageDump, MakesAnEmptyFileOfAnArgumentOfLengthZeroWithoutData) {
    FullArg empty;
    dumpImage(false, empty);
    EXPECT_EQ(std::filesystem::file_size(folder.path() / "KorvaImage Mon Nov 16 02-10-00 2026.sgi"), 0u);
    EXPECT_EQ(fileCalls().size(), 3u);
}

TEST_F(ImageDump, TakesAFolderWhoseNameCannotBeConvertedForEmpty) {
    world.calls.failAlways("WideCharToMultiByte", 0);
    world.calls.fail("fopen", 0);
    dumpImage(true, picture);
    EXPECT_THAT(fileCalls(), ElementsAre("fopen /KorvaImage Mon Nov 16 02-10-00 2026.png wb"));
}

TEST_F(ImageDump, WritesNothingToAFileThatFailedToOpen) {
    ReferenceHost::setImagesSubDirectory((folder.path() / "missing").wstring());
    EXPECT_NO_THROW(dumpImage(true, picture));
    EXPECT_EQ(fileCalls().size(), 1u);
    EXPECT_THAT(folder.names(), IsEmpty());
}

TEST_F(ImageDump, ClosesAFileThatCannotBeWritten) {
    world.calls.fail("fwrite", 0);
    world.calls.fail("fclose", 0);
    EXPECT_NO_THROW(dumpImage(true, picture));
    EXPECT_EQ(fileCalls().back(), "fclose");
    EXPECT_EQ(log.texts().size(), 1u);
}

TEST_F(ImageDump, WritesNothingWhereTheTimeHasNoText) {
    world.calls.fail("_ctime64", 0);
    EXPECT_NO_THROW(dumpImage(true, picture));
    EXPECT_THAT(fileCalls(), IsEmpty());
}

TEST_F(ImageDump, WritesNothingOfAnArgumentWithoutData) {
    FullArg inlineOnly;
    inlineOnly.header.length = Korva::Binary::bigEndian32(4);
    EXPECT_NO_THROW(dumpImage(true, inlineOnly));
    EXPECT_THAT(fileCalls(), IsEmpty());
}

} // namespace
