#pragma once
// The camera family as every camera and every search names it, without the entry points that register it.

#include "NativeCameraKorva/KorvaExport.h"

class DeviceType;

/// The one object that stands for the camera family, made by the first call and living as long as the
/// library. Where making it throws, the next call tries again. Any thread.
KORVA_EXPORT const DeviceType& getKorvaCameraType();
