#include "CaptureTargets.h"

#include "CommandFailure.h"
#include "DiscoverReport.h"

#include "Communicator/EthernetCommunicator.h"
#include "Diagnosis/PictureRules.h"
#include "Diagnosis/Print.h"
#include "Diagnosis/Rules.h"
#include "Platform/Text.h"

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <utility>

namespace Console {

namespace {

using Platform::utf8FromWide;

/// As a description can hold it.
std::string serialNumberOf(const NativeCamera& camera) {
    std::wstring serialNumber = camera.getCameraInfo().getSerialNumber();
    std::replace_if(
        serialNumber.begin(), serialNumber.end(), [](wchar_t unit) { return unit < 0x20; }, L'\uFFFD');
    return utf8FromWide(serialNumber);
}

/// Where it is another one, a camera behind it answers texts elsewhere too, if at all.
constexpr int picturePort = 32769;

/// Throws CommandFailure if another camera than the description's says who it is. One that does not say it is
/// not asked again: its pictures may come nevertheless.
void requireDescribed(const CameraHost& host, const NativeCamera& described) {
    const auto* const connection = dynamic_cast<EthernetCommunicator*>(described.getCommunicator());
    const std::string serialNumber = serialNumberOf(described);
    if (connection == nullptr || connection->getPort() != picturePort || serialNumber.empty())
        return;
    std::string found = serialNumber;
    try {
        found = serialNumberOf(*host.cameraAt(utf8FromWide(connection->getAddress())));
    } catch (const CommandFailure&) {
        throwIfInterrupted();
    }
    if (found != serialNumber)
        throw CommandFailure(
            Diagnosis::anotherCamera(utf8FromWide(connection->getAddress()), serialNumber, found));
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
    return {address, "", [address, &host] { return host.cameraAt(address); }};
}

CaptureTarget found(CameraTemplatePointer entry, const CameraHost& host) {
    const std::string address = utf8FromWide(entry->getCameraInfo().getIpAddress());
    const auto shared = std::make_shared<CameraTemplatePointer>(std::move(entry));
    return {address, "", [shared, &host] { return host.cameraFrom(**shared); }};
}

bool isFailure(const std::optional<Diagnosis::Verdict>& verdict) {
    return verdict && verdict->severity == Diagnosis::Severity::failure;
}

/// Of who answered and has not been found to be a camera; nothing of who is a camera at another address.
std::optional<Diagnosis::Verdict> whyUnusable(const Diagnosis::Camera& camera,
                                              const std::optional<Diagnosis::Verdict>& verdict,
                                              const Diagnosis::Facts& facts) {
    if (!verdict && camera.answeredSearch && !camera.identity)
        return notIdentified(camera, facts);
    return isFailure(verdict) ? verdict : std::nullopt;
}

/// The cameras of one address, whoever may be behind it: its room could be another one's.
void distrust(std::vector<CaptureTarget*>& found, Diagnosis::Verdict verdict, CaptureTargets& targets) {
    for (CaptureTarget* const camera : found)
        camera->room.clear();
    verdict.room.clear();
    if (verdict.code == "duplicate-address" && found.size() == 1)
        targets.unusable.push_back(std::move(verdict)); // the other one, of which no picture comes
    else
        targets.warnings.push_back(Diagnosis::lineOf(verdict));
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

[[noreturn]] void failOf(const Diagnosis::Facts& facts) {
    const bool wasSearched = facts.search && facts.search->failure.empty();
    const ExitStatus status = wasSearched ? ExitStatus::nothingFound : ExitStatus::failed;
    for (Diagnosis::Verdict& cause : Diagnosis::causesOf(facts))
        if (cause.severity == Diagnosis::Severity::failure)
            throw CommandFailure(std::move(cause), status);
    Diagnosis::Verdict verdict;
    verdict.code = "no-camera";
    verdict.text = "no Korva camera found";
    verdict.remedy = "korva capture ADDRESS";
    throw CommandFailure(std::move(verdict), status);
}

CaptureTargets searched(const CameraHost& host) {
    CaptureTargets targets;
    const Diagnosis::Facts facts = host.searchFacts(
        [&](CameraTemplatePointer camera) { targets.cameras.push_back(found(std::move(camera), host)); });
    addVerdicts(targets, facts);
    if (targets.cameras.empty() && targets.unusable.empty())
        failOf(facts);
    if (facts.search && !facts.search->cut.empty())
        targets.warnings.push_back(cutWarning(*facts.search));
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
