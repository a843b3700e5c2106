#pragma once
// Writes pictures as PNG files: 16 bits per sample, grey or red, green, blue.

#include "Camera/Bytes.h"
#include "Camera/Picture.h"

namespace Simulator {

/// The whole file. Throws std::runtime_error if libpng refuses the picture (a side of 0 pixels, say).
Bytes writePng(const Picture& picture);

/// A file that announces 0 x 0 pixels, which no PNG may, and holds none.
Bytes writeEmptyPng();

} // namespace Simulator
