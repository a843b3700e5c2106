#include "Camera/PngWriter.h"

#include <png.h>

#include <bit>
#include <csetjmp>
#include <exception>
#include <memory>
#include <stdexcept>
#include <utility>

namespace Simulator {

namespace {

// Speed before size: noise does not compress, and a camera answers while its client waits.
constexpr int fastCompression = 1;
constexpr int bitsPerSample = 16;

void appendToFile(png_structp png, png_bytep data, std::size_t length) {
    auto& file = *static_cast<Bytes*>(png_get_io_ptr(png));
    bool kept = true;
    try {
        file.insert(file.end(), data, data + length);
    } catch (const std::exception&) {
        kept = false;
    }
    // libpng jumps out of here: not from within a handler, whose exception would never be released.
    if (!kept)
        png_error(png, "out of memory");
}

void nothingToFlush(png_structp) {}

void keepQuiet(png_structp, png_const_charp) {}

void jumpOut(png_structp png, png_const_charp) {
    png_longjmp(png, 1);
}

struct WriterDeleter {
    void operator()(png_struct* png) const { png_destroy_write_struct(&png, nullptr); }
};
using Writer = std::unique_ptr<png_struct, WriterDeleter>;

struct InfoDeleter {
    const Writer& writer;

    void operator()(png_info* info) const { png_destroy_info_struct(writer.get(), &info); }
};
using Info = std::unique_ptr<png_info, InfoDeleter>;

Writer makeWriter(Bytes& file) {
    Writer writer(png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, jumpOut, keepQuiet));
    if (!writer)
        throw std::bad_alloc();
    png_set_write_fn(writer.get(), &file, appendToFile, nothingToFlush);
    return writer;
}

// libpng leaves these functions by a jump: nothing in their frames may need destruction.

bool writeHead(png_struct* png, png_info* info, PictureSize size, unsigned channels) {
    if (setjmp(png_jmpbuf(png)) != 0)
        return false;
    png_set_IHDR(png, info, size.width, size.height, bitsPerSample,
                 channels == 1 ? PNG_COLOR_TYPE_GRAY : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_set_compression_level(png, fastCompression);
    png_set_filter(png, PNG_FILTER_TYPE_BASE, PNG_FILTER_SUB);
    png_write_info(png, info);
    if constexpr (std::endian::native == std::endian::little)
        png_set_swap(png);
    return true;
}

bool writeRow(png_struct* png, const std::uint16_t* samples) {
    if (setjmp(png_jmpbuf(png)) != 0)
        return false;
    png_write_row(png, reinterpret_cast<png_const_bytep>(samples));
    return true;
}

bool writeEnd(png_struct* png, png_info* info) {
    if (setjmp(png_jmpbuf(png)) != 0)
        return false;
    png_write_end(png, info);
    return true;
}

bool writeEmptyChunks(png_struct* png) {
    if (setjmp(png_jmpbuf(png)) != 0)
        return false;
    const png_byte header[13] = {0, 0, 0, 0, 0, 0, 0, 0, bitsPerSample, PNG_COLOR_TYPE_GRAY, 0, 0, 0};
    png_write_sig(png);
    png_write_chunk(png, reinterpret_cast<png_const_bytep>("IHDR"), header, sizeof header);
    png_write_chunk(png, reinterpret_cast<png_const_bytep>("IEND"), nullptr, 0);
    return true;
}

class PngFile : public PictureFile {
public:
    PngFile(PictureSize size, unsigned channels, Bytes before) : size_(size), file_(std::move(before)) {
        file_.reserve(file_.size() + std::size_t{size.width} * size.height * channels * 2);
        writer_ = makeWriter(file_);
        info_.reset(png_create_info_struct(writer_.get()));
        if (!info_)
            throw std::bad_alloc();
        require(writeHead(writer_.get(), info_.get(), size, channels));
    }

    void addRow(std::span<const std::uint16_t> samples) override {
        require(writeRow(writer_.get(), samples.data()));
    }

    Bytes finish() override {
        require(writeEnd(writer_.get(), info_.get()));
        return std::move(file_);
    }

private:
    void require(bool written) const {
        if (!written)
            throw std::runtime_error("libpng does not write a picture of " + std::to_string(size_.width) +
                                     " x " + std::to_string(size_.height) + " pixels");
    }

    PictureSize size_;
    Bytes file_;
    Writer writer_;
    Info info_{nullptr, InfoDeleter{writer_}};
};

} // namespace

std::unique_ptr<PictureFile> beginPng(PictureSize size, unsigned channels, Bytes before) {
    return std::make_unique<PngFile>(size, channels, std::move(before));
}

Bytes writePng(const Picture& picture) {
    PngFile file(picture.size, picture.channels, {});
    addRows(file, picture);
    return file.finish();
}

Bytes writeEmptyPng() {
    Bytes file;
    const Writer writer = makeWriter(file);
    if (!writeEmptyChunks(writer.get()))
        throw std::runtime_error("libpng does not write an empty picture");
    return file;
}

} // namespace Simulator
