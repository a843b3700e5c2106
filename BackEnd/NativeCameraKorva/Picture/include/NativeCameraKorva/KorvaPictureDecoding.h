#pragma once
// Decodes the picture files that a camera sends (Docs/Protocol.md, "Picture files").

#include "ImagingLibrary/image_t.h"

#include <cstddef>
#include <istream>
#include <optional>
#include <string>

namespace Korva {

/// Decodes a PNG file (ISO/IEC 15948) from a stream that stands at its start. Grey, RGB, palette (as RGB),
/// grey with alpha and RGBA, of 8 bits (1, 2 and 4 are expanded) or 16 bits, little-endian.
///
/// `text` gets the text of the first text chunk that stands before the pixels, whatever its key; it is left
/// alone where there is none.
///
/// An empty image if the file is broken, cut short or too large, if more than 1 MiB stands before the pixels,
/// and if a transparency chunk makes the rows other than the format says. A compressed text that unpacks to
/// more than 1,000,000 bytes is passed over. Never throws. What is wrong with the file libpng says on
/// standard error.
image_t decodePng(std::istream& file, std::string& text);

/// Decodes an uncompressed SGI image file from a stream that stands at its start: 1, 3 or 4 channels.
///
/// Of a 16-bit file the pixels are read, and what a cut-off file does not hold is zero. An 8-bit file gives a
/// picture of its size whose pixels are all zero: they are deliberately not read.
///
/// An empty image where the header is not one that is accepted, cut short, or announces too large a
/// picture. Never throws. A stream over Korva's own memory buffer is read where its bytes lie; any other is
/// read from front to back, without seeking.
image_t decodeSgi(std::istream& file);

/// A picture as a capture takes it out of a file.
struct ReducedPicture {
    image_t picture;
    std::optional<std::size_t> blackPixels; ///< of a picture whose samples are reduced already
};

/// Decodes a PNG file and reduces its samples to 8 bits in one go, row by row, if the file has 16 bits for
/// each of `samplesPerPixel` (1 or 3) channels: as reduceSamples would do it with what decodePng gives, in an
/// image of the same layout that has 8 bits. Any other file (an interlaced one too) gives what decodePng
/// gives, and no number of black pixels. Which files make an empty image is the same; so are the limits,
/// which are those of the picture of 16 bits. Never throws.
ReducedPicture decodeReducedPng(std::istream& file, unsigned int samplesPerPixel);

/// The same of an SGI file. Only what lies in Korva's own memory buffer is reduced in one go.
ReducedPicture decodeReducedSgi(std::istream& file, unsigned int samplesPerPixel);

} // namespace Korva
