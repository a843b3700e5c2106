#include "Console/PictureFile.h"

#include "Console/CaptureOptions.h"
#include "Support/TemporaryFolder.h"
#include "Support/Thrown.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <sys/stat.h>
#include <vector>

using Console::checkWritable;
using Console::PictureFileError;
using Console::writeWholeFile;
using TestSupport::thrownBy;

namespace fs = std::filesystem;

namespace {

using Bytes = std::vector<unsigned char>;

/// What is said of `file`, which cannot be written for this reason.
void expectFailure(const std::string& file, const std::string& reason) {
    const std::string complaint = "cannot write " + file + ": " + reason + "; try: another --output";
    EXPECT_EQ(thrownBy<PictureFileError>([&] { writeWholeFile(file, Bytes{1}); }), complaint);
    EXPECT_EQ(thrownBy<PictureFileError>([&] { checkWritable(file); }), complaint);
}

} // namespace

TEST(PictureFile, RefusesPictureWithoutPixelsOrWithTooFew) {
    const Bytes pixels(10);
    for (const auto& [width, height] : {std::pair{0u, 1u}, {1u, 0u}, {4u, 3u}, {0xFFFFFFFFu, 0xFFFFFFFFu}})
        EXPECT_THROW(Console::encodeGreyPng(width, height, pixels), PictureFileError);
}

TEST(PictureFile, IsWrittenUnderAnyNameAndThroughASymbolicLink) {
    const TestSupport::TemporaryFolder folder;
    const std::string file = folder.file("caf\xC3\xA9.png");
    fs::create_symlink("caf\xC3\xA9.png", folder.file("link.png"));
    for (const auto& [name, byte] : {std::pair{file, 1}, {folder.file("link.png"), 2}}) {
        checkWritable(name);
        writeWholeFile(name, Bytes{static_cast<unsigned char>(byte)});
        std::ifstream stream(file, std::ios::binary);
        EXPECT_EQ(std::string(std::istreambuf_iterator<char>(stream), {}), std::string(1, char(byte)));
    }
    EXPECT_TRUE(fs::is_symlink(folder.file("link.png")));
    EXPECT_EQ(folder.names().size(), 2u);
}

TEST(PictureFile, ThatCannotBeOneIsRefusedBeforeTheWritingToo) {
    const TestSupport::TemporaryFolder folder;
    expectFailure(folder.file("missing/a.png"), "No such file or directory");
    expectFailure(folder.file(std::string(256, 'a')), "File name too long");
    expectFailure(folder.path(), "Is a directory");
    fs::create_symlink("b", folder.file("a"));
    fs::create_symlink("a", folder.file("b"));
    expectFailure(folder.file("a"), "Too many levels of symbolic links");
    // Stands for /dev/null and the like, which a user with the right to would replace by a file.
    ASSERT_EQ(mkfifo(folder.file("pipe").c_str(), 0600), 0);
    expectFailure(folder.file("pipe"), "it exists and is not an ordinary file");
    EXPECT_TRUE(fs::is_fifo(folder.file("pipe")));
}

TEST(PictureFile, NamesInErrorsCannotSteerATerminal) {
    EXPECT_EQ(thrownBy<PictureFileError>([] { writeWholeFile("/missing/\x1B[2J", {}); }),
              "cannot write /missing/\\x1b[2J: No such file or directory; try: another --output");
    EXPECT_EQ(thrownBy<PictureFileError>([] { Console::makeFolder("/dev/null/\x1B[2J"); }),
              "cannot make the folder /dev/null/\\x1b[2J: Not a directory");
}

namespace {

/// The file of that picture of a camera.
std::string nameOf(int number, const std::string& address, const std::string& output, int count,
                   bool isOfAll = false) {
    Console::CaptureOptions options;
    options.camera.all = isOfAll;
    options.output = output;
    options.count = count;
    return pictureFileName(options, address, number);
}

const std::string longest(64, 'a');

} // namespace

TEST(PictureName, IsNumberedWhereThereAreSeveralBeforeTheExtensionIfThereIsOne) {
    EXPECT_EQ(nameOf(1, "10.0.0.7", "wall.png", 1), "wall.png");
    EXPECT_EQ(nameOf(1, "10.0.0.7", "wall.png", 2), "wall-1.png");
    EXPECT_EQ(nameOf(12, "10.0.0.7", "wall.png", 12), "wall-12.png");
    EXPECT_EQ(nameOf(1, "10.0.0.7", "run.1/a.b.png", 2), "run.1/a.b-1.png");
    EXPECT_EQ(nameOf(1, "10.0.0.7", "run.1/wall", 2), "run.1/wall-1");
    EXPECT_EQ(nameOf(1, "10.0.0.7", "run.1/.wall", 2), "run.1/.wall-1");
}

TEST(PictureName, IsMadeOfTheAddressWithoutWhatAPathWouldMindOrBeTooLongFor) {
    EXPECT_EQ(nameOf(1, "10.0.0.7", "", 1), "korva-10.0.0.7.png");
    EXPECT_EQ(nameOf(2, "10.0.0.7", "", 2), "korva-10.0.0.7-2.png");
    EXPECT_EQ(nameOf(1, "../fe80::1%eth0\n", "", 1), "korva-.._fe80__1_eth0_.png");
    EXPECT_EQ(nameOf(1, longest, "", 1), "korva-" + longest + ".png");
    EXPECT_EQ(nameOf(1, longest + std::string(170, 'b'), "", 1), "korva-" + longest + ".png");
}

TEST(PictureName, OfAllCamerasLiesInTheFolderOfTheOutput) {
    EXPECT_EQ(nameOf(1, "10.0.0.7", "wall", 1, true), "wall/korva-10.0.0.7.png");
    EXPECT_EQ(nameOf(2, "../../evil", "wall/", 2, true), "wall/korva-.._.._evil-2.png");
    EXPECT_EQ(nameOf(1, "10.0.0.7", "", 2, true), "korva-10.0.0.7-1.png");
    EXPECT_EQ(nameOf(1, longest + "b", "wall", 1, true), "wall/korva-" + longest + ".png");
}
