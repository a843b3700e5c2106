#include "Plays.h"

#include <chrono>
#include <thread>

namespace Soak {

namespace {

using Play = void (*)(const Stage&);

void captureAFewTimes(const Stage& stage) {
    stage.camera.serve();
    for (std::size_t left = 1 + stage.camera.random().below(3); left > 0; --left)
        stage.camera.capture(Expect::picture, "without a fault");
    stage.camera.probe(true, "without a fault");
}

void playFault(SoakedCamera& camera, Tally& tally, const std::string& fault) {
    const Faults::Outcome expected = outcomeOf(Faults::Operation::picture, fault);
    camera.serve(fault);
    camera.capture(expected.isGood ? Expect::picture : Expect::nothing, fault);
    tally.checksumLines += checksumLines(expected);
    demandPicture(camera, "after " + fault);
}

void captureWithAFault(const Stage& stage) {
    playFault(stage.camera, stage.tally, stage.camera.random().of(captureFaults));
}

void captureFromASilentCamera(const Stage& stage) {
    playFault(stage.camera, stage.tally, stage.camera.random().of(silentFaults));
}

void probeWithAFault(const Stage& stage) {
    const std::string fault = stage.camera.random().of(probeFaults);
    const Faults::Outcome expected = outcomeOf(Faults::Operation::check, fault);
    stage.camera.serve(fault);
    stage.camera.probe(expected.isGood, fault);
    stage.tally.checksumLines += checksumLines(expected);
    stage.camera.serve();
    stage.camera.probe(true, "after " + fault);
    stage.camera.capture(Expect::picture, "after " + fault);
}

/// Nobody answers.
void missTheCamera(const Stage& stage, const char* circumstance) {
    ++stage.tally.pulls;
    stage.camera.capture(Expect::nothing, circumstance);
    stage.camera.probe(false, circumstance);
}

/// The connection breaks at whatever point of a capture, or just behind it.
template <class Break>
void breakDuringACapture(const Stage& stage, const char* circumstance, const Break& breakIt) {
    stage.camera.serve("get:drip=20000/1");
    ++stage.tally.pulls;
    const std::chrono::microseconds delay(stage.camera.random().below(40'000));
    const std::jthread puller([&breakIt, delay] {
        std::this_thread::sleep_for(delay);
        breakIt();
    });
    stage.camera.capture(Expect::either, circumstance);
}

void stopAndStart(const Stage& stage) {
    stage.camera.leave();
    missTheCamera(stage, "camera away");
    demandPicture(stage.camera, "camera back");
}

void stopDuringACapture(const Stage& stage) {
    breakDuringACapture(stage, "stopped meanwhile", [&stage] { stage.camera.leaveMeanwhile(); });
    demandPicture(stage.camera, "after a stop during a capture");
}

void pullTheCable(const Stage& stage) {
    if (!stage.networks.areOwn())
        return stopAndStart(stage);
    stage.networks.pullCable(stage.index);
    missTheCamera(stage, "cable pulled");
    stage.networks.mendCable(stage.index);
    demandPicture(stage.camera, "cable mended");
}

void pullTheCableDuringACapture(const Stage& stage) {
    if (!stage.networks.areOwn())
        return captureFromASilentCamera(stage);
    breakDuringACapture(stage, "cable pulled meanwhile", [&stage] { stage.networks.pullCable(stage.index); });
    stage.networks.mendCable(stage.index);
    demandPicture(stage.camera, "cable mended after a capture");
}

void buildAnew(const Stage& stage) {
    stage.camera.serve();
    const std::size_t source = stage.camera.random().below(3);
    if (source == 0)
        stage.camera.buildFromConnection(stage.type, true, "build from a connection");
    else if (source == 1 && stage.camera.hasTemplate())
        stage.camera.buildFromTemplate(stage.type);
    else
        stage.camera.buildFromDescription(stage.type);
    stage.camera.probe(true, "built anew");
    stage.camera.capture(Expect::picture, "built anew");
}

void buildFromAFaultyCamera(const Stage& stage) {
    const std::string fault = stage.camera.random().of(identificationFaults);
    stage.camera.serve(fault);
    stage.camera.buildFromConnection(stage.type, outcomeOf(Faults::Operation::identify, fault).isGood, fault);
    stage.camera.serve();
    stage.camera.buildFromConnection(stage.type, true, "after " + fault);
    stage.camera.capture(Expect::picture, "after " + fault);
}

void probeASilentCamera(const Stage& stage) {
    stage.camera.serve("probe:silent");
    stage.camera.probe(false, "probe:silent");
    demandPicture(stage.camera, "after probe:silent");
}

// As often as it stands here, so likely.
constexpr Play quickPlays[] = {
    captureAFewTimes,  captureAFewTimes,  captureAFewTimes,   captureWithAFault,  captureWithAFault,
    captureWithAFault, captureWithAFault, captureWithAFault,  probeWithAFault,    stopAndStart,
    pullTheCable,      buildAnew,         stopDuringACapture, stopDuringACapture, buildFromAFaultyCamera,
};

constexpr Play slowPlays[] = {
    captureFromASilentCamera,
    captureFromASilentCamera,
    pullTheCableDuringACapture,
    probeASilentCamera,
};

} // namespace

void demandPicture(SoakedCamera& camera, const std::string& circumstance) {
    camera.serve();
    camera.capture(Expect::picture, circumstance);
}

void playQuickly(const Stage& stage) {
    stage.camera.random().of(quickPlays)(stage);
}

void playSlowly(const Stage& stage) {
    stage.camera.random().of(slowPlays)(stage);
}

} // namespace Soak
