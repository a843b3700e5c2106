// What the tool says of cameras, pictures and failures, and that none of it steers a terminal.

#include "Console/CameraText.h"
#include "Console/Printable.h"
#include "Console/SearchFacts.h"

#include "Platform/Text.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <string>
#include <utility>

using namespace Console;
using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

namespace {

CameraInfo camera() {
    CameraInfo info;
    info.setCameraTypeEnum(6);
    info.setIpAddress(L"10.77.1.11");
    info.setMacAddress(L"02-4b-00-01-00-01");
    info.setModel(L"Korva Meridian M615");
    info.setSerialNumber(L"1234");
    info.setFW(L"SW-3.2.15_API-1.4");
    info.setSubnetMask(L"255.255.255.0");
    info.setDefaultGateway(L"10.77.1.1");
    info.setResolutionX(2748);
    info.setResolutionY(1836);
    return info;
}

std::string rowOf(const CameraInfo& info) {
    return cameraRow("10.77.1.11", "Lab 2", identityOf(info));
}

} // namespace

TEST(CameraText, JsonKeepsTextsAndCannotSteerATerminal) {
    CameraInfo odd = camera();
    odd.setSerialNumber(L"\x1B[2J\u009B\u00E9\"");
    const std::string text = cameraJson(odd);
    for (const char byte : text)
        EXPECT_TRUE(byte >= ' ' && byte < '\x7F') << text;
    EXPECT_EQ(json::parse(text)["serialNumber"], "\x1B[2J\xC2\x9B\xC3\xA9\"");
}

TEST(CameraText, WordsShowControlCharactersEscaped) {
    CameraInfo odd = camera();
    odd.setModel(L"a\x1B[2Jb");
    for (const std::string& text : {rowOf(odd), cameraDetails(odd)}) {
        EXPECT_THAT(text, HasSubstr("a\\x1b[2Jb"));
        EXPECT_THAT(text, Not(HasSubstr("\x1B")));
    }
}

TEST(CameraText, RowsStandBelowTheirHeads) {
    for (const auto& [head, value] : {std::pair{"ADDRESS", "10.77"},
                                      {"ROOM", "Lab 2"},
                                      {"MAC ADDRESS", "02-4b"},
                                      {"MODEL", "Korva Meridian"},
                                      {"SERIAL", "1234"},
                                      {"PIXELS", "2748 x 1836"},
                                      {"FIRMWARE", "SW-3.2.15"}})
        EXPECT_EQ(cameraTableHead().find(head), rowOf(camera()).find(value)) << head;
}

TEST(CameraText, WideValuesPushTheRestAsideAndWhatIsNotKnownIsADash) {
    CameraInfo wide = camera();
    wide.setModel(std::wstring(60, L'm'));
    EXPECT_THAT(rowOf(wide), HasSubstr(std::string(60, 'm') + "  1234"));
    EXPECT_THAT(cameraRow("10.77.1.11", "", {}), testing::ContainsRegex("^10.77.1.11( +-){6} +$"));
    EXPECT_THAT(cameraDetails({}), HasSubstr("MAC address      -\n"));
}

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
    for (const auto& [first, last] : {
             std::pair{0x7F, 0x9F}, // control characters
             {0xAD, 0xAD},          // soft hyphen
             {0x034F, 0x034F},      // joins graphemes
             {0x061C, 0x061C},      // Arabic letter mark
             {0x115F, 0x1160},      // fillers of Korean
             {0x17B4, 0x17B5},      // inherent vowels
             {0x180B, 0x180F},      // Mongolian selectors
             {0x200B, 0x200F},      // without width, direction marks
             {0x2028, 0x202E},      // separators of lines, directions
             {0x2060, 0x206F},      // word joiner, directions
             {0x2800, 0x2800},      // blank Braille
             {0x3164, 0x3164},      // a filler of Korean
             {0xFE00, 0xFE0F},      // selectors
             {0xFEFF, 0xFEFF},      // byte order mark
             {0xFFA0, 0xFFA0},      // a filler, of half width
             {0xFFF0, 0xFFFB},      // not given away, annotations
             {0xFFFE, 0xFFFF},      // no characters
             {0x1BCA0, 0x1BCA3},    // of shorthand
             {0x1D173, 0x1D17A},    // of music
             {0xE0000, 0xE0FFF},    // tags, more selectors
         }) {
        for (int code = first - 1; code <= last + 1; ++code) {
            const std::string text = Platform::utf8FromWide(std::wstring(1, static_cast<wchar_t>(code)));
            const bool isEscaped = code >= first && code <= last;
            EXPECT_EQ(printable(text) == text, !isEscaped) << std::hex << code;
            EXPECT_EQ(printable(text).starts_with("\\x"), isEscaped) << std::hex << code;
        }
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
