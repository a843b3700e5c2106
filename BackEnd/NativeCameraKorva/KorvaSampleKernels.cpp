#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "NativeCameraKorva/KorvaSampleKernels.cpp"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>

#include "NativeCameraKorva/KorvaSampleKernels.h"

#include <array>
#include <bit>
#include <cstring>

HWY_BEFORE_NAMESPACE();
namespace Korva::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

static_assert(std::endian::native == std::endian::little, "the kernels keep samples in little-endian order");

constexpr std::size_t bytesPerSample = 2;

std::uint16_t sampleAt(const unsigned char* samples, std::size_t index) {
    std::uint16_t sample = 0;
    std::memcpy(&sample, samples + bytesPerSample * index, sizeof sample);
    return sample;
}

unsigned char reduced(std::uint16_t sample) {
    return sample >= 16384 ? 255 : static_cast<unsigned char>(sample >> 6);
}

/// How many bytes or pixels a kernel's vectors did, and what they counted in them.
struct Progress {
    std::size_t done = 0;
    std::size_t count = 0;
};

// Each kernel hands whole vectors to a function that says how far it came, and does the rest sample by
// sample.
#if HWY_TARGET != HWY_SCALAR

using Bytes = hn::ScalableTag<std::uint8_t>;
using Samples = hn::RepartitionToWide<Bytes>;

auto loadSamples(const unsigned char* samples, std::size_t index) {
    return hn::BitCast(Samples(), hn::LoadU(Bytes(), samples + bytesPerSample * index));
}

Progress sumOfWholeVectors(const unsigned char* bytes, std::size_t count) {
    const Bytes u8;
    const hn::Repartition<std::uint64_t, Bytes> u64;
    const std::size_t lanes = hn::Lanes(u8);
    auto sum0 = hn::Zero(u64);
    auto sum1 = hn::Zero(u64);
    auto sum2 = hn::Zero(u64);
    auto sum3 = hn::Zero(u64);
    std::size_t done = 0;
    for (; done + 4 * lanes <= count; done += 4 * lanes) {
        sum0 = hn::Add(sum0, hn::SumsOf8(hn::LoadU(u8, bytes + done)));
        sum1 = hn::Add(sum1, hn::SumsOf8(hn::LoadU(u8, bytes + done + lanes)));
        sum2 = hn::Add(sum2, hn::SumsOf8(hn::LoadU(u8, bytes + done + 2 * lanes)));
        sum3 = hn::Add(sum3, hn::SumsOf8(hn::LoadU(u8, bytes + done + 3 * lanes)));
    }
    const auto sum = hn::Add(hn::Add(sum0, sum1), hn::Add(sum2, sum3));
    return {done, static_cast<std::size_t>(hn::GetLane(hn::SumOfLanes(u64, sum)))};
}

auto loadSwapped(const unsigned char* samples, std::size_t index) {
    const auto swapped = loadSamples(samples, index);
    return hn::Or(hn::ShiftLeft<8>(swapped), hn::ShiftRight<8>(swapped));
}

std::size_t interleaveWholeVectors(const unsigned char* const* planes, std::size_t channels,
                                   std::size_t pixels, unsigned char* row) {
    const Samples u16;
    const std::size_t lanes = hn::Lanes(u16);
    auto* const out = reinterpret_cast<std::uint16_t*>(row);
    std::size_t i = 0;
    if (channels == 1) {
        for (; i + lanes <= pixels; i += lanes)
            hn::StoreU(loadSwapped(planes[0], i), u16, out + i);
    } else if (channels == 3) {
        for (; i + lanes <= pixels; i += lanes)
            hn::StoreInterleaved3(loadSwapped(planes[0], i), loadSwapped(planes[1], i),
                                  loadSwapped(planes[2], i), u16, out + 3 * i);
    } else if (channels == 4) {
        for (; i + lanes <= pixels; i += lanes)
            hn::StoreInterleaved4(loadSwapped(planes[0], i), loadSwapped(planes[1], i),
                                  loadSwapped(planes[2], i), loadSwapped(planes[3], i), u16, out + 4 * i);
    }
    return i;
}

/// Reduces two vectors of samples, read at `index` before its bytes are written.
void reduceTwoVectors(unsigned char* samples, std::size_t index) {
    const Bytes u8;
    const Samples u16;
    const auto most = hn::Set(u16, 255);
    const auto low = hn::Min(hn::ShiftRight<6>(loadSamples(samples, index)), most);
    const auto high = hn::Min(hn::ShiftRight<6>(loadSamples(samples, index + hn::Lanes(u16))), most);
    hn::StoreU(hn::ConcatEven(u8, hn::BitCast(u8, high), hn::BitCast(u8, low)), u8, samples + index);
}

