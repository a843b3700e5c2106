#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "KorvaSampleKernels.cpp"
#include <hwy/foreach_target.h>

#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include "NativeCameraKorva/KorvaSampleKernels.h"
#include "NativeCameraKorva/KorvaVectorLoops.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

HWY_BEFORE_NAMESPACE();
namespace Korva::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

static_assert(std::endian::native == std::endian::little, "the kernels keep samples in little-endian order");

constexpr std::size_t bytesPerSample = 2;
constexpr std::size_t mostChannels = 4;

// Each kernel hands whole vectors to a function that says how far it came, and does the rest one by one.
#if HWY_TARGET != HWY_SCALAR

using ByteTag = hn::ScalableTag<std::uint8_t>;
using SampleTag = hn::RepartitionToWide<ByteTag>;

template <class D>
hn::VFromD<D> loadSamples(D u16, const unsigned char* samples) {
    const hn::Repartition<std::uint8_t, D> u8;
    return hn::BitCast(u16, hn::LoadU(u8, samples));
}

hn::VFromD<SampleTag> loadSwapped(const unsigned char* samples) {
    const auto swapped = loadSamples(SampleTag(), samples);
    return hn::Or(hn::ShiftLeft<8>(swapped), hn::ShiftRight<8>(swapped));
}

std::size_t interleaveWholeVectors(const unsigned char* const* planes, std::size_t channels,
                                   std::size_t pixels, unsigned char* row) {
    const SampleTag u16;
    const std::size_t lanes = hn::Lanes(u16);
    auto* const out = reinterpret_cast<std::uint16_t*>(row);
    const auto load = [planes](std::size_t channel, std::size_t pixel) {
        return loadSwapped(planes[channel] + bytesPerSample * pixel);
    };
    std::size_t i = 0;
    if (channels == 1) {
        for (; i + lanes <= pixels; i += lanes)
            hn::StoreU(load(0, i), u16, out + i);
    } else if (channels == 3) {
        for (; i + lanes <= pixels; i += lanes)
            hn::StoreInterleaved3(load(0, i), load(1, i), load(2, i), u16, out + 3 * i);
    } else {
        for (; i + lanes <= pixels; i += lanes)
            hn::StoreInterleaved4(load(0, i), load(1, i), load(2, i), load(3, i), u16, out + 4 * i);
    }
    return i;
}

template <class D>
hn::Vec<hn::Rebind<std::uint8_t, D>> reduced(D u16, hn::VFromD<D> samples) {
    static_cast<void>(u16);
    const hn::RebindToSigned<D> i16;
    const hn::Rebind<std::uint8_t, D> u8;
    // Below 1024, so that it saturates as a signed number just so.
    return hn::DemoteTo(u8, hn::BitCast(i16, hn::ShiftRight<6>(samples)));
}

/// Interleaves and reduces whole vectors into `row`, and counts the black pixels.
Progress interleaveReducedVectors(const unsigned char* const* planes, std::size_t channels,
                                  std::size_t pixels, unsigned char* row) {
    const SampleTag u16;
    const hn::Rebind<std::uint8_t, SampleTag> u8;
    const std::size_t lanes = hn::Lanes(u16);
    const auto load = [planes](std::size_t channel, std::size_t pixel) {
        return loadSwapped(planes[channel] + bytesPerSample * pixel);
    };
    Progress progress;
    std::size_t& i = progress.done;
    if (channels == 1) {
        for (; i + lanes <= pixels; i += lanes) {
            const auto grey = load(0, i);
            progress.count += hn::CountTrue(u16, hn::Eq(grey, hn::Zero(u16)));
            hn::StoreU(reduced(u16, grey), u8, row + i);
        }
    } else {
        for (; i + lanes <= pixels; i += lanes) {
            const auto red = load(0, i);
            const auto green = load(1, i);
            const auto blue = load(2, i);
            progress.count += hn::CountTrue(u16, hn::Eq(hn::Or3(red, green, blue), hn::Zero(u16)));
            hn::StoreInterleaved3(reduced(u16, red), reduced(u16, green), reduced(u16, blue), u8,
                                  row + 3 * i);
        }
    }
    return progress;
}

