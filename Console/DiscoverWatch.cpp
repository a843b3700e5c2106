#include "DiscoverWatch.h"

#include "CameraHost.h"
#include "CommandFailure.h"
#include "LookAround.h"
#include "SearchFacts.h"
#include "WatchedAdapters.h"
#include "Watching.h"

#include "Diagnosis/Figures.h"
#include "Diagnosis/Print.h"
#include "Diagnosis/Rules.h"
#include "Diagnosis/RulesOfAnswer.h"
#include "Look/ArpLook.h"
#include "Look/NetworkLook.h"
#include "Platform/Terminal.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <optional>

namespace Console {

namespace {

using Clock = WatchedAdapters::Clock;
using Diagnosis::Verdict;
using Json = nlohmann::ordered_json;
using namespace std::chrono_literals;

/// Between two searches, and between two questions to an address that was given.
constexpr auto pauseBetween = 2s;

/// Between two looks for work.
constexpr auto pauseOfThreads = 50ms;

Json troubleObject(const Verdict& verdict) {
    Json object;
    object["event"] = "trouble";
    object["address"] = verdict.address;
    object["code"] = verdict.code;
    object["text"] = verdict.text;
    object["try"] = verdict.remedy;
    return object;
}

bool isAnyReady(const std::vector<DiscoverReport::Row>& rows) {
    return std::any_of(rows.begin(), rows.end(),
                       [](const DiscoverReport::Row& row) { return row.isPresent && row.isReady; });
}

/// One address, and who is there.
struct Watched {
    CameraChanges changes;
    std::string trouble;     ///< that was told of an address where nobody has been yet, without figures
    bool isAnswering = true; ///< the last search
    bool isAsked = false;    ///< at the moment
    bool hasCome = false;    ///< somebody was there
    Clock::time_point due{}; ///< when it is asked next
};

class DiscoverWatch {
public:
    DiscoverWatch(const CameraHost& host, const DiscoverWatchOptions& options)
        : host_(host), options_(options),
          adapters_(options.addresses.empty(), [this](const auto& change) { tellOfAdapter(change); }) {
        for (const std::string& address : options.addresses) {
            watched_[address];
            adapters_.addWatched(address);
        }
    }

    ExitStatus run() {
        Looking looking;
        looking.count = looking.jobs = options_.jobs;
        looking.pause = pauseOfThreads;
        looking.look = [this](std::size_t) { askNext(); };
        looking.meanwhile = [this] { lookAround(); };
        adapters_.look();
        try {
            lookAtEach(looking);
        } catch (const CommandFailure& failure) {
            if (failure.status() != ExitStatus::interrupted || !(isOver_ || hasLooked_))
                throw;
        }
        return end();
    }

private:
    void tellLine(const std::string& words, const Json& object) {
        if (options_.beforeNews)
            options_.beforeNews();
        hasTold_ = true;
        tellNews(options_.json, words, object);
    }

    void tellOfAdapter(const Diagnosis::AdapterChanges::Change& change) {
        tellLine(change.verdict ? Diagnosis::lineOf(*change.verdict) : change.adapter + " works again",
                 adapterObject(change));
    }

    void lookAround() {
        const auto now = Clock::now();
        if (options_.timeout > 0ms && now - begin_ >= options_.timeout) {
            isOver_ = true;
            return Platform::interruptOneself();
        }
        adapters_.lookNowAndThen();
        for (const Verdict& lost : host_.takeDumpFailures())
            tellNews(options_.json, Diagnosis::lineOf(lost), troubleObject(lost));
        if (options_.addresses.empty() && now >= nextSearch_) {
            search();
            nextSearch_ = Clock::now() + pauseBetween;
        }
    }

    void search() {
        Diagnosis::Facts facts = lookForAnybody();
        takeFromRefused(facts);
        throwIfInterrupted(); // which has cut it short
        adapters_.look();
        const std::lock_guard lock(mutex_);
        hasLooked_ = true;
        seen_ = std::move(facts);
        isNobody_ = seen_.search->answers.empty();
        if (!isNobody_)
            tellTrouble(troubleOf(seen_));
        noteAnswers();
    }

    /// The neighbours may have answered in vain, which takes longer than a search: the searches go on.
    /// Whoever was there is first to be gone.
    bool lookWhyNobody() {
        Diagnosis::Facts facts;
        {
            const std::lock_guard lock(mutex_);
            const bool isAnyLeft = std::any_of(watched_.begin(), watched_.end(), [](const auto& each) {
                return !each.second.changes.rows().empty();
            });
            if (!isNobody_ || isLooking_ || (isAnyLeft && seen_.search->failure.empty()))
                return false;
            isNobody_ = false;
            isLooking_ = true;
            facts = seen_;
        }
        Console::lookAround({}, facts);
        const std::lock_guard lock(mutex_);
        isLooking_ = false;
        if (Platform::interrupted() || !seen_.search->answers.empty())
            return true;
        tellTrouble(troubleOf(std::move(facts)));
        return true;
    }

