#include "HealthCommand.h"

#include "CommandFailure.h"
#include "CommandRun.h"
#include "DiscoverReport.h"
#include "HealthWard.h"
#include "Printable.h"
#include "ProgressBar.h"
#include "ToolLog.h"
#include "WatchedAdapters.h"
#include "Watching.h"

#include "Diagnosis/Figures.h"
#include "Diagnosis/Json.h"
#include "Diagnosis/Print.h"

#include <nlohmann/json.hpp>

#include <atomic>
#include <cstddef>
#include <numeric>
#include <vector>

namespace Console {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::chrono::seconds pauseBetweenProbes{1};
constexpr std::chrono::seconds pauseBetweenTwinLooks{5};
constexpr int mostAtATime = 64;

/// How often the networks are asked by a watch who has an address twice.
constexpr auto twinSteps = pauseBetweenTwinLooks / pauseBetweenProbes;

/// Why cameras may be missing.
void addSearch(const HealthWard& ward, Json& object) {
    if (!ward.cut().empty())
        object["cut"] = ward.cut();
    if (ward.searchTrouble() && !object.contains("error"))
        object["error"] = Diagnosis::errorOf(*ward.searchTrouble());
}

/// What was found out so far, in the order of the cameras.
void report(const HealthWard& ward, bool json, Json& object) {
    for (std::size_t i = 0; i < ward.size(); ++i) {
        const std::optional<Health> health = ward.healthOf(i);
        if (!health)
            continue;
        object["results"].push_back(healthObject(*health));
        if (health->whyNot && !object.contains("error"))
            object["error"] = Diagnosis::errorOf(*health->whyNot);
        if (!json)
            say(healthLine(*health));
    }
    addSearch(ward, object);
}

/// One more than there are cameras: the last is the look for twins.
ExitStatus askAll(HealthWard& ward, const HealthOptions& options, ProgressBar& status, Json& object) {
    std::atomic<std::size_t> asked{0};
    Looking looking;
    looking.count = ward.size() + 1;
    looking.jobs = static_cast<std::size_t>(options.jobs);
    looking.look = [&](std::size_t number) {
        if (number == ward.size())
            return ward.lookForTwins(TwinLook::byArp);
        ward.ask(number);
        ++asked;
    };
    looking.meanwhile = [&] {
        status.show(ward.size() == 1 ? "asking..."
                                     : std::to_string(asked) + " of " + std::to_string(ward.size()));
    };
    try {
        lookAtEach(looking);
        std::vector<std::size_t> all(ward.size());
        std::iota(all.begin(), all.end(), std::size_t{0});
        ward.explain(all);
    } catch (const CommandFailure&) {
        status.erase();
        report(ward, options.json, object);
        throw;
    }
    status.erase();
    report(ward, options.json, object);
    return ward.status();
}

void tellLostDumps(const HealthWard& ward, bool json) {
    for (const Diagnosis::Verdict& lost : ward.lostDumps())
        tellNews(json, Diagnosis::lineOf(lost),
                 {{"address", lost.address}, {"error", Diagnosis::errorOf(lost)}});
}

/// Of each camera what is new, at its own pace.
class HealthWatch {
public:
    HealthWatch(HealthWard& ward, const HealthOptions& options)
        : ward_(ward), options_(options), told_(ward.size()),
          adapters_(false, [this](const auto& change) { tellAdapter(change, options_.json); }) {
        for (const std::string& address : ward.addresses())
            adapters_.addWatched(address);
    }

    /// Until Ctrl-C.
    ExitStatus run() {
        Looking looking;
        looking.count = ward_.size() + 1;
        looking.jobs = static_cast<std::size_t>(options_.jobs);
        looking.pause = pauseBetweenProbes;
        looking.look = [this](std::size_t number) { number < ward_.size() ? watch(number) : watchTwins(); };
        looking.meanwhile = [this] {
            adapters_.lookNowAndThen();
            tellLostDumps(ward_, options_.json);
        };
        tellSearch();
        adapters_.look();
        try {
            lookAtEach(looking);
        } catch (const CommandFailure& failure) {
            if (failure.status() != ExitStatus::interrupted || !hasAnswered_)
                throw;
        }
        return ward_.status();
    }

private:
    /// To people it has been said.
    void tellSearch() const {
        Json object;
        addSearch(ward_, object);
        if (options_.json && !object.empty())
            tellNews(true, "", object);
    }

