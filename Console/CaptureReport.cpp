#include "CaptureReport.h"

#include "Printable.h"

#include <nlohmann/json.hpp>

#include <array>
#include <cmath>
#include <cstdio>

namespace Console {

namespace {

double roundedTo(double value, double steps) {
    return std::round(value * steps) / steps;
}

} // namespace

std::string pictureLine(const TakenPicture& picture) {
    std::array<char, 128> numbers{};
    std::snprintf(numbers.data(), numbers.size(), ": %u x %u pixels, mean %.1f, %.0f ms", picture.width,
                  picture.height, picture.mean, picture.milliseconds);
    return printable(picture.file) + numbers.data();
}

std::string jsonReport(const CaptureOptions& options, const CaptureReport& report) {
    nlohmann::ordered_json object;
    object["exposureSeconds"] = options.exposureUnits / 10.0;
    object["files"] = nlohmann::ordered_json::array();
    for (const TakenPicture& picture : report.pictures) {
        nlohmann::ordered_json file;
        file["file"] = picture.file;
        file["address"] = picture.address;
        file["width"] = picture.width;
        file["height"] = picture.height;
        file["mean"] = roundedTo(picture.mean, 1000.0);
        file["milliseconds"] = roundedTo(picture.milliseconds, 10.0);
        object["files"].push_back(std::move(file));
    }
    object["warnings"] = report.remarks;
    std::string error;
    for (const std::string& failure : report.failures)
        error += (error.empty() ? "" : "\n") + failure;
    if (!error.empty())
        object["error"] = error;
    return object.dump(-1, ' ', true, nlohmann::ordered_json::error_handler_t::replace);
}

} // namespace Console
