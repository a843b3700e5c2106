#include "Faults.h"

#include <algorithm>

namespace Soak {

// Garbage is not among them: it may end like a message, and then has a wrong checksum and a line, or not.
// What hits once spoils the first attempt alone. A broken connection is no matter for a second attempt.
const std::vector<std::string> captureFaults = Faults::faultsIn(
    "configure:two-arguments configure:drip=1/1 configure:scatter=2 configure:checksum*1 "
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

const std::vector<std::string> silentFaults =
    Faults::faultsIn("configure:silent*1 configure:truncate-silent=3*1 "
                     "take:silent*1 take:silent take:endless "
                     "get:silent*1 get:truncate-silent=1011*1 get:truncate-silent");

const std::vector<std::string> probeFaults = Faults::faultsIn(
    "probe:close probe:reset probe:truncate-close=7 probe:checksum probe:delay=40 probe:drip=1/1 "
    "probe:error=3 probe:two-arguments probe:twice probe:scatter=2");

const std::vector<std::string> identificationFaults =
    Faults::faultsIn("version:close version:reset serial:close network:reset");

// Not among them: an empty datagram, which ends the search for all.
const std::vector<std::string> searchFaults = Faults::faultsIn(
    "discovery:twice discovery:silent discovery:garbage discovery:scatter=1 discovery:flip=0 "
    "discovery:other-marker discovery:missing-key=--Room "
    "version:close serial:reset");

namespace {

/// Of files longer than any number of bytes above.
constexpr Simulator::PictureSize pictureSize{40, 20};

} // namespace

Faults::Outcome outcomeOf(Faults::Operation operation, const std::string& fault) {
    Simulator::CameraSettings settings;
    settings.scene.kind = Simulator::SceneKind::noise;
    settings.size = pictureSize;
    if (!fault.empty())
        settings.faults.push_back(Simulator::parseFault(fault));
    Faults::Asking asking;
    asking.resolution = {pictureSize.width, pictureSize.height};
    return Faults::outcomeOf(operation, settings, asking);
}

std::size_t checksumLines(const Faults::Outcome& outcome) {
    return static_cast<std::size_t>(std::ranges::count_if(outcome.lines, [](const Faults::Line& line) {
        return line.message.starts_with("Korva Response failed chksum");
    }));
}

} // namespace Soak
