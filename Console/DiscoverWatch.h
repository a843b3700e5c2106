#pragma once
// `korva discover --watch`: cameras as they come and go.

#include "CameraChanges.h"
#include "DiscoverReport.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace Console {

class CameraHost;

/// Of the cameras in `seen` those that are watched from now on, besides those in `watched`, and the latter
/// that have answered: of all together as many as a watch keeps.
inline constexpr std::size_t mostWatched = 256;
std::vector<std::string> answering(const Diagnosis::Facts& seen, const std::set<std::string>& watched);

/// What a search has told of the computer: what keeps it from the cameras, or from some of them.
std::optional<Diagnosis::Verdict> troubleOf(Diagnosis::Facts facts);

/// Of a camera that has answered the search in `seen` and is still being asked when the watch ends.
DiscoverReport::Row stillAsked(const std::string& address, const Diagnosis::Facts& seen);

/// What a watch has seen last, of all cameras.
struct WatchEnd {
    std::size_t ready = 0;
    std::size_t unusable = 0;
    bool isSearched = true; ///< there was a search, and nothing kept it from being made
    bool hasTrouble = false;
};
ExitStatus statusOf(const WatchEnd& end);

struct DiscoverWatchOptions {
    std::vector<std::string> addresses;   ///< that are asked; empty: the networks are searched
    std::chrono::milliseconds timeout{0}; ///< ends it; 0: Ctrl-C alone does
    std::size_t jobs = 16;                ///< cameras that are asked at a time
    bool json = false;
    std::function<void()> beforeNews = {}; ///< called before each line, on any thread
};

/// Prints what is new of each camera as soon as it is known, whatever the others do, until Ctrl-C or the time
/// is over, and of this computer's own adapters. Looks by itself who answers, and has `host` identify those.
/// The status is that of what was seen last. Throws CommandFailure if Ctrl-C came before that, and with the
/// likeliest cause if no camera is ready at the end and there was nothing to print.
ExitStatus watchCameras(const CameraHost& host, const DiscoverWatchOptions& options);

} // namespace Console
