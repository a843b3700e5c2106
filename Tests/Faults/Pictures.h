#pragma once
// What must come of a picture file, by plain loops: nothing of the plug-in, the host or the simulator.

#include <cstddef>
#include <string>
#include <vector>

namespace Faults {

using Bytes = std::vector<unsigned char>;

/// 0 x 0 where a file is not accepted.
struct Picture {
    unsigned width = 0;
    unsigned height = 0;
    unsigned channels = 0;
    bool has16Bits = false;
    std::vector<unsigned> samples = {}; ///< rows from the top, channels of a pixel adjacent

    std::size_t pixels() const { return std::size_t{width} * height; }
    bool operator==(const Picture&) const = default;
};

/// An uncompressed SGI file, by the format's description; of 8 bits a sample, zeros. Not accepted where its
/// pixels are more than `mostBytes`.
Picture sgiPicture(const Bytes& file, std::size_t mostBytes);

/// A PNG file, as libpng's simple reader reads it. A transparent colour is one more channel, and what 16-bit
/// samples lie under one that is not opaque is not told. Not accepted where such a channel is added to
/// samples that are expanded, those of a palette or of fewer than 8 bits.
Picture pngPicture(const Bytes& file, std::size_t mostBytes);

/// True where the colours that both define are the same, and the transparency, if `decoded` has any.
bool agree(const Picture& decoded, const Picture& simple);

/// The error line of an attempt that cannot use the picture, with so many samples asked for a pixel; empty
/// where it can.
std::string flawOf(const Picture& picture, unsigned samplesPerPixel);

/// The host's grey pixels of a picture without a flaw.
Bytes greyOf(const Picture& picture, unsigned samplesPerPixel);

} // namespace Faults
