#pragma once
// Builds picture files, good ones and broken ones, and the streams that decoders read them from.

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <streambuf>
#include <string_view>
#include <utility>
#include <vector>

namespace Support {

using Bytes = std::vector<unsigned char>;

Bytes operator+(Bytes left, const Bytes& right);

/// The first `count` of the bytes; there must be as many.
inline Bytes beginningOf(const Bytes& bytes, std::size_t count) {
    return {bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(count)};
}

/// The whole file; throws std::runtime_error where it cannot be read.
Bytes readFile(const std::filesystem::path& path);

/// A picture's samples: rows from the top, channels of a pixel adjacent.
struct Samples {
    std::uint16_t width = 0;
    std::uint16_t height = 0;
    std::uint16_t channels = 0;
    std::vector<std::uint16_t> values;
};

/// The picture with every sample `value`.
inline Samples uniformSamples(std::uint16_t width, std::uint16_t height, std::uint16_t channels,
                              std::uint16_t value) {
    return {width, height, channels,
            std::vector<std::uint16_t>(std::size_t{width} * height * channels, value)};
}

/// The 512 bytes of an SGI file's header.
Bytes sgiHeader(std::uint16_t width, std::uint16_t height, std::uint16_t channels,
                std::uint8_t bytesPerSample);

/// `samples` as an SGI file holds them: two bytes each, the high byte first.
Bytes bigEndian(const std::vector<std::uint16_t>& samples);

/// An uncompressed SGI file of 16-bit samples.
Bytes sgiFile(const Samples& samples);

/// The eight bytes that a PNG file starts with.
inline Bytes pngSignature() {
    return {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
}

/// A chunk with the right length and checksum.
Bytes pngChunk(std::string_view type, const Bytes& data);
inline Bytes pngChunk(std::string_view type, std::string_view data) {
    return pngChunk(type, Bytes(data.begin(), data.end()));
}

enum class PngColour : std::uint8_t { grey = 0, rgb = 2, palette = 3, greyAlpha = 4, rgba = 6 };

/// The header chunk of a picture that is not interlaced.
Bytes pngHeader(std::uint32_t width, std::uint32_t height, std::uint8_t bitDepth, PngColour colour);

/// The bytes in zlib's format, as chunks hold what they pack.
Bytes packed(const Bytes& bytes);

/// The pixels chunk: `rows` are the rows as the file holds them, each behind its filter byte.
inline Bytes pngPixels(const Bytes& rows) {
    return pngChunk("IDAT", packed(rows));
}

/// The last chunk.
inline Bytes pngEnd() {
    return pngChunk("IEND", Bytes());
}

/// A PNG file, 1 to 4 channels, of `bitDepth` 8 or 16; for 8 bits each sample's low byte is written.
Bytes pngFile(const Samples& samples, std::uint8_t bitDepth = 16);

/// Delivers bytes in pieces of `pieceLength`, cannot seek, and throws where the bytes end, if told to.
class PiecewiseBuffer : public std::streambuf {
public:
    enum class AtEnd { report, throwException };

    PiecewiseBuffer(Bytes bytes, std::size_t pieceLength, AtEnd atEnd = AtEnd::report)
        : bytes_(std::move(bytes)), pieceLength_(pieceLength), atEnd_(atEnd) {}

    /// True once anybody tried to seek or to ask for the position.
    bool wasSought() const { return sought_; }

protected:
    int_type underflow() override;
    pos_type seekoff(off_type, std::ios_base::seekdir, std::ios_base::openmode) override { return seek(); }
    pos_type seekpos(pos_type, std::ios_base::openmode) override { return seek(); }

private:
    pos_type seek() {
        sought_ = true;
        return pos_type(off_type(-1));
    }

    Bytes bytes_;
    std::size_t pieceLength_;
    AtEnd atEnd_;
    std::size_t delivered_ = 0;
    bool sought_ = false;
};

} // namespace Support

namespace TestSupport {
using namespace Support;
}
