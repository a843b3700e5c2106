#include "Console/CameraText.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <string>

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

TEST(CameraText, WideValuesPushTheRestAside) {
    CameraInfo wide = camera();
    wide.setModel(std::wstring(60, L'm'));
    EXPECT_THAT(cameraRow(wide), HasSubstr(std::string(60, 'm') + "  1234"));
}

TEST(CameraText, WhatIsNotKnownIsADash) {
    EXPECT_THAT(cameraDetails({}), HasSubstr("MAC address      -\n"));
}
