#include "Examination.h"

#include "CameraCheck.h"
#include "CommandFailure.h"

#include "Diagnosis/Rules.h"
#include "Look/ArpLook.h"
#include "Look/NetworkLook.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <iterator>
#include <string>

namespace Console {

namespace {

using Diagnosis::Camera;
using Diagnosis::Facts;
using namespace std::chrono_literals;

/// What all looks but the search and the pictures may take.
constexpr auto lookTime = 5s;
/// Neighbours that are asked where no camera answers.
constexpr std::size_t mostSuspects = 16;

std::vector<std::string> addressesOf(const std::vector<Camera>& cameras) {
    std::vector<std::string> addresses;
    addresses.reserve(cameras.size());
    for (const Camera& camera : cameras)
        addresses.push_back(camera.address);
    return addresses;
}

/// Whoever has answered is among the neighbours, though his answer was dropped. Keeps those that answer as
/// cameras do; a network may have any number of others.
void lookAtNeighbours(Facts& facts) {
    std::vector<std::string> suspects;
    for (const Diagnosis::Neighbour& neighbour : facts.neighbours)
        if (!neighbour.macAddress.empty() && neighbour.address != facts.defaultGateway &&
            suspects.size() < mostSuspects)
            suspects.push_back(neighbour.address);
    Facts seen = facts;
    Diagnosis::lookAt(suspects, seen);
    std::copy_if(seen.cameras.begin(), seen.cameras.end(), std::back_inserter(facts.cameras),
                 answersAsCamera);
}

void lookAtCameras(const std::vector<std::string>& addresses, Facts& facts) {
    if (!addresses.empty())
        return Diagnosis::lookAt(addresses, facts);
    if (facts.cameras.empty())
        return lookAtNeighbours(facts);
    Diagnosis::lookAt(addressesOf(facts.cameras), facts);
}

} // namespace

Examination examine(const CameraOptions& options, ToolLog& log) {
    Examination seen;
    const std::vector<std::string> addresses = options.eachAddress();
    Diagnosis::lookAtComputer(seen.facts);
    Diagnosis::lookForCameras(seen.facts);
    throwIfInterrupted();
    const auto deadline = std::chrono::steady_clock::now() + lookTime;
    lookAtCameras(addresses, seen.facts);
    throwIfInterrupted();
    Diagnosis::lookByArp(seen.facts);
    for (Camera& camera : seen.facts.cameras)
        camera.wasAskedFor = std::find(addresses.begin(), addresses.end(), camera.address) != addresses.end();
    try {
        checkCameras(seen.facts, options, log, deadline);
    } catch (const CommandFailure& failure) {
        seen.pluginFailure = failure.verdict();
    }
    throwIfInterrupted();
    return seen;
}

std::vector<Diagnosis::Verdict> causesOf(const Examination& seen) {
    std::vector<Diagnosis::Verdict> causes = Diagnosis::causesOf(seen.facts);
    if (seen.pluginFailure)
        causes.insert(causes.begin(), *seen.pluginFailure);
    return causes;
}

} // namespace Console
