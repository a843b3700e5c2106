#include "Console/AutoExposure.h"

#include "Diagnosis/PictureRules.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

using Console::AutoExposure;
using Units = std::vector<int>;

namespace {

/// A picture of one brightness, which grows with the exposure to `full` units and is clipped from there.
Diagnosis::PictureFacts pictureOf(double full, int units) {
    const double value = std::min(255.0, std::round(255.0 * units / full));
    const unsigned char pixel = static_cast<unsigned char>(value);
    return Diagnosis::measured(1, 1, {&pixel, 1});
}

/// The exposures it goes through, and last the one it chooses.
Units searched(int first, double full) {
    AutoExposure search(first);
    Units tried;
    int best = 0;
    while (search.next()) {
        tried.push_back(*search.next());
        if (search.take(pictureOf(full, tried.back())))
            best = tried.back();
    }
    EXPECT_EQ(search.tried(), static_cast<int>(tried.size()));
    tried.push_back(best);
    return tried;
}

} // namespace

TEST(AutoExposure, TakesNoMorePicturesThanItNeedsAndFourAtMost) {
    EXPECT_EQ(searched(15, 19.0), (Units{15, 15})) << "fits already";
    EXPECT_EQ(searched(15, 30.0), (Units{15, 24, 24})) << "too dark";
    EXPECT_EQ(searched(90, 50.0), (Units{90, 5, 39, 39})) << "clipped";
    EXPECT_EQ(searched(15, 1.0), (Units{15, 1, 1})) << "too bright for any";
    EXPECT_EQ(searched(1, 1e9), (Units{1, 16, 90, 1})) << "no light at all";
}

TEST(AutoExposure, TriesLongerWhereNoPictureCameSinceItWasAllBlack) {
    AutoExposure search(2);
    search.takeBlack();
    EXPECT_EQ(search.next(), 32);
    const unsigned char dark = 0; // yet a picture
    EXPECT_TRUE(search.take(Diagnosis::measured(1, 1, {&dark, 1}))) << "the only one";
    EXPECT_EQ(search.next(), 90);
    search.takeBlack();
    EXPECT_EQ(search.next(), std::nullopt);
    EXPECT_EQ(search.tried(), 3);
}

TEST(AutoExposure, OfAnyLightEndsWithinItsRangeIfAnExposureDoes) {
    for (const int first : {1, 15, 90})
        for (double full = 10.0; full < 120.0; full *= 1.1) {
            const int chosen = searched(first, full).back();
            EXPECT_EQ(Diagnosis::distanceFromFit(pictureOf(full, chosen)), 0u)
                << "from " << first << " for " << full << ": " << chosen;
        }
}

TEST(AutoExposure, PrefersWhatIsNotClippedAndStaysBetweenWhatItKnows) {
    AutoExposure search(10);
    const auto take = [&search](std::vector<unsigned char> pixels) {
        return search.take(Diagnosis::measured(static_cast<std::uint32_t>(pixels.size()), 1, pixels));
    };
    EXPECT_TRUE(take({51}));
    EXPECT_EQ(search.next(), 40);
    EXPECT_FALSE(take({255})) << "lost, however near";
    EXPECT_EQ(search.next(), 20) << "2 would be darker than it was";
    EXPECT_TRUE(take({120}));
    EXPECT_EQ(search.next(), 34);
    EXPECT_FALSE(take({255}));
    EXPECT_EQ(search.next(), std::nullopt) << "these were four";
}
