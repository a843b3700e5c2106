#pragma once
// Looks for the exposure that fits.

#include "Diagnosis/PictureFacts.h"
#include "Diagnosis/PictureRules.h"

#include <optional>

namespace Console {

/// Goes from picture to picture to the exposure whose brightest pixels use most of the range and no more; see
/// Diagnosis::nextExposure. Pure.
class AutoExposure {
public:
    static constexpr int mostPictures = 4;
    static constexpr int longest = Diagnosis::longestSureExposure; ///< a camera answers after these

    /// Begins with that exposure, units of 100 ms, up to `longest`.
    explicit AutoExposure(int firstUnits) : next_(firstUnits) {}

    /// The exposure of the next picture; nothing once the search is over.
    std::optional<int> next() const { return next_; }

    /// Takes what the picture with next() looks like. True if it is the best so far, of equal ones the
    /// shortest.
    bool take(const Diagnosis::PictureFacts& picture);

    /// Takes that no picture came with next(), since it would have been all black.
    void takeBlack();

    /// How many it has taken.
    int tried() const { return tried_; }

private:
    bool isBest(const Diagnosis::PictureFacts& picture, int units);
    void takeStep(const Diagnosis::PictureFacts& picture);
    std::optional<int> within(std::optional<int> units) const;

    std::optional<int> next_;
    int tried_ = 0;
    std::optional<double> best_; ///< the least distance from what fits
    int bestUnits_ = 0;
    std::optional<int> longestDark_;  ///< exposures that were too short
    std::optional<int> shortestPale_; ///< and too long
};

} // namespace Console
