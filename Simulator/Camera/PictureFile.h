#pragma once
// A picture file in the making, row by row.

#include "Camera/Bytes.h"
#include "Camera/Picture.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace Simulator {

/// Used by one thread.
class PictureFile {
public:
    PictureFile() = default;
    PictureFile(const PictureFile&) = delete;
    PictureFile& operator=(const PictureFile&) = delete;
    virtual ~PictureFile() = default;

    /// Makes a piece of the room that the file needs; true once there is all of it, and rows may be added. To
    /// touch all the memory of a large file at once would take long.
    virtual bool makeRoom() { return true; }

    /// Adds the next row, from the top down: all samples of a row of the size that the file was begun with.
    /// Throws std::runtime_error if the picture cannot be written.
    virtual void addRow(std::span<const std::uint16_t> samples) = 0;

    /// The whole file, behind the bytes that it was begun with. Called once, after the last row. Throws as
    /// addRow.
    virtual Bytes finish() = 0;
};

/// Adds all rows of a picture to a file just begun.
inline void addRows(PictureFile& file, const Picture& picture) {
    while (!file.makeRoom()) {
    }
    const std::size_t samplesPerRow = std::size_t{picture.size.width} * picture.channels;
    for (std::size_t row = 0; row < picture.size.height; ++row)
        file.addRow(std::span(picture.samples).subspan(row * samplesPerRow, samplesPerRow));
}

} // namespace Simulator
