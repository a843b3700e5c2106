#include "Support/PictureFiles.h"

#include <zlib.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <utility>

namespace Support {
namespace {

void append16(Bytes& bytes, std::uint16_t value) {
    bytes.push_back(static_cast<unsigned char>(value >> 8));
    bytes.push_back(static_cast<unsigned char>(value));
}

void append32(Bytes& bytes, std::uint32_t value) {
    append16(bytes, static_cast<std::uint16_t>(value >> 16));
    append16(bytes, static_cast<std::uint16_t>(value));
}

} // namespace

Bytes operator+(Bytes left, const Bytes& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

Bytes readFile(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    if (!stream)
        throw std::runtime_error("cannot read " + path.string());
    return {std::istreambuf_iterator<char>(stream), {}};
}

Bytes sgiHeader(std::uint16_t width, std::uint16_t height, std::uint16_t channels,
                std::uint8_t bytesPerSample) {
    constexpr std::uint16_t magic = 474, dimension = 3;
    Bytes header;
    append16(header, magic);
    header.push_back(0); // not compressed
    header.push_back(bytesPerSample);
    for (const std::uint16_t field : {dimension, width, height, channels})
        append16(header, field);
    header.resize(512);
    return header;
}

Bytes bigEndian(const std::vector<std::uint16_t>& samples) {
    Bytes bytes;
    for (const std::uint16_t sample : samples)
        append16(bytes, sample);
    return bytes;
}

Bytes sgiFile(const Samples& samples) {
    Bytes file = sgiHeader(samples.width, samples.height, samples.channels, 2);
    // Planes one after the other, each from the bottom row up.
    for (std::size_t channel = 0; channel < samples.channels; ++channel)
        for (std::size_t row = samples.height; row-- > 0;)
            for (std::size_t column = 0; column < samples.width; ++column)
                append16(file,
                         samples.values.at((row * samples.width + column) * samples.channels + channel));
    return file;
}

Bytes pngChunk(std::string_view type, const Bytes& data) {
    const Bytes checked = Bytes(type.begin(), type.end()) + data;
    Bytes chunk;
    append32(chunk, static_cast<std::uint32_t>(data.size()));
    chunk = std::move(chunk) + checked;
    append32(chunk, static_cast<std::uint32_t>(crc32(0, checked.data(), static_cast<uInt>(checked.size()))));
    return chunk;
}

Bytes pngHeader(std::uint32_t width, std::uint32_t height, std::uint8_t bitDepth, PngColour colour) {
    Bytes data;
    append32(data, width);
    append32(data, height);
    return pngChunk("IHDR", data + Bytes{bitDepth, static_cast<unsigned char>(colour), 0, 0, 0});
}

Bytes packed(const Bytes& bytes) {
    uLongf length = compressBound(static_cast<uLong>(bytes.size()));
    Bytes result(length);
    if (compress(result.data(), &length, bytes.data(), static_cast<uLong>(bytes.size())) != Z_OK)
        throw std::runtime_error("cannot compress");
    result.resize(length);
    return result;
}

Bytes pngFile(const Samples& samples, std::uint8_t bitDepth) {
    constexpr PngColour colours[] = {PngColour::grey, PngColour::greyAlpha, PngColour::rgb, PngColour::rgba};
    const std::size_t samplesOfARow = std::size_t{samples.width} * samples.channels;
    Bytes rows;
    for (std::size_t at = 0; at < samplesOfARow * samples.height; ++at) {
        const std::uint16_t sample = samples.values.at(at);
        if (at % samplesOfARow == 0)
            rows.push_back(0); // no filter
        if (bitDepth == 16)
            rows.push_back(static_cast<unsigned char>(sample >> 8));
        rows.push_back(static_cast<unsigned char>(sample));
    }
    return pngSignature() +
           pngHeader(samples.width, samples.height, bitDepth, colours[samples.channels - 1]) +
           pngPixels(rows) + pngEnd();
}

PiecewiseBuffer::int_type PiecewiseBuffer::underflow() {
    const std::size_t length = std::min(pieceLength_, bytes_.size() - delivered_);
    if (length == 0) {
        if (atEnd_ == AtEnd::throwException)
            throw std::runtime_error("the line broke");
        return traits_type::eof();
    }
    char* const piece = reinterpret_cast<char*>(bytes_.data() + delivered_);
    setg(piece, piece, piece + length);
    delivered_ += length;
    return traits_type::to_int_type(*piece);
}

} // namespace Support
