#include "ImagingLibrary/image_t.h"

#include <atomic>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

namespace {

std::atomic<std::size_t> ownBufferLimit{image_t::defaultByteLimit};

constexpr auto unrepresentable = std::numeric_limits<std::size_t>::max();

std::uint32_t bytesPerSample(std::uint32_t format) noexcept {
    switch (format & ~image_t::layoutMask) {
    case 0:
        return 1;
    case image_t::depth16:
        return 2;
    case 32:
    case 64:
        return 4;
    default:
        return 0;
    }
}

void freeAsArray(unsigned char* pixels) {
    delete[] pixels;
}

void leaveToCaller(unsigned char*) {}

/// The bytes of a picture, or `unrepresentable`.
std::size_t checkedByteCount(std::uint32_t format, std::int32_t width, std::uint32_t height) noexcept {
    const std::uint64_t perPixel = image_t::bytesPerPixel(format);
    if (width < 0)
        return unrepresentable;
    const std::uint64_t perRow = perPixel * static_cast<std::uint64_t>(width); // at most 16 x 2^31
    constexpr auto most = static_cast<std::uint64_t>(std::numeric_limits<std::ptrdiff_t>::max());
    if (height != 0 && perRow > most / height)
        return unrepresentable;
    return static_cast<std::size_t>(perRow * height);
}

} // namespace

image_t::image_t() noexcept = default;
image_t::image_t(image_t&& other) noexcept = default;
image_t& image_t::operator=(image_t&& other) noexcept = default;
image_t::~image_t() = default;

image_t::image_t(std::uint32_t formatCode, std::int32_t pictureWidth, std::uint32_t pictureHeight,
                 void* external, int mode) {
    auto* const externalPixels = static_cast<unsigned char*>(external);
    if (externalPixels != nullptr && mode == static_cast<int>(PixelBufferMode::adopt))
        pixels = Pixels(externalPixels, freeAsArray);

    const bool validFormat = bytesPerPixel(formatCode) != 0;
    const std::size_t bytes = checkedByteCount(formatCode, pictureWidth, pictureHeight);
    if (validFormat && bytes == unrepresentable)
        return;

    if (validFormat && pixels == nullptr) {
        if (externalPixels != nullptr && mode == static_cast<int>(PixelBufferMode::borrow)) {
            pixels = Pixels(externalPixels, leaveToCaller);
        } else {
            if (bytes > byteLimit())
                return;
            // Not cleared: whoever fills a picture does not pay for writing it twice.
            auto* const own = new (std::nothrow) unsigned char[bytes];
            if (own == nullptr)
                return;
            pixels = Pixels(own, freeAsArray);
            if (externalPixels != nullptr)
                std::memcpy(own, externalPixels, bytes);
        }
    }
    format = validFormat ? formatCode : 0;
    width = pictureWidth;
    height = pictureHeight;
}

std::uint32_t image_t::channels(std::uint32_t format) noexcept {
    switch (format & layoutMask) {
    case layoutRgb:
        return 3;
    case layoutRgba:
        return 4;
    case layoutGrey:
        return 1;
    case layoutGreyAlpha:
        return 2;
    default:
        return 0;
    }
}

std::uint32_t image_t::bytesPerPixel(std::uint32_t format) noexcept {
    return channels(format) * bytesPerSample(format);
}

std::size_t image_t::byteCount(std::uint32_t format, std::int32_t width, std::uint32_t height) noexcept {
    const std::size_t bytes = checkedByteCount(format, width, height);
    return bytes == unrepresentable ? 0 : bytes;
}

bool image_t::isAllocatable(std::uint32_t format, std::int32_t width, std::uint32_t height) noexcept {
    return bytesPerPixel(format) != 0 && checkedByteCount(format, width, height) <= byteLimit();
}

void image_t::setByteLimit(std::size_t bytes) noexcept {
    ownBufferLimit = bytes;
}

std::size_t image_t::byteLimit() noexcept {
    return ownBufferLimit;
}

std::size_t image_t::bytesPerRow() const noexcept {
    return width < 0 ? 0 : static_cast<std::size_t>(bytesPerPixel(format)) * static_cast<std::size_t>(width);
}
