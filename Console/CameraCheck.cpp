#include "CameraCheck.h"

#include "Aside.h"
#include "CameraHost.h"
#include "CameraUse.h"
#include "CommandFailure.h"
#include "CommandRun.h"
#include "FetchGate.h"
#include "ProgressBar.h"
#include "SearchFacts.h"

#include "Diagnosis/PictureRules.h"
#include "Diagnosis/Print.h"
#include "Diagnosis/RulesOfCamera.h"
#include "Look/NetworkLook.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <iterator>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace Console {

namespace {

using Diagnosis::Attempt;
using Diagnosis::Camera;
using Diagnosis::PortState;
using SteadyClock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr int usualExposureUnits = 15;
/// Kept for each step, of which an honest camera needs a tenth.
constexpr TimeLimits::Time leastTime = 700ms;

/// A camera that was identified. A thread that is left behind keeps it.
struct Used {
    Used(std::size_t place, CameraPointer camera, std::shared_ptr<FetchGate> fetches, const TimeLimits& most)
        : at(place), device(std::move(camera)), gate(std::move(fetches)), limits(most) {}

    std::size_t at; ///< its place among the facts
    CameraPointer device;
    std::shared_ptr<FetchGate> gate;
    TimeLimits limits;
    TimeLimits::Time hurry{0}; ///< its limit is that, and less than usual; 0: it is the usual one
    ProgressBar bar{nullptr};
    Attempt attempt{};
    std::optional<Diagnosis::PictureFacts> photo{};
};

using UsedCameras = std::vector<std::shared_ptr<Used>>;

TimeLimits::Time left(SteadyClock::time_point deadline) {
    return std::max(leastTime, std::chrono::duration_cast<TimeLimits::Time>(deadline - SteadyClock::now()));
}

TimeLimits limitsFor(const TimeLimits& limits, TimeLimits::Time time) {
    TimeLimits shorter = limits;
    shorter.ofEachStep = std::min(time, limits.ofEachStep.value_or(time));
    return shorter;
}

/// Of the time that there is, what is less than usual; 0: none is.
TimeLimits::Time hurryOf(TimeLimits::Time time, TimeLimits::Time usual) {
    return usual == usual.zero() || time < usual ? time : time.zero();
}

/// Without a known model a picture is part of an identification.
bool isPictured(const Camera& camera) {
    return answersAsCamera(camera) && !Diagnosis::isKnownModel(camera.toldModel);
}

void probe(Used& used) {
    CameraUse use(*used.device, used.bar, used.limits);
    const CameraUse::Probe probe = use.probe();
    used.attempt.succeeded = !probe.reported;
    used.attempt.errorCode = probe.errorCode;
    if (probe.reported)
        used.attempt.healthCode = probe.reported->getCode();
}

void takePicture(Used& used) {
    used.attempt.exposure = 100ms * usualExposureUnits;
    CameraUse use(*used.device, used.bar, used.limits, used.gate.get());
    use.setExposure(usualExposureUnits);
    const std::optional<image_t> picture = use.takePicture();
    used.attempt.succeeded = picture.has_value();
    if (use.reported())
        used.attempt.healthCode = use.reported()->getCode();
    if (!picture)
        return;
    const auto width = static_cast<std::uint32_t>(picture->width);
    const std::span pixels(picture->pixels.get(), std::size_t{width} * picture->height);
    used.photo = Diagnosis::measured(width, picture->height, pixels);
}

/// What `work` throws is the attempt's reason.
void attempt(Used& used, Attempt::What what, void (*work)(Used&)) {
    used.attempt = {};
    used.attempt.what = what;
    used.attempt.allowed = used.hurry;
    const auto begin = SteadyClock::now();
    try {
        work(used);
    } catch (const std::exception& error) {
        used.attempt.reason = reasonFrom(error);
    }
    used.attempt.took = std::chrono::duration_cast<Diagnosis::Milliseconds>(SteadyClock::now() - begin);
}

/// Does it with all of them, and notes how that went.
void attemptAll(const CameraHost& host, const UsedCameras& all, Attempt::What what, void (*work)(Used&),
                const CheckWith& with, Diagnosis::Facts& facts) {
    std::vector<std::function<void()>> works;
    for (const std::shared_ptr<Used>& used : all)
        works.emplace_back([used, what, work, claim = host.claimOf(facts.cameras[used->at].address)] {
            attempt(*used, what, work);
            claim();
        });
    const auto show = [&with, what, count = all.size()](std::size_t ended) {
        if (what == Attempt::What::picture && count > 0)
            with.status.show(std::to_string(ended) + " of " + std::to_string(count) +
                             (count == 1 ? " picture" : " pictures"));
    };
    const auto lines = doAside(with.log, std::move(works), show);
    for (std::size_t i = 0; i < all.size(); ++i) {
        all[i]->attempt.lines = lines[i];
        facts.cameras[all[i]->at].attempts.push_back(all[i]->attempt);
    }
}

/// Notes who they are; `hurry` is as in Used. Those that can take pictures as far as the network goes are to
/// be used.
UsedCameras identifyAll(const CameraHost& host, TimeLimits::Time hurry, Diagnosis::Facts& facts) {
    std::vector<std::size_t> places;
    std::vector<std::string> addresses;
    for (std::size_t at = 0; at < facts.cameras.size(); ++at)
        if (answersAsCamera(facts.cameras[at])) {
            places.push_back(at);
            addresses.push_back(facts.cameras[at].address);
        }
    UsedCameras used;
    const auto gate = std::make_shared<FetchGate>(FetchGate::placesOfThisComputer());
    std::vector<CameraHost::Identified> identified = host.identified(addresses);
    for (std::size_t i = 0; i < identified.size(); ++i) {
        Camera& camera = facts.cameras[places[i]];
        camera.attempts.push_back(identified[i].attempt);
        camera.attempts.back().allowed = hurry;
        if (identified[i].camera == nullptr)
            continue;
        camera.identity = identityOf(identified[i].camera->getCameraInfo());
        if (camera.picture == PortState::open)
            used.push_back(
                std::make_shared<Used>(places[i], std::move(identified[i].camera), gate, TimeLimits()));
    }
    return used;
}

void setLimits(const UsedCameras& all, const TimeLimits& limits, TimeLimits::Time hurry) {
    for (const std::shared_ptr<Used>& used : all) {
        used->limits = limits;
        used->hurry = hurry;
    }
}

/// Whether the time was over before it answered: it may be slow, and a picture tells.
bool wasCut(const Attempt& attempt) {
    const auto isCut = [](const std::string& text) {
        return text.find("Took too long: ") != std::string::npos;
    };
    return attempt.allowed > attempt.allowed.zero() &&
           (isCut(attempt.reason) ||
            std::any_of(attempt.lines.begin(), attempt.lines.end(),
                        [&isCut](const Diagnosis::LogLine& line) { return isCut(line.message); }));
}

/// Neighbours that are asked where no camera answers.
constexpr std::size_t mostSuspects = 16;

} // namespace

