#pragma once
// The host's imaging operations.

#include "HostFrameworkExport.h"

class Image;

/// The order of the operations is the interface: plug-ins call them by slot.
class HOSTFRAMEWORK_EXPORT ImagingLibrary {
public:
    ImagingLibrary() = default;
    ImagingLibrary(const ImagingLibrary&) = delete;
    ImagingLibrary& operator=(const ImagingLibrary&) = delete;

    /// Slot 0: a new image with a copy of the pixels at `pixels` (rows from the top, samples adjacent, no
    /// padding). `bitsPerSample` is 8, `samplesPerPixel` 1 or 3, `flags` 0; width or height may be 0, and
    /// then `pixels` is not read. The caller owns it and gives it back with releaseImage. Throws
    /// std::invalid_argument for other values, std::bad_alloc if memory is short.
    virtual Image* createImage(unsigned int width, unsigned int height, unsigned int bitsPerSample,
                               unsigned int samplesPerPixel, const void* pixels, int flags) = 0;

    /// Slot 1: destroys an image of this library; null is ignored.
    virtual void releaseImage(Image* image) = 0;

    /// Slot 2: `image` in grey, 8 bits, one sample. A one-sample image is returned itself; of a three-sample
    /// one a new image is made, which the caller owns beside the old one. The grey value is the luma of
    /// Recommendation ITU-R BT.601, 0.299 R + 0.587 G + 0.114 B, rounded to the nearest integer, halves up.
    /// Throws std::bad_alloc if memory is short.
    virtual Image* convertToGreyscale(Image* image) = 0;

    virtual ~ImagingLibrary();
};
