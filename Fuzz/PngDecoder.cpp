// The PNG decoder on any bytes: as they are, and with right chunk checksums, so that libpng looks inside; and
// reduced on the way what is reduced afterwards.

#include "PngChunks.h"
#include "ReducedPictures.h"

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

image_t decoded(const std::vector<std::uint8_t>& file) {
    Korva::mybuf memory(file.data(), file.size());
    std::istream stream(&memory);
    std::string text;
    return Korva::decodePng(stream, text);
}

Korva::ReducedPicture reduced(const std::vector<std::uint8_t>& file, unsigned int samplesPerPixel) {
    Korva::mybuf memory(file.data(), file.size());
    std::istream stream(&memory);
    return Korva::decodeReducedPng(stream, samplesPerPixel);
}

void decode(const std::vector<std::uint8_t>& file) {
    const image_t picture = decoded(file);
    const std::size_t bytes = image_t::byteCount(picture.format, picture.width, picture.height);
    if (bytes > byteLimit || (picture.pixels == nullptr) != (picture.format == 0))
        std::abort();
    // Of any other depth it is the same decoder.
    if ((picture.format & ~image_t::layoutMask) != image_t::depth16 && picture.format != 0)
        return;
    for (const unsigned int samplesPerPixel : {1u, 3u})
        if (!Fuzz::isReduction(reduced(file, samplesPerPixel), decoded(file), samplesPerPixel, true))
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
