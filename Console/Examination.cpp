#include "Examination.h"

#include "CameraCheck.h"
#include "CommandFailure.h"
#include "ProgressBar.h"
#include "SearchFacts.h"

#include "Diagnosis/Rules.h"
#include "Look/ArpLook.h"
#include "Look/NetworkLook.h"

#include <algorithm>
#include <chrono>
#include <iterator>
#include <optional>
#include <string>

namespace Console {

namespace {

using Diagnosis::Camera;
using Diagnosis::Facts;
using Diagnosis::Verdict;
using namespace std::chrono_literals;

/// What all looks but the search and the pictures may take.
constexpr auto lookTime = 5s;

std::vector<std::string> addressesOf(const std::vector<Camera>& cameras) {
    std::vector<std::string> addresses;
    addresses.reserve(cameras.size());
    for (const Camera& camera : cameras)
        addresses.push_back(camera.address);
    return addresses;
}

void lookAtCameras(const std::vector<std::string>& addresses, Facts& facts) {
    if (!addresses.empty())
        return Diagnosis::lookAt(addresses, facts);
    if (facts.cameras.empty())
        return lookAtNeighbours(facts);
    Diagnosis::lookAt(addressesOf(facts.cameras), facts);
}

/// What has become of the way to the camera that a cause is about, if it may come of that.
std::optional<Verdict> onTheWay(const Verdict& cause, const Examination& seen) {
    const auto camera = std::find_if(seen.facts.cameras.begin(), seen.facts.cameras.end(),
                                     [&cause](const Camera& each) { return each.address == cause.address; });
    const bool isFailure = cause.severity == Diagnosis::Severity::failure;
    if (!isFailure || camera == seen.facts.cameras.end() || !Diagnosis::mayBeOfTheWay(cause))
        return std::nullopt;
    std::optional<Verdict> verdict = Diagnosis::verdictOnWay(*camera, seen.facts, seen.after);
    if (verdict) {
        verdict->address.clear();
        verdict->room.clear();
    }
    return verdict;
}

/// Whether they say the same of the same.
bool isSame(const Verdict& one, const Verdict& other) {
    return one.code == other.code && one.text == other.text && one.address == other.address;
}

/// With an adapter that was lost meanwhile in the place of what that did to each camera behind it.
std::vector<Verdict> withTheWay(const std::vector<Verdict>& causes, const Examination& seen) {
    std::vector<Verdict> lost;
    std::vector<Verdict> others;
    for (const Verdict& cause : causes) {
        const std::optional<Verdict> way = onTheWay(cause, seen);
        (way ? lost : others).push_back(way.value_or(cause));
    }
    std::vector<Verdict> all;
    for (const std::vector<Verdict>& some : {lost, others})
        std::copy_if(some.begin(), some.end(), std::back_inserter(all), [&all](const Verdict& verdict) {
            return std::none_of(all.begin(), all.end(),
                                [&verdict](const Verdict& before) { return isSame(before, verdict); });
        });
    return all;
}

} // namespace

Examination examine(const CameraOptions& options, ToolLog& log, ProgressBar& status) {
    Examination seen;
    const std::vector<std::string> addresses = options.eachAddress();
    Diagnosis::lookAtComputer(seen.facts);
    status.show("searching...");
    Diagnosis::lookForCameras(seen.facts);
    takeFromRefused(seen.facts);
    throwIfInterrupted();
    const auto deadline = std::chrono::steady_clock::now() + lookTime;
    status.show("asking...");
    lookAtCameras(addresses, seen.facts);
    throwIfInterrupted();
    Diagnosis::lookByArp(seen.facts);
    for (Camera& camera : seen.facts.cameras)
        camera.wasAskedFor = std::find(addresses.begin(), addresses.end(), camera.address) != addresses.end();
    try {
        checkCameras(seen.facts, options, {log, status, deadline});
    } catch (const CommandFailure& failure) {
        seen.pluginFailure = failure.verdict();
    }
    status.erase();
    throwIfInterrupted();
    Diagnosis::lookAtComputer(seen.after);
    return seen;
}

std::vector<Diagnosis::Verdict> causesOf(const Examination& seen) {
    std::vector<Diagnosis::Verdict> causes = withTheWay(Diagnosis::causesOf(seen.facts), seen);
    if (seen.pluginFailure)
        causes.insert(causes.begin(), *seen.pluginFailure);
    return causes;
}

} // namespace Console
