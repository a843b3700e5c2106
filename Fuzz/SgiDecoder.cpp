// The SGI decoder on any bytes: from memory where they lie and from another stream it must give the
// same, and reduced on the way what is reduced afterwards.

#include "ReducedPictures.h"

#include "NativeCameraKorva/KorvaMemoryStream.h"
#include "NativeCameraKorva/KorvaPictureDecoding.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <istream>
#include <sstream>
#include <string>

namespace {

constexpr std::size_t byteLimit = std::size_t{1} << 16;

image_t decoded(const std::uint8_t* data, std::size_t size) {
    Korva::mybuf memory(data, size);
    std::istream stream(&memory);
    return Korva::decodeSgi(stream);
}

Korva::ReducedPicture reduced(const std::uint8_t* data, std::size_t size, unsigned int samplesPerPixel) {
    Korva::mybuf memory(data, size);
    std::istream stream(&memory);
    return Korva::decodeReducedSgi(stream, samplesPerPixel);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    image_t::setByteLimit(byteLimit);
    const image_t picture = decoded(data, size);
    std::istringstream text(std::string(data, data + size));
    if (image_t::byteCount(picture.format, picture.width, picture.height) > byteLimit ||
        !Fuzz::isSame(picture, Korva::decodeSgi(text)))
        std::abort();
    for (const unsigned int samplesPerPixel : {1u, 3u})
        if (!Fuzz::isReduction(reduced(data, size, samplesPerPixel), decoded(data, size), samplesPerPixel))
            std::abort();
    return 0;
}
