#include "CameraFiles.h"

#include <benchmark/benchmark.h>
#include <png.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <stdexcept>

namespace Benchmarks {

namespace {

constexpr std::size_t sgiHeaderBytes = 512;
constexpr std::size_t roomBytes = sgiHeaderBytes + sampleBytes;

/// A 14-bit sample of a picture that gets brighter downwards.
std::uint16_t noisySample(std::uint32_t row, std::uint32_t& noise) {
    noise = noise * 1664525u + 1013904223u;
    return static_cast<std::uint16_t>(row * 8 + (noise >> 25));
}

Bytes sgiHeader() {
    Bytes header(sgiHeaderBytes);
    constexpr std::array<unsigned char, 12> fields{
        0x01, 0xDA, 0, 2, 0, 3, width >> 8, width & 255, height >> 8, height & 255, 0, 3};
    std::copy(fields.begin(), fields.end(), header.begin());
    return header;
}

Bytes makeSgiFile() {
    Bytes file = sgiHeader();
    file.reserve(roomBytes);
    std::uint32_t noise = 1;
    for (std::uint32_t row = 0; row < 3 * height; ++row) {
        for (std::uint32_t column = 0; column < width; ++column) {
            const std::uint16_t sample = noisySample(row % height, noise);
            file.push_back(static_cast<unsigned char>(sample >> 8));
            file.push_back(static_cast<unsigned char>(sample));
        }
    }
    return file;
}

Bytes makePngFile() {
    Bytes raw;
    raw.reserve(2 * pixels);
    std::uint32_t noise = 1;
    for (std::uint32_t row = 0; row < height; ++row) {
        for (std::uint32_t column = 0; column < width; ++column) {
            const std::uint16_t sample = noisySample(row, noise);
            raw.push_back(static_cast<unsigned char>(sample));
            raw.push_back(static_cast<unsigned char>(sample >> 8));
        }
    }
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = width;
    image.height = height;
    image.format = PNG_FORMAT_LINEAR_Y;
    image.flags = PNG_IMAGE_FLAG_FAST;
    Bytes file(3 * pixels);
    png_alloc_size_t length = file.size();
    if (png_image_write_to_memory(&image, file.data(), &length, 0, raw.data(), 0, nullptr) == 0)
        throw std::runtime_error(image.message);
    file.resize(length);
    return file;
}

} // namespace

const Bytes& sgiFile() {
    static const Bytes file = makeSgiFile();
    return file;
}

const Bytes& blackSgiFile() {
    static const Bytes file = [] {
        Bytes black = sgiHeader();
        black.resize(roomBytes);
        return black;
    }();
    return file;
}

const Bytes& pngFile() {
    static const Bytes file = makePngFile();
    return file;
}

unsigned char* room() {
    static Bytes bytes(roomBytes, 1);
    return bytes.data();
}

void copyToRoom(const unsigned char* bytes, std::size_t count) {
    std::memcpy(room(), bytes, count);
    benchmark::ClobberMemory();
}

} // namespace Benchmarks
