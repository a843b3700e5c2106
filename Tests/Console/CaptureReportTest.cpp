#include "Console/CaptureReport.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using Console::CaptureReport;
using Console::pictureLine;
using nlohmann::json;

namespace {

std::string jsonOf(const CaptureReport& report) {
    Console::CaptureOptions options;
    options.exposureUnits = 3;
    return jsonReport(options, report);
}

} // namespace

TEST(CaptureReport, LineNamesFileSizeMeanAndTimeAndCannotSteerATerminal) {
    EXPECT_EQ(pictureLine({"a.png", "10.0.0.7", 2748, 1836, 87.34, 1912.4}),
              "a.png: 2748 x 1836 pixels, mean 87.3, 1912 ms");
    EXPECT_EQ(pictureLine({"a\x1b.png", "10.0.0.7", 1, 1, 0, 0}), "a\\x1b.png: 1 x 1 pixels, mean 0.0, 0 ms");
}

TEST(CaptureReport, JsonHoldsWhatWasTaken) {
    CaptureReport report;
    report.pictures = {{"a-1.png", "10.0.0.7", 4, 2, 10.5, 33.33}, {"a-2.png", "10.0.0.7", 4, 2, 11, 34}};
    report.remarks = {"odd"};
    EXPECT_EQ(json::parse(jsonOf(report)), json::parse(R"({"exposureSeconds": 0.3, "files": [
        {"file": "a-1.png", "address": "10.0.0.7", "width": 4, "height": 2, "mean": 10.5, "milliseconds": 33.3},
        {"file": "a-2.png", "address": "10.0.0.7", "width": 4, "height": 2, "mean": 11.0, "milliseconds": 34.0}],
        "warnings": ["odd"]})"));
}

TEST(CaptureReport, JsonOfAFailureSaysWhy) {
    CaptureReport report;
    report.failures = {"no picture", "nor here"};
    EXPECT_EQ(json::parse(jsonOf(report))["files"], json::array());
    EXPECT_EQ(json::parse(jsonOf(report))["error"], "no picture\nnor here");
}

TEST(CaptureReport, JsonIsOneLineWhateverTheFileIsCalled) {
    CaptureReport report;
    report.pictures.push_back({"a\n\xff.png", "10.0.0.7", 1, 1, 0, 0});
    EXPECT_EQ(jsonOf(report).find('\n'), std::string::npos);
    EXPECT_EQ(json::parse(jsonOf(report))["files"][0]["file"], "a\n\xEF\xBF\xBD.png");
}