/// Copies past the caches, so that memory which is written need not be read before. Others see the bytes
/// after hwy::FlushStream.
void streamCopy(const unsigned char* from, std::size_t count, unsigned char* to) {
    const ByteTag u8;
    const std::size_t lanes = hn::Lanes(u8);
    const std::size_t misaligned = reinterpret_cast<std::uintptr_t>(to) % lanes;
    std::size_t i = misaligned == 0 ? 0 : std::min(count, lanes - misaligned);
    std::memcpy(to, from, i);
    for (; i + lanes <= count; i += lanes)
        hn::Stream(hn::LoadU(u8, from + i), u8, to + i);
    std::memcpy(to + i, from + i, count - i);
}

Progress reduceGreyVectors(unsigned char* samples, std::size_t pixels) {
    const SampleTag u16;
    const hn::Rebind<std::uint8_t, SampleTag> u8;
    const std::size_t lanes = hn::Lanes(u16);
    Progress progress;
    for (std::size_t& i = progress.done; i + lanes <= pixels; i += lanes) {
        prefetchRound(samples + bytesPerSample * i, bytesPerSample * (pixels - i), bytesPerSample * lanes);
        const auto vector = loadSamples(u16, samples + bytesPerSample * i);
        progress.count += hn::CountTrue(u16, hn::Eq(vector, hn::Zero(u16)));
        hn::StoreU(reduced(u16, vector), u8, samples + i);
    }
    return progress;
}

constexpr std::size_t pixelsOfARound = 32;
constexpr std::size_t samplesOfARound = 3 * pixelsOfARound;

/// A bit for each sample of a round, set where the sample is zero. Behind them is room for what a vector's
/// bits may be stored with: the library asks for eight bytes wherever it stores some.
using ZeroBits = std::array<std::uint8_t, samplesOfARound / 8 + sizeof(std::uint64_t)>;

std::size_t blackPixels(const ZeroBits& zeros) {
    std::uint64_t low = 0;
    std::uint32_t high = 0;
    std::memcpy(&low, zeros.data(), sizeof low);
    std::memcpy(&high, zeros.data() + sizeof low, sizeof high);
    constexpr std::uint64_t firstOfPixelInLow = 0x9249249249249249; // bits 0, 3, ... 63
    constexpr std::uint32_t firstOfPixelInHigh = 0x24924924;        // bits 66, 69, ... 93
    const std::uint64_t next = high;
    const std::uint64_t blackInLow = low & (low >> 1 | next << 63) & (low >> 2 | next << 62);
    const std::uint32_t blackInHigh = high & high >> 1 & high >> 2;
    const int black =
        std::popcount(blackInLow & firstOfPixelInLow) + std::popcount(blackInHigh & firstOfPixelInHigh);
    return static_cast<std::size_t>(black);
}

Progress reduceColourVectors(unsigned char* samples, std::size_t pixels) {
    using Tag = hn::CappedTag<std::uint16_t, pixelsOfARound>;
    const Tag u16;
    const hn::Rebind<std::uint8_t, Tag> u8;
    const std::size_t lanes = hn::Lanes(u16);
    Progress progress;
    for (std::size_t& i = progress.done; i + pixelsOfARound <= pixels; i += pixelsOfARound) {
        prefetchRound(samples + bytesPerSample * 3 * i, bytesPerSample * 3 * (pixels - i),
                      bytesPerSample * samplesOfARound);
        ZeroBits zeros{};
        for (std::size_t at = 0; at < samplesOfARound; at += lanes) {
            const std::size_t index = 3 * i + at;
            const auto vector = loadSamples(u16, samples + bytesPerSample * index);
            hn::StoreMaskBits(u16, hn::Eq(vector, hn::Zero(u16)), zeros.data() + at / 8);
            hn::StoreU(reduced(u16, vector), u8, samples + index);
        }
        progress.count += blackPixels(zeros);
    }
    return progress;
}

#else

std::size_t interleaveWholeVectors(const unsigned char* const*, std::size_t, std::size_t, unsigned char*) {
    return 0;
}

Progress interleaveReducedVectors(const unsigned char* const*, std::size_t, std::size_t, unsigned char*) {
    return {};
}

void streamCopy(const unsigned char* from, std::size_t count, unsigned char* to) {
    std::memcpy(to, from, count);
}

Progress reduceGreyVectors(unsigned char*, std::size_t) {
    return {};
}

