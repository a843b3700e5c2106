// What the tool says of cameras, pictures and failures, and that none of it steers a terminal.

#include "Console/CameraText.h"
#include "Console/CaptureReport.h"
#include "Console/FailureAdvice.h"
#include "Console/Printable.h"

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

} // namespace

TEST(CameraText, JsonOfAListHoldsEachInOrderAndWhyItWasCut) {
    CameraInfo other = camera();
    other.setIpAddress(L"10.77.1.12");
    EXPECT_EQ(camerasJson({camera(), other}, ""),
              R"({"cameras":[)" + cameraJson(camera()) + "," + cameraJson(other) + "]}");
    EXPECT_EQ(camerasJson({}, ""), R"({"cameras":[]})");
    EXPECT_EQ(camerasJson({}, "too late"), R"({"cameras":[],"cut":"too late"})");
}

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
    for (const std::string& text : {cameraRow(odd), cameraDetails(odd)}) {
        EXPECT_THAT(text, HasSubstr("a\\x1b[2Jb"));
        EXPECT_THAT(text, Not(HasSubstr("\x1B")));
    }
}

TEST(CameraText, RowsStandBelowTheirHeads) {
    for (const auto& [head, value] : {std::pair{"ADDRESS", "10.77"},
                                      {"MAC ADDRESS", "02-4b"},
                                      {"MODEL", "Korva Meridian"},
                                      {"SERIAL", "1234"},
                                      {"PIXELS", "2748 x 1836"},
                                      {"FIRMWARE", "SW-3.2.15"}})
        EXPECT_EQ(cameraTableHead().find(head), cameraRow(camera()).find(value)) << head;
}

TEST(CameraText, WideValuesPushTheRestAsideAndWhatIsNotKnownIsADash) {
    CameraInfo wide = camera();
    wide.setModel(std::wstring(60, L'm'));
    EXPECT_THAT(cameraRow(wide), HasSubstr(std::string(60, 'm') + "  1234"));
    EXPECT_THAT(cameraDetails({}), HasSubstr("MAC address      -\n"));
}

TEST(CaptureReport, LineNamesFileSizeMeanAndTimeAndCannotSteerATerminal) {
    EXPECT_EQ(pictureLine({"a.png", "10.0.0.7", 2748, 1836, 87.34, 1912.4}),
              "a.png: 2748 x 1836 pixels, mean 87.3, 1912 ms");
    EXPECT_EQ(pictureLine({"a\x1b.png", "10.0.0.7", 1, 1, 0, 0}), "a\\x1b.png: 1 x 1 pixels, mean 0.0, 0 ms");
}

TEST(CaptureReport, JsonHoldsWhatWasTakenAndWhyOthersWereNot) {
    CaptureOptions options;
    options.exposureUnits = 3;
    CaptureReport report;
    EXPECT_EQ(jsonReport(options, report), R"({"exposureSeconds":0.3,"files":[],"warnings":[]})");
    // One line whatever the file is called.
    report.pictures = {{"a\n\xff.png", "10.0.0.7", 4, 2, 10.5, 33.33}, {"b.png", "10.0.0.8", 4, 2, 11, 34}};
    report.remarks = {"odd"};
    report.failures = {"no picture", "nor here"};
    EXPECT_EQ(
        jsonReport(options, report),
        R"({"exposureSeconds":0.3,"files":[)"
        R"({"file":"a\n\ufffd.png","address":"10.0.0.7","width":4,"height":2,"mean":10.5,"milliseconds":33.3},)"
        R"({"file":"b.png","address":"10.0.0.8","width":4,"height":2,"mean":11.0,"milliseconds":34.0}],)"
        R"("warnings":["odd"],"error":"no picture\nnor here"})");
}

TEST(FailureAdvice, DiffersForWhatDiffersToTheEngineer) {
    for (const auto& [reason, advice] : {
             std::pair{"connect: Connection refused", "it has finished starting"},
             {"connect: No route to host", "check the address, the cable and the camera's power"},
             {"All black image from Korva detected", "open the lens cap"},
             {"Korva returned an error code: 5", "use another --exposure"},
             {"parseIncomingMessage failed for take image request", "check the cable and restart"},
             {"Korva picture has the size 60 x 40, the camera's resolution is 120 x 80", "korva describe"},
             {"Korva picture has the size 0 x 0, the camera's resolution is 120 x 80", "picture again"},
             {"something else", "--log debug"},
             {"", "--log debug"},
         })
        EXPECT_THAT(adviceFor(reason), HasSubstr(advice)) << reason;
}

TEST(FailureReason, SaysEachOnceAndNothingThatOnlySaysThereWasAFailure) {
    EXPECT_EQ(reasonOf({"no version info", "DeviceException while determining camera info.",
                        "    no version info"}),
              "no version info");
    EXPECT_EQ(reasonOf({"one", "two", "Failed to capture Korva image"}), "one; two");
    EXPECT_EQ(reasonOf({}), "the plug-in gave no reason");
    EXPECT_EQ(reasonOf({"Failed to capture Korva image"}), "the plug-in gave no reason");
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