bool answersAsCamera(const Camera& camera) {
    // Of a longer answer than a look takes the plug-in may make more, or less.
    const std::string& answer = camera.textAnswer;
    const bool isWhole = answer.starts_with('[') && answer.find(']') != std::string::npos;
    const bool isTold = isWhole || !camera.toldModel.empty() || answer.find("--HW ") != std::string::npos;
    return camera.text == PortState::open && isTold;
}

void lookAtNeighbours(Diagnosis::Facts& facts) {
    std::vector<std::string> suspects;
    for (const Diagnosis::Neighbour& neighbour : facts.neighbours)
        if (!neighbour.macAddress.empty() && neighbour.address != facts.defaultGateway &&
            suspects.size() < mostSuspects)
            suspects.push_back(neighbour.address);
    Diagnosis::Facts seen = facts;
    lookAt(suspects, seen);
    std::copy_if(seen.cameras.begin(), seen.cameras.end(), std::back_inserter(facts.cameras),
                 answersAsCamera);
}

void checkCameras(Diagnosis::Facts& facts, const CameraOptions& options, const CheckWith& with) {
    CameraOptions hurried = options;
    TimeLimits::Time hurry{0};
    if (std::none_of(facts.cameras.begin(), facts.cameras.end(), isPictured)) {
        const TimeLimits::Time most = left(with.deadline - leastTime);
        hurried.limits = limitsFor(options.limits, most);
        hurry = hurryOf(most, options.limits.ofIdentification());
    }
    const CameraHost host(hurried, with.log);
    UsedCameras used = identifyAll(host, hurry, facts);
    const TimeLimits::Time most = left(with.deadline);
    setLimits(used, limitsFor(options.limits, most), hurryOf(most, options.limits.ofProbe()));
    attemptAll(host, used, Attempt::What::probe, probe, with, facts);
    std::erase_if(used, [](const std::shared_ptr<Used>& each) {
        return !each->attempt.succeeded && !wasCut(each->attempt);
    });
    setLimits(used, options.limits, {});
    attemptAll(host, used, Attempt::What::picture, takePicture, with, facts);
    for (const std::shared_ptr<Used>& each : used)
        facts.cameras[each->at].photo = each->photo;
    with.status.erase();
    host.nameOtherDumps();
    for (const Diagnosis::Verdict& lost : host.takeDumpFailures())
        warn(lost);
}

} // namespace Console
