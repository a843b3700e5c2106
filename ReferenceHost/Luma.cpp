#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Luma.cpp"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>

#include "Luma.h"

#include <cstdint>

HWY_BEFORE_NAMESPACE();
namespace ReferenceHost::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

unsigned char lumaOfPixel(const unsigned char* rgb) {
    return static_cast<unsigned char>((299u * rgb[0] + 587u * rgb[1] + 114u * rgb[2] + 500u) / 1000u);
}

#if HWY_TARGET != HWY_SCALAR

/// The luma of colours whose components are 16-bit lanes of 0 to 255, in 16-bit arithmetic that loses
/// nothing.
///
/// S = 299 R + 587 G + 114 B + 500 needs 18 bits, but S = 4 T + D with T = 75 R + 147 G + 28 B + 125, which
/// fits 16 bits, and D = 2 B - R - G. So S / 4, rounded down, is T + D / 4, rounded down, and S / 1000 is
/// S / 8 / 125, whose numerator stays below 31938. There the multiplication by 33555 / 2^22 divides by 125
/// exactly.
template <class D>
hn::VFromD<D> lumaOfLanes(D u16, hn::VFromD<D> r, hn::VFromD<D> g, hn::VFromD<D> b) {
    const hn::RebindToSigned<D> i16;
    const auto t = hn::Add(hn::Add(hn::Mul(r, hn::Set(u16, 75)), hn::Mul(g, hn::Set(u16, 147))),
                           hn::Add(hn::Mul(b, hn::Set(u16, 28)), hn::Set(u16, 125)));
    const auto d = hn::BitCast(i16, hn::Sub(hn::Add(b, b), hn::Add(r, g)));
    const auto quarter = hn::Add(t, hn::BitCast(u16, hn::ShiftRight<2>(d)));
    return hn::ShiftRight<6>(hn::MulHigh(hn::ShiftRight<1>(quarter), hn::Set(u16, 33555)));
}

/// The luma of as many pixels as fill whole vectors; returns their number.
std::size_t lumaOfWholeVectors(const unsigned char* HWY_RESTRICT rgb, std::size_t pixels,
                               unsigned char* HWY_RESTRICT grey) {
    const hn::ScalableTag<std::uint8_t> u8;
    const hn::RepartitionToWide<decltype(u8)> u16;
    const std::size_t lanes = hn::Lanes(u8);
    const auto even = [u16](auto bytes) { return hn::And(hn::BitCast(u16, bytes), hn::Set(u16, 0xFF)); };
    const auto odd = [u16](auto bytes) { return hn::ShiftRight<8>(hn::BitCast(u16, bytes)); };

    std::size_t done = 0;
    for (; done + lanes <= pixels; done += lanes) {
        hn::VFromD<decltype(u8)> r;
        hn::VFromD<decltype(u8)> g;
        hn::VFromD<decltype(u8)> b;
        hn::LoadInterleaved3(u8, rgb + 3 * done, r, g, b);
        const auto evenLuma = lumaOfLanes(u16, even(r), even(g), even(b));
        const auto oddLuma = lumaOfLanes(u16, odd(r), odd(g), odd(b));
        hn::StoreU(hn::BitCast(u8, hn::Or(evenLuma, hn::ShiftLeft<8>(oddLuma))), u8, grey + done);
    }
    return done;
}

#else

/// If there are no vectors, none is filled.
std::size_t lumaOfWholeVectors(const unsigned char*, std::size_t, unsigned char*) {
    return 0;
}

#endif

void lumaOfPixels(const unsigned char* rgb, std::size_t pixels, unsigned char* grey) {
    for (std::size_t i = lumaOfWholeVectors(rgb, pixels, grey); i < pixels; ++i)
        grey[i] = lumaOfPixel(rgb + 3 * i);
}

} // namespace
} // namespace ReferenceHost::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ReferenceHost {

HWY_EXPORT(lumaOfPixels);

void lumaFromRgb(const unsigned char* rgb, std::size_t pixels, unsigned char* grey) noexcept {
    HWY_DYNAMIC_DISPATCH(lumaOfPixels)(rgb, pixels, grey);
}

} // namespace ReferenceHost
#endif
