#include "Console/PictureFile.h"

#include "Support/FileSizeLimit.h"

#include <gtest/gtest.h>
#include <png.h>

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
using TestSupport::FileSizeLimit;

namespace fs = std::filesystem;

namespace {

using Bytes = std::vector<unsigned char>;

/// An empty folder of the test's own.
class PictureFile : public testing::Test {
protected:
    PictureFile() {
        const auto* const test = testing::UnitTest::GetInstance()->current_test_info();
        folder_ = fs::path(testing::TempDir()) / (std::string("korva-picture-") + test->name());
        fs::remove_all(folder_);
        fs::create_directories(folder_);
    }
    ~PictureFile() override { fs::remove_all(folder_); }

    std::string path(const char* name) const { return (folder_ / name).string(); }

    std::vector<std::string> names() const {
        std::vector<std::string> all;
        for (const auto& entry : fs::directory_iterator(folder_))
            all.push_back(entry.path().filename().string());
        return all;
    }

    fs::path folder_;
};

Bytes fileBytes(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

std::string messageOf(const std::string& path, const Bytes& bytes) {
    try {
        writeWholeFile(path, bytes);
    } catch (const PictureFileError& error) {
        return error.what();
    }
    return "no error";
}

} // namespace

TEST_F(PictureFile, PngReadsBackAsItWas) {
    constexpr unsigned width = 7;
    constexpr unsigned height = 5;
    Bytes pixels;
    for (unsigned i = 0; i < width * height; ++i)
        pixels.push_back(static_cast<unsigned char>(i * 37));
    const Bytes file = encodeGreyPng(width, height, pixels);

    constexpr std::size_t colourTypeOffset = 25;
    EXPECT_EQ(file.at(colourTypeOffset - 1), 8);
    EXPECT_EQ(file.at(colourTypeOffset), PNG_COLOR_TYPE_GRAY);
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    ASSERT_NE(png_image_begin_read_from_memory(&image, file.data(), file.size()), 0) << image.message;
    EXPECT_EQ(image.width, width);
    EXPECT_EQ(image.height, height);
    image.format = PNG_FORMAT_GRAY;
    Bytes back(width * height);
    ASSERT_NE(png_image_finish_read(&image, nullptr, back.data(), width, nullptr), 0) << image.message;
    EXPECT_EQ(back, pixels);
}

TEST_F(PictureFile, RefusesPictureWithoutPixelsOrWithTooFew) {
    const Bytes pixels(10);
    EXPECT_THROW(encodeGreyPng(0, 1, pixels), PictureFileError);
    EXPECT_THROW(encodeGreyPng(1, 0, pixels), PictureFileError);
    EXPECT_THROW(encodeGreyPng(4, 3, pixels), PictureFileError);
    EXPECT_THROW(encodeGreyPng(0xFFFFFFFF, 0xFFFFFFFF, pixels), PictureFileError);
}

TEST_F(PictureFile, WritesTheBytesAndNothingElse) {
    writeWholeFile(path("a.png"), Bytes{1, 2, 3});
    EXPECT_EQ(fileBytes(path("a.png")), (Bytes{1, 2, 3}));
    EXPECT_EQ(names(), std::vector<std::string>{"a.png"});
}

TEST_F(PictureFile, ReplacesAnOlderFile) {
    writeWholeFile(path("a.png"), Bytes(100, 1));
    writeWholeFile(path("a.png"), Bytes{2});
    EXPECT_EQ(fileBytes(path("a.png")), Bytes{2});
    EXPECT_EQ(names(), std::vector<std::string>{"a.png"});
}

TEST_F(PictureFile, FollowsASymbolicLink) {
    writeWholeFile(path("real.png"), Bytes{1});
    fs::create_symlink("real.png", path("link.png"));
    writeWholeFile(path("link.png"), Bytes{2});
    EXPECT_TRUE(fs::is_symlink(path("link.png")));
    EXPECT_EQ(fileBytes(path("real.png")), Bytes{2});
}

TEST_F(PictureFile, TakesNamesOutsideAscii) {
    writeWholeFile(path("caf\xC3\xA9.png"), Bytes{1});
    EXPECT_EQ(names(), std::vector<std::string>{"caf\xC3\xA9.png"});
}

TEST_F(PictureFile, FullDiskLeavesNothingBehind) {
    std::string message;
    {
        const FileSizeLimit limit(4096);
        message = messageOf(path("a.png"), Bytes(100'000, 7));
    }
    EXPECT_EQ(message, "cannot write " + path("a.png") + ": File too large; try: another --output");
    EXPECT_TRUE(names().empty());
}

TEST_F(PictureFile, LastBytesThatDoNotFitAreNoticed) {
    std::string message;
    {
        const FileSizeLimit limit(100);
        message = messageOf(path("a.png"), Bytes(101, 7)); // fits the stream's buffer, not the disk
    }
    EXPECT_NE(message, "no error");
    EXPECT_TRUE(names().empty());
}

TEST_F(PictureFile, FullDiskLeavesTheOlderFileAlone) {
    writeWholeFile(path("a.png"), Bytes{1, 2, 3});
    {
        const FileSizeLimit limit(4096);
        EXPECT_NE(messageOf(path("a.png"), Bytes(100'000, 7)), "no error");
    }
    EXPECT_EQ(fileBytes(path("a.png")), (Bytes{1, 2, 3}));
    EXPECT_EQ(names(), std::vector<std::string>{"a.png"});
}

TEST_F(PictureFile, MissingFolderIsNamedWithTheReason) {
    const std::string file = path("missing/a.png");
    EXPECT_EQ(messageOf(file, Bytes{1}),
              "cannot write " + file + ": No such file or directory; try: another --output");
}

TEST_F(PictureFile, NameThatCannotBeOneIsRefusedBeforeTheWriting) {
    const std::string file = path(std::string(256, 'a').c_str());
    EXPECT_EQ(messageOf(file, Bytes{1}),
              "cannot write " + file + ": File name too long; try: another --output");
    EXPECT_THROW(checkWritable(file), PictureFileError);
    fs::create_symlink("b", path("a"));
    fs::create_symlink("a", path("b"));
    EXPECT_THROW(checkWritable(path("a")), PictureFileError);
}

TEST_F(PictureFile, NamesInErrorsCannotSteerATerminal) {
    EXPECT_EQ(messageOf("/missing/\x1B[2J", Bytes{1}),
              "cannot write /missing/\\x1b[2J: No such file or directory; try: another --output");
    try {
        Console::makeFolder("/dev/null/\x1B[2J");
        FAIL() << "no exception";
    } catch (const PictureFileError& error) {
        EXPECT_STREQ(error.what(), "cannot make the folder /dev/null/\\x1b[2J: Not a directory");
    }
}

TEST_F(PictureFile, FolderAndWhatIsNoOrdinaryFileAreNotReplaced) {
    EXPECT_EQ(messageOf(folder_.string(), Bytes{1}),
              "cannot write " + folder_.string() + ": Is a directory; try: another --output");
    // Stands for /dev/null and the like, which a user with the right to would replace by a file.
    const std::string pipe = path("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(messageOf(pipe, Bytes{1}),
              "cannot write " + pipe + ": it exists and is not an ordinary file; try: another --output");
    EXPECT_TRUE(fs::is_fifo(pipe));
}

TEST_F(PictureFile, CheckLeavesNothingBehindAndTouchesNothing) {
    checkWritable(path("a.png"));
    EXPECT_TRUE(names().empty());
    writeWholeFile(path("a.png"), Bytes{1});
    checkWritable(path("a.png"));
    EXPECT_EQ(fileBytes(path("a.png")), Bytes{1});
    EXPECT_THROW(checkWritable(path("missing/a.png")), PictureFileError);
}