    void tellTrouble(const std::optional<Verdict>& trouble) {
        const std::string text = trouble ? trouble->text : "";
        if (trouble && text != trouble_ && !adapters_.isTold(text))
            tellLine(Diagnosis::lineOf(*trouble), troubleObject(*trouble));
        trouble_ = text;
    }

    /// Who has not answered is gone after two searches; who has is asked.
    void noteAnswers() {
        std::set<std::string> known;
        for (auto& [address, watched] : watched_) {
            watched.isAnswering = false;
            known.insert(address);
        }
        for (const std::string& address : answering(seen_, known)) {
            Watched& watched = watched_[address];
            watched.isAnswering = true;
            watched.due = {};
            adapters_.addWatched(address);
        }
        for (auto& [address, watched] : watched_)
            if (!watched.isAnswering && !adapters_.explain(address, Clock::now()))
                tell(watched.changes.take({}));
        std::erase_if(watched_, [this](const auto& each) {
            const Watched& watched = each.second;
            const bool isOver = !watched.isAnswering && !watched.isAsked && watched.changes.rows().empty();
            if (isOver)
                adapters_.removeWatched(each.first);
            return isOver;
        });
    }

    /// Who has waited longest, if anybody is to be asked.
    std::optional<std::string> next() {
        const std::lock_guard lock(mutex_);
        const auto isBefore = [](const auto& one, const auto& other) {
            return one.second.due < other.second.due;
        };
        const auto isFree = [](const Watched& watched) {
            return !watched.isAsked && watched.isAnswering && watched.due <= Clock::now();
        };
        auto first = watched_.end();
        for (auto each = watched_.begin(); each != watched_.end(); ++each)
            if (isFree(each->second) && (first == watched_.end() || isBefore(*each, *first)))
                first = each;
        if (first == watched_.end())
            return std::nullopt;
        first->second.isAsked = true;
        first->second.due = Clock::time_point::max();
        return first->first;
    }

    void askNext() {
        if (lookWhyNobody())
            return;
        const std::optional<std::string> address = next();
        if (!address)
            return;
        const auto begin = Clock::now();
        const CameraHost::Identified result = std::move(host_.identified({*address}).front());
        Diagnosis::Facts facts;
        Diagnosis::lookAtComputer(facts);
        Diagnosis::lookAt({*address}, facts);
        if (!options_.addresses.empty())
            Diagnosis::lookByArp(facts); // a search hears twins by itself
        throwIfInterrupted();
        Diagnosis::Camera& camera = cameraIn(facts, *address);
        camera.attempts.push_back(result.attempt);
        std::vector<CameraInfo> infos;
        if (result.camera != nullptr) {
            infos.push_back(result.camera->getCameraInfo());
            camera.identity = identityOf(infos.back());
        }
        adapters_.look(); // before anything is told of the camera
        take(*address, std::move(facts), infos, begin);
    }

    void take(const std::string& address, Diagnosis::Facts facts, const std::vector<CameraInfo>& infos,
              Clock::time_point begin) {
        const std::lock_guard lock(mutex_);
        Watched& watched = watched_.at(address);
        watched.isAsked = false;
        hasLooked_ = true;
        if (options_.addresses.empty() && !watched.isAnswering)
            return; // the searches say whether it is gone
        if (!options_.addresses.empty())
            watched.due = Clock::now() + pauseBetween;
        complete(cameraIn(facts, address), facts);
        const DiscoverReport report(std::move(facts), infos);
        if (!isAnyReady(report.rows()) && adapters_.explain(address, begin))
            return;
        tell(watched.changes.take(report.rows()));
        tellAbsence(watched, report);
    }

    /// With what the last search has told.
    void complete(Diagnosis::Camera& camera, Diagnosis::Facts& facts) const {
        camera.wasAskedFor = !options_.addresses.empty();
        if (camera.wasAskedFor)
            return;
        facts.search = seen_.search;
        facts.foreign = seen_.foreign;
        facts.limitedOnly = seen_.limitedOnly;
        for (const Diagnosis::Camera& answered : seen_.cameras) {
            if (answered.address != camera.address)
                continue;
            camera.answeredSearch = true;
            camera.room = answered.room;
        }
    }

