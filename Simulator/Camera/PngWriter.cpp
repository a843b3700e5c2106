#include "Camera/PngWriter.h"

#include <png.h>

#include <bit>
#include <csetjmp>
#include <exception>
#include <memory>
#include <stdexcept>

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

Writer makeWriter(Bytes& file) {
    Writer writer(png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, jumpOut, keepQuiet));
    if (!writer)
        throw std::bad_alloc();
    png_set_write_fn(writer.get(), &file, appendToFile, nothingToFlush);
    return writer;
}

// libpng leaves these two functions by a jump: nothing in their frames may need destruction.

bool writeRows(png_struct* png, png_info* info, const Picture& picture) {
    if (setjmp(png_jmpbuf(png)) != 0)
        return false;
    png_set_IHDR(png, info, picture.size.width, picture.size.height, bitsPerSample,
                 picture.channels == 1 ? PNG_COLOR_TYPE_GRAY : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_set_compression_level(png, fastCompression);
    png_set_filter(png, PNG_FILTER_TYPE_BASE, PNG_FILTER_SUB);
    png_write_info(png, info);
    if constexpr (std::endian::native == std::endian::little)
        png_set_swap(png);
    const std::size_t samplesPerRow = std::size_t{picture.size.width} * picture.channels;
    for (std::size_t row = 0; row < picture.size.height; ++row)
        png_write_row(png, reinterpret_cast<png_const_bytep>(picture.samples.data() + row * samplesPerRow));
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

} // namespace

Bytes writePng(const Picture& picture) {
    Bytes file;
    file.reserve(picture.samples.size() * sizeof(std::uint16_t));
    const Writer writer = makeWriter(file);
    png_info* info = png_create_info_struct(writer.get());
    if (info == nullptr)
        throw std::bad_alloc();
    const bool written = writeRows(writer.get(), info, picture);
    png_destroy_info_struct(writer.get(), &info);
    if (!written)
        throw std::runtime_error("libpng does not write a picture of " + std::to_string(picture.size.width) +
                                 " x " + std::to_string(picture.size.height) + " pixels");
    return file;
}

Bytes writeEmptyPng() {
    Bytes file;
    const Writer writer = makeWriter(file);
    if (!writeEmptyChunks(writer.get()))
        throw std::runtime_error("libpng does not write an empty picture");
    return file;
}

} // namespace Simulator
