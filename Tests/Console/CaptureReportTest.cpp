#include "Console/CaptureReport.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using Console::CaptureOptions;
using Console::CaptureReport;
using Console::jsonReport;
using Console::pictureLine;

namespace {

CaptureOptions options() {
    CaptureOptions result;
    result.exposureUnits = 3;
    return result;
}

} // namespace

TEST(CaptureReport, LineNamesFileSizeMeanAndTime) {
    EXPECT_EQ(pictureLine({"a.png", "10.0.0.7", 2748, 1836, 87.34, 1912.4}),
              "a.png: 2748 x 1836 pixels, mean 87.3, 1912 ms");
}

TEST(CaptureReport, LineCannotSteerATerminal) {
    EXPECT_EQ(pictureLine({"a\x1b.png", "10.0.0.7", 1, 1, 0, 0}), "a\\x1b.png: 1 x 1 pixels, mean 0.0, 0 ms");
}

TEST(CaptureReport, JsonHoldsWhatWasTaken) {
    CaptureReport report;
    report.pictures.push_back({"a-1.png", "10.0.0.7", 4, 2, 10.5, 33.33});
    report.pictures.push_back({"a-2.png", "10.0.0.7", 4, 2, 11, 34});
    report.remarks = {"odd"};
    const auto json = nlohmann::json::parse(jsonReport(options(), report));
    EXPECT_EQ(json["exposureSeconds"], 0.3);
    ASSERT_EQ(json["files"].size(), 2u);
    EXPECT_EQ(json["files"][0]["file"], "a-1.png");
    EXPECT_EQ(json["files"][0]["address"], "10.0.0.7");
    EXPECT_EQ(json["files"][0]["width"], 4);
    EXPECT_EQ(json["files"][0]["height"], 2);
    EXPECT_EQ(json["files"][0]["mean"], 10.5);
    EXPECT_EQ(json["files"][0]["milliseconds"], 33.3);
    EXPECT_EQ(json["files"][1]["file"], "a-2.png");
    EXPECT_EQ(json["warnings"], nlohmann::json::array({"odd"}));
    EXPECT_FALSE(json.contains("error"));
}

TEST(CaptureReport, JsonOfAFailureSaysWhy) {
    CaptureReport report;
    report.failures = {"no picture", "nor here"};
    const auto json = nlohmann::json::parse(jsonReport(options(), report));
    EXPECT_EQ(json["files"], nlohmann::json::array());
    EXPECT_EQ(json["error"], "no picture\nnor here");
}

TEST(CaptureReport, JsonIsOneLineWhateverTheFileIsCalled) {
    CaptureReport report;
    report.pictures.push_back({"a\n\xff.png", "10.0.0.7", 1, 1, 0, 0});
    const std::string text = jsonReport(options(), report);
    EXPECT_EQ(text.find('\n'), std::string::npos);
    EXPECT_EQ(nlohmann::json::parse(text)["files"][0]["file"], "a\n\xEF\xBF\xBD.png");
}
