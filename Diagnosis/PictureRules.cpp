#include "PictureRules.h"

#include "RulesOfCamera.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace Diagnosis {

namespace {

constexpr unsigned fullScale = 255;
constexpr unsigned leastFit = 179; // 70 % of full scale
constexpr unsigned mostFit = 229;  // 90 %
constexpr double wantedFit = 204.0;

/// What a scene's lamps and reflections may saturate.
constexpr double harmlessClipping = 0.01;
/// Beyond it nothing can be measured in the picture.
constexpr double uselessClipping = 0.25;

/// Below it a picture uses less than a quarter of the range, and below the next less than a sixteenth.
constexpr unsigned darkBelow = 64;
constexpr unsigned uselessBelow = 16;
constexpr double mostlyBlack = 0.5;

using Histogram = std::array<std::uint64_t, fullScale + 1>;

/// The least value that at least so many thousandths of the pixels do not exceed.
unsigned percentile(const Histogram& histogram, std::uint64_t pixels, unsigned thousandths) {
    std::uint64_t sum = 0;
    for (unsigned value = 0; value < fullScale; ++value) {
        sum += histogram[value];
        if (sum * 1000 >= pixels * thousandths)
            return value;
    }
    return fullScale;
}

/// Of a picture that clips, its true brightness is not known: the more of it clips, the larger the step.
double factorFor(const PictureFacts& picture) {
    constexpr double longestStep = 16.0;
    if (picture.percentile99_5 < fullScale)
        return std::min(longestStep, wantedFit / std::max(picture.percentile99_5, 1u));
    if (picture.percentile50 < fullScale)
        return 0.4;
    return picture.percentile1 < fullScale ? 0.15 : 0.05;
}

Verdict verdictOf(const char* code, Severity severity, std::string text) {
    Verdict verdict;
    verdict.code = code;
    verdict.severity = severity;
    verdict.text = std::move(text);
    return verdict;
}

std::string exposureOption(int units) {
    return "--exposure " + secondsText(units);
}

/// Whoever has answered an exposure of all its time does not expose first.
int longestAnsweredAfter(int exposureUnits) {
    return exposureUnits >= answerTime ? longestExposure : std::max(exposureUnits, longestSureExposure);
}

std::string remedyOfDarkness(std::optional<int> next, int exposureUnits) {
    if (!next)
        return "more light, or open the lens cap";
    const int longest = longestAnsweredAfter(exposureUnits);
    if (*next <= longest)
        return exposureOption(*next);
    constexpr auto light = "more light or a larger aperture";
    return longest == exposureUnits
               ? light
               : light + (", with " + exposureOption(longest)) + ": some cameras answer no longer one";
}

} // namespace

PictureFacts measured(std::uint32_t width, std::uint32_t height, std::span<const unsigned char> pixels) {
    Histogram histogram{};
    for (const unsigned char pixel : pixels)
        ++histogram[pixel];
    const std::uint64_t count = pixels.size();
    const auto isThere = [](std::uint64_t number) { return number != 0; };
    std::uint64_t sum = 0;
    for (unsigned value = 0; value <= fullScale; ++value)
        sum += histogram[value] * value;

    PictureFacts facts;
    facts.width = width;
    facts.height = height;
    facts.minimum =
        static_cast<unsigned>(std::find_if(histogram.begin(), histogram.end(), isThere) - histogram.begin());
    facts.maximum =
        fullScale - static_cast<unsigned>(std::find_if(histogram.rbegin(), histogram.rend(), isThere) -
                                          histogram.rbegin());
    const auto pixelCount = static_cast<double>(count);
    facts.mean = static_cast<double>(sum) / pixelCount;
    facts.clipped = static_cast<double>(histogram.back()) / pixelCount;
    facts.black = static_cast<double>(histogram.front()) / pixelCount;
    facts.percentile1 = percentile(histogram, count, 10);
    facts.percentile50 = percentile(histogram, count, 500);
    facts.percentile99_5 = percentile(histogram, count, 995);
    return facts;
}

