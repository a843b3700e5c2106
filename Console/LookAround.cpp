#include "LookAround.h"

#include "CameraCheck.h"
#include "DiscoverReport.h"

#include "Look/ArpLook.h"
#include "Look/NetworkLook.h"
#include "Platform/Terminal.h"

namespace Console {

Diagnosis::Facts lookForAnybody() {
    Diagnosis::Facts look;
    lookAtComputer(look);
    lookForCameras(look);
    throwIfInterrupted();
    if (look.search->answers.empty())
        lookByArp(look);
    return look;
}

void lookAround(const std::vector<std::string>& addresses, Diagnosis::Facts& facts) {
    if (!addresses.empty())
        lookAt(addresses, facts);
    else if (facts.search->answers.empty() && facts.search->cut.empty() && !Platform::interrupted())
        lookAtNeighbours(facts);
}

CommandFailure whyNobody(const Diagnosis::Facts& facts) {
    const DiscoverReport report(facts, {});
    return CommandFailure(report.failure().value(), report.status());
}

} // namespace Console
