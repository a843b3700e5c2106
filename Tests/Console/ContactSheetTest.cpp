#include "Console/ContactSheet.h"

#include "Console/TinyFont.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

using Console::boxFiltered;
using Console::ContactSheet;
using Console::GreySheet;

namespace {

using Pixels = std::vector<unsigned char>;

void expectSheet(const GreySheet& sheet, std::uint32_t width, std::uint32_t height, const Pixels& pixels) {
    EXPECT_EQ(sheet.width, width);
    EXPECT_EQ(sheet.height, height);
    EXPECT_EQ(sheet.pixels, pixels);
}

/// One with so many pictures more.
void add(ContactSheet& sheet, std::size_t pictures) {
    for (std::size_t i = 0; i < pictures; ++i)
        sheet.addSmall({4, 4, Pixels(16, 200)}, {"caption"});
}

} // namespace

TEST(BoxFilter, AveragesEachBoxRoundedAndCountsEveryPixelOnce) {
    expectSheet(boxFiltered(4, 2, Pixels{0, 10, 20, 30, 2, 20, 30, 43}, 2, 2), 2, 1, {8, 31});
    expectSheet(boxFiltered(7, 5, Pixels(7 * 5, 100), 3, 3), 3, 2, Pixels(6, 100));
}

TEST(BoxFilter, NeverEnlargesAndKeepsAtLeastAPixelOfAThinPicture) {
    expectSheet(boxFiltered(2, 1, Pixels{1, 2}, 480, 360), 2, 1, {1, 2});
    expectSheet(boxFiltered(10000, 1, Pixels(10000, 7), 480, 360), 480, 1, Pixels(480, 7));
}

TEST(ContactSheet, StandsThreePicturesSideBySideAndMoreInAGrid) {
    ContactSheet sheet;
    EXPECT_TRUE(sheet.layOut().pixels.empty());
    add(sheet, 3);
    const GreySheet three = sheet.layOut();
    EXPECT_EQ(three.width, 3u * 500 + 20);
    add(sheet, 6);
    const GreySheet nine = sheet.layOut();
    EXPECT_EQ(nine.width, three.width);
    EXPECT_EQ(nine.height, 3 * three.height);
    EXPECT_EQ(std::count(nine.pixels.begin(), nine.pixels.end(), 200), 9 * 16);
}

TEST(ContactSheet, CutsLongCaptionsOff) {
    ContactSheet sheet;
    sheet.addSmall({1, 1, Pixels{0}}, {std::string(10000, 'W'), "second"});
    const GreySheet laidOut = sheet.layOut();
    EXPECT_EQ(laidOut.pixels.size(), std::size_t{laidOut.width} * laidOut.height);
}

TEST(ContactSheet, KeepsOnlySoManyPictures) {
    ContactSheet sheet;
    add(sheet, ContactSheet::mostPictures + 1);
    const Pixels pixels = sheet.layOut().pixels;
    EXPECT_EQ(std::count(pixels.begin(), pixels.end(), 200), 100 * 16);
}

TEST(ContactSheet, SaysInATileWhyAPictureIsMissing) {
    ContactSheet sheet;
    add(sheet, 1);
    sheet.addMissing("no answer on TCP 32769: a firewall?; try: " + std::string(3000, 'x'), {"10.0.0.7"});
    const GreySheet two = sheet.layOut();
    EXPECT_EQ(two.width, 2u * 500 + 20);
    constexpr unsigned char tile = 64;
    constexpr unsigned char ink = 225;
    const auto inTile = [&two](unsigned char value) {
        std::size_t count = 0;
        for (std::uint32_t y = 20; y < 20 + ContactSheet::mostThumbnailHeight; ++y)
            for (std::uint32_t x = 520; x < 1000; ++x)
                count += two.pixels[std::size_t{y} * two.width + x] == value ? 1 : 0;
        return count;
    };
    EXPECT_GT(inTile(ink), 3000u) << "some twenty lines";
    EXPECT_EQ(inTile(ink) + inTile(tile), 480u * 360u) << "nothing but the words";
}

TEST(ContactSheet, EndsACaptionThatIsTooLongWithDotsAndDrawsOneLetterForEachCharacter) {
    const auto captioned = [](const std::string& caption) {
        ContactSheet sheet;
        sheet.addMissing("", {caption});
        return sheet.layOut().pixels;
    };
    EXPECT_EQ(captioned(std::string(41, 'x')), captioned(std::string(38, 'x') + ".."));
    EXPECT_NE(captioned(std::string(40, 'x')), captioned(std::string(38, 'x') + ".."));
    EXPECT_EQ(captioned("B\u00FCro 会"), captioned("B~ro ~"));
}

TEST(TinyFont, LettersAndDigitsDiffer) {
    std::set<std::array<std::uint8_t, Console::glyphHeight>> glyphs;
    const std::string letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789.,:-_/()%?;'\"> ";
    for (const char letter : letters)
        glyphs.insert(Console::glyphOf(letter));
    EXPECT_EQ(glyphs.size(), letters.size());
    EXPECT_EQ(Console::glyphOf('k'), Console::glyphOf('K'));
    EXPECT_EQ(Console::glyphOf('\x1b'), Console::glyphOf('~'));
}
