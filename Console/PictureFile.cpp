#include "PictureFile.h"

#include "Platform/ErrorText.h"
#include "Platform/Path.h"
#include "Platform/WholeFile.h"

#include <png.h>
#include <zlib.h>

#include <filesystem>
#include <system_error>
#include <utility>

namespace Console {

namespace {

namespace fs = std::filesystem;
using Diagnosis::Obstacle;
using Platform::errorText;
using Platform::pathFromUtf8;
using Platform::utf8FromPath;

[[noreturn]] void fail(Obstacle what, const std::string& file, const std::string& reason = {}) {
    throw PictureFileError({.what = what, .place = file, .reason = reason, .option = "--output"});
}

/// The file that a path stands for, links followed. Throws where it is nothing that a file may replace.
std::string fileBehind(const std::string& utf8Path) {
    const fs::path path = pathFromUtf8(utf8Path);
    std::error_code code;
    const fs::file_status status = fs::status(path, code);
    if (status.type() == fs::file_type::none)
        fail(Obstacle::file, utf8Path, errorText(code));
    if (fs::is_directory(status))
        fail(Obstacle::file, utf8Path, errorText(std::errc::is_a_directory));
    if (!fs::exists(status))
        return utf8Path;
    if (!fs::is_regular_file(status))
        fail(Obstacle::fileIsOdd, utf8Path);
    const fs::path target = fs::canonical(path, code);
    if (code)
        fail(Obstacle::file, utf8Path, errorText(code));
    return utf8FromPath(target);
}

using Bytes = std::vector<unsigned char>;

void append(Bytes& bytes, const std::string& text) {
    bytes.insert(bytes.end(), text.begin(), text.end());
}

void appendBigEndian(Bytes& bytes, std::uint32_t number) {
    for (const int shift : {24, 16, 8, 0})
        bytes.push_back(static_cast<unsigned char>(number >> shift));
}

/// libpng's simple way of writing, which needs no jumps across our frames, knows no texts: so a chunk "iTXt",
/// not packed, of no language.
Bytes textChunk(const std::string& keyword, const std::string& text) {
    constexpr std::size_t longest = 1000;
    Bytes named;
    append(named, "iTXt" + keyword);
    named.insert(named.end(), 5,
                 0); // ends the keyword; not packed, by no method; no language, no translation
    append(named, text.substr(0, longest));
    Bytes chunk;
    appendBigEndian(chunk, static_cast<std::uint32_t>(named.size() - 4));
    chunk.insert(chunk.end(), named.begin(), named.end());
    appendBigEndian(
        chunk, static_cast<std::uint32_t>(crc32(0, named.data(), static_cast<unsigned int>(named.size()))));
    return chunk;
}

/// Behind the chunk that comes first in any file.
void insertTexts(Bytes& file, const PictureTexts& texts) {
    constexpr std::ptrdiff_t signatureAndHeader = 8 + 25;
    Bytes chunks;
    for (const auto& [keyword, text] : texts) {
        const Bytes chunk = textChunk(keyword, text);
        chunks.insert(chunks.end(), chunk.begin(), chunk.end());
    }
    file.insert(file.begin() + signatureAndHeader, chunks.begin(), chunks.end());
}

} // namespace

PictureFileError::PictureFileError(Diagnosis::Trouble trouble, ExitStatus status)
    : CommandFailure(trouble, status), trouble_(std::move(trouble)) {}

std::vector<unsigned char> encodeGreyPng(std::uint32_t width, std::uint32_t height,
                                         std::span<const unsigned char> pixels, const PictureTexts& texts) {
    png_image image{};
    image.flags = PNG_IMAGE_FLAG_FAST;
    image.version = PNG_IMAGE_VERSION;
    image.width = width;
    image.height = height;
    image.format = PNG_FORMAT_GRAY;
    if (width == 0 || height == 0 || pixels.size() / width < height)
        throw PictureFileError({.what = Obstacle::noPixels});

    const auto rowStride = static_cast<png_int_32>(width);
    std::vector<unsigned char> file(PNG_IMAGE_PNG_SIZE_MAX(image));
    png_alloc_size_t bytes = file.size();
    if (png_image_write_to_memory(&image, file.data(), &bytes, 0, pixels.data(), rowStride, nullptr) == 0)
        throw PictureFileError({.what = Obstacle::encoder, .reason = image.message});
    file.resize(bytes);
    insertTexts(file, texts);
    return file;
}

void writeWholeFile(const std::string& utf8Path, std::span<const unsigned char> bytes) {
    if (const std::error_code failure = Platform::writeWholeFile(fileBehind(utf8Path), bytes))
        fail(Obstacle::file, utf8Path, errorText(failure));
}

void checkWritable(const std::string& utf8Path, OlderFile older) {
    std::error_code ignored;
    if (older == OlderFile::keep && fs::exists(pathFromUtf8(utf8Path), ignored))
        fail(Obstacle::fileIsKept, utf8Path);
    if (const std::error_code failure = Platform::checkWholeFile(fileBehind(utf8Path)))
        fail(Obstacle::file, utf8Path, errorText(failure));
}

void makeFolderOf(const std::string& utf8Path) {
    const fs::path folder = pathFromUtf8(utf8Path).parent_path();
    if (!folder.empty())
        makeFolder(utf8FromPath(folder));
}

void makeFolder(const std::string& utf8Path) {
    std::error_code code;
    fs::create_directories(pathFromUtf8(utf8Path), code);
    if (code)
        fail(Obstacle::folder, utf8Path, errorText(code));
}

} // namespace Console
