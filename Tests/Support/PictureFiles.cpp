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

Bytes SgiHeader::bytes() const {
    Bytes header;
    append16(header, magic);
    header.push_back(storage);
    header.push_back(bytesPerSample);
    append16(header, dimension);
    append16(header, width);
    append16(header, height);
    append16(header, channels);
    header.resize(512, rest);
    return header;
}

Bytes bigEndian(const std::vector<std::uint16_t>& samples) {
    Bytes bytes;
    for (const std::uint16_t sample : samples)
        append16(bytes, sample);
    return bytes;
}

Bytes pngSignature() {
    return {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
}

Bytes pngChunk(std::string_view type, const Bytes& data) {
    Bytes chunk;
    append32(chunk, static_cast<std::uint32_t>(data.size()));
    chunk.insert(chunk.end(), type.begin(), type.end());
    chunk.insert(chunk.end(), data.begin(), data.end());
    append32(chunk,
             static_cast<std::uint32_t>(crc32(0, chunk.data() + 4, static_cast<uInt>(chunk.size() - 4))));
    return chunk;
}

Bytes pngChunk(std::string_view type, std::string_view data) {
    return pngChunk(type, Bytes(data.begin(), data.end()));
}

Bytes pngHeader(std::uint32_t width, std::uint32_t height, std::uint8_t bitDepth, PngColour colour) {
    Bytes data;
    append32(data, width);
    append32(data, height);
    return pngChunk("IHDR", data + Bytes{bitDepth, static_cast<unsigned char>(colour), 0, 0, 0});
}

Bytes packed(const Bytes& bytes) {
    uLongf length = compressBound(bytes.size());
    Bytes result(length);
    if (compress(result.data(), &length, bytes.data(), bytes.size()) != Z_OK)
        throw std::runtime_error("cannot compress");
    result.resize(length);
    return result;
}

Bytes pngPixels(const Bytes& rows) {
    return pngChunk("IDAT", packed(rows));
}

Bytes pngEnd() {
    return pngChunk("IEND", Bytes());
}

PiecewiseBuffer::PiecewiseBuffer(Bytes bytes, std::size_t pieceLength, AtEnd atEnd)
    : bytes_(std::move(bytes)), pieceLength_(pieceLength), atEnd_(atEnd) {}

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

PiecewiseBuffer::pos_type PiecewiseBuffer::seekoff(off_type, std::ios_base::seekdir,
                                                   std::ios_base::openmode) {
    sought_ = true;
    return pos_type(off_type(-1));
}

PiecewiseBuffer::pos_type PiecewiseBuffer::seekpos(pos_type, std::ios_base::openmode) {
    sought_ = true;
    return pos_type(off_type(-1));
}

} // namespace Support
