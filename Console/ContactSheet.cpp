#include "ContactSheet.h"

#include "TinyFont.h"

#include <algorithm>
#include <cmath>
#include <string_view>
#include <utility>

namespace Console {

namespace {

constexpr unsigned char background = 28;
constexpr unsigned char ink = 225;
constexpr unsigned char missing = 64; ///< of a tile without a picture
constexpr std::uint32_t margin = 20;
constexpr std::uint32_t letterScale = 2;
constexpr std::uint32_t letterAdvance = (glyphWidth + 1) * letterScale;
constexpr std::uint32_t lineAdvance = (glyphHeight + 3) * letterScale;
constexpr std::size_t mostLetters = ContactSheet::mostThumbnailWidth / letterAdvance;
constexpr std::size_t mostInOneRow = 4;

std::size_t columnsFor(std::size_t count) {
    if (count <= mostInOneRow)
        return count;
    return static_cast<std::size_t>(std::ceil(std::sqrt(static_cast<double>(count))));
}

void drawPicture(GreySheet& sheet, const GreySheet& picture, std::uint32_t left, std::uint32_t top) {
    for (std::uint32_t y = 0; y < picture.height; ++y)
        std::copy_n(picture.pixels.begin() + static_cast<std::ptrdiff_t>(std::size_t{y} * picture.width),
                    picture.width,
                    sheet.pixels.begin() +
                        static_cast<std::ptrdiff_t>(std::size_t{top + y} * sheet.width + left));
}

void drawLetter(GreySheet& sheet, char letter, std::uint32_t left, std::uint32_t top) {
    const auto& glyph = glyphOf(letter);
    for (std::uint32_t y = 0; y < glyphHeight * letterScale; ++y)
        for (std::uint32_t x = 0; x < glyphWidth * letterScale; ++x)
            if ((glyph[y / letterScale] >> (glyphWidth - 1 - x / letterScale) & 1) != 0)
                sheet.pixels[std::size_t{top + y} * sheet.width + left + x] = ink;
}

/// A letter for each character, which the font need not know.
std::string lettersOf(std::string utf8) {
    std::erase_if(utf8, [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; });
    return utf8;
}

/// What does not fit ends with dots.
void drawLine(GreySheet& sheet, const std::string& utf8, std::uint32_t left, std::uint32_t top) {
    constexpr std::string_view dots = "..";
    std::string text = lettersOf(utf8);
    if (text.size() > mostLetters)
        text.replace(mostLetters - dots.size(), std::string::npos, dots);
    for (const char letter : text) {
        drawLetter(sheet, letter, left, top);
        left += letterAdvance;
    }
}

/// `text` in lines of that many letters, broken at blanks where there are some.
std::vector<std::string> brokenIntoLines(std::string text, std::size_t letters) {
    std::vector<std::string> lines;
    while (text.size() > letters) {
        const std::size_t blank = text.rfind(' ', letters);
        const bool isBroken = blank != std::string::npos && blank > 0;
        lines.push_back(text.substr(0, isBroken ? blank : letters));
        text.erase(0, isBroken ? blank + 1 : letters);
    }
    lines.push_back(std::move(text));
    return lines;
}

/// A grey tile with a text in it.
GreySheet tileSaying(const std::string& text) {
    constexpr std::uint32_t inset = letterAdvance;
    GreySheet tile{ContactSheet::mostThumbnailWidth, ContactSheet::mostThumbnailHeight, {}};
    tile.pixels.assign(std::size_t{tile.width} * tile.height, missing);
    std::uint32_t top = inset;
    for (const std::string& line : brokenIntoLines(lettersOf(text), mostLetters - 2)) {
        if (top + lineAdvance > tile.height)
            break;
        drawLine(tile, line, inset, top);
        top += lineAdvance;
    }
    return tile;
}

} // namespace

GreySheet boxFiltered(std::uint32_t width, std::uint32_t height, std::span<const unsigned char> pixels,
                      std::uint32_t mostWidth, std::uint32_t mostHeight) {
    const double scale =
        std::min({1.0, static_cast<double>(mostWidth) / width, static_cast<double>(mostHeight) / height});
    const auto side = [scale](std::uint32_t full) {
        return std::max(1u, static_cast<std::uint32_t>(std::lround(full * scale)));
    };
    GreySheet small{side(width), side(height), {}};
    small.pixels.reserve(std::size_t{small.width} * small.height);
    // The box of a pixel begins where that of the one before ends.
    const auto edge = [](std::uint32_t index, std::uint32_t full, std::uint32_t parts) {
        return static_cast<std::uint32_t>(std::uint64_t{index} * full / parts);
    };
    for (std::uint32_t y = 0; y < small.height; ++y) {
        const std::uint32_t top = edge(y, height, small.height);
        const std::uint32_t bottom = edge(y + 1, height, small.height);
        for (std::uint32_t x = 0; x < small.width; ++x) {
            const std::uint32_t left = edge(x, width, small.width);
            const std::uint32_t right = edge(x + 1, width, small.width);
            std::uint64_t sum = 0;
            for (std::uint32_t row = top; row < bottom; ++row)
                for (std::uint32_t column = left; column < right; ++column)
                    sum += pixels[std::size_t{row} * width + column];
            const std::uint64_t count = std::uint64_t{bottom - top} * (right - left);
            small.pixels.push_back(static_cast<unsigned char>((sum + count / 2) / count));
        }
    }
    return small;
}

void ContactSheet::addSmall(GreySheet picture, std::vector<std::string> caption) {
    if (thumbnails_.size() < mostPictures)
        thumbnails_.push_back({std::move(picture), std::move(caption)});
}

void ContactSheet::addMissing(const std::string& reason, std::vector<std::string> caption) {
    addSmall(tileSaying(reason), std::move(caption));
}

GreySheet ContactSheet::layOut() const {
    if (thumbnails_.empty())
        return {};
    std::size_t lines = 0;
    std::uint32_t tallest = 0;
    for (const Thumbnail& thumbnail : thumbnails_) {
        lines = std::max(lines, thumbnail.caption.size());
        tallest = std::max(tallest, thumbnail.picture.height);
    }
    const auto columns = static_cast<std::uint32_t>(columnsFor(thumbnails_.size()));
    const auto rows = static_cast<std::uint32_t>((thumbnails_.size() + columns - 1) / columns);
    const std::uint32_t cellWidth = mostThumbnailWidth + margin;
    const std::uint32_t cellHeight = tallest + static_cast<std::uint32_t>(lines) * lineAdvance + 2 * margin;
    GreySheet sheet{columns * cellWidth + margin, rows * cellHeight, {}};
    sheet.pixels.assign(std::size_t{sheet.width} * sheet.height, background);

    std::uint32_t index = 0;
    for (const Thumbnail& thumbnail : thumbnails_) {
        const std::uint32_t left = margin + index % columns * cellWidth;
        std::uint32_t top = margin + index / columns * cellHeight;
        drawPicture(sheet, thumbnail.picture, left, top);
        top += tallest + letterScale * 4;
        for (const std::string& line : thumbnail.caption) {
            drawLine(sheet, line, left, top);
            top += lineAdvance;
        }
        ++index;
    }
    return sheet;
}

} // namespace Console
