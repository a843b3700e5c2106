#include "NativeCameraKorva/KorvaSampleKernels.h"
#include "NativeCameraKorva/KorvaByteSum.h"

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <numeric>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr std::size_t mostPixels = 200;
constexpr unsigned char untouched = 0xA5;

using Bytes = std::vector<unsigned char>;

/// Every instruction set that this processor has and the library was compiled for.
class SampleKernels : public testing::TestWithParam<std::int64_t> {
protected:
    void SetUp() override { hwy::SetSupportedTargetsForTest(GetParam()); }
    void TearDown() override { hwy::SetSupportedTargetsForTest(0); }

    Bytes noise(std::size_t count) {
        Bytes bytes(count);
        std::generate(bytes.begin(), bytes.end(), [this] { return static_cast<unsigned char>(random_()); });
        return bytes;
    }

private:
    std::mt19937 random_{20}; // the same bytes in every run
};

/// The bytes, `offset` bytes behind the beginning of memory that ends with them.
Bytes placed(const Bytes& bytes, std::size_t offset) {
    Bytes memory(offset, untouched);
    memory.insert(memory.end(), bytes.begin(), bytes.end());
    return memory;
}

Bytes bytesOf(const std::vector<std::uint16_t>& samples) {
    Bytes bytes(2 * samples.size());
    if (!samples.empty())
        std::memcpy(bytes.data(), samples.data(), bytes.size());
    return bytes;
}

/// The samples are reduced in place as a plain loop does it, and so many pixels are found black.
void expectReduced(const std::vector<std::uint16_t>& samples, std::size_t samplesPerPixel,
                   std::size_t offset = 0) {
    Bytes expected;
    for (const std::uint16_t sample : samples)
        expected.push_back(static_cast<unsigned char>(std::min(sample / 64, 255)));
    const std::size_t pixels = samples.size() / samplesPerPixel;
    std::size_t black = 0;
    for (std::size_t pixel = 0; pixel < pixels; ++pixel) {
        const std::uint16_t* const sample = samples.data() + pixel * samplesPerPixel;
        black +=
            std::all_of(sample, sample + samplesPerPixel, [](std::uint16_t value) { return value == 0; });
    }
    Bytes memory = placed(bytesOf(samples), offset);
    unsigned char* const first = memory.data() + offset;
    ASSERT_EQ(Korva::reduceSamples(first, pixels, samplesPerPixel), black) << pixels << ' ' << offset;
    ASSERT_EQ(Bytes(first, first + samples.size()), expected) << pixels << ' ' << offset;
}

/// Every length to 200, and those around the pieces that a long row is done in.
std::vector<std::size_t> interleavedLengths() {
    std::vector<std::size_t> lengths(mostPixels + 1);
    std::iota(lengths.begin(), lengths.end(), std::size_t{0});
    lengths.insert(lengths.end(), {511, 512, 513, 1023, 1024, 1025, 2748});
    return lengths;
}

TEST_P(SampleKernels, SumBytesOfEveryLengthAtEveryAddressModulo65536) {
    for (std::size_t count = 0; count <= 600; ++count) {
        const Bytes bytes = noise(count);
        std::uint32_t expected = 0;
        for (const unsigned char byte : bytes)
            expected += byte;
        for (const std::size_t offset : {0u, 1u, 2u, 3u, 17u})
            ASSERT_EQ(Korva::sumOfBytes(placed(bytes, offset).data() + offset, count), expected & 0xFFFF)
                << count;
    }
    const Bytes bytes(3'000'001, 0xFF);
    EXPECT_EQ(Korva::sumOfBytes(bytes.data(), bytes.size()), (bytes.size() * 255) % 65536);
    EXPECT_EQ(Korva::sumOfBytes(nullptr, 0), 0) << "read nothing";
}

TEST_P(SampleKernels, InterleaveBigEndianPlanesOfEveryLengthAtOddAddresses) {
    for (const std::size_t channels : {1u, 3u, 4u}) {
        for (const std::size_t pixels : interleavedLengths()) {
            std::vector<Bytes> planes;
            std::vector<const unsigned char*> addresses;
            Bytes expected(2 * channels * pixels);
            for (std::size_t channel = 0; channel < channels; ++channel) {
                const Bytes plane = noise(2 * pixels);
                for (std::size_t i = 0; i < pixels; ++i) {
                    expected[2 * (channels * i + channel)] = plane[2 * i + 1];
                    expected[2 * (channels * i + channel) + 1] = plane[2 * i];
                }
                planes.push_back(placed(plane, 1 + channel));
                addresses.push_back(planes.back().data() + 1 + channel);
            }
            for (const std::size_t offset : {0u, 1u, 2u, 6u, 63u}) {
                Bytes memory(offset + expected.size() + 1, untouched);
                Korva::interleaveRow(addresses.data(), channels, pixels, memory.data() + offset);
                Bytes framed = placed(expected, offset);
                framed.push_back(untouched);
                ASSERT_EQ(memory, framed) << channels << ' ' << pixels << ' ' << offset;
            }
        }
    }
}

