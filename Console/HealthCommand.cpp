#include "HealthCommand.h"

#include "Aside.h"
#include "CameraHost.h"
#include "CameraUse.h"
#include "CommandFailure.h"
#include "CommandRun.h"
#include "DiscoverReport.h"
#include "Printable.h"
#include "ProgressBar.h"
#include "SearchFacts.h"
#include "ToolLog.h"
#include "Watching.h"

#include "Communicator/EthernetCommunicator.h"
#include "Diagnosis/Ipv4.h"
#include "Diagnosis/Json.h"
#include "Diagnosis/Rules.h"
#include "Platform/StandardError.h"
#include "Platform/Text.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace Console {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::chrono::seconds pauseBetweenProbes{1};
constexpr int picturePort = 32769;

/// One camera, from probe to probe.
struct Patient {
    std::string address;
    bool isAtItsPort = true; ///< so that a look at the address tells of it
    std::shared_ptr<NativeCamera> camera =
        nullptr;            ///< null until it is identified; whoever probes it shares it
    bool hasAddress = true; ///< else it cannot be asked
    Health health = {address, address};

    void take(CameraPointer found) {
        const auto* const connection = dynamic_cast<EthernetCommunicator*>(found->getCommunicator());
        if (connection != nullptr) {
            address = Platform::utf8FromWide(connection->getAddress());
            isAtItsPort = connection->getPort() == picturePort;
        }
        health.place = placeOf(*found);
        health.address = address;
        camera = std::move(found);
    }
};

/// The cameras of a command line, probed side by side.
class Ward {
public:
    Ward(const HealthOptions& options, ToolLog& log)
        : options_(options), log_(log), host_(options.camera, log) {
        for (const std::string& address : options.camera.eachAddress())
            patients_.push_back({address});
        if (!options.camera.descriptionFile.empty())
            patients_.emplace_back().take(host_.cameraOf(options.camera.descriptionFile));
        if (options.camera.all)
            search();
    }

    void probeAll() {
        failed_.clear();
        looked_.clear();
        identifyThoseWhoAreNot();
        probeThoseWhoAre();
        if (failed_.empty())
            return;
        const std::vector<Diagnosis::Verdict> verdicts = whyNot(failed_);
        for (std::size_t i = 0; i < verdicts.size(); ++i)
            looked_[i]->health.whyNot = verdicts[i];
    }

    const std::vector<Patient>& patients() const { return patients_; }

    /// Of the last probes.
    ExitStatus status() const {
        const auto ill = std::count_if(patients_.begin(), patients_.end(), [](const Patient& patient) {
            return patient.health.whyNot.has_value();
        });
        if (ill == 0)
            return ExitStatus::done;
        return static_cast<std::size_t>(ill) == patients_.size() ? ExitStatus::failed
                                                                 : ExitStatus::partlyFailed;
    }

private:
    /// Also those who answer and cannot be identified are asked for.
    void search() {
        const Diagnosis::Facts facts = host_.searchFacts([this](const CameraTemplatePointer& found) {
            patients_.emplace_back().take(host_.cameraFrom(*found));
        });
        if (!facts.search->failure.empty())
            throw CommandFailure(whyNoSearch(facts));
        if (!facts.search->cut.empty())
            warn({cutWarning(*facts.search)});
        for (const Diagnosis::Camera& camera : facts.cameras)
            if (!camera.identity)
                add(camera, facts);
        std::sort(patients_.begin(), patients_.end(), [](const Patient& one, const Patient& other) {
            return addressKey(one.address) < addressKey(other.address);
        });
        if (patients_.empty())
            throw CommandFailure("no Korva camera found; try: korva discover, which says what was searched",
                                 ExitStatus::nothingFound);
    }

    /// What tells no address is not looked up.
    void add(const Diagnosis::Camera& camera, const Diagnosis::Facts& facts) {
        Patient& patient = patients_.emplace_back();
        patient.address = patient.health.place = patient.health.address = camera.address;
        patient.hasAddress = Diagnosis::ipv4Number(camera.address).has_value();
        if (!patient.hasAddress)
            patient.health.whyNot = notIdentified(camera, facts);
    }

    void identifyThoseWhoAreNot() {
        std::vector<Patient*> unknown;
        std::vector<std::string> addresses;
        for (Patient& patient : patients_)
            if (patient.camera == nullptr && patient.hasAddress) {
                unknown.push_back(&patient);
                addresses.push_back(patient.address);
            }
        std::vector<CameraHost::Identified> results = host_.identified(addresses);
        for (std::size_t i = 0; i < unknown.size(); ++i) {
            if (results[i].camera != nullptr)
                unknown[i]->take(std::move(results[i].camera));
            else
                lookAfter(*unknown[i], results[i].attempt);
        }
    }

