#include "PictureFile.h"

#include "Platform/CRuntime.h"
#include "Platform/Terminal.h"

#include <png.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <random>
#include <system_error>

namespace Console {

namespace {

namespace fs = std::filesystem;

fs::path pathFromUtf8(const std::string& utf8) {
    return fs::path(std::u8string(utf8.begin(), utf8.end()));
}

std::string utf8FromPath(const fs::path& path) {
    const std::u8string utf8 = path.u8string();
    return {utf8.begin(), utf8.end()};
}

[[noreturn]] void fail(const std::string& file, const std::string& reason) {
    throw PictureFileError("cannot write " + file + ": " + reason + "; try: another --output");
}

std::string systemReason(int code) {
    return std::generic_category().message(code);
}

/// A name that no other writer has. Hidden, so that nobody picks it up before it is whole.
std::string nameBeside(const fs::path& target) {
    std::random_device random;
    std::array<char, 16> suffix{};
    std::snprintf(suffix.data(), suffix.size(), ".%08x.part", static_cast<unsigned int>(random()));
    std::string name = ".";
    name.append(utf8FromPath(target.filename())).append(suffix.data());
    return utf8FromPath(target.parent_path() / pathFromUtf8(name));
}

/// The file under its temporary name, removed unless it was kept.
class PartFile {
public:
    explicit PartFile(const std::string& utf8Path) : requested_(utf8Path), target_(pathFromUtf8(utf8Path)) {
        std::error_code code;
        const fs::file_status status = fs::status(target_, code);
        if (fs::is_directory(status))
            fail(requested_, systemReason(EISDIR));
        if (fs::exists(status) && !fs::is_regular_file(status))
            fail(requested_, "it exists and is not an ordinary file");
        if (fs::exists(status))
            target_ = fs::canonical(target_, code);
        if (code && fs::exists(status))
            fail(requested_, code.message());

        partName_ = nameBeside(target_);
        errno = 0;
        // Exclusive: a file of that name, however unlikely, is somebody else's.
        file_ = Platform::fopen(partName_.c_str(), "wbx");
        if (file_ == nullptr)
            fail(requested_, systemReason(errno));
    }
    PartFile(const PartFile&) = delete;
    PartFile& operator=(const PartFile&) = delete;

    ~PartFile() {
        if (file_ != nullptr)
            Platform::fclose(file_);
        std::error_code ignored;
        if (!kept_)
            fs::remove(pathFromUtf8(partName_), ignored);
    }

    void write(std::span<const unsigned char> bytes) {
        errno = 0;
        if (Platform::fwrite(bytes.data(), 1, bytes.size(), file_) != bytes.size() ||
            !Platform::flushToDevice(file_))
            fail(requested_, systemReason(errno));
    }

    void keep() {
        errno = 0;
        const int closed = Platform::fclose(file_);
        file_ = nullptr;
        if (closed != 0)
            fail(requested_, systemReason(errno));
        std::error_code code;
        fs::rename(pathFromUtf8(partName_), target_, code);
        if (code)
            fail(requested_, code.message());
        kept_ = true;
    }

private:
    std::string requested_;
    fs::path target_;
    std::string partName_;
    std::FILE* file_ = nullptr;
    bool kept_ = false;
};

} // namespace

std::vector<unsigned char> encodeGreyPng(std::uint32_t width, std::uint32_t height,
                                         std::span<const unsigned char> pixels) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = width;
    image.height = height;
    image.format = PNG_FORMAT_GRAY;
    if (width == 0 || height == 0 || pixels.size() / width < height)
        throw PictureFileError("a picture without pixels cannot be written");

    const auto rowStride = static_cast<png_int_32>(width);
    std::vector<unsigned char> file(PNG_IMAGE_PNG_SIZE_MAX(image));
    png_alloc_size_t bytes = file.size();
    if (png_image_write_to_memory(&image, file.data(), &bytes, 0, pixels.data(), rowStride, nullptr) == 0)
        throw PictureFileError(std::string("the picture cannot be written as PNG: ") + image.message);
    file.resize(bytes);
    return file;
}

void writeWholeFile(const std::string& utf8Path, std::span<const unsigned char> bytes) {
    PartFile part(utf8Path);
    part.write(bytes);
    part.keep();
}

void checkWritable(const std::string& utf8Path) {
    const PartFile part(utf8Path);
}

void makeFolder(const std::string& utf8Path) {
    std::error_code code;
    fs::create_directories(pathFromUtf8(utf8Path), code);
    if (code)
        throw PictureFileError("cannot make the folder " + utf8Path + ": " + code.message());
}

} // namespace Console
