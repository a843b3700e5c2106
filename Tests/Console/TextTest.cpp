// What the tool says of cameras, pictures and failures, and that none of it steers a terminal.

#include "Console/CameraText.h"
#include "Console/Columns.h"
#include "Console/Printable.h"
#include "Console/SearchFacts.h"
#include "Diagnosis/Json.h"

#include "Platform/Path.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

using namespace Console;
using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

namespace {

/// However wide the system's wide characters are.
std::string utf8Of(char32_t code) {
    return Platform::utf8FromPath(std::filesystem::path(std::u32string(1, code)));
}

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

std::vector<std::string> tableOf(const CameraInfo& info, const std::string& room = "Lab 2") {
    return cameraTable({{"10.77.1.11", room, identityOf(info)}, {"10.77.1.12", "", {}}});
}

} // namespace

TEST(CameraText, JsonKeepsTextsAndCannotSteerATerminal) {
    CameraInfo odd = camera();
    odd.setSerialNumber(L"\x1B[2J\u009B\u00E9\"");
    const std::string text = Diagnosis::dumped(cameraObject(odd));
    for (const char byte : text)
        EXPECT_TRUE(byte >= ' ' && byte < '\x7F') << text;
    EXPECT_EQ(json::parse(text)["serialNumber"], "\x1B[2J\xC2\x9B\xC3\xA9\"");
}

TEST(CameraText, WordsShowControlCharactersEscaped) {
    CameraInfo odd = camera();
    odd.setModel(L"a\x1B[2Jb");
    for (const std::string& text : {tableOf(odd)[1], cameraDetails(odd)}) {
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
        EXPECT_EQ(tableOf(camera())[0].find(head), tableOf(camera())[1].find(value)) << head;
    EXPECT_EQ(tableOf(camera())[0].find("STATUS"), tableOf(camera())[2].size());
}

TEST(CameraText, ValuesThatAreTooWideAreShortenedAndWhatIsNotKnownIsADash) {
    CameraInfo wide = camera();
    wide.setModel(std::wstring(60, L'm'));
    EXPECT_THAT(tableOf(wide)[1], HasSubstr(" " + std::string(23, 'm') + "…  1234"));
    EXPECT_EQ(
        tableOf(wide)[2],
        "10.77.1.12       -           -                  -                         -         -            -"
        "                  ");
    EXPECT_THAT(cameraDetails({}), HasSubstr("MAC address      -\n"));
    std::string japanese;
    for (int i = 0; i < 30; ++i)
        japanese += "会";
    for (const std::string& room :
         {japanese, std::string(200, 'r'), std::string("Büro 1é"), japanese.substr(0, 30)}) {
        const std::vector<std::string> lines = tableOf(camera(), room);
        EXPECT_EQ(columnsOf(lines[1]), columnsOf(lines[2])) << room;
        EXPECT_EQ(columnsOf(lines[1]) + 6, columnsOf(lines[0])) << room;
        EXPECT_LT(columnsOf(lines[0]), 150u);
    }
}

TEST(Columns, AreThoseOfATerminal) {
    for (const auto& [text, columns] : {std::pair{"", 0u},
                                        {"abc", 3u},
                                        {"caf\u00E9", 4u},
                                        {"e\u0301", 1u},
                                        {"会議室", 6u},
                                        {"\U0001F4F7", 2u}})
        EXPECT_EQ(columnsOf(text), columns) << text;
    for (const auto& [text, columns, shorter] : {std::tuple{"abc", 3u, "abc"},
                                                 {"abcd", 3u, "ab…"},
                                                 {"会議室", 6u, "会議室"},
                                                 {"会議室", 5u, "会議…"},
                                                 {"会議室", 4u, "会…"},
                                                 {"e\u0301e\u0301e\u0301", 2u, "e\u0301…"},
                                                 {"abc", 1u, "…"}})
        EXPECT_EQ(shortened(text, columns), shorter);
    EXPECT_EQ(padded("会", 4), "会  ");
    EXPECT_EQ(padded("abcd", 2), "abcd");
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
            const std::string text = utf8Of(static_cast<char32_t>(code));
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
