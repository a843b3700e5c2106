#pragma once
// Builds picture files byte by byte, good ones and broken ones, and the streams that decoders read them from.

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <streambuf>
#include <string>
#include <string_view>
#include <vector>

namespace Support {

using Bytes = std::vector<unsigned char>;

Bytes operator+(Bytes left, const Bytes& right);

/// The whole file; throws std::runtime_error where it cannot be read.
Bytes readFile(const std::filesystem::path& path);

/// The fields of an SGI file's header, each as wide as the file can hold.
struct SgiHeader {
    std::uint16_t magic = 474;
    std::uint8_t storage = 0;
    std::uint8_t bytesPerSample = 2;
    std::uint16_t dimension = 3;
    std::uint16_t width = 1;
    std::uint16_t height = 1;
    std::uint16_t channels = 1;
    unsigned char rest = 0; ///< every byte from the minimum pixel value on

    /// The 512 bytes.
    Bytes bytes() const;
};

/// `samples` as an SGI file holds them: two bytes each, the high byte first.
Bytes bigEndian(const std::vector<std::uint16_t>& samples);

/// The eight bytes that a PNG file starts with.
Bytes pngSignature();

/// A chunk with the right length and checksum.
Bytes pngChunk(std::string_view type, const Bytes& data);
Bytes pngChunk(std::string_view type, std::string_view data);

enum class PngColour : std::uint8_t { grey = 0, rgb = 2, palette = 3, greyAlpha = 4, rgba = 6 };

/// The header chunk of a picture that is not interlaced.
Bytes pngHeader(std::uint32_t width, std::uint32_t height, std::uint8_t bitDepth, PngColour colour);

/// The bytes in zlib's format, as chunks hold what they pack.
Bytes packed(const Bytes& bytes);

/// The pixels chunk: `rows` are the rows as the file holds them, each behind its filter byte.
Bytes pngPixels(const Bytes& rows);

/// The last chunk.
Bytes pngEnd();

/// Delivers bytes in pieces of `pieceLength`, cannot seek, and throws where the bytes end, if told to.
class PiecewiseBuffer : public std::streambuf {
public:
    enum class AtEnd { report, throwException };

    PiecewiseBuffer(Bytes bytes, std::size_t pieceLength, AtEnd atEnd = AtEnd::report);

    /// True once anybody tried to seek or to ask for the position.
    bool wasSought() const { return sought_; }

protected:
    int_type underflow() override;
    pos_type seekoff(off_type, std::ios_base::seekdir, std::ios_base::openmode) override;
    pos_type seekpos(pos_type, std::ios_base::openmode) override;

private:
    Bytes bytes_;
    std::size_t pieceLength_;
    AtEnd atEnd_;
    std::size_t delivered_ = 0;
    bool sought_ = false;
};

} // namespace Support
