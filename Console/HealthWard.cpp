#include "HealthWard.h"

#include "Aside.h"
#include "CameraUse.h"
#include "CommandFailure.h"
#include "CommandRun.h"
#include "DescribedCamera.h"
#include "DiscoverReport.h"
#include "LookAround.h"
#include "ProgressBar.h"
#include "SearchFacts.h"
#include "ToolLog.h"

#include "Communicator/EthernetCommunicator.h"
#include "Diagnosis/Ipv4.h"
#include "Diagnosis/Print.h"
#include "Diagnosis/Rules.h"
#include "Diagnosis/RulesOfAnswer.h"
#include "Diagnosis/RulesOfSearch.h"
#include "Platform/Text.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <set>
#include <utility>

namespace Console {

namespace {

/// What a probe came to, with what the plug-in logged.
struct Probed {
    CameraUse::Probe probe;
    std::vector<Diagnosis::LogLine> lines;
};

/// The thread may be left behind: what it uses is the plug-in's, or shared.
Probed probed(const std::shared_ptr<NativeCamera>& camera, const TimeLimits& limits, ToolLog& log) {
    const auto answer = std::make_shared<CameraUse::Probe>();
    auto lines = doAside(log, {[answer, camera, limits] {
                             ProgressBar bar(nullptr);
                             *answer = CameraUse(*camera, bar, limits).probe();
                         }});
    return {*answer, std::move(lines.front())};
}

} // namespace

void HealthWard::Patient::take(CameraPointer found) {
    const auto* const connection = dynamic_cast<EthernetCommunicator*>(found->getCommunicator());
    if (connection != nullptr) {
        address = Platform::utf8FromWide(connection->getAddress());
        isAtItsPort = isAtPortOfPictures(*found);
    }
    oddity = oddityOf(address, found->getCameraInfo());
    health.place = placeOf(*found);
    health.address = address;
    camera = std::move(found);
}

HealthWard::HealthWard(const HealthOptions& options, ToolLog& log)
    : options_(options), log_(log), host_(options.camera, log) {
    for (const std::string& address : options.camera.eachAddress())
        patients_.push_back({address});
    if (!options.camera.descriptionFile.empty()) {
        patients_.emplace_back().take(host_.cameraOf(options.camera.descriptionFile));
        patients_.back().isOfDescription = true;
        patients_.back().oddity.reset(); // whoever keeps it knows
    }
    if (options.camera.all)
        search();
    for (const Patient& patient : patients_)
        addresses_.push_back(patient.address);
}

/// Also those who answer and cannot be identified are asked for.
void HealthWard::search() {
    Diagnosis::Facts facts = host_.searchFacts([this](const CameraTemplatePointer& found) {
        if (!saysNothing(Platform::utf8FromWide(found->getCameraInfo().getIpAddress()),
                         found->getCameraInfo())) // else it is identified again
            patients_.emplace_back().take(host_.cameraFrom(*found));
    });
    seen_ = facts;
    if (!facts.search->cut.empty())
        cut_ = Diagnosis::lineOf(Diagnosis::verdictOnCut(*facts.search));
    std::set<std::string> taken;
    for (const Patient& patient : patients_)
        taken.insert(patient.address);
    for (const Diagnosis::Camera& camera : facts.cameras)
        if (!taken.contains(camera.address))
            add(camera, facts);
    std::sort(patients_.begin(), patients_.end(), [](const Patient& one, const Patient& other) {
        return addressKey(one.address) < addressKey(other.address);
    });
    const auto isSame = [](const Patient& one, const Patient& other) { return one.address == other.address; };
    patients_.erase(std::unique(patients_.begin(), patients_.end(), isSame), patients_.end());
    twins_ = lastTwins_ = twinsIn(facts);
    if (patients_.empty()) {
        lookAround({}, facts);
        throw whyNobody(facts);
    }
    if (!facts.search->failure.empty())
        searchTrouble_ = Diagnosis::causesOf(facts).front();
    else if (!facts.search->cut.empty())
        searchTrouble_ = Diagnosis::verdictOnCut(*facts.search);
}

/// What tells no address is not looked up.
void HealthWard::add(const Diagnosis::Camera& camera, const Diagnosis::Facts& facts) {
    Patient& patient = patients_.emplace_back();
    patient.address = patient.health.place = patient.health.address = camera.address;
    patient.hasAddress = Diagnosis::ipv4Number(camera.address).has_value();
    if (!patient.hasAddress)
        patient.health.whyNot = Diagnosis::notIdentified(camera, facts);
}

/// What is interrupted leaves what was known before.
void HealthWard::ask(std::size_t number) {
    Patient& patient = patients_[number];
    const Health before = patient.health;
    const bool wasTold = patient.isTold;
    try {
        askNow(patient);
    } catch (...) {
        patient.health = before;
        patient.isTold = wasTold;
        throw;
    }
}

void HealthWard::askNow(Patient& patient) {
    patient.isTold = !patient.hasAddress;
    if (!patient.hasAddress)
        return;
    patient.failed.reset();
    patient.health.whyNot.reset();
    patient.health.note.reset();
    if (identify(patient)) {
        probe(patient);
        if (patient.failed || patient.health.whyNot)
            patient.isCompared = false;
        else
            compare(patient);
        if (!patient.failed && !patient.health.whyNot && !patient.health.note)
            patient.health.note = patient.oddity;
    }
    patient.isTold = !patient.failed;
}

bool HealthWard::identify(Patient& patient) {
    if (patient.camera != nullptr)
        return true;
    CameraHost::Identified result = std::move(host_.identified({patient.address}).front());
    if (result.camera == nullptr)
        patient.failed = std::move(result.attempt);
    else if (auto why = saysNothing(patient.address, result.camera->getCameraInfo()))
        patient.health.whyNot = std::move(why); // and is identified again the next time
    else
        patient.take(std::move(result.camera));
    return patient.camera != nullptr;
}

void HealthWard::probe(Patient& patient) {
    Probed result = probed(patient.camera, options_.camera.limits, log_);
    if (!result.probe.reported && !result.probe.errorCode)
        return;
    Diagnosis::Attempt attempt;
    attempt.what = Diagnosis::Attempt::What::probe;
    if (result.probe.reported)
        attempt.healthCode = result.probe.reported->getCode();
    attempt.errorCode = result.probe.errorCode;
    attempt.succeeded = !result.probe.reported;
    attempt.lines = std::move(result.lines);
    judge(patient, attempt);
}

void HealthWard::judge(Patient& patient, const Diagnosis::Attempt& attempt) {
    if (patient.isAtItsPort && !attempt.succeeded) {
        patient.failed = attempt;
        return;
    }
    Diagnosis::Camera known;
    known.address = patient.address;
    const std::optional<Diagnosis::Verdict> verdict = Diagnosis::verdictOn(attempt, known);
    const bool isFailure = verdict && verdict->severity == Diagnosis::Severity::failure;
    (isFailure ? patient.health.whyNot : patient.health.note) = verdict;
}

/// As long as another one answers again and again: the right one may come back.
void HealthWard::compare(Patient& patient) {
    if (!patient.isOfDescription || patient.isCompared || options_.takesAnyCamera)
        return;
    patient.health.whyNot = anotherThanDescribed(host_, *patient.camera);
    patient.isCompared = !patient.health.whyNot;
}

void HealthWard::explain(const std::vector<std::size_t>& numbers) {
    std::vector<FailedAttempt> failed;
    std::vector<Patient*> looked;
    bool isAsFound = true; // a watch has later news of a camera that it has had
    for (const std::size_t number : numbers)
        if (Patient& patient = patients_[number]; patient.failed) {
            isAsFound = isAsFound && (!options_.watch || patient.camera == nullptr);
            failed.push_back({patient.address, *patient.failed});
            looked.push_back(&patient);
        }
    if (failed.empty())
        return;
    const std::vector<Diagnosis::Verdict> verdicts = whyNot(failed, isAsFound ? seen_ : Diagnosis::Facts());
    for (std::size_t i = 0; i < verdicts.size(); ++i) {
        looked[i]->health.whyNot = verdicts[i];
        looked[i]->failed.reset();
        looked[i]->isTold = true;
    }
}

/// An answer may be lost, so two looks in a row have to miss it. What was said of it stays the same words.
void HealthWard::lookForTwins(TwinLook look) {
    Twins now = Console::lookForTwins(addresses_, look);
    const std::lock_guard lock(mutex_);
    std::erase_if(twins_, [&](const auto& twin) {
        return !now.contains(twin.first) && !lastTwins_.contains(twin.first);
    });
    twins_.insert(now.begin(), now.end());
    lastTwins_ = std::move(now);
}

std::optional<Health> HealthWard::healthOf(std::size_t number) const {
    const Patient& patient = patients_[number];
    if (!patient.isTold)
        return std::nullopt;
    Health health = patient.health;
    const std::lock_guard lock(mutex_);
    if (const auto twin = twins_.find(addresses_[number]); twin != twins_.end()) {
        health.whyNot = twin->second;
        health.note.reset();
        health.place = addresses_[number];
    }
    return health;
}

ExitStatus HealthWard::status() const {
    std::size_t well = 0;
    for (std::size_t i = 0; i < size(); ++i)
        if (const std::optional<Health> health = healthOf(i))
            well += health->whyNot ? 0 : 1;
    if (well == 0)
        return ExitStatus::failed;
    return well < size() || searchTrouble_ ? ExitStatus::partlyFailed : ExitStatus::done;
}

} // namespace Console
