#include "DiscoverCommand.h"

#include "Aside.h"
#include "CameraHost.h"
#include "CameraText.h"
#include "CommandFailure.h"
#include "CommandRun.h"
#include "DiscoverReport.h"
#include "DiscoverWatch.h"
#include "LookAround.h"
#include "ProgressBar.h"
#include "SearchFacts.h"
#include "ToolLog.h"

#include "Diagnosis/RulesOfSearch.h"
#include "Look/ArpLook.h"
#include "Look/NetworkLook.h"
#include "Platform/StandardError.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <set>
#include <utility>

namespace Console {

namespace {

constexpr double longestTimeout = 86'400.0;

/// What was seen, and of those that were identified what they say of themselves.
struct Seen {
    Diagnosis::Facts facts;
    std::vector<CameraInfo> cameras;
};

/// Searches once, and again until the time is over. Whom it has found is also in `object`, and in `seen`, at
/// once.
void search(const CameraHost& host, std::chrono::milliseconds time, nlohmann::ordered_json& object,
            Seen& seen) {
    const auto begin = std::chrono::steady_clock::now();
    std::set<std::string> known;
    do {
        const Diagnosis::Facts round = host.searchFacts([&](const CameraTemplatePointer& found) {
            const CameraInfo& info = found->getCameraInfo();
            if (!known.insert(identityOf(info).address).second)
                return;
            seen.cameras.push_back(info);
            object["cameras"].push_back(cameraObject(info));
        });
        absorb(seen.facts, round);
    } while (std::chrono::steady_clock::now() - begin < time && !isThreadLeftBehind());
    lookAround(addressesIn(seen.facts, mostLookedAt), seen.facts);
    throwIfInterrupted();
}

/// What a search that was interrupted has found before.
void showFound(Seen& seen, bool json, nlohmann::ordered_json& object) {
    addFound(seen.cameras, seen.facts);
    const DiscoverReport report(seen.facts, seen.cameras);
    if (report.rows().empty())
        return;
    object = report.json();
    std::FILE* const stream = json ? Platform::standardError() : stdout;
    std::fputs(report.table(isColourWanted(stream)).c_str(), stream);
}

/// search() with what it has found shown if Ctrl-C ends it.
Seen searched(const CameraHost& host, const DiscoverOptions& options, nlohmann::ordered_json& object,
              ProgressBar& status) {
    Seen seen;
    try {
        search(host, options.timeout, object, seen);
    } catch (const CommandFailure& failure) {
        status.erase();
        if (failure.status() == ExitStatus::interrupted)
            showFound(seen, options.json, object);
        throw;
    }
    return seen;
}

/// Once, and again until all answer or the time is over.
std::vector<CameraHost::Identified> identified(const CameraHost& host,
                                               const std::vector<std::string>& addresses,
                                               std::chrono::milliseconds time) {
    constexpr std::chrono::milliseconds pause{500}; // a camera that starts is not asked without a break
    const auto begin = std::chrono::steady_clock::now();
    std::vector<CameraHost::Identified> results = host.identified(addresses);
    const auto isMissing = [&results] {
        return std::any_of(results.begin(), results.end(),
                           [](const CameraHost::Identified& each) { return each.camera == nullptr; });
    };
    while (isMissing() && std::chrono::steady_clock::now() - begin + pause < time) {
        waitUntil(std::chrono::steady_clock::now() + pause);
        results = host.identified(addresses);
    }
    return results;
}

Seen asked(const CameraHost& host, const std::vector<std::string>& addresses,
           std::chrono::milliseconds time) {
    Seen seen;
    const std::vector<CameraHost::Identified> results = identified(host, addresses, time);
    lookAtComputer(seen.facts);
    lookAt(addresses, seen.facts);
    lookByArp(seen.facts); // of twins only one has been asked
    for (std::size_t i = 0; i < addresses.size(); ++i) {
        Diagnosis::Camera& camera = cameraIn(seen.facts, addresses[i]);
        camera.wasAskedFor = true;
        camera.attempts.push_back(results[i].attempt);
        if (results[i].camera == nullptr)
            continue;
        seen.cameras.push_back(results[i].camera->getCameraInfo());
        camera.identity = identityOf(seen.cameras.back());
    }
    return seen;
}

/// For people. Throws CommandFailure if there was no search, or a part of one.
void show(const DiscoverReport& report, const Diagnosis::Facts& facts, std::FILE* stream) {
    if (facts.search && !facts.search->cut.empty())
        warn(Diagnosis::verdictOnCut(*facts.search));
    std::fputs(report.table(isColourWanted(stream)).c_str(), stream);
    const bool isFailed = facts.search && !facts.search->failure.empty();
    if (isFailed)
        std::fprintf(stream, "Networks:%s\n", networkLines(*facts.search).c_str());
    if (!isFailed || !report.rows().empty())
        std::fprintf(stream, "%s\n", report.summary().c_str());
    if (isFailed)
        throw CommandFailure(report.failure().value(), report.status());
}

} // namespace

void addDiscoverOptions(const CommandLine::Options& command, DiscoverOptions& options) {
    addAddresses(command, options.camera);
    addJson(command, options.json, "; the lines for people go to standard error then");
    command
        .addUse<double>(
            "--timeout",
            [&options](const double& seconds) {
                options.timeout = std::chrono::milliseconds(static_cast<long>(seconds * 1000.0));
            },
            "Search again and again until so much time has passed, for cameras that are slow to answer; with "
            "ADDRESS ask again until all answer, or so long; with --watch end then")
        .placeholder("SECONDS")
        .range(0.0, longestTimeout);
    command
        .addFlag("--watch", options.watch,
                 "Search until Ctrl-C, or for the time of --timeout, and print a line for each camera that "
                 "comes, changes or goes; with --json each is a JSON object on a line of its own")
        .placeholder(" ");
    addPluginOption(command, options.camera);
    command.footer(
        std::string("Without ADDRESS, the networks of all adapters are searched.\n\n"
                    "Ctrl-C is the usual end of --watch, whose exit status is then that of what was "
                    "seen last; 130 only if nothing had been.\n\n") +
        exitStatusHelp);
}

ExitStatus runDiscover(const DiscoverOptions& options, const CommonOptions& common) {
    const nlohmann::ordered_json nothing = {{"cameras", nlohmann::ordered_json::array()},
                                            {"problems", nlohmann::ordered_json::array()}};
    return runJson(options.json, options.watch ? nlohmann::ordered_json() : nothing, common,
                   [&](nlohmann::ordered_json& object) {
                       ProgressBar status(streamOfStatus(common));
                       warnOfNoDump(common);
                       ToolLog log(common.log, &status);
                       const CameraHost host(options.camera, log);
                       const std::vector<std::string> addresses = options.camera.eachAddress();
                       status.show(addresses.empty() ? "searching..." : "asking...");
                       if (options.watch)
                           return watchCameras(host, {addresses, options.timeout, mostAside, options.json,
                                                      [&status] { status.erase(); }});
                       const Seen seen = addresses.empty() ? searched(host, options, object, status)
                                                           : asked(host, addresses, options.timeout);
                       throwIfInterrupted();
                       status.erase();
                       const DiscoverReport report(seen.facts, seen.cameras);
                       object = report.json();
                       show(report, seen.facts, options.json ? Platform::standardError() : stdout);
                       return tellLost(host.takeDumpFailures(), report.status(), object);
                   });
}

} // namespace Console
