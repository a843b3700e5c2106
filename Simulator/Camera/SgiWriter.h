#pragma once
// Writes pictures as SGI image files: verbatim, two bytes per sample.

#include "Camera/Picture.h"
#include "Camera/PictureFile.h"

#include <memory>

#include <cstddef>

namespace Simulator {

inline constexpr std::size_t sgiHeaderBytes = 512;

/// The whole file: a big-endian header, then one plane per channel, rows from the bottom up, high byte first.
/// A side of the picture is at most 65535 pixels.
Bytes writeSgi(const Picture& picture);

/// The same file row by row, written behind `before`.
std::unique_ptr<PictureFile> beginSgi(PictureSize size, unsigned channels, Bytes before = {});

} // namespace Simulator
