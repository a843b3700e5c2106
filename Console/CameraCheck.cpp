#include "CameraCheck.h"

#include "Aside.h"
#include "CameraHost.h"
#include "CameraUse.h"
#include "CommandFailure.h"
#include "FetchGate.h"
#include "ProgressBar.h"
#include "SearchFacts.h"

#include "Diagnosis/PictureRules.h"
#include "Diagnosis/RulesOfCamera.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <memory>
#include <span>
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
constexpr TimeLimits::Time leastTime = 800ms;

/// A camera that was identified. A thread that is left behind keeps it.
struct Used {
    Used(std::size_t place, CameraPointer camera, std::shared_ptr<FetchGate> fetches, const TimeLimits& most)
        : at(place), device(std::move(camera)), gate(std::move(fetches)), limits(most) {}

    std::size_t at; ///< its place among the facts
    CameraPointer device;
    std::shared_ptr<FetchGate> gate;
    TimeLimits limits;
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
    const auto begin = SteadyClock::now();
    try {
        work(used);
    } catch (const std::exception& error) {
        used.attempt.reason = reasonFrom(error);
    }
    used.attempt.took = std::chrono::duration_cast<Diagnosis::Milliseconds>(SteadyClock::now() - begin);
}

/// Does it with all of them, and notes how that went.
void attemptAll(const UsedCameras& all, Attempt::What what, void (*work)(Used&), ToolLog& log,
                Diagnosis::Facts& facts) {
    std::vector<std::function<void()>> works;
    for (const std::shared_ptr<Used>& used : all)
        works.emplace_back([used, what, work] { attempt(*used, what, work); });
    const auto lines = doAside(log, std::move(works));
    for (std::size_t i = 0; i < all.size(); ++i) {
        all[i]->attempt.lines = lines[i];
        facts.cameras[all[i]->at].attempts.push_back(all[i]->attempt);
    }
}

/// Notes who they are. Those that can take pictures as far as the network goes are to be used.
UsedCameras identifyAll(const CameraHost& host, Diagnosis::Facts& facts) {
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
        if (identified[i].camera == nullptr)
            continue;
        camera.identity = identityOf(identified[i].camera->getCameraInfo());
        if (camera.picture == PortState::open)
            used.push_back(
                std::make_shared<Used>(places[i], std::move(identified[i].camera), gate, TimeLimits()));
    }
    return used;
}

void setLimits(const UsedCameras& all, const TimeLimits& limits) {
    for (const std::shared_ptr<Used>& used : all)
        used->limits = limits;
}

} // namespace

bool answersAsCamera(const Camera& camera) {
    return camera.text == PortState::open && !camera.toldModel.empty();
}

void checkCameras(Diagnosis::Facts& facts, const CameraOptions& options, ToolLog& log,
                  SteadyClock::time_point deadline) {
    CameraOptions hurried = options;
    if (std::none_of(facts.cameras.begin(), facts.cameras.end(), isPictured))
        hurried.limits = limitsFor(options.limits, left(deadline - leastTime));
    const CameraHost host(hurried, log);
    UsedCameras used = identifyAll(host, facts);
    setLimits(used, limitsFor(options.limits, left(deadline)));
    attemptAll(used, Attempt::What::probe, probe, log, facts);
    // To wait for the pictures of those that do not answer at all would take its time.
    std::erase_if(used, [](const std::shared_ptr<Used>& each) { return !each->attempt.succeeded; });
    setLimits(used, options.limits);
    attemptAll(used, Attempt::What::picture, takePicture, log, facts);
    for (const std::shared_ptr<Used>& each : used)
        facts.cameras[each->at].photo = each->photo;
}

} // namespace Console
