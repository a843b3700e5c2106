#include "DiscoverCommand.h"

#include "CameraHost.h"
#include "CommandRun.h"
#include "DiscoverReport.h"
#include "DiscoverWatch.h"
#include "SearchFacts.h"
#include "StatusLine.h"
#include "ToolLog.h"

#include "Look/NetworkLook.h"
#include "Platform/StandardError.h"
#include "Platform/Terminal.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <set>
#include <utility>

namespace Console {

namespace {

/// Answers beyond these are told by the search alone: nobody has so many cameras.
constexpr std::size_t mostLookedAt = 256;

constexpr double longestTimeout = 86'400.0;

/// What was seen, and of those that were identified what they say of themselves.
struct Seen {
    Diagnosis::Facts facts;
    std::vector<CameraInfo> cameras;
};

bool hasRepeatedAnswers(const Diagnosis::Search& search) {
    std::set<std::string> addresses;
    return std::any_of(search.answers.begin(), search.answers.end(),
                       [&addresses](const auto& answer) { return !addresses.insert(answer.address).second; });
}

/// Looks at all that answered; once more at who answers, where that may tell more than the search.
void lookAround(Diagnosis::Facts& facts) {
    lookAt(addressesIn(facts, mostLookedAt), facts);
    const bool isNew =
        facts.search->failure.empty() && (facts.search->answers.empty() || hasRepeatedAnswers(*facts.search));
    if (!isNew || Platform::interrupted())
        return;
    Diagnosis::Facts look;
    lookAtComputer(look);
    lookForCameras(look);
    facts.foreign = look.foreign;
    facts.limitedOnly = look.limitedOnly;
    if (look.search)
        completeAnswers(facts.search->answers, look.search->answers);
}

/// Searches once, and again until the time is over.
Seen searched(const CameraHost& host, std::chrono::milliseconds time) {
    const auto begin = std::chrono::steady_clock::now();
    Seen seen;
    std::set<std::string> known;
    do {
        const Diagnosis::Facts round = host.searchFacts([&](const CameraTemplatePointer& found) {
            const CameraInfo& info = found->getCameraInfo();
            if (known.insert(identityOf(info).address).second)
                seen.cameras.push_back(info);
        });
        absorb(seen.facts, round);
    } while (std::chrono::steady_clock::now() - begin < time && !isThreadLeftBehind());
    lookAround(seen.facts);
    return seen;
}

Seen asked(const CameraHost& host, const std::vector<std::string>& addresses) {
    Seen seen;
    const std::vector<CameraHost::Identified> results = host.identified(addresses);
    lookAtComputer(seen.facts);
    lookAt(addresses, seen.facts);
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

/// For people. Throws CommandFailure if there was no search.
void show(const DiscoverReport& report, const Diagnosis::Facts& facts, std::FILE* stream) {
    if (facts.search && !facts.search->cut.empty())
        warn({cutWarning(*facts.search)});
    std::fputs(report.table(isColourWanted(stream)).c_str(), stream);
    if (facts.search && !facts.search->failure.empty()) {
        std::fprintf(stream, "Networks:%s\n", networkLines(*facts.search).c_str());
        throw CommandFailure(report.failure().value());
    }
    std::fprintf(stream, "%s\n", report.summary().c_str());
}

} // namespace

void addDiscoverOptions(const CommandLine::Options& command, DiscoverOptions& options) {
    addAddresses(command, options.camera);
    command
        .addFlag("--json", options.json,
                 "Print one JSON object on standard output; the lines for people go to standard error then")
        .placeholder(" ");
    command
        .addUse<double>(
            "--timeout",
            [&options](const double& seconds) {
                options.timeout = std::chrono::milliseconds(static_cast<long>(seconds * 1000.0));
            },
            "Search again and again until so much time has passed, for cameras that are slow to answer")
        .placeholder("SECONDS")
        .range(0.0, longestTimeout);
    command
        .addFlag("--watch", options.watch,
                 "Search until Ctrl-C, and print a line for each camera that comes, changes or goes; with "
                 "--json each is a JSON object on a line of its own")
        .placeholder(" ");
    addPluginOption(command, options.camera);
    command.footer(std::string("Without ADDRESS, the networks of all adapters are searched.\n\n") +
                   exitStatusHelp);
}

ExitStatus runDiscover(const DiscoverOptions& options, const CommonOptions& common) {
    const nlohmann::ordered_json nothing = {{"cameras", nlohmann::ordered_json::array()},
                                            {"problems", nlohmann::ordered_json::array()}};
    return runJson(options.json, options.watch ? nlohmann::ordered_json() : nothing, common,
                   [&](nlohmann::ordered_json& object) {
                       StatusLine status(common.log);
                       warnOfNoDump(common);
                       ToolLog log(common.log, nullptr);
                       const CameraHost host(options.camera, log);
                       const std::vector<std::string> addresses = options.camera.eachAddress();
                       const auto look = [&] {
                           status.show(addresses.empty() ? "searching..." : "asking...");
                           Seen seen =
                               addresses.empty() ? searched(host, options.timeout) : asked(host, addresses);
                           throwIfInterrupted();
                           status.erase();
                           return seen;
                       };
                       if (options.watch) {
                           watchCameras(
                               options.json,
                               [&look] {
                                   Seen seen = look();
                                   return DiscoverReport(std::move(seen.facts), std::move(seen.cameras));
                               },
                               [] { return !isThreadLeftBehind(); });
                           return ExitStatus::done;
                       }
                       const Seen seen = look();
                       const DiscoverReport report(seen.facts, seen.cameras);
                       object = report.json();
                       show(report, seen.facts, options.json ? Platform::standardError() : stdout);
                       return report.status();
                   });
}

} // namespace Console
