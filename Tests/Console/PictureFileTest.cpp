#include "Console/PictureFile.h"

#include "Outcome.h"
#include "Support/FileSizeLimit.h"
#include "Support/TemporaryFolder.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/stat.h>
#include <vector>

using Console::checkWritable;
using Console::encodeGreyPng;
using Console::PictureFileError;
using Console::writeWholeFile;
using ConsoleTests::messageOf;

namespace fs = std::filesystem;

namespace {

using Bytes = std::vector<unsigned char>;
using Names = std::vector<std::string>;

class PictureFile : public testing::Test {
protected:
    std::string path(const std::string& name) const { return folder_.file(name); }

    Bytes bytesOf(const std::string& name) const {
        std::ifstream stream(path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    /// The complaint about `file`, whose writing fails for this reason.
    static void expectFailure(const std::string& file, const std::string& reason, const Bytes& bytes = {1}) {
        EXPECT_EQ(messageOf<PictureFileError>([&] { writeWholeFile(file, bytes); }),
                  "cannot write " + file + ": " + reason + "; try: another --output");
    }

    const TestSupport::TemporaryFolder folder_;
};

} // namespace

TEST_F(PictureFile, RefusesPictureWithoutPixelsOrWithTooFew) {
    const Bytes pixels(10);
    EXPECT_THROW(encodeGreyPng(0, 1, pixels), PictureFileError);
    EXPECT_THROW(encodeGreyPng(1, 0, pixels), PictureFileError);
    EXPECT_THROW(encodeGreyPng(4, 3, pixels), PictureFileError);
    EXPECT_THROW(encodeGreyPng(0xFFFFFFFF, 0xFFFFFFFF, pixels), PictureFileError);
}

TEST_F(PictureFile, IsWrittenAloneInTheOldersPlaceUnderAnyName) {
    const std::string name = "caf\xC3\xA9.png";
    writeWholeFile(path(name), Bytes(100, 1));
    writeWholeFile(path(name), Bytes{1, 2, 3});
    EXPECT_EQ(bytesOf(name), (Bytes{1, 2, 3}));
    EXPECT_EQ(folder_.names(), Names{name});
}

TEST_F(PictureFile, FollowsASymbolicLink) {
    writeWholeFile(path("real.png"), Bytes{1});
    fs::create_symlink("real.png", path("link.png"));
    writeWholeFile(path("link.png"), Bytes{2});
    EXPECT_TRUE(fs::is_symlink(path("link.png")));
    EXPECT_EQ(bytesOf("real.png"), Bytes{2});
}

TEST_F(PictureFile, FullDiskLeavesNothingBehind) {
    {
        const TestSupport::FileSizeLimit limit(100);
        expectFailure(path("a.png"), "File too large", Bytes(101, 7));
    }
    EXPECT_EQ(folder_.names(), Names{});
}

TEST_F(PictureFile, NameThatCannotBeOneIsRefusedBeforeTheWriting) {
    expectFailure(path("missing/a.png"), "No such file or directory");
    EXPECT_THROW(checkWritable(path("missing/a.png")), PictureFileError);
    const std::string tooLong = path(std::string(256, 'a'));
    expectFailure(tooLong, "File name too long");
    EXPECT_THROW(checkWritable(tooLong), PictureFileError);
    fs::create_symlink("b", path("a"));
    fs::create_symlink("a", path("b"));
    EXPECT_THROW(checkWritable(path("a")), PictureFileError);
}

TEST_F(PictureFile, NamesInErrorsCannotSteerATerminal) {
    EXPECT_EQ(messageOf<PictureFileError>([] { writeWholeFile("/missing/\x1B[2J", Bytes{1}); }),
              "cannot write /missing/\\x1b[2J: No such file or directory; try: another --output");
    EXPECT_EQ(messageOf<PictureFileError>([] { Console::makeFolder("/dev/null/\x1B[2J"); }),
              "cannot make the folder /dev/null/\\x1b[2J: Not a directory");
}

TEST_F(PictureFile, FolderAndWhatIsNoOrdinaryFileAreNotReplaced) {
    expectFailure(folder_.path(), "Is a directory");
    // Stands for /dev/null and the like, which a user with the right to would replace by a file.
    ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
    expectFailure(path("pipe"), "it exists and is not an ordinary file");
    EXPECT_TRUE(fs::is_fifo(path("pipe")));
}

TEST_F(PictureFile, CheckLeavesNothingBehindAndTouchesNothing) {
    checkWritable(path("a.png"));
    EXPECT_EQ(folder_.names(), Names{});
    writeWholeFile(path("a.png"), Bytes{1});
    checkWritable(path("a.png"));
    EXPECT_EQ(bytesOf("a.png"), Bytes{1});
}
