#pragma once
// Writes a fetched picture file, as the camera sent it, into the host's diagnostics folder.

#include "NativeCameraKorva/KorvaMessage.h"

namespace Korva {

/// Writes picture.data, picture.header.length bytes, to "KorvaImage " + local time + ".png" (`png`) or ".sgi"
/// in PlenarDiagnostics::getImagesSubDirectory(); a length of 0 makes an empty file. A picture of the same
/// second is overwritten. A diagnostic aid: nothing is reported and nothing is thrown, whatever fails.
void dumpImage(bool png, Korva::Binary::FullArg& picture);

} // namespace Korva
