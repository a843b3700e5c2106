#pragma once
// Writes pictures as PNG files: 16 bits per sample, grey or red, green, blue.

#include "Camera/Picture.h"
#include "Camera/PictureFile.h"

#include <memory>

namespace Simulator {

/// The whole file. Throws std::runtime_error if libpng refuses the picture (a side of 0 pixels, say).
Bytes writePng(const Picture& picture);

/// The same file row by row, written behind `before`. Throws as writePng.
std::unique_ptr<PictureFile> beginPng(PictureSize size, unsigned channels, Bytes before = {});

/// A file that announces 0 x 0 pixels, which no PNG may, and holds none.
Bytes writeEmptyPng();

} // namespace Simulator