    void probeThoseWhoAre() {
        std::vector<Patient*> asked;
        std::vector<std::function<void()>> works;
        // The thread may be left behind: what it uses is the plug-in's, or shared.
        const auto answers = std::make_shared<std::vector<CameraUse::Probe>>(patients_.size());
        for (Patient& patient : patients_) {
            if (patient.camera == nullptr)
                continue;
            works.emplace_back(
                [answers, i = asked.size(), camera = patient.camera, limits = options_.camera.limits] {
                    ProgressBar bar(Platform::standardError());
                    (*answers)[i] = CameraUse(*camera, bar, limits).probe();
                });
            asked.push_back(&patient);
        }
        const std::vector<std::vector<Diagnosis::LogLine>> lines = doAside(log_, std::move(works));
        for (std::size_t i = 0; i < asked.size(); ++i)
            judge(*asked[i], (*answers)[i], lines[i]);
    }

    void judge(Patient& patient, const CameraUse::Probe& probe,
               const std::vector<Diagnosis::LogLine>& lines) {
        patient.health.whyNot.reset();
        if (!probe.reported && !probe.errorCode)
            return;
        Diagnosis::Attempt attempt;
        attempt.what = Diagnosis::Attempt::What::probe;
        if (probe.reported)
            attempt.healthCode = probe.reported->getCode();
        attempt.errorCode = probe.errorCode;
        attempt.succeeded = !probe.reported;
        attempt.lines = lines;
        if (patient.isAtItsPort && !attempt.errorCode)
            return lookAfter(patient, attempt);
        Diagnosis::Camera known;
        known.address = patient.address;
        patient.health.whyNot = Diagnosis::verdictOn(attempt, known);
    }

    /// Once all have been asked.
    void lookAfter(Patient& patient, const Diagnosis::Attempt& attempt) {
        failed_.push_back({patient.address, attempt});
        looked_.push_back(&patient);
    }

    const HealthOptions& options_;
    ToolLog& log_;
    CameraHost host_; ///< outlives the cameras
    std::vector<Patient> patients_;
    std::vector<FailedAttempt> failed_; ///< that a look at the network may explain
    std::vector<Patient*> looked_;      ///< whose these are
};

/// What is new since the last call.
void tellChanges(const Ward& ward, std::vector<Health>& before, bool json) {
    std::vector<Health> now;
    for (const Patient& patient : ward.patients())
        now.push_back(patient.health);
    for (std::size_t i = 0; i < now.size(); ++i)
        if (i >= before.size() || before[i] != now[i])
            tellNews(json, healthLine(now[i]), healthObject(now[i]));
    before = std::move(now);
}

/// The last line of a watch says what is wrong at its end.
ExitStatus watchAll(Ward& ward, bool json) {
    std::vector<Health> before;
    const bool isProbed = watchUntilInterrupt(pauseBetweenProbes, [&] {
        ward.probeAll();
        tellChanges(ward, before, json);
    });
    if (!isProbed)
        throw interruption();
    return ward.status();
}

} // namespace

void addHealthOptions(const CommandLine::Options& command, HealthOptions& options) {
    addAnyCameras(command, options.camera);
    command
        .addFlag("--watch", options.watch,
                 "Ask again each second until Ctrl-C, and print a line with the time whenever something has "
                 "changed; a camera that is not there is waited for")
        .placeholder(" ");
    command
        .addFlag("--json", options.json,
                 "Print one JSON object on standard output instead of words; with --watch one on each line")
        .placeholder(" ");
    addPluginOption(command, options.camera);
    command.footer(std::string("ADDRESS identifies the camera first, which a camera that has failed may not "
                               "answer; --from does without. With --watch the exit status is that of the "
                               "last probes.\n\n") +
                   exitStatusHelp);
}

std::string healthLine(const Health& health) {
    if (!health.whyNot)
        return printable(health.place) + ": good, the camera answers";
    return printable(health.place) + ": " + printable(health.whyNot->text) +
           "; try: " + printable(health.whyNot->remedy);
}

Json healthObject(const Health& health) {
    Json object;
    object["address"] = health.address;
    object["ok"] = !health.whyNot;
    if (health.whyNot)
        object["error"] = Diagnosis::errorOf(*health.whyNot);
    return object;
}

ExitStatus runHealth(const HealthOptions& options, const CommonOptions& common) {
    return runJson(options.json, options.watch ? Json() : Json{{"results", Json::array()}}, common,
                   [&](Json& object) {
                       warnOfNoDump(common);
                       ToolLog log(common.log, nullptr);
                       Ward ward(options, log);
                       if (options.watch)
                           return watchAll(ward, options.json);
                       ward.probeAll();
                       for (const Patient& patient : ward.patients()) {
                           object["results"].push_back(healthObject(patient.health));
                           if (patient.health.whyNot && !object.contains("error"))
                               object["error"] = Diagnosis::errorOf(*patient.health.whyNot);
                           if (!options.json)
                               say(healthLine(patient.health));
                       }
                       return ward.status();
                   });
}

} // namespace Console
