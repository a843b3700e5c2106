#pragma once
// The picture files that the benchmarks read, of a camera's full size, and room to copy them to. Each is made
// at its first use and kept. One thread.

#include <cstddef>
#include <vector>

namespace Benchmarks {

inline constexpr unsigned int width = 2748;
inline constexpr unsigned int height = 1836;
inline constexpr std::size_t pixels = std::size_t{width} * height;
inline constexpr std::size_t samples = 3 * pixels;
inline constexpr std::size_t sampleBytes = 2 * samples;

using Bytes = std::vector<unsigned char>;

/// An SGI file of three 14-bit channels in 16-bit samples: a gradient with noise.
const Bytes& sgiFile();

/// The same with samples that are all zero.
const Bytes& blackSgiFile();

/// A PNG file of one 14-bit channel in 16-bit samples: a gradient with noise.
const Bytes& pngFile();

/// At least as many bytes as any of them, written before.
unsigned char* room();

/// Copies `count` bytes to where `room` is, so that the compiler cannot leave it out.
void copyToRoom(const unsigned char* bytes, std::size_t count);

} // namespace Benchmarks
