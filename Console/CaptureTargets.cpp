#include "CaptureTargets.h"

#include "CommandFailure.h"
#include "DescribedCamera.h"
#include "LookAround.h"
#include "SearchFacts.h"

#include "Diagnosis/Rules.h"
#include "Diagnosis/RulesOfAnswer.h"
#include "Diagnosis/RulesOfSearch.h"
#include "Platform/Text.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <utility>

namespace Console {

namespace {

using Platform::utf8FromWide;

/// Throws CommandFailure if another camera than the description's says who it is.
void requireDescribed(const CameraHost& host, const NativeCamera& described) {
    if (const auto another = anotherThanDescribed(host, described))
        throw CommandFailure(*another);
}

CaptureTarget described(const CaptureOptions& options, const CameraHost& host) {
    return {"", "", [&options, &host] {
                CameraPointer camera = host.cameraOf(options.camera.descriptionFile);
                if (!options.takesAnyCamera)
                    requireDescribed(host, *camera);
                return camera;
            }};
}

CaptureTarget addressed(const std::string& address, const CameraHost& host) {
    return {.address = address,
            .room = "",
            .camera = [address, &host] { return host.cameraAt(address); },
            .isJudged = false};
}

CaptureTarget found(CameraTemplatePointer entry, const CameraHost& host) {
    const std::string address = utf8FromWide(entry->getCameraInfo().getIpAddress());
    const auto shared = std::make_shared<CameraTemplatePointer>(std::move(entry));
    return {.address = address,
            .room = "",
            .camera = [shared, &host] { return host.cameraFrom(**shared); },
            .isFound = true};
}

bool isFailure(const std::optional<Diagnosis::Verdict>& verdict) {
    return verdict && verdict->severity == Diagnosis::Severity::failure;
}

/// Of who answered and has not been found to be a camera; nothing of who is a camera at another address.
std::optional<Diagnosis::Verdict> whyUnusable(const Diagnosis::Camera& camera,
                                              const std::optional<Diagnosis::Verdict>& verdict,
                                              const Diagnosis::Facts& facts) {
    if (!verdict && camera.answeredSearch && !camera.identity)
        return Diagnosis::notIdentified(camera, facts);
    return isFailure(verdict) ? verdict : std::nullopt;
}

/// The cameras of one address, whoever may be behind it: its room could be another one's, unless it is the
/// camera's answers alone that are odd.
void distrust(std::vector<CaptureTarget*>& found, Diagnosis::Verdict verdict, CaptureTargets& targets) {
    if (verdict.code != "garbage") {
        for (CaptureTarget* const camera : found)
            camera->room.clear();
        verdict.room.clear();
    }
    if (verdict.code == "duplicate-address")
        targets.twins.emplace(found.front()->address, verdict);
    if (verdict.code == "duplicate-address" && found.size() == 1)
        targets.unusable.push_back(std::move(verdict)); // the other one, of which no picture comes
    else
        targets.warnings.push_back(verdict);
}

void addVerdicts(CaptureTargets& targets, const Diagnosis::Facts& facts) {
    std::map<std::string, std::vector<CaptureTarget*>> found;
    for (CaptureTarget& camera : targets.cameras)
        found[camera.address].push_back(&camera);
    const auto verdicts = Diagnosis::verdictsOn(facts);
    for (std::size_t at = 0; at < verdicts.size(); ++at) {
        const Diagnosis::Camera& camera = facts.cameras[at];
        const auto own = found.find(camera.address);
        if (own == found.end()) {
            if (auto why = whyUnusable(camera, verdicts[at], facts))
                targets.unusable.push_back(std::move(*why));
            continue;
        }
        for (CaptureTarget* const each : own->second)
            each->room = camera.room;
        if (isFailure(verdicts[at]))
            distrust(own->second, *verdicts[at], targets);
    }
}

/// Of those who answered the ones that were not found to be cameras: a look may tell why.
std::vector<std::string> addressesOfOthers(const Diagnosis::Facts& facts) {
    Diagnosis::Facts others;
    std::copy_if(facts.cameras.begin(), facts.cameras.end(), std::back_inserter(others.cameras),
                 [](const Diagnosis::Camera& camera) { return !camera.identity; });
    return addressesIn(others, mostLookedAt);
}

CaptureTargets searched(const CameraHost& host) {
    CaptureTargets targets;
    Diagnosis::Facts facts = host.searchFacts(
        [&](CameraTemplatePointer camera) { targets.cameras.push_back(found(std::move(camera), host)); });
    lookAround(addressesOfOthers(facts), facts);
    throwIfInterrupted();
    addVerdicts(targets, facts);
    if (targets.cameras.empty() && targets.unusable.empty())
        throw whyNobody(facts);
    if (!facts.search->failure.empty())
        targets.searchTrouble = Diagnosis::causesOf(facts).front();
    else if (!facts.search->cut.empty())
        targets.searchTrouble = Diagnosis::verdictOnCut(*facts.search);
    if (targets.searchTrouble)
        targets.warnings.push_back(*targets.searchTrouble);
    return targets;
}

} // namespace

CaptureTargets findTargets(const CaptureOptions& options, const CameraHost& host) {
    if (options.camera.all)
        return searched(host);
    CaptureTargets targets;
    if (!options.camera.descriptionFile.empty())
        targets.cameras.push_back(described(options, host));
    for (const std::string& address : options.camera.eachAddress())
        targets.cameras.push_back(addressed(address, host));
    return targets;
}

} // namespace Console
