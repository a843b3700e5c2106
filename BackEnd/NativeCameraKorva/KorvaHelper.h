#pragma once
// What the plug-in does with a camera as a whole: takes a picture.

#include "NativeCameraKorva/KorvaExport.h"

class Communicator;
class Image;

namespace Korva {

/// Takes one picture: configures the camera, has it expose, fetches the file, decodes it, reduces the samples
/// to 8 bits and has the host's imaging library convert them to grey. At most two attempts; an all-black
/// picture fails its attempt.
///
/// `communicator`: the camera's binary port; connected for the call. Blocks the calling thread, which must
/// have the only use of it.
/// `forceMode1`: capture mode 1. `png`: the camera sends PNG, else SGI. `monochrome`: one sample per pixel
/// (mode 3 unless forced), else three (mode 2). `exposure`: units of 100 ms, of which the low 16 bits are
/// sent. `delayBeforeTake`: wait 10 s between the configuration and the take request.
///
/// Returns a new grey 8-bit image, which the caller gives back to the imaging library; one of 0 x 0 pixels
/// where the file could not be decoded; null where both attempts failed, for which each left its log lines.
/// What the transport and the imaging library throw passes to the caller; nothing is leaked.
KORVA_EXPORT Image* capture(Communicator* communicator, bool forceMode1, bool png, bool monochrome,
                            int exposure, bool delayBeforeTake);

} // namespace Korva
