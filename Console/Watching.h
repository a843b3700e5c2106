#pragma once
// What the commands with --watch share.

#include <chrono>
#include <cstddef>
#include <functional>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

namespace Console {

/// "2026-03-01 23:59:01" by the clock on the wall, and the same moment as "2026-03-01T22:59:01Z". Any thread.
std::string localTimeText(std::chrono::system_clock::time_point time);
std::string utcTimeText(std::chrono::system_clock::time_point time);

/// Prints what is new at once: the words behind the local time, or the object with "time" in front. Any
/// thread. Throws CommandFailure where standard output takes no more.
void tellNews(bool json, const std::string& words, const nlohmann::ordered_json& object);

/// Looks at several things, none of which waits for another.
struct Looking {
    std::size_t count = 0; ///< of the things
    std::size_t jobs = 1;  ///< so many at a time, each on a thread of its own
    /// Between two looks at the same; unset: each is looked at once.
    std::optional<std::chrono::milliseconds> pause = {};
    /// Is given the number of the thing, on any thread, and ends soon after Ctrl-C: by interruption().
    std::function<void(std::size_t)> look;
    std::function<void()> meanwhile = {}; ///< called on the calling thread all the time, some 50 ms apart
};

/// Returns once each was looked at, with a pause never. Throws interruption() once Ctrl-C has come, and what
/// `look` or `meanwhile` threw first. All threads have ended then.
void lookAtEach(const Looking& looking);

} // namespace Console
