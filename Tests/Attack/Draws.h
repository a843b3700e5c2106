#pragma once
// Texts, messages and picture files, drawn: right ones, and what damage makes of them.

#include "Random.h"

#include "Support/PictureFiles.h"

#include <cstddef>
#include <string>

namespace Attack {

using Soak::Random;
using Support::Bytes;

/// So many bytes, of any value.
Bytes noise(Random& random, std::size_t count);

/// 1 to `most` bytes of any value: blanks, brackets, hyphens, zeros and malformed UTF-8 among them.
std::string anyText(Random& random, std::size_t most = 24);

/// A right, uncompressed SGI file of 16-bit noise.
Bytes sgiOfNoise(Random& random, unsigned width, unsigned height, unsigned channels);

struct PngKind {
    unsigned width = 1;
    unsigned height = 1;
    unsigned depth = 16; ///< bits of a sample
    Support::PngColour colour = Support::PngColour::grey;
    bool isInterlaced = false;
    bool hasMoreChunks = false; ///< transparency where the colour has it, texts, pixels in two chunks
};

/// One that PNG allows, of at most 24 x 24 pixels.
PngKind anyPngKind(Random& random);

/// A right PNG file of noise, its rows with any filter.
Bytes pngOfNoise(Random& random, const PngKind& kind);

/// Flips, replaces, cuts, inserts, leaves out, repeats, or writes a number that is no length. Half of the
/// damage strikes the first `head` bytes.
void damage(Random& random, Bytes& bytes, std::size_t head);

/// damage() to a PNG file, often behind right chunk checksums, so that it is looked at.
void damagePng(Random& random, Bytes& file);

} // namespace Attack
