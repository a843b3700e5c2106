#include "Console/Printable.h"

#include <gtest/gtest.h>

#include <string>

using Console::printable;
using Console::printableXml;

TEST(Printable, LeavesOrdinaryTextAlone) {
    for (const char* text : {"", "Korva returned an error code: 5 ~", "caf\u00E9 \u20AC \U0001F4F7"})
        EXPECT_EQ(printable(text), text);
}

TEST(Printable, EscapesByteByByte) {
    EXPECT_EQ(printable(std::string("a\0b", 3)), "a\\x00b");
    EXPECT_EQ(printable("\x1b[2J\r\n\t\x1f \x7f"), "\\x1b[2J\\x0d\\x0a\\x09\\x1f \\x7f");
    EXPECT_EQ(printable("\u3164"), "\\xe3\\x85\\xa4");
    EXPECT_EQ(printable("300 > \xff"), "300 > \\xff");
}

TEST(Printable, EscapesWhatIsNotSeenOrSteersAndNotItsNeighbours) {
    struct Range {
        const char* first;
        const char* last;
        const char* before; ///< seen, as is what comes after
        const char* after;
    };
    const Range ranges[] = {
        {"\x7F", "\xC2\x9F", "~", "\u00A0"},                      // control characters
        {"\u00AD", "\u00AD", "\u00AC", "\u00AE"},                 // soft hyphen
        {"\u034F", "\u034F", "\u034E", "\u0350"},                 // joins graphemes
        {"\u061C", "\u061C", "\u061B", "\u061D"},                 // Arabic letter mark
        {"\u115F", "\u1160", "\u115E", "\u1161"},                 // fillers of Korean
        {"\u17B4", "\u17B5", "\u17B3", "\u17B6"},                 // inherent vowels
        {"\u180B", "\u180F", "\u180A", "\u1810"},                 // Mongolian selectors
        {"\u200B", "\u200F", "\u200A", "\u2010"},                 // without width, direction marks
        {"\u2028", "\u202E", "\u2027", "\u202F"},                 // separators of lines, directions
        {"\u2060", "\u206F", "\u205F", "\u2070"},                 // word joiner, directions
        {"\u2800", "\u2800", "\u27FF", "\u2801"},                 // blank Braille
        {"\u3164", "\u3164", "\u3163", "\u3165"},                 // a filler of Korean
        {"\uFE00", "\uFE0F", "\uFDFF", "\uFE10"},                 // selectors
        {"\uFEFF", "\uFEFF", "\uFEFE", "\uFF00"},                 // byte order mark
        {"\uFFA0", "\uFFA0", "\uFF9F", "\uFFA1"},                 // a filler, of half width
        {"\uFFF0", "\uFFFB", "\uFFEF", "\uFFFC"},                 // not given away, annotations
        {"\uFFFE", "\uFFFF", "\uFFFD", "\U00010000"},             // no characters
        {"\U0001BCA0", "\U0001BCA3", "\U0001BC9F", "\U0001BCA4"}, // of shorthand
        {"\U0001D173", "\U0001D17A", "\U0001D172", "\U0001D17B"}, // of music
        {"\U000E0000", "\U000E0FFF", "\U000DFFFF", "\U000E1000"}, // tags, more selectors
    };
    for (const Range& range : ranges) {
        EXPECT_TRUE(printable(range.first).starts_with("\\x")) << range.first;
        EXPECT_TRUE(printable(range.last).starts_with("\\x")) << range.last;
        EXPECT_EQ(printable(range.before), range.before);
        EXPECT_EQ(printable(range.after), range.after);
    }
}

TEST(Printable, EscapesMalformedUtf8) {
    EXPECT_EQ(printable("\x80"), "\\x80") << "continuation without a lead";
    EXPECT_EQ(printable("\xC3"), "\\xc3") << "cut short";
    EXPECT_EQ(printable("\xE2\x82"), "\\xe2\\x82") << "cut short";
    EXPECT_EQ(printable("\xC3Z"), "\\xc3Z") << "no continuation";
    EXPECT_EQ(printable("\xC0\xAF"), "\\xc0\\xaf") << "overlong";
    EXPECT_EQ(printable("\xE0\x80\xAF"), "\\xe0\\x80\\xaf") << "overlong";
    EXPECT_EQ(printable("\xED\xA0\x80"), "\\xed\\xa0\\x80") << "surrogate";
    EXPECT_EQ(printable("\xF4\x90\x80\x80"), "\\xf4\\x90\\x80\\x80") << "above the last code point";
}

TEST(PrintableXml, KeepsTheDocumentAndTakesItsPowerOverTerminals) {
    EXPECT_EQ(printableXml("<a>\n  \xC3\xA9</a>\n"), "<a>\n  \xC3\xA9</a>\n");
    EXPECT_EQ(printableXml("<a>\t\x7F\xC2\x9B[2J\xE2\x80\xAE</a>"), "<a>&#9;&#127;&#155;[2J&#8238;</a>");
    EXPECT_EQ(printableXml("<a>\xFF\xC2</a>"), "<a></a>") << "no UTF-8";
}
