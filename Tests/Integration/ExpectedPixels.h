#pragma once
// What a capture of a simulated camera should give.

#include "Camera/CameraSettings.h"

#include <vector>

namespace Integration {

using Bytes = std::vector<unsigned char>;

/// The arguments of Korva::capture that a test chooses.
struct CaptureKind {
    bool forceMode1 = false;
    bool png = false;
    bool monochrome = false;
};

/// The grey pixels that a capture of the camera's scene must give, worked out from the scene's samples
/// without a line of the plug-in: divided by 64 and cut off at 255, then 0.299 R + 0.587 G + 0.114 B,
/// rounded.
Bytes expectedPixels(const Simulator::CameraSettings& settings, const CaptureKind& kind, int exposureUnits);

} // namespace Integration