Progress reduceGreyVectors(unsigned char* samples, std::size_t pixels) {
    const Samples u16;
    const std::size_t lanes = hn::Lanes(u16);
    const auto zero = hn::Zero(u16);
    Progress progress;
    for (std::size_t& i = progress.done; i + 2 * lanes <= pixels; i += 2 * lanes) {
        progress.count += hn::CountTrue(u16, hn::Eq(loadSamples(samples, i), zero)) +
                          hn::CountTrue(u16, hn::Eq(loadSamples(samples, i + lanes), zero));
        reduceTwoVectors(samples, i);
    }
    return progress;
}

/// The pixels that begin in the vector at `index` and are black. `others` is zero in the lanes where one
/// begins.
template <class V>
std::size_t blackPixels(const unsigned char* samples, std::size_t index, V others) {
    const Samples u16;
    const auto pixel = hn::Or(hn::Or(loadSamples(samples, index), others),
                              hn::Or(loadSamples(samples, index + 1), loadSamples(samples, index + 2)));
    return hn::CountTrue(u16, hn::Eq(pixel, hn::Zero(u16)));
}

Progress reduceColourVectors(unsigned char* samples, std::size_t pixels) {
    const Samples u16;
    const std::size_t lanes = hn::Lanes(u16);
    // Zero wherever a pixel begins, read from the three places in a pixel where a vector can begin.
    std::array<std::uint16_t, HWY_MAX_BYTES / bytesPerSample + 3> pattern{};
    for (std::size_t i = 0; i < pattern.size(); ++i)
        pattern[i] = i % 3 == 0 ? 0 : 1;
    const auto others0 = hn::LoadU(u16, pattern.data());
    const auto others1 = hn::LoadU(u16, pattern.data() + lanes % 3);
    const auto others2 = hn::LoadU(u16, pattern.data() + 2 * lanes % 3);

    Progress progress;
    // The last vector of a round looks two samples, so less than a pixel, ahead.
    for (std::size_t& i = progress.done; i + 2 * lanes + 1 <= pixels; i += 2 * lanes) {
        const std::size_t index = 3 * i;
        progress.count += blackPixels(samples, index, others0) +
                          blackPixels(samples, index + lanes, others1) +
                          blackPixels(samples, index + 2 * lanes, others2) +
                          blackPixels(samples, index + 3 * lanes, others0) +
                          blackPixels(samples, index + 4 * lanes, others1) +
                          blackPixels(samples, index + 5 * lanes, others2);
        reduceTwoVectors(samples, index);
        reduceTwoVectors(samples, index + 2 * lanes);
        reduceTwoVectors(samples, index + 4 * lanes);
    }
    return progress;
}

#else

Progress sumOfWholeVectors(const unsigned char*, std::size_t) {
    return {};
}

std::size_t interleaveWholeVectors(const unsigned char* const*, std::size_t, std::size_t, unsigned char*) {
    return 0;
}

Progress reduceGreyVectors(unsigned char*, std::size_t) {
    return {};
}

Progress reduceColourVectors(unsigned char*, std::size_t) {
    return {};
}

#endif

std::uint16_t sum(const unsigned char* bytes, std::size_t count) {
    const Progress vectors = sumOfWholeVectors(bytes, count);
    std::size_t total = vectors.count;
    for (std::size_t i = vectors.done; i < count; ++i)
        total += bytes[i];
    return static_cast<std::uint16_t>(total);
}

void interleave(const unsigned char* const* planes, std::size_t channels, std::size_t pixels,
                unsigned char* row) {
    for (std::size_t i = interleaveWholeVectors(planes, channels, pixels, row); i < pixels; ++i) {
        for (std::size_t channel = 0; channel < channels; ++channel) {
            row[bytesPerSample * (channels * i + channel)] = planes[channel][bytesPerSample * i + 1];
            row[bytesPerSample * (channels * i + channel) + 1] = planes[channel][bytesPerSample * i];
        }
    }
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
            samples[index] = reduced(sample);
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

HWY_EXPORT(sum);
HWY_EXPORT(interleave);
HWY_EXPORT(reduce);

std::uint16_t sumOfBytes(const unsigned char* bytes, std::size_t count) noexcept {
    return HWY_DYNAMIC_DISPATCH(sum)(bytes, count);
}

void interleaveRow(const unsigned char* const* planes, std::size_t channels, std::size_t pixels,
                   unsigned char* row) noexcept {
    HWY_DYNAMIC_DISPATCH(interleave)(planes, channels, pixels, row);
}

std::size_t reduceSamples(unsigned char* samples, std::size_t pixels, std::size_t samplesPerPixel) noexcept {
    return HWY_DYNAMIC_DISPATCH(reduce)(samples, pixels, samplesPerPixel);
}

} // namespace Korva
#endif
