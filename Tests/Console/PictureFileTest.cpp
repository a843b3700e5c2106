#include "Console/PictureFile.h"

#include "Support/TemporaryFolder.h"
#include "Support/Thrown.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <png.h>
#include <string>
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

const std::string strangeName = "caf\xC3\xA9\xF0\x9F\x98\x80.png"; ///< outside the basic plane

/// That one, of one byte, and nothing else in the folder.
void expectOneFile(const TestSupport::TemporaryFolder& folder, unsigned char byte) {
    ASSERT_EQ(std::distance(fs::directory_iterator(folder.path()), {}), 1);
    const fs::path file = fs::directory_iterator(folder.path())->path();
    EXPECT_EQ(file.filename(), fs::path(u8"caf\u00E9\U0001F600.png"));
    std::ifstream stream(file, std::ios::binary);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(stream), {}),
              std::string(1, static_cast<char>(byte)));
}

} // namespace

TEST(PictureFile, RefusesPictureWithoutPixelsOrWithTooFew) {
    const Bytes pixels(10);
    for (const auto& [width, height] : {std::pair{0u, 1u}, {1u, 0u}, {4u, 3u}, {0xFFFFFFFFu, 0xFFFFFFFFu}})
        EXPECT_THROW(Console::encodeGreyPng(width, height, pixels), PictureFileError);
}

TEST(PictureFile, IsWrittenUnderAnyName) {
    const TestSupport::TemporaryFolder folder;
    checkWritable(folder.file("") + strangeName);
    writeWholeFile(folder.file("") + strangeName, Bytes{1});
    expectOneFile(folder, 1);
}

TEST(PictureFile, IsWrittenThroughASymbolicLink) {
    const TestSupport::TemporaryFolder folder;
    const std::string link = folder.file("link.png");
    writeWholeFile(folder.file(strangeName), Bytes{1});
    fs::create_symlink(strangeName, link);
    checkWritable(link);
    writeWholeFile(link, Bytes{2});
    EXPECT_TRUE(fs::is_symlink(link));
    fs::remove(link);
    expectOneFile(folder, 2);
}

TEST(PictureFile, ThatCannotBeOneIsRefusedBeforeTheWritingToo) {
    const TestSupport::TemporaryFolder folder;
    expectFailure(folder.file("missing/a.png"), "No such file or directory");
    expectFailure(folder.path().string(), "Is a directory");
}

TEST(PictureFile, ThatIsTooLongALoopOfLinksOrAPipeIsRefusedBeforeTheWritingToo) {
    const TestSupport::TemporaryFolder folder;
    expectFailure(folder.file(std::string(256, 'a')), "File name too long");
    fs::create_symlink("b", folder.file("a"));
    fs::create_symlink("a", folder.file("b"));
    expectFailure(folder.file("a"), "Too many levels of symbolic links");
    // Stands for /dev/null and the like, which a user with the right to would replace by a file.
    const std::string makePipe = "mkfifo '" + folder.file("pipe") + "'";
    ASSERT_EQ(std::system(makePipe.c_str()), 0); // NOLINT(cert-env33-c): the test's own words
    expectFailure(folder.file("pipe"), "it exists and is not an ordinary file");
    EXPECT_TRUE(fs::is_fifo(folder.file("pipe")));
}

TEST(PictureFile, NamesInErrorsCannotSteerATerminal) {
    const TestSupport::TemporaryFolder folder;
    const std::string file = folder.file("file");
    EXPECT_EQ(thrownBy<PictureFileError>([] { writeWholeFile("/missing/\x1B[2J", {}); }),
              "cannot write /missing/\\x1b[2J: No such file or directory; try: another --output");
    writeWholeFile(file, {});
    EXPECT_EQ(thrownBy<PictureFileError>([&] { Console::makeFolder(file + "/\x1B[2J"); }),
              "cannot make the folder " + file + "/\\x1b[2J: Not a directory; try: another --output");
}

TEST(PictureFile, ThatIsToBeKeptIsSo) {
    const TestSupport::TemporaryFolder folder;
    const std::string file = folder.file("a.png");
    checkWritable(file, Console::OlderFile::keep);
    writeWholeFile(file, Bytes{1});
    checkWritable(file);
    EXPECT_EQ(thrownBy<PictureFileError>([&] { checkWritable(file, Console::OlderFile::keep); }),
              "cannot write " + file + ": it exists, and --no-clobber keeps it; try: another --output");
}

TEST(PictureFile, GetsItsFoldersWhereTheyAreMissing) {
    const TestSupport::TemporaryFolder folder;
    Console::makeFolderOf(folder.file("a/b/c.png"));
    EXPECT_TRUE(fs::is_directory(folder.file("a/b")));
    EXPECT_FALSE(fs::exists(folder.file("a/b/c.png")));
    Console::makeFolderOf("c.png"); // in the working folder
}

TEST(PictureFile, HoldsItsPixelsAndWhatIsSaidOfThem) {
    const Bytes pixels{1, 2, 3, 4, 5, 6};
    const Bytes file =
        Console::encodeGreyPng(3, 2, pixels, {{"Camera", "caf\xC3\xA9"}, {"Exposure", "1.5 s"}});

    struct Source {
        const Bytes& bytes;
        std::size_t at = 0;
    } source{file};
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_set_read_fn(png, &source, [](png_structp reader, png_bytep to, std::size_t count) {
        auto& from = *static_cast<Source*>(png_get_io_ptr(reader));
        std::copy_n(from.bytes.begin() + static_cast<std::ptrdiff_t>(from.at), count, to);
        from.at += count;
    });
    png_read_png(png, info, PNG_TRANSFORM_IDENTITY, nullptr);
    png_textp texts = nullptr;
    int count = 0;
    png_get_text(png, info, &texts, &count);
    ASSERT_EQ(count, 2);
    EXPECT_EQ(texts[0].key + std::string("=") + texts[0].text, "Camera=caf\xC3\xA9");
    EXPECT_EQ(texts[1].key + std::string("=") + texts[1].text, "Exposure=1.5 s");
    EXPECT_EQ(Bytes(png_get_rows(png, info)[1], png_get_rows(png, info)[1] + 3), (Bytes{4, 5, 6}));
    EXPECT_EQ(source.at, file.size());
    png_destroy_read_struct(&png, &info, nullptr);
}
