#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "KorvaByteSum.cpp"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>

#include "NativeCameraKorva/KorvaByteSum.h"
#include "NativeCameraKorva/KorvaVectorLoops.h"

HWY_BEFORE_NAMESPACE();
namespace Korva::HWY_NAMESPACE {
namespace {

// Whole vectors first, the rest byte by byte.
#if HWY_TARGET != HWY_SCALAR

namespace hn = hwy::HWY_NAMESPACE;

Progress sumOfWholeVectors(const unsigned char* bytes, std::size_t count) {
    const hn::ScalableTag<std::uint8_t> u8;
    const hn::Repartition<std::uint64_t, decltype(u8)> u64;
    const std::size_t lanes = hn::Lanes(u8);
    auto sum0 = hn::Zero(u64);
    auto sum1 = hn::Zero(u64);
    auto sum2 = hn::Zero(u64);
    auto sum3 = hn::Zero(u64);
    Progress progress;
    for (std::size_t& i = progress.done; i + 4 * lanes <= count; i += 4 * lanes) {
        prefetchRound(bytes + i, count - i, 4 * lanes);
        sum0 = hn::Add(sum0, hn::SumsOf8(hn::LoadU(u8, bytes + i)));
        sum1 = hn::Add(sum1, hn::SumsOf8(hn::LoadU(u8, bytes + i + lanes)));
        sum2 = hn::Add(sum2, hn::SumsOf8(hn::LoadU(u8, bytes + i + 2 * lanes)));
        sum3 = hn::Add(sum3, hn::SumsOf8(hn::LoadU(u8, bytes + i + 3 * lanes)));
    }
    const auto sum = hn::Add(hn::Add(sum0, sum1), hn::Add(sum2, sum3));
    progress.count = static_cast<std::size_t>(hn::GetLane(hn::SumOfLanes(u64, sum)));
    return progress;
}

#else

Progress sumOfWholeVectors(const unsigned char*, std::size_t) {
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

} // namespace
} // namespace Korva::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Korva {

HWY_EXPORT(sum);

std::uint16_t sumOfBytes(const unsigned char* bytes, std::size_t count) noexcept {
    return HWY_DYNAMIC_DISPATCH(sum)(bytes, count);
}

} // namespace Korva
#endif
