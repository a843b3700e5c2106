#pragma once
// Many pictures small on one sheet.

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace Console {

/// An 8-bit grey picture, rows from the top.
struct GreySheet {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::vector<unsigned char> pixels;
};

/// Keeps small copies of pictures, and lays them out.
class ContactSheet {
public:
    /// Pictures beyond these are not kept.
    static constexpr std::size_t mostPictures = 100;
    static constexpr std::uint32_t mostThumbnailWidth = 480;
    static constexpr std::uint32_t mostThumbnailHeight = 360;

    /// Adds a picture that is no larger than a thumbnail, as boxFiltered makes it, and its caption, a line
    /// below it for each of the texts; what does not fit there ends with dots.
    void addSmall(GreySheet picture, std::vector<std::string> caption);

    /// Adds a tile for a picture that is missing: `reason` stands in it, in as many lines as it takes.
    void addMissing(const std::string& reason, std::vector<std::string> caption);

    /// All of them, up to four side by side, more in a grid about as wide as it is high. Without pictures, an
    /// empty sheet.
    GreySheet layOut() const;

private:
    struct Thumbnail {
        GreySheet picture;
        std::vector<std::string> caption;
    };

    std::vector<Thumbnail> thumbnails_;
};

/// `picture` of width x height pixels in an integer box filter: no larger than mostWidth x mostHeight,
/// proportions kept, never enlarged.
GreySheet boxFiltered(std::uint32_t width, std::uint32_t height, std::span<const unsigned char> pixels,
                      std::uint32_t mostWidth, std::uint32_t mostHeight);

} // namespace Console
