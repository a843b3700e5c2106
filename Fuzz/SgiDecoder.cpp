// The SGI decoder on any bytes: from memory where they lie and from another stream it must give the same.

#include "NativeCameraKorva/KorvaMemoryStream.h"
#include "NativeCameraKorva/KorvaPictureDecoding.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <istream>
#include <sstream>
#include <string>

namespace {

constexpr std::size_t byteLimit = std::size_t{1} << 16;

bool isSame(const image_t& left, const image_t& right) {
    if (left.format != right.format || left.width != right.width || left.height != right.height)
        return false;
    if (left.pixels == nullptr || right.pixels == nullptr)
        return left.pixels == right.pixels;
    const std::size_t bytes = image_t::byteCount(left.format, left.width, left.height);
    return bytes <= byteLimit && std::equal(left.pixels.get(), left.pixels.get() + bytes, right.pixels.get());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    image_t::setByteLimit(byteLimit);
    Korva::mybuf memory(data, size);
    std::istream fromMemory(&memory);
    std::istringstream fromText(std::string(data, data + size));
    if (!isSame(Korva::decodeSgi(fromMemory), Korva::decodeSgi(fromText)))
        std::abort();
    return 0;
}
