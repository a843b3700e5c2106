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

void decode(const std::uint8_t* data, std::size_t size) {
    Korva::mybuf memory(data, size);
    std::istream stream(&memory);
    std::string text;
    const image_t picture = Korva::decodePng(stream, text);
    const std::size_t bytes = image_t::byteCount(picture.format, picture.width, picture.height);
    if (bytes > byteLimit || (picture.pixels == nullptr) != (picture.format == 0))
        std::abort();
}

std::vector<std::uint8_t> withRightChecksums(const std::uint8_t* data, std::size_t size) {
    std::vector<std::uint8_t> file(data, data + size);
    std::size_t at = signatureLength;
    while (at + chunkFrame <= size) {
        const std::size_t length = std::size_t{file[at]} << 24 | std::size_t{file[at + 1]} << 16 |
                                   std::size_t{file[at + 2]} << 8 | std::size_t{file[at + 3]};
        if (length > size - at - chunkFrame)
            break;
        const auto checksum = crc32(0, &file[at + 4], static_cast<uInt>(length + 4));
        for (std::size_t i = 0; i < 4; ++i)
            file[at + 8 + length + i] = static_cast<std::uint8_t>(checksum >> (24 - 8 * i));
        at += chunkFrame + length;
    }
    return file;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    image_t::setByteLimit(byteLimit);
    decode(data, size);
    const std::vector<std::uint8_t> checked = withRightChecksums(data, size);
    decode(checked.data(), checked.size());
    return 0;
}
