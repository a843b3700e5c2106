#pragma once
// A picture of the host's imaging library.

#include "HostFrameworkExport.h"

/// Pixels in rows from the top, samples of a pixel adjacent, no padding. Created and released by the
/// ImagingLibrary only. Reading is safe from any thread; writing is the owner's affair.
class HOSTFRAMEWORK_EXPORT Image {
public:
    Image(const Image&) = delete;
    Image& operator=(const Image&) = delete;
    virtual ~Image();

    /// Width in pixels.
    virtual unsigned int getWidth() const = 0;
    /// Height in pixels.
    virtual unsigned int getHeight() const = 0;
    virtual unsigned int getBitsPerSample() const = 0;
    virtual unsigned int getSamplesPerPixel() const = 0;

    /// width x height x samples per pixel samples, owned by the image. Not null, also for an empty picture.
    virtual void* getRawImageData() = 0;

protected:
    Image() = default;
};
