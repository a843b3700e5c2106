#pragma once
// The host's plain in-memory picture, which plug-ins make and the host keeps.

#include "HostFrameworkExport.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

/// What image_t's constructor does with an external buffer.
enum class PixelBufferMode : int {
    copy = 0,   ///< allocate a buffer of the image's own and copy the pixels into it
    borrow = 1, ///< use the buffer, leave it to the caller
    adopt = 2   ///< use the buffer and free it as an array of unsigned char
};

/// A picture: rows from the top, pixels from the left, channels of a pixel adjacent, no padding; two-byte
/// samples are little-endian. The format is a channel layout (low four bits: 1 RGB, 2 RGBA, 3 grey, 4 grey
/// and alpha) plus a sample depth (0: one byte, 16: two bytes, 32 and 64: four bytes).
///
/// The code that frees the pixels is the host's, so a picture may outlive the plug-in that made it.
/// Movable, not copyable; a picture that was moved from holds no buffer.
class HOSTFRAMEWORK_EXPORT image_t {
public:
    using Deleter = std::function<void(unsigned char*)>;
    using Pixels = std::unique_ptr<unsigned char[], Deleter>;

    static constexpr std::uint32_t layoutRgb = 1;
    static constexpr std::uint32_t layoutRgba = 2;
    static constexpr std::uint32_t layoutGrey = 3;
    static constexpr std::uint32_t layoutGreyAlpha = 4;
    static constexpr std::uint32_t layoutMask = 15;
    static constexpr std::uint32_t depth16 = 16;

    /// The most bytes that an image allocates for itself, unless setByteLimit says otherwise: 256 MiB.
    static constexpr std::size_t defaultByteLimit = std::size_t{256} << 20;

    /// An empty image: no picture.
    image_t() noexcept;

    /// With a valid format code:
    ///  - no external buffer: allocates bytes-per-row x height bytes, which are not cleared;
    ///  - `external` with PixelBufferMode::borrow or ::adopt (1, 2): uses it;
    ///  - `external` with any other mode: allocates a buffer of the same size and copies the pixels.
    /// With an invalid format code the format becomes 0 and there is no buffer, but in mode adopt the
    /// external one, so that it is freed with the image; width and height are kept.
    ///
    /// A size that cannot be had makes an empty image (0, 0, 0; an adopted buffer is still adopted): a
    /// negative width, a byte count that overflows, and for a buffer of the image's own one above the byte
    /// limit or memory that is not to be had. Never throws for the size.
    image_t(std::uint32_t format, std::int32_t width, std::uint32_t height, void* external, int mode);

    image_t(image_t&&) noexcept;
    image_t& operator=(image_t&&) noexcept;
    image_t(const image_t&) = delete;
    image_t& operator=(const image_t&) = delete;
    ~image_t();

    /// Channels x bytes per sample of a format code; 0 for an unknown code.
    static std::uint32_t bytesPerPixel(std::uint32_t format) noexcept;

    /// 1, 3, 4 or 2 channels; 0 for an unknown layout.
    static std::uint32_t channels(std::uint32_t format) noexcept;

    /// The bytes of a picture of that format and size, or 0 if the format is unknown, the width is
    /// negative or the number does not fit in a std::ptrdiff_t. (A picture without pixels has 0 bytes too.)
    static std::size_t byteCount(std::uint32_t format, std::int32_t width, std::uint32_t height) noexcept;

    /// True if the constructor would try to allocate a buffer of its own for that picture.
    static bool isAllocatable(std::uint32_t format, std::int32_t width, std::uint32_t height) noexcept;

    /// Sets the most bytes that an image allocates for itself. Process-wide, any thread.
    static void setByteLimit(std::size_t bytes) noexcept;
    static std::size_t byteLimit() noexcept;

    /// Bytes per pixel x width, 0 for an empty image.
    std::size_t bytesPerRow() const noexcept;

    // The fields, in the order that other modules rely on.
    std::uint32_t format = 0;
    std::int32_t width = 0;   ///< in pixels
    std::uint32_t height = 0; ///< in pixels
    Pixels pixels;
};
