#include "CaptureReport.h"

#include "Printable.h"

#include "Diagnosis/Json.h"
#include "Diagnosis/PictureRules.h"
#include "Diagnosis/Print.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <set>
#include <sstream>
#include <utility>

namespace Console {

namespace {

using Json = nlohmann::ordered_json;
using SystemTime = std::chrono::system_clock::time_point;

double roundedTo(double value, double steps) {
    return std::round(value * steps) / steps;
}

/// Sorts addresses as numbers, and names behind them as texts.
std::pair<std::uint64_t, std::string> orderOf(const std::string& address) {
    constexpr std::uint64_t behindAll = std::uint64_t{1} << 32;
    std::istringstream stream(address);
    std::uint64_t number = 0;
    for (int part = 0; part < 4; ++part) {
        unsigned value = 256;
        if ((part > 0 && stream.get() != '.') || !(stream >> value) || value > 255)
            return {behindAll, address};
        number = number << 8 | value;
    }
    return stream.peek() == std::istringstream::traits_type::eof() ? std::pair(number, address)
                                                                   : std::pair(behindAll, address);
}

Json fileOf(const CaptureResult& result) {
    Json file;
    file["file"] = result.file;
    file["address"] = result.address;
    file["width"] = result.picture->width;
    file["height"] = result.picture->height;
    file["mean"] = roundedTo(result.picture->mean, 1000.0);
    file["milliseconds"] = roundedTo(result.milliseconds, 10.0);
    return file;
}

Json jsonOf(const CaptureResult& result) {
    Json object;
    object["address"] = result.address;
    object["serialNumber"] = result.serialNumber;
    object["room"] = result.room;
    object["ok"] = !result.error.has_value();
    object["file"] = result.file.empty() ? Json() : Json(result.file);
    object["exposure"] = result.exposureUnits / 10.0;
    object["takenAt"] = result.picture ? Json(timeText(result.takenAt)) : Json();
    object["milliseconds"] = result.milliseconds > 0.0 ? Json(roundedTo(result.milliseconds, 10.0)) : Json();
    for (const char* const key : {"minimum", "maximum", "mean", "clipped", "black"})
        object[key] = nullptr;
    if (result.picture) {
        object["minimum"] = result.picture->minimum;
        object["maximum"] = result.picture->maximum;
        object["mean"] = roundedTo(result.picture->mean, 1000.0);
        object["clipped"] = roundedTo(result.picture->clipped, 1e6);
        object["black"] = roundedTo(result.picture->black, 1e6);
    }
    object["verdict"] = result.verdict ? Diagnosis::errorOf(*result.verdict) : Json();
    object["error"] = result.error ? Diagnosis::errorOf(*result.error) : Json();
    return object;
}

/// Year, month, day, hour, minute, second, millisecond, by the given format.
std::string formatted(const char* format, SystemTime time) {
    using namespace std::chrono;
    const auto day = floor<days>(time);
    const year_month_day date(day);
    const hh_mm_ss clock(floor<milliseconds>(time - day));
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), format, static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                  static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                  static_cast<int>(clock.seconds().count()), static_cast<int>(clock.subseconds().count()));
    return text.data();
}

} // namespace

std::size_t CaptureReport::pictures() const {
    return static_cast<std::size_t>(std::count_if(results.begin(), results.end(),
                                                  [](const CaptureResult& result) { return !result.error; }));
}

void CaptureReport::sort() {
    std::stable_sort(results.begin(), results.end(), isBefore);
}

bool isBefore(const CaptureResult& one, const CaptureResult& other) {
    return orderOf(one.address) < orderOf(other.address);
}

std::string pictureLine(const CaptureOptions& options, const CaptureResult& result) {
    std::array<char, 128> numbers{};
    std::snprintf(numbers.data(), numbers.size(), ": %u x %u pixels, mean %.1f, %.0f ms",
                  result.picture->width, result.picture->height, result.picture->mean, result.milliseconds);
    std::string line = printable(result.file) + numbers.data();
    if (options.exposures.size() > 1 || result.triedExposures > 0)
        line += ", exposure " + Diagnosis::secondsText(result.exposureUnits) + " s";
    if (result.triedExposures > 0)
        line += " chosen with " + std::to_string(result.triedExposures) +
                (result.triedExposures == 1 ? " picture" : " pictures");
    if (result.verdict)
        line += "; " + Diagnosis::remarkOf(*result.verdict);
    return line;
}

std::vector<std::string> captionOf(const CaptureResult& result) {
    std::vector<std::string> lines{result.model.empty() ? result.address
                                                        : result.model + "  " + result.address};
    if (result.picture)
        lines.push_back(std::to_string(result.picture->width) + " x " +
                        std::to_string(result.picture->height) + "  " +
                        Diagnosis::secondsText(result.exposureUnits) + " s  mean " +
                        std::to_string(std::lround(result.picture->mean)));
    lines.push_back(result.room);
    if (result.picture && result.verdict)
        lines.push_back(result.verdict->text);
    std::erase(lines, "");
    return lines;
}

std::string lastLine(const CaptureReport& report, std::size_t wanted) {
    std::string line = std::to_string(report.pictures()) + " of " + std::to_string(wanted) + " pictures";
    const char* before = "; failed: ";
    std::set<std::string> named; // a bracket may fail more than once
    for (const CaptureResult& result : report.results) {
        const std::string name =
            printable(result.address) + (result.room.empty() ? "" : " (" + printable(result.room) + ")");
        if (!result.error || !named.insert(name).second)
            continue;
        line += before + name;
        before = ", ";
    }
    return line;
}

std::string jsonReport(const CaptureOptions& options, const CaptureReport& report) {
    Json object;
    if (options.exposures.size() == 1 && !options.isAutoExposure)
        object["exposureSeconds"] = options.exposures.front() / 10.0;
    object["results"] = Json::array();
    object["files"] = Json::array();
    for (const CaptureResult& result : report.results) {
        object["results"].push_back(jsonOf(result));
        if (!result.error)
            object["files"].push_back(fileOf(result));
    }
    object["warnings"] = report.warnings;
    if (report.error)
        object["error"] = Diagnosis::errorOf(*report.error);
    return Diagnosis::dumped(object);
}

std::string timeText(SystemTime time) {
    return formatted("%04d-%02u-%02uT%02d:%02d:%02d.%03dZ", time);
}

std::string timeInNames(SystemTime time) {
    return formatted("%04d%02u%02u-%02d%02d%02d", time);
}

} // namespace Console
