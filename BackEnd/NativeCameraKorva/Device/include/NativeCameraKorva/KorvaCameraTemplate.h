#pragma once
// What the locator tells the host of a camera that it found.

#include "NativeCameraControl/NativeCameraTemplate.h"

/// The host's template under a class of the plug-in's own.
class KorvaCameraTemplate final : public NativeCameraTemplate {
public:
    using NativeCameraTemplate::NativeCameraTemplate;
    ~KorvaCameraTemplate() override;
};
