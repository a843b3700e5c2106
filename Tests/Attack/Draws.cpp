#include "Draws.h"

#include "Camera/Bytes.h"
#include "PngChunks.h"
#include "Support/PictureFiles.h"

#include <algorithm>
#include <array>

using Support::PngColour;
using Support::operator+;

namespace Attack {

namespace {

unsigned channelsOf(PngColour colour) {
    static constexpr unsigned channels[] = {1, 0, 3, 1, 2, 0, 4};
    return channels[static_cast<std::size_t>(colour)];
}

Bytes big32(std::uint32_t number) {
    Bytes bytes;
    Simulator::append32(bytes, number);
    return bytes;
}

/// The rows of one pass, each behind its filter byte.
void appendPass(Random& random, unsigned width, unsigned height, unsigned bitsOfAPixel, Bytes& rows) {
    for (unsigned row = 0; width != 0 && row < height; ++row) {
        rows.push_back(static_cast<unsigned char>(random.below(5)));
        rows = std::move(rows) + noise(random, (std::size_t{width} * bitsOfAPixel + 7) / 8);
    }
}

Bytes rowsOf(Random& random, const PngKind& kind) {
    struct Pass {
        unsigned left, top, across, down;
    };
    static constexpr std::array<Pass, 7> passes{
        {{0, 0, 8, 8}, {4, 0, 8, 8}, {0, 4, 4, 8}, {2, 0, 4, 4}, {0, 2, 2, 4}, {1, 0, 2, 2}, {0, 1, 1, 2}}};
    const unsigned bits = kind.depth * channelsOf(kind.colour);
    Bytes rows;
    if (!kind.isInterlaced)
        appendPass(random, kind.width, kind.height, bits, rows);
    else
        for (const auto& [left, top, across, down] : passes)
            appendPass(random, (kind.width + across - 1 - left) / across,
                       (kind.height + down - 1 - top) / down, bits, rows);
    return rows;
}

Bytes transparency(Random& random, const PngKind& kind) {
    if (kind.colour == PngColour::palette)
        return Support::pngChunk("tRNS", noise(random, 1));
    if (kind.colour == PngColour::grey || kind.colour == PngColour::rgb)
        return Support::pngChunk("tRNS", noise(random, 2 * channelsOf(kind.colour)));
    return {};
}

} // namespace

Bytes noise(Random& random, std::size_t count) {
    Bytes bytes(count);
    std::ranges::generate(bytes, [&random] { return static_cast<unsigned char>(random.bits() >> 32); });
    return bytes;
}

std::string anyText(Random& random, std::size_t most) {
    const Bytes bytes = noise(random, 1 + random.below(most));
    return {bytes.begin(), bytes.end()};
}

Bytes sgiOfNoise(Random& random, unsigned width, unsigned height, unsigned channels) {
    const auto narrow = [](unsigned number) { return static_cast<std::uint16_t>(number); };
    return TestSupport::sgiHeader(narrow(width), narrow(height), narrow(channels), 2) +
           noise(random, std::size_t{2} * width * height * channels);
}

PngKind anyPngKind(Random& random) {
    static constexpr PngColour colours[] = {PngColour::grey, PngColour::rgb, PngColour::palette,
                                            PngColour::greyAlpha, PngColour::rgba};
    const auto side = [&random] { return 1 + static_cast<unsigned>(random.below(24)); };
    PngKind kind{side(), side(), 8U << random.below(2), random.of(colours), random.oneIn(3), random.oneIn(4)};
    if (kind.colour == PngColour::palette)
        kind.depth = 1U << random.below(4);
    else if (kind.colour == PngColour::grey)
        kind.depth = 1U << random.below(5);
    return kind;
}

Bytes pngOfNoise(Random& random, const PngKind& kind) {
    const Bytes packed = Support::packed(rowsOf(random, kind));
    const auto middle = packed.begin() + static_cast<std::ptrdiff_t>(random.below(packed.size()));
    Bytes file = Support::pngSignature() +
                 Support::pngChunk("IHDR", big32(kind.width) + big32(kind.height) +
                                               Bytes{static_cast<unsigned char>(kind.depth),
                                                     static_cast<unsigned char>(kind.colour), 0, 0,
                                                     static_cast<unsigned char>(kind.isInterlaced)});
    if (kind.colour == PngColour::palette)
        file = std::move(file) + Support::pngChunk("PLTE", noise(random, std::size_t{3} << kind.depth));
    if (!kind.hasMoreChunks)
        return std::move(file) + Support::pngChunk("IDAT", packed) + Support::pngEnd();
    if (random.oneIn(2))
        file = std::move(file) + transparency(random, kind);
    return std::move(file) + Support::pngChunk("tEXt", "Title") +
           Support::pngChunk("IDAT", Bytes(packed.begin(), middle)) +
           Support::pngChunk("IDAT", Bytes(middle, packed.end())) + Support::pngEnd();
}

void damage(Random& random, Bytes& bytes, std::size_t head) {
    static constexpr std::uint32_t numbers[] = {0,   1,     4,        5,          7,         8,
                                                255, 65536, 0xFFFFFF, 0x7FFFFFFF, 0xFFFFFFFF};
    if (bytes.empty())
        bytes.push_back(0);
    const std::size_t at = random.below(random.oneIn(2) ? std::min(head, bytes.size()) : bytes.size());
    const std::size_t count = std::min(1 + random.below(8), bytes.size() - at);
    const auto from = bytes.begin() + static_cast<std::ptrdiff_t>(at);
    const auto until = from + static_cast<std::ptrdiff_t>(count);
    const Bytes some = noise(random, count);
    switch (random.below(8)) {
    case 0:
        *from ^= static_cast<unsigned char>(1U << random.below(8));
        break;
    case 1:
        std::ranges::copy(some, from);
        break;
    case 2:
        bytes.resize(at);
        break;
    case 3:
        bytes.insert(from, some.begin(), some.end());
        break;
    case 4:
        bytes.erase(from, until);
        break;
    case 5:
        bytes = bytes + bytes;
        break;
    case 6:
        bytes = bytes + some;
        break;
    default: {
        const Bytes number = big32(random.of(numbers));
        std::copy_n(number.end() - static_cast<std::ptrdiff_t>(std::min<std::size_t>(count, 4)),
                    std::min<std::size_t>(count, 4), from);
    }
    }
}

void damagePng(Random& random, Bytes& file) {
    damage(random, file, 41); // the signature, the header's chunk, and what the next one announces
    if (random.oneIn(2))
        Fuzz::writeRightChecksums(file);
}

} // namespace Attack
