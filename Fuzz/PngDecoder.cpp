// The PNG decoder on any bytes: as they are, and with right chunk checksums, so that libpng looks inside.

#include "PngChunks.h"

#include "NativeCameraKorva/KorvaMemoryStream.h"
#include "NativeCameraKorva/KorvaPictureDecoding.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <istream>
#include <string>
#include <vector>

namespace {

constexpr std::size_t byteLimit = std::size_t{1} << 16;

void decode(const std::vector<std::uint8_t>& file) {
    Korva::mybuf memory(file.data(), file.size());
    std::istream stream(&memory);
    std::string text;
    const image_t picture = Korva::decodePng(stream, text);
    const std::size_t bytes = image_t::byteCount(picture.format, picture.width, picture.height);
    if (bytes > byteLimit || (picture.pixels == nullptr) != (picture.format == 0))
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    image_t::setByteLimit(byteLimit);
    std::vector<std::uint8_t> file(data, data + size);
    Fuzz::shortenCutChunk(file);
    decode(file);
    Fuzz::writeRightChecksums(file);
    decode(file);
    return 0;
}
