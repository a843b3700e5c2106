#include "ImagingLibrary/ImagingLibrary.h"

#include "ImagingLibrary/Image.h"
#include "ImagingLibrary/ImagingFactory.h"
#include "Luma.h"
#include "ReferenceHost/HostControl.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <stdexcept>

namespace {

std::atomic<std::size_t> liveImages{0};

constexpr unsigned int bitsPerSample = 8;

/// width x height x samples; throws std::bad_alloc if no memory could hold as many bytes.
std::size_t byteCountOf(unsigned int width, unsigned int height, unsigned int samplesPerPixel) {
    const std::uint64_t pixels = std::uint64_t{width} * height;
    constexpr auto most = static_cast<std::uint64_t>(std::numeric_limits<std::ptrdiff_t>::max());
    if (pixels > most / samplesPerPixel)
        throw std::bad_alloc();
    return static_cast<std::size_t>(pixels * samplesPerPixel);
}

class PixelImage final : public Image {
public:
    /// The pixels are left as they come: whoever makes an image fills it.
    PixelImage(unsigned int width, unsigned int height, unsigned int samplesPerPixel)
        : width_(width), height_(height), samplesPerPixel_(samplesPerPixel),
          byteCount_(byteCountOf(width, height, samplesPerPixel)),
          bytes_(std::make_unique_for_overwrite<unsigned char[]>(byteCount_)) {
        ++liveImages;
    }
    PixelImage(const PixelImage&) = delete;
    PixelImage& operator=(const PixelImage&) = delete;
    ~PixelImage() override { --liveImages; }

    unsigned int getWidth() const override { return width_; }
    unsigned int getHeight() const override { return height_; }
    unsigned int getBitsPerSample() const override { return bitsPerSample; }
    unsigned int getSamplesPerPixel() const override { return samplesPerPixel_; }
    void* getRawImageData() override { return bytes_.get(); }

    std::size_t byteCount() const { return byteCount_; }

private:
    unsigned int width_;
    unsigned int height_;
    unsigned int samplesPerPixel_;
    std::size_t byteCount_;
    std::unique_ptr<unsigned char[]> bytes_;
};

class ReferenceImagingLibrary final : public ImagingLibrary {
public:
    Image* createImage(unsigned int width, unsigned int height, unsigned int bits,
                       unsigned int samplesPerPixel, const void* pixels, int flags) override {
        if (bits != bitsPerSample || (samplesPerPixel != 1 && samplesPerPixel != 3) || flags != 0)
            throw std::invalid_argument("An image has 8 bits, 1 or 3 samples and no flags");
        if (pixels == nullptr && width != 0 && height != 0)
            throw std::invalid_argument("An image needs its pixels");
        auto image = std::make_unique<PixelImage>(width, height, samplesPerPixel);
        if (image->byteCount() != 0)
            std::memcpy(image->getRawImageData(), pixels, image->byteCount());
        return image.release();
    }

    void releaseImage(Image* image) override { delete image; }

    Image* convertToGreyscale(Image* image) override {
        if (image->getSamplesPerPixel() == 1)
            return image;
        auto grey = std::make_unique<PixelImage>(image->getWidth(), image->getHeight(), 1u);
        ReferenceHost::lumaFromRgb(static_cast<const unsigned char*>(image->getRawImageData()),
                                   grey->byteCount(), static_cast<unsigned char*>(grey->getRawImageData()));
        return grey.release();
    }
};

} // namespace

Image::~Image() = default;

ImagingLibrary::~ImagingLibrary() = default;

ImagingLibrary* ImagingFactory::getInstance() {
    static ReferenceImagingLibrary library;
    return &library;
}

std::size_t ReferenceHost::liveImageCount() noexcept {
    return liveImages;
}