TEST_P(SampleKernels, InterleaveAndReduceInOneGoAsOneAfterTheOther) {
    for (const std::size_t channels : {1u, 3u}) {
        for (const std::size_t pixels : interleavedLengths()) {
            std::vector<Bytes> planes;
            std::vector<const unsigned char*> addresses;
            for (std::size_t channel = 0; channel < channels; ++channel) {
                Bytes plane = noise(2 * pixels);
                for (std::size_t i = 0; i < pixels; ++i)
                    if (i % 5 < 2 || i % 7 == channel) // black, and black in one of them
                        plane[2 * i] = plane[2 * i + 1] = 0;
                planes.push_back(placed(plane, 1 + channel));
                addresses.push_back(planes.back().data() + 1 + channel);
            }
            Bytes expected(2 * channels * pixels);
            Korva::interleaveRow(addresses.data(), channels, pixels, expected.data());
            const std::size_t black = Korva::reduceSamples(expected.data(), pixels, channels);
            expected.resize(channels * pixels);
            for (const std::size_t offset : {0u, 1u, 63u}) {
                Bytes memory(offset + expected.size() + 1, untouched);
                ASSERT_EQ(
                    Korva::interleaveReducedRow(addresses.data(), channels, pixels, memory.data() + offset),
                    black)
                    << channels << ' ' << pixels;
                Bytes framed = placed(expected, offset);
                framed.push_back(untouched);
                ASSERT_EQ(memory, framed) << channels << ' ' << pixels << ' ' << offset;
            }
        }
    }
}

TEST_P(SampleKernels, InterleaveAndReduceEverySampleValueInOneGo) {
    Bytes plane(2 * 65536);
    Bytes expected(3 * 65536);
    for (std::size_t value = 0; value < 65536; ++value) {
        plane[2 * value] = static_cast<unsigned char>(value >> 8);
        plane[2 * value + 1] = static_cast<unsigned char>(value);
        std::fill_n(expected.begin() + static_cast<std::ptrdiff_t>(3 * value), 3,
                    static_cast<unsigned char>(std::min<std::size_t>(value / 64, 255)));
    }
    const std::vector<const unsigned char*> planes(3, plane.data());
    Bytes row(expected.size());
    EXPECT_EQ(Korva::interleaveReducedRow(planes.data(), 3, 65536, row.data()), 1u);
    EXPECT_EQ(row, expected);
}

TEST_P(SampleKernels, ReduceEverySampleValue) {
    std::vector<std::uint16_t> samples(65536);
    std::iota(samples.begin(), samples.end(), std::uint16_t{0});
    expectReduced(samples, 1);
    samples.insert(samples.end(), {1, 2}); // 65538 = 3 x 21846
    expectReduced(samples, 3);
    // Rounded down and saturated.
    Bytes edges = bytesOf({0, 63, 64, 127, 128, 16319, 16320, 16383, 16384, 65535});
    Korva::reduceSamples(edges.data(), 10, 1);
    edges.resize(10);
    EXPECT_EQ(edges, (Bytes{0, 0, 1, 1, 2, 254, 255, 255, 255, 255}));
}

TEST_P(SampleKernels, ReduceInPlaceAndCountBlackPixelsAtEveryLengthAndAddress) {
    for (const std::size_t samplesPerPixel : {1u, 3u}) {
        for (std::size_t pixels = 0; pixels <= mostPixels; ++pixels) {
            std::vector<std::uint16_t> black(pixels * samplesPerPixel);
            std::vector<std::uint16_t> any = black;
            std::vector<std::uint16_t> dark = black; // zeros, and values that the reduction turns into zeros
            const Bytes bytes = noise(2 * any.size());
            for (std::size_t i = 0; i < any.size(); ++i) {
                any[i] = static_cast<std::uint16_t>(256 * bytes[2 * i] + bytes[2 * i + 1]);
                dark[i] = bytes[i] < 64 ? bytes[i] : 0;
            }
            for (const auto& samples : {black, any, dark})
                for (const std::size_t offset : {0u, 1u, 2u})
                    expectReduced(samples, samplesPerPixel, offset);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(EveryTarget, SampleKernels, testing::ValuesIn(hwy::SupportedAndGeneratedTargets()),
                         [](const auto& target) { return std::string(hwy::TargetName(target.param)); });

} // namespace