std::optional<Verdict> verdictOn(const PictureFacts& picture, int exposureUnits) {
    const auto next = nextExposure(picture, exposureUnits);
    if (picture.clipped > harmlessClipping) {
        const bool isUseless = picture.clipped > uselessClipping;
        Verdict verdict = verdictOf("overexposed", isUseless ? Severity::failure : Severity::note,
                                    percentText(picture.clipped) + " overexposed");
        verdict.remedy = next ? exposureOption(*next) : "less light, or a smaller aperture";
        return verdict;
    }
    if (picture.percentile99_5 >= darkBelow)
        return std::nullopt;
    const bool isUseless = picture.percentile99_5 < uselessBelow;
    Verdict verdict = verdictOf("dark", isUseless ? Severity::failure : Severity::note,
                                picture.black > mostlyBlack ? percentText(picture.black) + " black"
                                                            : "dark: 99.5 % of it is no brighter than " +
                                                                  std::to_string(picture.percentile99_5) +
                                                                  " of " + std::to_string(fullScale));
    verdict.remedy = remedyOfDarkness(next, exposureUnits);
    return verdict;
}

std::optional<int> nextExposure(const PictureFacts& picture, int exposureUnits) {
    if (distanceFromFit(picture) == 0)
        return std::nullopt;
    const auto units = static_cast<int>(std::lround(exposureUnits * factorFor(picture)));
    const int next = std::clamp(units, shortestExposure, longestExposure);
    return next == exposureUnits ? std::nullopt : std::optional(next);
}

unsigned distanceFromFit(const PictureFacts& picture) {
    if (picture.percentile99_5 < leastFit)
        return leastFit - picture.percentile99_5;
    return picture.percentile99_5 > mostFit ? picture.percentile99_5 - mostFit : 0;
}

std::optional<Verdict> verdictOnExposure(int exposureUnits) {
    if (exposureUnits <= longestSureExposure)
        return std::nullopt;
    Verdict verdict = verdictOf("long-exposure", Severity::note,
                                "this camera may not answer in time: it has " + secondsText(answerTime) +
                                    " s to answer the request for a picture, and may expose for " +
                                    secondsText(exposureUnits) + " s first");
    verdict.remedy = exposureOption(longestSureExposure) + " and more light, if it does not";
    return verdict;
}

std::optional<Verdict> verdictOnTime(int exposureUnits, std::chrono::milliseconds most) {
    constexpr std::chrono::milliseconds unit{100};
    constexpr int leastForThePicture = 10; // to be asked for and fetched
    const int needed = exposureUnits + leastForThePicture;
    if (most >= needed * unit)
        return std::nullopt;
    const bool isHopeless = most <= exposureUnits * unit;
    Verdict verdict = verdictOf("short-time", Severity::note,
                                std::string(isHopeless ? "no picture" : "hardly any picture") +
                                    " comes within that --max-time: it is exposed for " +
                                    secondsText(exposureUnits) + " s, and fetched after that");
    verdict.remedy = "--max-time " + secondsText(needed) + " at the very least, or none";
    return verdict;
}

Verdict anotherCamera(const std::string& address, const std::string& describedSerialNumber,
                      const std::string& foundSerialNumber) {
    Verdict verdict = verdictOf("another-camera", Severity::failure,
                                "another camera: its serial number is " + foundSerialNumber +
                                    ", the description's is " + describedSerialNumber);
    verdict.remedy = withAddress("korva describe ADDRESS for a new description, or --any-camera", address);
    verdict.address = address;
    return verdict;
}

Verdict atExposure(Verdict verdict, int exposureUnits) {
    verdict.text += ", exposure " + secondsText(exposureUnits) + " s";
    return verdict;
}

std::string secondsText(int exposureUnits) {
    const int tenths = exposureUnits % 10;
    return std::to_string(exposureUnits / 10) + (tenths == 0 ? "" : "." + std::to_string(tenths));
}

std::string percentText(double share) {
    const double percent = share * 100.0;
    if (percent <= 0.0 || percent >= 100.0)
        return percent <= 0.0 ? "0 %" : "100 %";
    std::array<char, 32> text{};
    if (percent >= 10.0 && percent < 99.0)
        std::snprintf(text.data(), text.size(), "%.0f %%", percent);
    else
        std::snprintf(text.data(), text.size(), "%.1f %%", std::clamp(percent, 0.1, 99.9));
    return text.data();
}

} // namespace Diagnosis
