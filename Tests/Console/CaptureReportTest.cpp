#include "Console/CaptureReport.h"

#include "Console/SheetFile.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <string>
#include <vector>

using namespace Console;
using nlohmann::json;
using namespace std::chrono_literals;

namespace {

Diagnosis::Verdict verdict(const std::string& code, const std::string& text, const std::string& remedy) {
    return {code, Diagnosis::Severity::failure, text, remedy, "", ""};
}

CaptureResult taken(const std::string& address, const std::string& file) {
    CaptureResult result;
    result.address = address;
    result.room = "Lab 2";
    result.serialNumber = "1234";
    result.file = file;
    result.exposureUnits = 15;
    result.takenAt = std::chrono::system_clock::time_point(1'795'389'295'123ms);
    result.milliseconds = 1912.44;
    result.picture = Diagnosis::PictureFacts{4, 2, 3, 255, 87.34, 0.125, 0.0, 3, 80, 255};
    return result;
}

CaptureResult failed(const std::string& address, const std::string& room) {
    CaptureResult result;
    result.address = address;
    result.room = room;
    result.exposureUnits = 15;
    result.error = verdict("silent", "says nothing", "restart it");
    return result;
}

} // namespace

TEST(CaptureReport, LineNamesFileSizeMeanAndTimeAndWhatIsWrongAndCannotSteerATerminal) {
    CaptureOptions options;
    CaptureResult result = taken("10.0.0.7", "a\x1b.png");
    const std::string usual = "a\\x1b.png: 4 x 2 pixels, mean 87.3, 1912 ms";
    EXPECT_EQ(pictureLine(options, result), usual);
    result.verdict = verdict("overexposed", "31 % overexposed", "--exposure 0.6");
    EXPECT_EQ(pictureLine(options, result), usual + "; 31 % overexposed; try --exposure 0.6");
    result.verdict = verdict("duplicate-address", "twins", "give one another address");
    EXPECT_EQ(pictureLine(options, result), usual + "; twins; try: give one another address");
    result.verdict.reset();
    result.triedExposures = 3;
    EXPECT_EQ(pictureLine(options, result), usual + ", exposure 1.5 s chosen with 3 pictures");
    result.triedExposures = 0;
    options.exposures = {15, 20};
    EXPECT_EQ(pictureLine(options, result), usual + ", exposure 1.5 s");
}

TEST(CaptureReport, CaptionHoldsTheRoomAndWhatIsWrongWithThePicture) {
    using Lines = std::vector<std::string>;
    CaptureResult result = taken("10.0.0.7", "a.png");
    result.model = "M615";
    EXPECT_EQ(captionOf(result), (Lines{"M615  10.0.0.7", "4 x 2  1.5 s  mean 87", "Lab 2"}));
    result.verdict = verdict("overexposed", "31 % overexposed", "--exposure 0.6");
    EXPECT_EQ(captionOf(result),
              (Lines{"M615  10.0.0.7", "4 x 2  1.5 s  mean 87", "Lab 2", "31 % overexposed"}));
    result.room.clear();
    EXPECT_EQ(captionOf(result), (Lines{"M615  10.0.0.7", "4 x 2  1.5 s  mean 87", "31 % overexposed"}));
    EXPECT_EQ(captionOf(failed("10.0.0.8", "")), Lines{"10.0.0.8"});
}

TEST(CaptureReport, LastLineNamesWhoFailedOnce) {
    CaptureReport report;
    report.results = {taken("10.0.0.7", "a.png"), failed("10.0.0.8", "Lab\x07"), failed("10.0.0.9", ""),
                      failed("10.0.0.9", "")};
    EXPECT_EQ(lastLine(report, 4), "1 of 4 pictures; failed: 10.0.0.8 (Lab\\x07), 10.0.0.9");
    report.results.resize(1);
    EXPECT_EQ(lastLine(report, 1), "1 of 1 pictures");
}

TEST(CaptureReport, IsInTheOrderOfTheAddresses) {
    CaptureReport report;
    for (const char* address :
         {"camera", "10.0.0.20", "10.0.0.9x", "9.255.0.1", "10.0.0.9", "10.0.0", "10.0.0.256"})
        report.results.push_back(failed(address, ""));
    report.sort();
    std::vector<std::string> order;
    for (const CaptureResult& result : report.results)
        order.push_back(result.address);
    EXPECT_EQ(order, (std::vector<std::string>{"9.255.0.1", "10.0.0.9", "10.0.0.20", "10.0.0", "10.0.0.256",
                                               "10.0.0.9x", "camera"}));
}

TEST(CaptureReport, SheetKeepsTheFirstOfTheAddressesInWhateverOrderTheyCome) {
    std::vector<FinishedPicture> kept;
    std::vector<bool> wereAllKept;
    for (const char* address : {"10.0.0.20", "10.0.0.9", "10.0.0.100", "10.0.0.8"})
        wereAllKept.push_back(keepFirst(kept, {failed(address, ""), {}, {}}, 2));
    EXPECT_EQ(wereAllKept, (std::vector{true, true, false, false}));
    ASSERT_EQ(kept.size(), 2u);
    EXPECT_EQ(kept[0].result.address + " " + kept[1].result.address, "10.0.0.8 10.0.0.9");
}

TEST(CaptureReport, JsonHoldsEachResultAndWhyOthersAreMissing) {
    CaptureOptions options;
    CaptureReport report;
    report.results = {taken("10.0.0.7", "a\n\xff.png"), failed("10.0.0.8", "")};
    report.results[0].verdict = verdict("overexposed", "31 % overexposed", "--exposure 0.6");
    report.warnings = {"odd"};
    report.error = verdict("partly-failed", "1 of 2", "again");
    const std::string text = jsonReport(options, report);
    EXPECT_EQ(text.find('\n'), std::string::npos) << "one line, whatever the file is called";
    EXPECT_EQ(json::parse(text), json::parse(R"({"exposureSeconds": 1.5, "results": [
        {"address": "10.0.0.7", "serialNumber": "1234", "room": "Lab 2", "ok": true, "file": "a\n\ufffd.png",
         "exposure": 1.5, "takenAt": "2026-11-22T23:14:55.123Z", "milliseconds": 1912.4, "minimum": 3,
         "maximum": 255, "mean": 87.34, "clipped": 0.125, "black": 0.0,
         "verdict": {"code": "overexposed", "text": "31 % overexposed", "try": "--exposure 0.6"}, "error": null},
        {"address": "10.0.0.8", "serialNumber": "", "room": "", "ok": false, "file": null, "exposure": 1.5,
         "takenAt": null, "milliseconds": null, "minimum": null, "maximum": null, "mean": null, "clipped": null,
         "black": null, "verdict": null,
         "error": {"code": "silent", "text": "says nothing", "try": "restart it"}}],
        "files": [{"file": "a\n\ufffd.png", "address": "10.0.0.7", "width": 4, "height": 2, "mean": 87.34,
                   "milliseconds": 1912.4}],
        "warnings": ["odd"], "error": {"code": "partly-failed", "text": "1 of 2", "try": "again"}})"));
    options.exposures = {5, 10};
    EXPECT_EQ(jsonReport(options, {}), R"({"results":[],"files":[],"warnings":[]})");
}

TEST(CaptureReport, TimesAreThoseOfGreenwich) {
    const std::chrono::system_clock::time_point time(1'795'389'295'007ms);
    EXPECT_EQ(timeText(time), "2026-11-22T23:14:55.007Z");
    EXPECT_EQ(timeInNames(time), "20261122-231455");
}
