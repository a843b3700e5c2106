#pragma once
// Writes a fetched picture file, as the camera sent it, into the host's diagnostics folder.

#include "NativeCameraKorva/KorvaMessage.h"
#include "NativeCameraKorva/KorvaPictureFormat.h"

namespace Korva {

/// Writes picture.data, picture.header.length bytes, as dumpPicture does; an argument that has a length and
/// no data is passed over. Nothing is reported and nothing is thrown, whatever fails.
void dumpImage(const PictureFormat& format, const Binary::FullArg& picture);

/// The same of a PNG (`png`) or else an SGI file.
void dumpImage(bool png, Binary::FullArg& picture);

} // namespace Korva
