#include "AutoExposure.h"

#include "Diagnosis/PictureRules.h"

#include <algorithm>
#include <cmath>

namespace Console {

namespace {

/// What is clipped is lost: any picture that is not is better.
double badness(const Diagnosis::PictureFacts& picture) {
    constexpr unsigned fullScale = 255;
    const double lost = picture.percentile99_5 == fullScale ? fullScale * (1.0 + picture.clipped) : 0.0;
    return Diagnosis::distanceFromFit(picture) + lost;
}

} // namespace

bool AutoExposure::take(const Diagnosis::PictureFacts& picture) {
    const int units = *next_;
    takeStep(picture);
    return isBest(picture, units);
}

void AutoExposure::takeBlack() {
    takeStep({}); // whose every pixel is 0
}

void AutoExposure::takeStep(const Diagnosis::PictureFacts& picture) {
    const int units = *next_;
    ++tried_;
    auto wanted = Diagnosis::nextExposure(picture, units);
    if (wanted)
        wanted = std::min(*wanted, longest);
    if (wanted == units)
        wanted.reset();
    if (wanted && *wanted > units)
        longestDark_ = std::max(longestDark_.value_or(units), units);
    else if (wanted)
        shortestPale_ = std::min(shortestPale_.value_or(units), units);
    next_ = tried_ < mostPictures ? within(wanted) : std::nullopt;
}

bool AutoExposure::isBest(const Diagnosis::PictureFacts& picture, int units) {
    const double bad = badness(picture);
    if (best_ && (bad > *best_ || (bad >= *best_ && units > bestUnits_)))
        return false;
    best_ = bad;
    bestUnits_ = units;
    return true;
}

/// Between what was too short and what was too long; nothing if there is nothing between.
std::optional<int> AutoExposure::within(std::optional<int> units) const {
    if (!units || !longestDark_ || !shortestPale_ || (*units > *longestDark_ && *units < *shortestPale_))
        return units;
    const int between = static_cast<int>(std::lround(std::sqrt(double{1} * *longestDark_ * *shortestPale_)));
    return between > *longestDark_ && between < *shortestPale_ ? std::optional(between) : std::nullopt;
}

} // namespace Console
