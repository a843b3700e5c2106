#include "Console/ContactSheet.h"

#include "Console/TinyFont.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <set>

using Console::boxFiltered;
using Console::ContactSheet;
using Console::GreySheet;

namespace {

using Pixels = std::vector<unsigned char>;

} // namespace

TEST(BoxFilter, AveragesEachBoxRounded) {
    const Pixels pixels = {0, 10, 20, 30, //
                           2, 20, 30, 41};
    const GreySheet small = boxFiltered(4, 2, pixels, 2, 2);
    EXPECT_EQ(small.width, 2u);
    EXPECT_EQ(small.height, 1u);
    EXPECT_EQ(small.pixels, (Pixels{8, 30}));
}

TEST(BoxFilter, CountsEveryPixelOnceWhereTheSidesDoNotDivide) {
    Pixels pixels(7 * 5, 100);
    const GreySheet small = boxFiltered(7, 5, pixels, 3, 3);
    EXPECT_EQ(small.width, 3u);
    EXPECT_EQ(small.height, 2u);
    EXPECT_EQ(small.pixels, Pixels(6, 100));
}

TEST(BoxFilter, NeverEnlarges) {
    const Pixels pixels = {1, 2};
    EXPECT_EQ(boxFiltered(2, 1, pixels, 480, 360).pixels, pixels);
}

TEST(BoxFilter, KeepsAtLeastAPixelOfAThinPicture) {
    const GreySheet small = boxFiltered(10000, 1, Pixels(10000, 7), 480, 360);
    EXPECT_EQ(small.width, 480u);
    EXPECT_EQ(small.height, 1u);
    EXPECT_EQ(small.pixels, Pixels(480, 7));
}

TEST(ContactSheet, WithoutPicturesIsEmpty) {
    EXPECT_TRUE(ContactSheet().layOut().pixels.empty());
}

TEST(ContactSheet, StandsThreePicturesSideBySideAndMoreInAGrid) {
    ContactSheet sheet;
    for (int i = 0; i < 3; ++i)
        sheet.add(4, 4, Pixels(16, 200), {"caption"});
    const GreySheet three = sheet.layOut();
    EXPECT_EQ(three.width, 3u * 500 + 20);
    for (int i = 3; i < 9; ++i)
        sheet.add(4, 4, Pixels(16, 200), {"caption"});
    const GreySheet nine = sheet.layOut();
    EXPECT_EQ(nine.width, three.width);
    EXPECT_EQ(nine.height, 3 * three.height);
    EXPECT_EQ(std::count(nine.pixels.begin(), nine.pixels.end(), 200), 9 * 16);
}

TEST(ContactSheet, CutsLongCaptionsOff) {
    ContactSheet sheet;
    sheet.add(1, 1, Pixels{0}, {std::string(10000, 'W'), "second"});
    const GreySheet laidOut = sheet.layOut();
    EXPECT_EQ(laidOut.pixels.size(), std::size_t{laidOut.width} * laidOut.height);
}

TEST(ContactSheet, KeepsOnlySoManyPictures) {
    ContactSheet sheet;
    for (std::size_t i = 0; i < ContactSheet::mostPictures; ++i)
        sheet.add(1, 1, Pixels{0}, {});
    const std::uint32_t height = sheet.layOut().height;
    sheet.add(1, 1, Pixels{0}, {});
    EXPECT_EQ(sheet.layOut().height, height);
}

TEST(TinyFont, LettersAndDigitsDiffer) {
    std::set<std::array<std::uint8_t, Console::glyphHeight>> glyphs;
    const std::string letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789.,:-_/() ";
    for (const char letter : letters)
        glyphs.insert(Console::glyphOf(letter));
    EXPECT_EQ(glyphs.size(), letters.size());
    EXPECT_EQ(Console::glyphOf('k'), Console::glyphOf('K'));
    EXPECT_EQ(Console::glyphOf('\x1b'), Console::glyphOf('~'));
}
