#include "AdapterChanges.h"

#include "Ipv4.h"
#include "RulesOfNetworks.h"

#include <algorithm>
#include <cstdint>

namespace Diagnosis {

namespace {

bool isInOneOf(const std::vector<OwnAddress>& networks, const std::string& address) {
    return std::any_of(networks.begin(), networks.end(),
                       [&address](const OwnAddress& own) { return isInNetworkOf(own, address); });
}

std::vector<OwnAddress> givenAddresses(const Adapter& adapter) {
    std::vector<OwnAddress> given = adapter.addresses;
    std::erase_if(given, [](const OwnAddress& own) { return isLinkLocal(own.address); });
    return given;
}

/// Why it does not reach all the networks of these addresses; nothing if it does.
std::optional<Verdict> whyNot(const Adapter* now, const std::string& name,
                              const std::vector<OwnAddress>& addresses, const Facts& facts) {
    const bool isOn = now != nullptr && now->isUp && now->hasLink;
    const auto lost = std::find_if(addresses.begin(), addresses.end(), [&](const OwnAddress& own) {
        return !isOn || !isInOneOf(givenAddresses(*now), own.address);
    });
    return lost == addresses.end() ? std::nullopt : std::optional(verdictOnLoss(name, now, *lost, facts));
}

} // namespace

std::vector<AdapterChanges::Change> AdapterChanges::take(const Facts& facts) {
    std::vector<Change> changes;
    if (!facts.adaptersKnown)
        return changes;
    if (!facts.defaultGateway.empty())
        gateway_ = facts.defaultGateway;
    present_.clear();
    for (const Adapter& adapter : facts.adapters) {
        learn(adapter);
        if (adapter.isUp && adapter.hasLink)
            present_.insert(present_.end(), adapter.addresses.begin(), adapter.addresses.end());
    }
    for (auto& [adapterName, known] : known_) {
        const std::string& name = adapterName; // for the lambda
        const auto at = std::find_if(facts.adapters.begin(), facts.adapters.end(),
                                     [&name](const Adapter& adapter) { return adapter.name == name; });
        const Adapter* const now = at == facts.adapters.end() ? nullptr : &*at;
        const std::optional<Verdict> verdict = whyNot(now, name, known.addresses, facts);
        if (verdict != known.verdict)
            changes.push_back({name, verdict});
        known.verdict = verdict;
        if (!verdict)
            known.addresses = givenAddresses(*now);
    }
    return changes;
}

void AdapterChanges::learn(const Adapter& adapter) {
    if (!adapter.isLoopback && isConfigured(adapter) && !belongsToOthers(adapter))
        known_.try_emplace(adapter.name, Known{givenAddresses(adapter)});
}

const Verdict* AdapterChanges::whyOutOfReach(const std::string& address) const {
    constexpr std::uint32_t loopback = 127;
    const std::uint32_t number = ipv4Number(address).value_or(0);
    if (number == 0 || number >> 24 == loopback)
        return nullptr;
    std::vector<OwnAddress> networks = present_;
    for (const auto& [name, known] : known_)
        networks.insert(networks.end(), known.addresses.begin(), known.addresses.end());
    const std::string& stop = firstStopTo(address, networks, gateway_);
    if (isInOneOf(present_, stop))
        return nullptr;
    for (const auto& [name, known] : known_)
        if (known.verdict && isInOneOf(known.addresses, stop))
            return &*known.verdict;
    return nullptr;
}

} // namespace Diagnosis
