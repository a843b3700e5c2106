#pragma once
// Writes a picture file, as the camera sent it, into the host's diagnostics folder.

#include "NativeCameraKorva/KorvaPictureFormat.h"

#include <span>

namespace Korva {

/// Writes `file` to "KorvaImage " + local time + the format's extension in
/// PlenarDiagnostics::getImagesSubDirectory(); no bytes make an empty file. A picture of the same second is
/// overwritten. A diagnostic aid: nothing is reported and nothing is thrown, whatever fails.
void dumpPicture(std::span<const unsigned char> file, const PictureFormat& format);

} // namespace Korva
