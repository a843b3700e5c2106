#pragma once
// The protocol's rules for any bytes at all, read from Docs/Protocol.md: for the cells whose bytes are too
// many to be written into the table.

#include "FaultMatrixIdentity.h"
#include "FaultMatrixRules.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace FaultMatrix {

/// What follows the bytes.
enum class Ending { silence, closed };

/// What becomes of one message.
struct Received {
    Reading reading;
    Bytes file = {};        ///< the value of an accepted picture
    std::size_t unread = 0; ///< bytes that are left behind it
};

Received received(const Bytes& bytes, Ending ending, bool wantsPicture);

/// What becomes of a text reply that comes in one piece.
ReplyReading receivedReply(const std::string& text, Ending ending);

/// An uncompressed SGI file of 16-bit samples, decoded; 0 x 0 where it is not accepted.
struct SgiPicture {
    unsigned int width = 0;
    unsigned int height = 0;
    unsigned int channels = 0;
    std::vector<unsigned int> samples; ///< rows from the top, channels of a pixel adjacent

    std::size_t pixels() const { return std::size_t{width} * height; }
};
SgiPicture decodedSgi(const Bytes& file);

/// The size of a PNG file's picture whose pixels stand in one chunk, right behind the header; 0 x 0 where the
/// signature, one of the two chunks or a checksum is not right. What stands behind them counts for nothing.
Size sizeOfPng(const Bytes& file);

/// The first `count` pixels in grey, as the host gets them of three channels or more.
Bytes greyOf(const SgiPicture& picture, std::size_t count);

/// The lines of an attempt whose picture cannot be used; none where it can.
Lines linesAgainst(const SgiPicture& picture);

} // namespace FaultMatrix