Progress reduceColourVectors(unsigned char*, std::size_t) {
    return {};
}

#endif

void interleavePiece(const unsigned char* const* planes, std::size_t channels, std::size_t pixels,
                     unsigned char* piece) {
    for (std::size_t i = interleaveWholeVectors(planes, channels, pixels, piece); i < pixels; ++i) {
        for (std::size_t channel = 0; channel < channels; ++channel) {
            unsigned char* const place = piece + bytesPerSample * (channels * i + channel);
            place[0] = planes[channel][bytesPerSample * i + 1];
            place[1] = planes[channel][bytesPerSample * i];
        }
    }
}

void interleave(const unsigned char* const* planes, std::size_t channels, std::size_t pixels,
                unsigned char* row) {
    constexpr std::size_t pixelsOfAPiece = 512; // at most 4 KiB, which stay in the first cache
    HWY_ALIGN unsigned char piece[bytesPerSample * mostChannels * pixelsOfAPiece];
    for (std::size_t first = 0; first < pixels; first += pixelsOfAPiece) {
        const std::size_t count = std::min(pixels - first, pixelsOfAPiece);
        std::array<const unsigned char*, mostChannels> parts{};
        for (std::size_t channel = 0; channel < channels; ++channel)
            parts[channel] = planes[channel] + bytesPerSample * first;
        interleavePiece(parts.data(), channels, count, piece);
        streamCopy(piece, bytesPerSample * channels * count, row + bytesPerSample * channels * first);
    }
    hwy::FlushStream();
}

std::uint16_t sampleAt(const unsigned char* samples, std::size_t index) {
    std::uint16_t sample = 0;
    std::memcpy(&sample, samples + bytesPerSample * index, sizeof sample);
    return sample;
}

std::size_t reduce(unsigned char* samples, std::size_t pixels, std::size_t samplesPerPixel) {
    const Progress vectors =
        samplesPerPixel == 3 ? reduceColourVectors(samples, pixels) : reduceGreyVectors(samples, pixels);
    std::size_t black = vectors.count;
    for (std::size_t i = vectors.done; i < pixels; ++i) {
        bool isBlack = true;
        for (std::size_t index = i * samplesPerPixel; index < (i + 1) * samplesPerPixel; ++index) {
            const std::uint16_t sample = sampleAt(samples, index);
            isBlack = isBlack && sample == 0;
            samples[index] = static_cast<unsigned char>(std::min(sample >> 6, 255));
        }
        black += isBlack ? 1 : 0;
    }
    return black;
}

std::size_t interleaveReduced(const unsigned char* const* planes, std::size_t channels, std::size_t pixels,
                              unsigned char* row) {
    const Progress vectors = interleaveReducedVectors(planes, channels, pixels, row);
    std::size_t black = vectors.count;
    for (std::size_t i = vectors.done; i < pixels; ++i) {
        bool isBlack = true;
        for (std::size_t channel = 0; channel < channels; ++channel) {
            const unsigned char* const bytes = planes[channel] + bytesPerSample * i;
            const int sample = bytes[0] << 8 | bytes[1];
            isBlack = isBlack && sample == 0;
            row[channels * i + channel] = static_cast<unsigned char>(std::min(sample >> 6, 255));
        }
        black += isBlack ? 1 : 0;
    }
    return black;
}

} // namespace
} // namespace Korva::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Korva {

HWY_EXPORT(interleave);
HWY_EXPORT(interleaveReduced);
HWY_EXPORT(reduce);

void interleaveRow(const unsigned char* const* planes, std::size_t channels, std::size_t pixels,
                   unsigned char* row) noexcept {
    HWY_DYNAMIC_DISPATCH(interleave)(planes, channels, pixels, row);
}

std::size_t interleaveReducedRow(const unsigned char* const* planes, std::size_t channels, std::size_t pixels,
                                 unsigned char* row) noexcept {
    return HWY_DYNAMIC_DISPATCH(interleaveReduced)(planes, channels, pixels, row);
}

std::size_t reduceSamples(unsigned char* samples, std::size_t pixels, std::size_t samplesPerPixel) noexcept {
    return HWY_DYNAMIC_DISPATCH(reduce)(samples, pixels, samplesPerPixel);
}

} // namespace Korva
#endif
