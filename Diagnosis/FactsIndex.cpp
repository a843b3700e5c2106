#include "FactsIndex.h"

#include "RulesOfNetworks.h"

namespace Diagnosis {

FactsIndex::FactsIndex(const Facts& all) : facts(all), adapters(adaptersIn(all)) {
    takeAddresses();
    for (const Adapter& adapter : facts.adapters)
        ownMacs_.insert(adapter.macAddress);
    if (!facts.search)
        return;
    for (const Answer& answer : facts.search->answers) {
        byAddress_[answer.address].push_back(&answer);
        byMac_.emplace(answer.macAddress, &answer);
    }
}

void FactsIndex::takeAddresses() {
    taken_.insert(facts.defaultGateway);
    for (const Adapter& adapter : facts.adapters)
        for (const OwnAddress& own : adapter.addresses)
            taken_.insert(own.address);
    for (const Neighbour& neighbour : facts.neighbours)
        taken_.insert(neighbour.address);
    for (const Camera& camera : facts.cameras)
        taken_.insert(placeOf(camera));
    for (const Answer& answer : facts.foreign)
        taken_.insert(placeOf(answer));
}

const std::vector<const Answer*>& FactsIndex::answersNaming(const std::string& address) const {
    static const std::vector<const Answer*> none;
    const auto at = byAddress_.find(address);
    return at == byAddress_.end() ? none : at->second;
}

const Answer* FactsIndex::firstAnswerOf(const std::string& mac) const {
    const auto at = byMac_.find(mac);
    return at == byMac_.end() ? nullptr : at->second;
}

} // namespace Diagnosis
