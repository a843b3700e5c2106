#include "FactsIndex.h"

#include "Ipv4.h"
#include "RulesOfNetworks.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace Diagnosis {

FactsIndex::FactsIndex(const Facts& all) : facts(all), adapters(adaptersIn(all)) {
    takeAddresses();
    for (const Adapter& adapter : facts.adapters)
        ownMacs_.insert(adapter.macAddress);
    if (facts.search)
        for (const Answer& answer : facts.search->answers) {
            byAddress_[answer.address].push_back(&answer);
            byMac_.emplace(answer.macAddress, &answer);
            addHolder(answer.macAddress, {answer.address, answer.room});
            if (!answer.source.empty() && answer.source != answer.address)
                misnamed_.emplace(answer.source, &answer);
        }
    for (const Camera& camera : facts.cameras)
        if (camera.macAddresses.size() == 1 && camera.answersQuery == true)
            addHolder(camera.macAddresses.front(), {placeOf(camera), camera.room});
}

void FactsIndex::addHolder(std::string_view mac, const Holder& holder) {
    std::vector<Holder>& all = holders_[mac];
    const bool isNews = all.empty() || (all.size() == 1 && all.front().room != holder.room &&
                                        all.front().address != holder.address);
    if (isNews)
        all.push_back(holder);
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

const Answer* FactsIndex::misnamedAnswerFrom(const std::string& address) const {
    const auto at = misnamed_.find(address);
    return at == misnamed_.end() ? nullptr : at->second;
}

const Answer* FactsIndex::firstAnswerOf(const std::string& mac) const {
    const auto at = byMac_.find(mac);
    return at == byMac_.end() ? nullptr : at->second;
}

std::optional<FactsIndex::Holder> FactsIndex::otherHolderOf(const std::string& mac,
                                                            const Holder& holder) const {
    if (const auto at = holders_.find(mac); at != holders_.end())
        for (const Holder& other : at->second)
            if (other.room != holder.room && other.address != holder.address)
                return other;
    return std::nullopt;
}

std::vector<const Camera*> sortedByAddress(const std::vector<Camera>& cameras) {
    static constexpr std::uint32_t behindAll = 0xFFFFFFFFu;
    std::vector<std::pair<std::uint32_t, const Camera*>> numbered;
    for (const Camera& camera : cameras)
        numbered.emplace_back(ipv4Number(camera.address).value_or(behindAll), &camera);
    std::stable_sort(numbered.begin(), numbered.end(),
                     [](const auto& one, const auto& other) { return one.first < other.first; });
    std::vector<const Camera*> sorted;
    for (const auto& [number, camera] : numbered)
        sorted.push_back(camera);
    return sorted;
}

} // namespace Diagnosis
