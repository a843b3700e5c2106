#pragma once
// Makes the chunks of a fuzzer's PNG file such that libpng looks inside them.

#include "FuzzInput.h"

#include <zlib.h>

#include <cstddef>
#include <cstdint>

namespace Fuzz {

inline constexpr std::size_t pngSignatureLength = 8;
inline constexpr std::size_t pngChunkFrame = 12; // length, type and checksum

inline std::size_t lengthAt(const Bytes& file, std::size_t at) {
    return std::size_t{file[at]} << 24 | std::size_t{file[at + 1]} << 16 | std::size_t{file[at + 2]} << 8 |
           std::size_t{file[at + 3]};
}

/// Where the first chunk starts that the file does not hold whole. Calls `visit` for each one before it.
template <class Visit>
std::size_t visitChunks(Bytes& file, Visit visit) {
    std::size_t at = pngSignatureLength;
    while (at + pngChunkFrame <= file.size() && lengthAt(file, at) <= file.size() - at - pngChunkFrame) {
        const std::size_t length = lengthAt(file, at);
        visit(at, length);
        at += pngChunkFrame + length;
    }
    return at;
}

/// Where the chunk starts that the file does not hold whole.
inline std::size_t cutChunkOf(Bytes& file) {
    return visitChunks(file, [](std::size_t, std::size_t) {});
}

/// A cut chunk announces less than 64 KiB: a run shall not be spent on the checksum of a gigabyte of nothing.
inline void shortenCutChunk(Bytes& file) {
    std::size_t shortened = 0;
    // One that the file now holds has another one behind it.
    for (std::size_t cut = cutChunkOf(file); cut != shortened && cut + 2 <= file.size();
         cut = cutChunkOf(file)) {
        file[cut] = file[cut + 1] = 0;
        shortened = cut;
    }
}

inline void writeRightChecksums(Bytes& file) {
    visitChunks(file, [&file](std::size_t at, std::size_t length) {
        const auto checksum = crc32(0, &file[at + 4], static_cast<uInt>(length + 4));
        for (std::size_t i = 0; i < 4; ++i)
            file[at + 8 + length + i] = static_cast<std::uint8_t>(checksum >> (24 - 8 * i));
    });
}

} // namespace Fuzz
