#include "CameraFiles.h"
#include "NativeCameraKorva/KorvaMemoryStream.h"
#include "NativeCameraKorva/KorvaPictureDecoding.h"
#include "Rows.h"

#include <benchmark/benchmark.h>
#include <png.h>

#include <cstring>
#include <istream>
#include <string>

namespace {

using namespace Benchmarks;

void decode() {
    Korva::mybuf memory(pngFile().data(), pngFile().size());
    std::istream stream(&memory);
    std::string text;
    const image_t picture = Korva::decodePng(stream, text);
    benchmark::DoNotOptimize(picture.pixels.get());
}

void readFromMemory(png_structp png, png_bytep bytes, std::size_t count) {
    const auto** const next = static_cast<const unsigned char**>(png_get_io_ptr(png));
    std::memcpy(bytes, *next, count);
    *next += count;
}

/// The least that a program does to read the file: row after row, with nothing around it.
void readRows() {
    const unsigned char* next = pngFile().data();
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_set_read_fn(png, &next, readFromMemory);
    png_read_info(png, info);
    png_set_swap(png);
    png_read_update_info(png, info);
    const std::size_t rowBytes = png_get_rowbytes(png, info);
    for (unsigned int row = 0; row < height; ++row)
        png_read_row(png, room() + row * rowBytes, nullptr);
    png_destroy_read_struct(&png, &info, nullptr);
}

const Row row(
    "PNG decode, grey16", 1.2, "a bare libpng row reader", [] { return Work{decode}; },
    [] { return Work{readRows}; });

} // namespace
