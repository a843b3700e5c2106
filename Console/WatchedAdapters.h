#pragma once
// This computer's own adapters while cameras are watched: what is their fault is not told of the cameras.

#include "Diagnosis/AdapterChanges.h"

#include <chrono>
#include <functional>
#include <map>
#include <mutex>
#include <nlohmann/json_fwd.hpp>
#include <set>
#include <string>
#include <utility>

namespace Console {

/// Any thread.
class WatchedAdapters {
public:
    using Clock = std::chrono::steady_clock;
    using Tell = std::function<void(const Diagnosis::AdapterChanges::Change& change)>;

    /// `tell` gets what is new, one call at a time. Adapters without a camera of addWatched() in their
    /// network are told of only if `tellsAll`.
    WatchedAdapters(bool tellsAll, Tell tell) : tellsAll_(tellsAll), tell_(std::move(tell)) {}

    void addWatched(const std::string& address);
    void removeWatched(const std::string& address);

    /// Looks at them, and tells what is new.
    void look();

    /// look(), unless the last one was a moment ago.
    void lookNowAndThen();

    /// Whether it may be this computer's fault that a camera has not answered since `begin`: by the last
    /// look there is no way to its address, or there was none until a moment before that.
    bool explain(const std::string& address, Clock::time_point begin) const;

    /// Whether a trouble of these words was told, and is not over.
    bool isTold(const std::string& text) const;

private:
    bool concerns(const Diagnosis::Verdict& verdict) const;
    void take(const Diagnosis::Facts& facts);

    const bool tellsAll_;
    const Tell tell_;
    mutable std::mutex mutex_;
    Diagnosis::AdapterChanges changes_;
    std::map<std::string, Clock::time_point> watched_; ///< and when there last was no way to them
    std::map<std::string, std::string> told_;          ///< texts of what is not over, by adapter
    Clock::time_point next_{};
};

/// {"adapter", "ok", "error": {"code", "text", "try"}}; of one that works again without "error".
nlohmann::ordered_json adapterObject(const Diagnosis::AdapterChanges::Change& change);

/// Tells of it, as every watch does.
void tellAdapter(const Diagnosis::AdapterChanges::Change& change, bool json);

} // namespace Console
