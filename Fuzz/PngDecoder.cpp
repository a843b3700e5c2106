// The PNG decoder on any bytes: as they are, and with right chunk checksums, so that libpng looks inside.

#include "NativeCameraKorva/KorvaMemoryStream.h"
#include "NativeCameraKorva/KorvaPictureDecoding.h"

#include <zlib.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <istream>
#include <string>
#include <vector>

namespace {

constexpr std::size_t byteLimit = std::size_t{1} << 20;
constexpr std::size_t signatureLength = 8;
constexpr std::size_t chunkFrame = 12;

void decode(const std::vector<std::uint8_t>& file) {
    Korva::mybuf memory(file.data(), file.size());
    std::istream stream(&memory);
    std::string text;
    const image_t picture = Korva::decodePng(stream, text);
    const std::size_t bytes = image_t::byteCount(picture.format, picture.width, picture.height);
    if (bytes > byteLimit || (picture.pixels == nullptr) != (picture.format == 0))
        std::abort();
}

std::size_t lengthAt(const std::vector<std::uint8_t>& file, std::size_t at) {
    return std::size_t{file[at]} << 24 | std::size_t{file[at + 1]} << 16 | std::size_t{file[at + 2]} << 8 |
           std::size_t{file[at + 3]};
}

/// Where the first chunk starts that the file does not hold whole. Calls `visit` for each one before it.
template <class Visit>
std::size_t visitChunks(std::vector<std::uint8_t>& file, Visit visit) {
    std::size_t at = signatureLength;
    while (at + chunkFrame <= file.size() && lengthAt(file, at) <= file.size() - at - chunkFrame) {
        const std::size_t length = lengthAt(file, at);
        visit(at, length);
        at += chunkFrame + length;
    }
    return at;
}

/// A cut chunk announces less than 64 KiB: a run shall not be spent on the checksum of a gigabyte of nothing.
void shortenCutChunk(std::vector<std::uint8_t>& file) {
    const std::size_t cut = visitChunks(file, [](std::size_t, std::size_t) {});
    if (cut + 2 <= file.size())
        file[cut] = file[cut + 1] = 0;
}

void writeRightChecksums(std::vector<std::uint8_t>& file) {
    visitChunks(file, [&file](std::size_t at, std::size_t length) {
        const auto checksum = crc32(0, &file[at + 4], static_cast<uInt>(length + 4));
        for (std::size_t i = 0; i < 4; ++i)
            file[at + 8 + length + i] = static_cast<std::uint8_t>(checksum >> (24 - 8 * i));
    });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    image_t::setByteLimit(byteLimit);
    std::vector<std::uint8_t> file(data, data + size);
    shortenCutChunk(file);
    decode(file);
    writeRightChecksums(file);
    decode(file);
    return 0;
}
