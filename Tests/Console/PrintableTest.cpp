#include "Console/Printable.h"

#include <gtest/gtest.h>

#include <string>

using Console::printable;

TEST(Printable, LeavesOrdinaryTextAlone) {
    EXPECT_EQ(printable(""), "");
    EXPECT_EQ(printable("Korva returned an error code: 5 ~"), "Korva returned an error code: 5 ~");
}

TEST(Printable, LeavesWellFormedUtf8Alone) {
    const std::string text = "caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x93\xB7";
    EXPECT_EQ(printable(text), text);
}

TEST(Printable, EscapesControlCharacters) {
    EXPECT_EQ(printable(std::string("a\0b", 3)), "a\\x00b");
    EXPECT_EQ(printable("\x1b[2J\r\n\t\x7f"), "\\x1b[2J\\x0d\\x0a\\x09\\x7f");
}

TEST(Printable, EscapesTheControlCharactersAbove127) {
    EXPECT_EQ(printable("\xC2\x9B"), "\\xc2\\x9b");
    EXPECT_EQ(printable("\xC2\xA0"), "\xC2\xA0");
}

TEST(Printable, EscapesLineSeparatorsAndDirectionMarks) {
    EXPECT_EQ(printable("\xE2\x80\xA8"), "\\xe2\\x80\\xa8");
    EXPECT_EQ(printable("\xE2\x80\xAE"), "\\xe2\\x80\\xae");
    EXPECT_EQ(printable("\xE2\x81\xA6"), "\\xe2\\x81\\xa6");
    EXPECT_EQ(printable("\xE2\x80\xA7"), "\xE2\x80\xA7");
}

TEST(Printable, EscapesWhatIsNotSeen) {
    EXPECT_EQ(printable("M\xE2\x80\x8B"
                        "61"),
              "M\\xe2\\x80\\x8b"
              "61");                                                              // zero-width space
    EXPECT_EQ(printable("\xEF\xBB\xBF"), "\\xef\\xbb\\xbf");                      // byte order mark
    EXPECT_EQ(printable("\xC2\xAD"), "\\xc2\\xad");                               // soft hyphen
    EXPECT_EQ(printable("\xE2\x81\xA0"), "\\xe2\\x81\\xa0");                      // word joiner
    EXPECT_EQ(printable("\xF3\xA0\x81\x81"), "\\xf3\\xa0\\x81\\x81");             // a tag
    EXPECT_EQ(printable("\xE2\x80\x8A\xE2\x80\x90"), "\xE2\x80\x8A\xE2\x80\x90"); // their neighbours
    EXPECT_EQ(printable("\xEF\xBF\xBD"), "\xEF\xBF\xBD");                         // the replacement character
}

TEST(Printable, EscapesFillersAndSelectors) {
    struct Unseen {
        const char* first;
        const char* last;
        const char* before; ///< seen, as is what comes after
        const char* after;
    };
    const Unseen ranges[] = {
        {"\u115F", "\u1160", "\u115E", "\u1161"},                 // fillers of Korean
        {"\u17B4", "\u17B5", "\u17B3", "\u17B6"},                 // inherent vowels
        {"\u180B", "\u180F", "\u180A", "\u1810"},                 // Mongolian selectors
        {"\u2800", "\u2800", "\u27FF", "\u2801"},                 // blank Braille
        {"\u3164", "\u3164", "\u3163", "\u3165"},                 // a filler of Korean
        {"\uFE00", "\uFE0F", "\uFDFF", "\uFE10"},                 // selectors
        {"\uFFA0", "\uFFA0", "\uFF9F", "\uFFA1"},                 // a filler, of half width
        {"\uFFF0", "\uFFFB", "\uFFEF", "\uFFFC"},                 // not given away, and annotations
        {"\U000E0000", "\U000E0FFF", "\U000DFFFF", "\U000E1000"}, // tags, more selectors
    };
    for (const Unseen& range : ranges) {
        EXPECT_TRUE(printable(range.first).starts_with("\\x")) << range.first;
        EXPECT_TRUE(printable(range.last).starts_with("\\x")) << range.last;
        EXPECT_EQ(printable(range.before), range.before);
        EXPECT_EQ(printable(range.after), range.after);
    }
    EXPECT_EQ(printable("\u3164"), "\\xe3\\x85\\xa4");
}

TEST(Printable, ShowsTheRawByte255) {
    EXPECT_EQ(printable("300 > \xff"), "300 > \\xff");
}

TEST(Printable, EscapesMalformedUtf8ByteByByte) {
    EXPECT_EQ(printable("\x80"), "\\x80");                            // continuation without a lead
    EXPECT_EQ(printable("\xC3"), "\\xc3");                            // cut short
    EXPECT_EQ(printable("\xE2\x82"), "\\xe2\\x82");                   // cut short
    EXPECT_EQ(printable("\xC3Z"), "\\xc3Z");                          // no continuation
    EXPECT_EQ(printable("\xC0\xAF"), "\\xc0\\xaf");                   // overlong
    EXPECT_EQ(printable("\xE0\x80\xAF"), "\\xe0\\x80\\xaf");          // overlong
    EXPECT_EQ(printable("\xED\xA0\x80"), "\\xed\\xa0\\x80");          // surrogate
    EXPECT_EQ(printable("\xF4\x90\x80\x80"), "\\xf4\\x90\\x80\\x80"); // above the last code point
}

TEST(PrintableXml, KeepsTheDocumentAndTakesItsPowerOverTerminals) {
    EXPECT_EQ(Console::printableXml("<a>\n  \xC3\xA9</a>\n"), "<a>\n  \xC3\xA9</a>\n");
    EXPECT_EQ(Console::printableXml("<a>\t\x7F\xC2\x9B[2J\xE2\x80\xAE</a>"),
              "<a>&#9;&#127;&#155;[2J&#8238;</a>");
}

TEST(PrintableXml, LeavesOutWhatIsNoUtf8) {
    EXPECT_EQ(Console::printableXml("<a>\xFF\xC2</a>"), "<a></a>");
}
