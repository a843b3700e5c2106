#include "WatchedAdapters.h"

#include "Watching.h"

#include "Diagnosis/Json.h"
#include "Diagnosis/Print.h"
#include "Look/NetworkLook.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace Console {

namespace {

using namespace std::chrono_literals;

constexpr auto pauseBetweenLooks = 500ms;

/// What a camera may need to be reached again.
constexpr auto timeToComeBack = 2s;

} // namespace

void WatchedAdapters::addWatched(const std::string& address) {
    const std::lock_guard lock(mutex_);
    watched_.try_emplace(address);
}

void WatchedAdapters::removeWatched(const std::string& address) {
    const std::lock_guard lock(mutex_);
    watched_.erase(address);
}

void WatchedAdapters::look() {
    Diagnosis::Facts facts;
    const std::lock_guard lock(mutex_); // also of the look: a later one has later facts
    Diagnosis::lookAtComputer(facts);
    take(facts);
    next_ = Clock::now() + pauseBetweenLooks;
}

void WatchedAdapters::lookNowAndThen() {
    {
        const std::lock_guard lock(mutex_);
        if (Clock::now() < next_)
            return;
    }
    look();
}

void WatchedAdapters::take(const Diagnosis::Facts& facts) {
    for (const Diagnosis::AdapterChanges::Change& change : changes_.take(facts)) {
        const bool isNews =
            change.verdict ? tellsAll_ || concerns(*change.verdict) : told_.contains(change.adapter);
        told_.erase(change.adapter);
        if (isNews && change.verdict)
            told_[change.adapter] = change.verdict->text;
        if (isNews)
            tell_(change);
    }
    for (auto& [address, lastOut] : watched_)
        if (changes_.whyOutOfReach(address) != nullptr)
            lastOut = Clock::now();
}

bool WatchedAdapters::concerns(const Diagnosis::Verdict& verdict) const {
    return std::any_of(watched_.begin(), watched_.end(), [&](const auto& each) {
        const Diagnosis::Verdict* const why = changes_.whyOutOfReach(each.first);
        return why != nullptr && *why == verdict;
    });
}

bool WatchedAdapters::explain(const std::string& address, Clock::time_point begin) const {
    const std::lock_guard lock(mutex_);
    const auto at = watched_.find(address);
    const bool wasOut =
        at != watched_.end() && at->second != Clock::time_point() && at->second + timeToComeBack > begin;
    return wasOut || changes_.whyOutOfReach(address) != nullptr;
}

bool WatchedAdapters::isTold(const std::string& text) const {
    const std::lock_guard lock(mutex_);
    return std::any_of(told_.begin(), told_.end(), [&text](const auto& each) { return each.second == text; });
}

nlohmann::ordered_json adapterObject(const Diagnosis::AdapterChanges::Change& change) {
    nlohmann::ordered_json object;
    object["adapter"] = change.adapter;
    object["ok"] = !change.verdict;
    if (change.verdict)
        object["error"] = Diagnosis::errorOf(*change.verdict);
    return object;
}

void tellAdapter(const Diagnosis::AdapterChanges::Change& change, bool json) {
    tellNews(json, change.verdict ? Diagnosis::lineOf(*change.verdict) : change.adapter + " works again",
             adapterObject(change));
}

} // namespace Console
