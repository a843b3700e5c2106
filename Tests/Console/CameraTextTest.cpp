#include "Console/CameraText.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>

using Console::cameraDetails;
using Console::cameraJson;
using Console::cameraRow;
using Console::camerasJson;

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

TEST(CameraText, JsonHasExactlyTheKeysOfACamera) {
    const auto json = nlohmann::json::parse(cameraJson(camera()));
    EXPECT_EQ(json, nlohmann::json::parse(R"({"address": "10.77.1.11", "macAddress": "02-4b-00-01-00-01",
        "model": "Korva Meridian M615", "serialNumber": "1234", "firmware": "SW-3.2.15_API-1.4",
        "subnetMask": "255.255.255.0", "defaultGateway": "10.77.1.1", "resolution": {"x": 2748, "y": 1836},
        "cameraType": 6})"));
}

TEST(CameraText, JsonOfAListHoldsEachInOrder) {
    CameraInfo other = camera();
    other.setIpAddress(L"10.77.1.12");
    const auto json = nlohmann::json::parse(camerasJson({camera(), other}, ""));
    ASSERT_EQ(json.size(), 1u);
    ASSERT_EQ(json["cameras"].size(), 2u);
    EXPECT_EQ(json["cameras"][0]["address"], "10.77.1.11");
    EXPECT_EQ(json["cameras"][1]["address"], "10.77.1.12");
    EXPECT_EQ(camerasJson({}, ""), R"({"cameras":[]})");
    EXPECT_EQ(camerasJson({}, "too late"), R"({"cameras":[],"cut":"too late"})");
}

TEST(CameraText, JsonKeepsTextsAndCannotSteerATerminal) {
    CameraInfo odd = camera();
    odd.setSerialNumber(L"\x1B[2J\u009B\u00E9\"");
    const std::string text = cameraJson(odd);
    for (const char byte : text)
        EXPECT_TRUE(byte >= ' ' && byte < '\x7F') << text;
    EXPECT_EQ(nlohmann::json::parse(text)["serialNumber"], "\x1B[2J\xC2\x9B\xC3\xA9\"");
}

TEST(CameraText, WordsShowControlCharactersEscaped) {
    CameraInfo odd = camera();
    odd.setModel(L"a\x1B[2Jb");
    for (const std::string& text : {cameraRow(odd), cameraDetails(odd)}) {
        EXPECT_NE(text.find("a\\x1b[2Jb"), std::string::npos) << text;
        EXPECT_EQ(text.find('\x1B'), std::string::npos) << text;
    }
}

TEST(CameraText, RowsStandBelowTheirHeads) {
    const std::string head = Console::cameraTableHead();
    const std::string row = cameraRow(camera());
    EXPECT_EQ(head.find("MAC ADDRESS"), row.find("02-4b"));
    EXPECT_EQ(head.find("MODEL"), row.find("Korva Meridian"));
    EXPECT_EQ(head.find("SERIAL"), row.find("1234"));
    EXPECT_EQ(head.find("PIXELS"), row.find("2748 x 1836"));
    EXPECT_EQ(head.find("FIRMWARE"), row.find("SW-3.2.15"));
}

TEST(CameraText, WideValuesPushTheRestAside) {
    CameraInfo wide = camera();
    wide.setModel(std::wstring(60, L'm'));
    EXPECT_NE(cameraRow(wide).find(std::string(60, 'm') + "  1234"), std::string::npos);
}

TEST(CameraText, WhatIsNotKnownIsADash) {
    const CameraInfo unknown;
    EXPECT_NE(cameraDetails(unknown).find("MAC address      -\n"), std::string::npos);
}
