#include "RulesOfNetworks.h"

#include "Commands.h"
#include "Ipv4.h"
#include "Printable.h"

#include <algorithm>
#include <iterator>

namespace Diagnosis {

namespace {

using Outcome = SearchedNetwork::Outcome;

/// What a search says of an adapter beside what the record says.
void learn(Adapter& adapter, const SearchedNetwork& network) {
    adapter.isUp = adapter.isUp && network.outcome != Outcome::down;
    adapter.hasLink = adapter.hasLink && network.outcome != Outcome::noLink;
}

Adapter adapterOf(const SearchedNetwork& network) {
    Adapter adapter;
    adapter.name = network.adapter;
    if (ipv4Number(network.own.address).value_or(0) != 0)
        adapter.addresses.push_back(network.own);
    return adapter;
}

} // namespace

std::vector<Adapter> adaptersIn(const Facts& facts) {
    std::vector<Adapter> adapters = facts.adapters;
    for (const SearchedNetwork& network :
         facts.search ? facts.search->networks : std::vector<SearchedNetwork>()) {
        auto at = std::find_if(adapters.begin(), adapters.end(), [&network](const Adapter& adapter) {
            return adapter.name == network.adapter;
        });
        if (at == adapters.end())
            at = adapters.insert(at, adapterOf(network));
        learn(*at, network);
    }
    std::erase_if(adapters, [](const Adapter& adapter) { return adapter.isLoopback; });
    return adapters;
}

const Adapter* adapterFor(const std::vector<Adapter>& adapters, const std::string& address) {
    const auto holds = [&address](const OwnAddress& own) { return isInNetworkOf(own, address); };
    const auto at = std::find_if(adapters.begin(), adapters.end(), [&holds](const Adapter& adapter) {
        return std::any_of(adapter.addresses.begin(), adapter.addresses.end(), holds);
    });
    return at == adapters.end() ? nullptr : &*at;
}

const std::string& firstStopTo(const std::string& address, const std::vector<OwnAddress>& networks,
                               const std::string& router) {
    const bool isBeside = std::any_of(networks.begin(), networks.end(), [&address](const OwnAddress& own) {
        return isInNetworkOf(own, address);
    });
    return isBeside ? address : router;
}

bool isOfThisComputer(const std::string& place, const Facts& facts) {
    for (const Adapter& adapter : facts.adapters)
        for (const OwnAddress& own : adapter.addresses)
            if (own.address == place || (adapter.isLoopback && isInNetworkOf(own, place)))
                return true;
    return false;
}

bool isConfigured(const Adapter& adapter) {
    return std::any_of(adapter.addresses.begin(), adapter.addresses.end(),
                       [](const OwnAddress& own) { return !isLinkLocal(own.address); });
}

std::string addressesOf(const Adapter& adapter) {
    std::string all;
    for (const OwnAddress& own : adapter.addresses)
        all += (all.empty() ? "" : ", ") + withMask(own);
    return printable(all);
}

const std::string& placeOf(const Answer& answer) {
    return answer.source.empty() ? answer.address : answer.source;
}

bool isThere(const Camera& camera) {
    const auto answers = [](PortState port) { return port == PortState::open || port == PortState::refused; };
    const bool didSomething = std::any_of(camera.attempts.begin(), camera.attempts.end(),
                                          [](const Attempt& attempt) { return attempt.succeeded; });
    return didSomething || camera.identity || answers(camera.text) || answers(camera.picture) ||
           camera.answersQuery.value_or(false) || camera.answersArp.value_or(false);
}

std::string maskOf(const Answer& answer) {
    return ipv4Number(answer.mask).value_or(0) == 0 ? "255.255.255.0" : answer.mask;
}

std::string commandToJoin(const FactsIndex& index, const std::string& adapter, const OwnAddress& camera) {
    constexpr std::uint32_t likelyFree = 200;
    constexpr std::uint32_t most = 256; // tries
    const std::uint32_t block = ipv4Number(camera.address).value_or(0) & 0xFFFFFF00u;
    for (std::uint32_t i = 0; i < most; ++i) {
        const std::uint32_t host = (likelyFree + i) % most;
        const std::string address = ipv4Text(block | host);
        const bool isUsual = host != 0 && host != most - 1;
        if (isUsual && isInNetworkOf(camera, address) && !index.isTaken(address))
            return commandToAdd(index.facts.commands, adapter, {address, camera.mask});
    }
    return "give " + printable(adapter) + " a free address in the camera's network";
}

const std::string& placeOf(const Camera& camera) {
    return camera.ipv4.empty() ? camera.address : camera.ipv4;
}

bool explains(const NetworkCause& cause, const Camera& camera, const FactsIndex& index) {
    if (cause.verdict.code == "own-address-taken")
        return placeOf(camera) == cause.camera; // this computer itself answers there
    return cause.verdict.severity == Severity::failure && mayExplain(cause, camera, index);
}

bool mayExplain(const NetworkCause& cause, const Camera& camera, const FactsIndex& index) {
    if (isThere(camera))
        return false;
    const Adapter* const own = adapterFor(index.adapters, placeOf(camera));
    if (own != nullptr)
        return cause.stopsAdapter && own->name == cause.adapter;
    const bool isAnywhere = cause.camera.empty() || areNeighbours(cause.camera, placeOf(camera));
    return cause.isElsewhere && isAnywhere && ipv4Number(placeOf(camera));
}

namespace {

/// An adapter that is off takes no query either, and one without an address is in no network. That no
/// adapter has an address follows from what each of them lacks.
bool follows(const NetworkCause& cause, const NetworkCauses& causes) {
    return std::any_of(causes.begin(), causes.end(), [&cause](const NetworkCause& before) {
        const bool isSame = !cause.adapter.empty() && before.adapter == cause.adapter;
        const bool isOfAll = cause.verdict.code == "no-adapter";
        return (isSame || isOfAll) && (before.stopsAdapter || before.isElsewhere) &&
               (isOfAll || before.verdict.code != cause.verdict.code);
    });
}

bool isFailureCause(const NetworkCause& cause) {
    return cause.verdict.severity == Severity::failure;
}

} // namespace

NetworkCauses causesInNetworks(const FactsIndex& index) {
    NetworkCauses causes;
    for (const NetworkCauses& some : {causesInAdapters(index), causesInSubnets(index), causesInSearch(index)})
        std::copy_if(some.begin(), some.end(), std::back_inserter(causes),
                     [&causes](const NetworkCause& cause) { return !follows(cause, causes); });
    const bool isExplained = std::any_of(causes.begin(), causes.end(), isFailureCause);
    const std::optional<Search>& search = index.facts.search;
    if (search && search->answers.empty() && !isExplained)
        causes.push_back(nobodyAnswered(index));
    std::stable_partition(causes.begin(), causes.end(), isFailureCause);
    for (NetworkCause& cause : causes)
        cause.verdict.adapter = cause.adapter;
    return causes;
}

} // namespace Diagnosis
