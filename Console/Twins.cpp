#include "Twins.h"

#include "SearchFacts.h"

#include "Diagnosis/Rules.h"
#include "Look/ArpLook.h"
#include "Look/NetworkLook.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace Console {

Twins twinsIn(const Diagnosis::Facts& facts) {
    Twins twins;
    const auto verdicts = Diagnosis::verdictsOn(facts);
    for (std::size_t i = 0; i < verdicts.size(); ++i)
        if (verdicts[i] && (verdicts[i]->code == "duplicate-address" || verdicts[i]->code == "duplicate-mac"))
            twins.emplace(facts.cameras[i].address, *verdicts[i]);
    for (auto& [address, verdict] : twins)
        verdict.room.clear(); // of which of them it is, is not known
    return twins;
}

Twins lookForTwins(const std::vector<std::string>& addresses, TwinLook look) {
    Diagnosis::Facts facts;
    Diagnosis::lookAtComputer(facts);
    if (look == TwinLook::alsoBySearch)
        Diagnosis::lookForCameras(facts);
    std::erase_if(facts.cameras, [&addresses](const Diagnosis::Camera& camera) {
        return std::find(addresses.begin(), addresses.end(), camera.address) == addresses.end();
    });
    for (const std::string& address : addresses)
        cameraIn(facts, address);
    Diagnosis::lookByArp(facts);
    return twinsIn(facts);
}

} // namespace Console