    void watch(std::size_t number) {
        const auto begin = WatchedAdapters::Clock::now();
        ward_.ask(number);
        ward_.explain({number});
        hasAnswered_ = true;
        const Health now = ward_.healthOf(number).value();
        if (now.whyNot) {
            adapters_.look(); // before anything is told of the camera
            if (adapters_.explain(ward_.addresses()[number], begin))
                return;
        }
        if (!told_[number] || !isSameState(*told_[number], now))
            tellNews(options_.json, healthLine(now), healthObject(now));
        told_[number] = now;
    }

    void watchTwins() {
        if (twinStep_++ % twinSteps == 0)
            ward_.lookForTwins(options_.camera.all ? TwinLook::alsoBySearch : TwinLook::byArp);
    }

    HealthWard& ward_;
    const HealthOptions& options_;
    std::vector<std::optional<Health>> told_; ///< each of them used by one thread at a time
    std::atomic<bool> hasAnswered_{false};
    int twinStep_ = 0;
    WatchedAdapters adapters_;
};

} // namespace

void addHealthOptions(const CommandLine::Options& command, HealthOptions& options) {
    addAnyCameras(command, options.camera);
    command
        .addFlag("--watch", options.watch,
                 "Ask again each second until Ctrl-C, and print a line with the time whenever something has "
                 "changed; a camera that is not there is waited for. With --all, those that one search finds "
                 "at the beginning")
        .placeholder(" ");
    command.add("--jobs", options.jobs, "Ask so many cameras at a time; 16 unless given")
        .placeholder("N")
        .range(1, mostAtATime);
    command
        .addFlag("--any-camera", options.takesAnyCamera,
                 "With --from, also if another camera than the description's answers")
        .placeholder(" ");
    addJson(command, options.json, " instead of words; with --watch one on each line");
    addPluginOption(command, options.camera);
    command.footer(
        std::string("ADDRESS identifies the camera first, which a camera that has failed may not "
                    "answer; --from does without. A camera that answers the check with an error "
                    "answers: that is a note.\n\n"
                    "Ctrl-C is the usual end of --watch, whose exit status is then that of the last "
                    "checks; 130 only if none had come to its end.\n\n") +
        exitStatusHelp);
}

bool isSameState(const Health& one, const Health& other) {
    const auto stateOf = [](Health health) {
        for (auto* const verdict : {&health.whyNot, &health.note})
            if (*verdict)
                *verdict = Diagnosis::withoutFigures(**verdict);
        return health;
    };
    return stateOf(one) == stateOf(other);
}

std::string healthLine(const Health& health) {
    const std::optional<Diagnosis::Verdict>& verdict = health.whyNot ? health.whyNot : health.note;
    if (!verdict)
        return printable(health.place) + ": good, the camera answers";
    const bool isGood = !health.whyNot && verdict->code == "unknown-model";
    return printable(health.place) + (isGood ? ": good, but " : ": ") + Diagnosis::wordsOf(*verdict);
}

Json healthObject(const Health& health) {
    Json object;
    object["address"] = health.address;
    object["ok"] = !health.whyNot;
    if (health.whyNot)
        object["error"] = Diagnosis::errorOf(*health.whyNot);
    if (health.note)
        object["note"] = Diagnosis::errorOf(*health.note);
    return object;
}

ExitStatus runHealth(const HealthOptions& options, const CommonOptions& common) {
    return runJson(options.json, options.watch ? Json() : Json{{"results", Json::array()}}, common,
                   [&](Json& object) {
                       warnOfNoDump(common);
                       ProgressBar status(streamOfStatus(common));
                       ToolLog log(common.log, &status);
                       if (options.camera.all)
                           status.show("searching...");
                       HealthWard ward(options, log);
                       status.erase();
                       if (ward.searchTrouble())
                           warn(*ward.searchTrouble());
                       if (options.watch)
                           return HealthWatch(ward, options).run();
                       const ExitStatus end = askAll(ward, options, status, object);
                       return tellLost(ward.lostDumps(), end, object);
                   });
}

} // namespace Console
