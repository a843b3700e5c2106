#pragma once
// What a run has done, and what it has found.

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace Soak {

using Count = std::atomic<std::uint64_t>;

/// Any thread.
struct Tally {
    Count good = 0;             ///< pictures, each the very one that was served
    Count expectedFailures = 0; ///< captures that could give no picture, and gave none
    Count probes = 0;
    Count builds = 0; ///< of devices: identified anew, from templates, from descriptions
    Count refusedBuilds = 0;
    Count searches = 0;
    Count camerasFound = 0;
    Count lateAnswers = 0;   ///< of cameras to searches, which therefore did not find them
    Count notJudged = 0;     ///< what came late or not at all while the machine was busy
    Count loads = 0;         ///< of the plug-in
    Count pulls = 0;         ///< cameras stopped and cables pulled
    Count checksumLines = 0; ///< warn lines that wrong checksums must have caused
    Count findings = 0;

    /// Something that must not be. Printed at once.
    void find(const std::string& what) {
        ++findings;
        const std::lock_guard lock(printing_);
        std::printf("FOUND: %s\n", what.c_str());
        std::fflush(stdout);
    }

    /// Every count but the checksum lines, with its name.
    std::vector<std::pair<const char*, std::uint64_t>> counts() const {
        return {{"captures", good + expectedFailures},
                {"good pictures", good},
                {"expected failures", expectedFailures},
                {"connection checks", probes},
                {"cameras stopped and cables pulled", pulls},
                {"devices built", builds},
                {"builds refused as they must be", refusedBuilds},
                {"searches", searches},
                {"cameras found by searches", camerasFound},
                {"answers too late for a search", lateAnswers},
                {"loads of the plug-in", loads},
                {"not judged, as the machine was busy", notJudged},
                {"findings", findings}};
    }

private:
    std::mutex printing_;
};

} // namespace Soak
