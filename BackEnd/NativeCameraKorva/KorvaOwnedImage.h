#pragma once
// A picture of the host's that is given back to the host's imaging library.

#include "ImagingLibrary/Image.h"
#include "ImagingLibrary/ImagingFactory.h"
#include "ImagingLibrary/ImagingLibrary.h"

#include <memory>

namespace Korva {

struct ImageReleaser {
    void operator()(Image* image) const { ImagingFactory::getInstance()->releaseImage(image); }
};

/// Owns an image that the imaging library made.
using OwnedImage = std::unique_ptr<Image, ImageReleaser>;

} // namespace Korva
