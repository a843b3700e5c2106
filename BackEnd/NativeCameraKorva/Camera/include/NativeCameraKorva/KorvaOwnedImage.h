#pragma once
// A picture of the host's that is given back to the host's imaging library.

#include "ImagingLibrary/Image.h"
#include "ImagingLibrary/ImagingFactory.h"
#include "ImagingLibrary/ImagingLibrary.h"

#include <memory>

namespace Korva {

struct ImageReleaser {
    void operator()(Image* image) const noexcept {
        try {
            ImagingFactory::getInstance()->releaseImage(image);
        } catch (...) {
            // A destructor has nobody to tell. Whoever wants to know releases by hand.
        }
    }
};

/// Owns an image that the imaging library made.
using OwnedImage = std::unique_ptr<Image, ImageReleaser>;

} // namespace Korva
