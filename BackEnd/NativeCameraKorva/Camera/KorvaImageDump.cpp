#include "NativeCameraKorva/KorvaImageDump.h"

#include "NativeCameraKorva/KorvaPictureDump.h"

#include <cstddef>

namespace Korva {

void dumpImage(const PictureFormat& format, const Binary::FullArg& picture) {
    const std::size_t count = Binary::bigEndian32(picture.header.length);
    const bool isMissing = count != 0 && picture.data == nullptr; // a value that is not an image's
    if (!isMissing)
        dumpPicture({picture.data.get(), count}, format);
}

void dumpImage(bool png, Binary::FullArg& picture) {
    dumpImage(pictureFormat(png), picture);
}

} // namespace Korva
