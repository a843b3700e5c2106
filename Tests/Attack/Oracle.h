#pragma once
// What must come of a picture file, by plain loops: nothing of the plug-in, the host or the simulator.

#include "Support/PictureFiles.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace Attack {

using Support::Bytes;

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
/// samples lie under one that is not opaque is not told. Not accepted where such a channel is added to samples
/// that are expanded, those of a palette or of fewer than 8 bits.
Picture pngPicture(const Bytes& file, std::size_t mostBytes);

/// True where the colours that both define are the same, and the transparency, if `decoded` has any.
bool agree(const Picture& decoded, const Picture& simple);

/// The host's grey pixels of a picture that a capture asked for with so many samples a pixel; nothing where
/// its attempt fails.
std::optional<Bytes> greyOf(const Picture& picture, unsigned samplesPerPixel);

} // namespace Attack