    void tell(const std::vector<CameraChanges::Change>& changes) {
        for (const CameraChanges::Change& change : changes)
            tellLine(changeLine(change), changeObject(change));
    }

    /// Of an address that was given, as long as nobody has been there.
    void tellAbsence(Watched& watched, const DiscoverReport& report) {
        const auto failure = report.failure();
        const bool isAnyThere = std::any_of(report.rows().begin(), report.rows().end(),
                                            [](const DiscoverReport::Row& row) { return row.isPresent; });
        watched.hasCome = watched.hasCome || isAnyThere;
        const std::string state = failure ? Diagnosis::withoutFigures(failure->text) : "";
        if (watched.hasCome || !failure || state == watched.trouble)
            return;
        watched.trouble = state;
        Verdict verdict = *failure;
        verdict.room.clear();
        tellLine(Diagnosis::lineOf(verdict), troubleObject(verdict));
    }

    /// All threads have ended.
    ExitStatus end() {
        const std::lock_guard lock(mutex_);
        for (auto& [address, watched] : watched_)
            if (options_.addresses.empty() && watched.isAnswering && watched.changes.rows().empty())
                tell(watched.changes.take({stillAsked(address, seen_)}));
        const ExitStatus end = status();
        if (hasTold_ || end == ExitStatus::done || end == ExitStatus::partlyFailed)
            return end;
        if (!seen_.search)
            Diagnosis::lookAtComputer(seen_);
        if (options_.addresses.empty())
            throw CommandFailure(DiscoverReport(seen_, {}).failure().value(), end);
        throw CommandFailure(Diagnosis::notAskedToTheEnd(options_.addresses.front()), end);
    }

    /// Of all that are there; an address that was given and is not there is unusable.
    ExitStatus status() const {
        WatchEnd end;
        for (const auto& [address, watched] : watched_) {
            const auto rows = watched.changes.rows();
            if (isAnyReady(rows) && !adapters_.explain(address, Clock::now()))
                ++end.ready;
            else if (!rows.empty() || !options_.addresses.empty())
                ++end.unusable;
        }
        end.isSearched = seen_.search && seen_.search->failure.empty();
        end.hasTrouble = !trouble_.empty();
        return statusOf(end);
    }

    const CameraHost& host_;
    const DiscoverWatchOptions& options_;
    const Clock::time_point begin_ = Clock::now();
    Clock::time_point nextSearch_{};
    WatchedAdapters adapters_;
    std::mutex mutex_;                       ///< of what follows
    std::map<std::string, Watched> watched_; ///< by address
    Diagnosis::Facts seen_;                  ///< by the last search
    std::string trouble_;                    ///< of the last search
    bool isNobody_ = false;                  ///< has answered it, and why was not looked for yet
    bool isLooking_ = false;                 ///< somebody, for why
    std::atomic<bool> hasLooked_{false};
    std::atomic<bool> hasTold_{false};
    bool isOver_ = false; ///< its time
};

} // namespace

std::vector<std::string> answering(const Diagnosis::Facts& seen, const std::set<std::string>& watched) {
    std::vector<std::string> addresses;
    std::size_t count = watched.size();
    for (const std::string& address : addressesIn(seen, SearchProgress::mostAnswers))
        if (watched.contains(address) || count++ < mostWatched)
            addresses.push_back(address);
    return addresses;
}

std::optional<Verdict> troubleOf(Diagnosis::Facts facts) {
    const bool isAnyThere = !facts.search->answers.empty();
    if (!isAnyThere)
        return DiscoverReport(std::move(facts), {}).failure();
    facts.cameras.clear();
    for (const Verdict& cause : Diagnosis::causesOf(facts))
        if (cause.code == "adapter-refused")
            return cause;
    return std::nullopt;
}

DiscoverReport::Row stillAsked(const std::string& address, const Diagnosis::Facts& seen) {
    DiscoverReport::Row row;
    row.address = address;
    row.isPresent = true;
    for (const Diagnosis::Camera& camera : seen.cameras)
        if (camera.address == address)
            row.room = camera.room;
    row.verdict = Diagnosis::stillAsked(address, row.room);
    return row;
}

ExitStatus statusOf(const WatchEnd& end) {
    if (end.ready > 0)
        return end.unusable > 0 || end.hasTrouble ? ExitStatus::partlyFailed : ExitStatus::done;
    return end.unusable > 0 || !end.isSearched ? ExitStatus::failed : ExitStatus::nothingFound;
}

ExitStatus watchCameras(const CameraHost& host, const DiscoverWatchOptions& options) {
    return DiscoverWatch(host, options).run();
}

} // namespace Console
