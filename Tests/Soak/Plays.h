#pragma once
// The short stories that a run is made of. Each begins with a camera in whatever state, lets something happen
// to it, mends it, and demands the next picture.

#include "Cells.h"
#include "SoakedCamera.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

namespace Soak {

using Faults::faultsIn;
using Faults::Operation;

/// The lines about a wrong checksum that plays must have caused, as the tally counts them.
inline constexpr char checksumLines[] = "warnings of wrong checksums";
inline constexpr char checksumMessage[] = "Korva Response failed chksum";

// Garbage is not among them: it may end like a message, and then has a wrong checksum and a line, or not.
// What hits once spoils the first attempt alone. A broken connection is no matter for a second attempt.
inline const std::vector<std::string> captureFaults =
    faultsIn("configure:two-arguments configure:drip=1/1 configure:scatter=2 configure:checksum*1 "
             "configure:error=3*1 configure:wrong-response*1 configure:wrong-command*1 configure:flip=0 "
             "configure:unknown-code configure:truncate-close=3 configure:close configure:reset "
             "take:two-arguments take:delay=40 take:drip=5/2 take:flip=0*1 take:error=7*1 take:no-argument*1 "
             "take:unknown-code*1 take:long-value*1 take:checksum take:error=7 take:wrong-command "
             "take:long-value take:truncate-close=9 take:close take:reset*1 "
             "get:checksum get:length-large get:two-arguments get:delay=40 get:drip=100000/1 get:scatter=2 "
             "get:twice get:many-arguments get:stale*1 get:huge-image*1 get:error=4294967295*1 "
             "get:wrong-response*1 get:length-small*1 get:length-wrap*1 get:black-picture*1 "
             "get:wrong-response get:no-argument get:stale get:length-small get:length-wrap "
             "get:garbage-picture get:empty-picture get:black-picture get:truncate-close "
             "get:truncate-close=1000 get:close*1 get:reset");

/// Of captures that take one or two time-outs of 10 s.
inline const std::vector<std::string> silentFaults =
    faultsIn("configure:silent*1 configure:truncate-silent=3*1 "
             "take:silent*1 take:silent take:endless "
             "get:silent*1 get:truncate-silent=1011*1 get:truncate-silent");

inline const std::vector<std::string> probeFaults =
    faultsIn("probe:close probe:reset probe:truncate-close=7 probe:checksum probe:delay=40 probe:drip=1/1 "
             "probe:error=3 probe:two-arguments probe:twice probe:scatter=2");

inline const std::vector<std::string> silentProbeFaults{"probe:silent"};

inline const std::vector<std::string> identificationFaults =
    faultsIn("version:close version:reset serial:close network:reset");

// Not among them: an empty datagram, which ends the search for all.
inline const std::vector<std::string> searchFaults =
    faultsIn("discovery:twice discovery:silent discovery:garbage discovery:scatter=1 discovery:flip=0 "
             "discovery:other-marker discovery:missing-key=--Room "
             "version:close serial:reset");

inline constexpr Simulator::PictureSize sizeOfLongFiles{40, 20}; // longer than any number of bytes above

/// What the fault, or none where `fault` is empty, leads to.
inline Faults::Outcome outcomeOf(Operation operation, const std::string& fault) {
    Simulator::CameraSettings settings;
    settings.scene.kind = Simulator::SceneKind::noise;
    settings.size = sizeOfLongFiles;
    if (!fault.empty())
        settings.faults.push_back(Simulator::parseFault(fault));
    Faults::Asking asking;
    asking.resolution = {sizeOfLongFiles.width, sizeOfLongFiles.height};
    return Faults::outcomeOf(operation, settings, asking);
}

inline void captureAFewTimes(SoakedCamera& camera) {
    camera.serve();
    for (std::size_t left = 1 + camera.random().below(3); left > 0; --left)
        camera.capture(Expect::picture, "without a fault");
    camera.probe(true, "without a fault");
}

/// Serves with a fault. Gives what must come of the operation.
inline Faults::Outcome spoil(SoakedCamera& camera, Operation operation, const std::string& fault) {
    Faults::Outcome expected = outcomeOf(operation, fault);
    const auto lines = std::ranges::count_if(
        expected.lines, [](const Faults::Line& line) { return line.message.starts_with(checksumMessage); });
    camera.tally().count(checksumLines, static_cast<std::uint64_t>(lines));
    camera.serve(fault);
    return expected;
}

template <const std::vector<std::string>& faults>
void captureWithOneOf(SoakedCamera& camera) {
    const std::string fault = camera.random().of(faults);
    const bool isGood = spoil(camera, Operation::picture, fault).isGood;
    camera.capture(isGood ? Expect::picture : Expect::nothing, fault);
    camera.demandPicture("after " + fault);
}

template <const std::vector<std::string>& faults>
void probeWithOneOf(SoakedCamera& camera) {
    const std::string fault = camera.random().of(faults);
    camera.probe(spoil(camera, Operation::check, fault).isGood, fault);
    camera.serve();
    camera.probe(true, "after " + fault);
    camera.capture(Expect::picture, "after " + fault);
}

inline void countAPull(SoakedCamera& camera) {
    camera.tally().count("cameras stopped and cables pulled");
}

/// Nobody answers.
inline void missTheCamera(SoakedCamera& camera, const char* circumstance) {
    countAPull(camera);
    camera.capture(Expect::nothing, circumstance);
    camera.probe(false, circumstance);
}

/// The connection breaks at whatever point of a capture, or just behind it.
template <class Break>
void breakDuringACapture(SoakedCamera& camera, const char* circumstance, const Break& breakIt) {
    camera.serve("get:drip=20000/1");
    countAPull(camera);
    const std::chrono::microseconds delay(camera.random().below(40'000));
    const std::jthread puller([&breakIt, delay] {
        std::this_thread::sleep_for(delay); // the drawn point of the capture, in real time
        breakIt();
    });
    camera.capture(Expect::either, circumstance);
}

inline void stopAndStart(SoakedCamera& camera) {
    camera.leave();
    missTheCamera(camera, "camera away");
    camera.demandPicture("camera back");
}

inline void stopDuringACapture(SoakedCamera& camera) {
    breakDuringACapture(camera, "stopped meanwhile", [&camera] { camera.leaveMeanwhile(); });
    camera.demandPicture("after a stop during a capture");
}

inline void pullTheCable(SoakedCamera& camera) {
    if (!camera.hasCable())
        return stopAndStart(camera);
    camera.pullCable();
    missTheCamera(camera, "cable pulled");
    camera.mendCable();
    camera.demandPicture("cable mended");
}

inline void pullTheCableDuringACapture(SoakedCamera& camera) {
    if (!camera.hasCable())
        return captureWithOneOf<silentFaults>(camera);
    breakDuringACapture(camera, "cable pulled meanwhile", [&camera] { camera.pullCable(); });
    camera.mendCable();
    camera.demandPicture("cable mended after a capture");
}

inline void buildAnew(SoakedCamera& camera) {
    camera.serve();
    camera.buildAnew();
    camera.probe(true, "built anew");
    camera.capture(Expect::picture, "built anew");
}

inline void buildFromAFaultyCamera(SoakedCamera& camera) {
    const std::string fault = camera.random().of(identificationFaults);
    camera.buildFromConnection(spoil(camera, Operation::identify, fault).isGood, fault);
    camera.serve();
    camera.buildFromConnection(true, "after " + fault);
    camera.capture(Expect::picture, "after " + fault);
}

using Play = void (*)(SoakedCamera&);

inline constexpr Play captureWithAFault = captureWithOneOf<captureFaults>;
inline constexpr Play probeWithAFault = probeWithOneOf<probeFaults>;

// As often as it stands here, so likely.
inline constexpr Play quickPlays[] = {
    captureAFewTimes,  captureAFewTimes,  captureAFewTimes,   captureWithAFault,  captureWithAFault,
    captureWithAFault, captureWithAFault, captureWithAFault,  probeWithAFault,    stopAndStart,
    pullTheCable,      buildAnew,         stopDuringACapture, stopDuringACapture, buildFromAFaultyCamera,
};

inline constexpr Play slowPlays[] = {captureWithOneOf<silentFaults>, captureWithOneOf<silentFaults>,
                                     pullTheCableDuringACapture, probeWithOneOf<silentProbeFaults>};

/// What one of the cameras does while the host searches.
inline std::string searchFault(Random& random) {
    return random.oneIn(3) ? "" : random.of(searchFaults);
}

/// A play drawn at random, of those that end within a second or so.
inline void playQuickly(SoakedCamera& camera) {
    camera.random().of(quickPlays)(camera);
}

/// The same, of those that wait for up to two time-outs of 10 s.
inline void playSlowly(SoakedCamera& camera) {
    camera.random().of(slowPlays)(camera);
}

} // namespace Soak
