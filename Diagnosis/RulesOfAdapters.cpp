#include "Ipv4.h"
#include "Printable.h"
#include "RulesOfNetworks.h"

#include <algorithm>
#include <iterator>

namespace Diagnosis {

namespace {

bool works(const Adapter& adapter) {
    return adapter.isUp && adapter.hasLink && isConfigured(adapter);
}

/// Containers and virtual machines have such ones, with nothing at the other end or without an address.
bool belongsToOthers(const Adapter& adapter) {
    constexpr const char* beginnings[] = {"docker", "br-",  "virbr", "lxcbr", "lxdbr",
                                          "podman", "cni-", "veth",  "vnet",  "tap"};
    return std::any_of(std::begin(beginnings), std::end(beginnings),
                       [&adapter](const char* beginning) { return adapter.name.starts_with(beginning); });
}

/// Cameras may give themselves addresses too.
bool isFoundUnder(const Facts& facts, const Adapter& adapter) {
    if (!facts.search)
        return false;
    return std::any_of(
        facts.search->answers.begin(), facts.search->answers.end(), [&adapter](const Answer& answer) {
            return answer.adapter == adapter.name || adapterFor({adapter}, answer.address) != nullptr;
        });
}

/// Nobody is found, or one who was asked for is missing and may be behind this adapter.
bool isMissed(const Facts& facts, const std::vector<Adapter>& adapters, const Adapter& adapter) {
    const auto isMissing = [&](const Camera& camera) {
        const Adapter* const own = adapterFor(adapters, placeOf(camera));
        return camera.wasAskedFor && !isThere(camera) && (own == nullptr || own->name == adapter.name);
    };
    const bool isAboutAll = std::none_of(facts.cameras.begin(), facts.cameras.end(),
                                         [](const Camera& camera) { return camera.wasAskedFor; });
    const bool noneFound = facts.search && facts.search->answers.empty();
    return (isAboutAll && noneFound) || std::any_of(facts.cameras.begin(), facts.cameras.end(), isMissing);
}

/// What an adapter may lack.
struct AdapterRule {
    const char* code;
    bool stopsAdapter;
    bool (*holds)(const Adapter& adapter);
    std::string (*text)(const Adapter& adapter, const std::string& name);
    std::string (*remedy)(const std::string& name);
};

std::string giveAddress(const std::string& name) {
    return "give it one in the cameras' network, such as: sudo ip addr add 10.77.1.200/24 dev " + name;
}

/// The first that holds is the adapter's cause.
constexpr AdapterRule adapterRules[] = {
    {"adapter-down", true, [](const Adapter& adapter) { return !adapter.isUp; },
     [](const Adapter&, const std::string& name) {
         return "the network adapter " + name + " is switched off";
     },
     [](const std::string& name) { return "sudo ip link set " + name + " up"; }},
    {"no-link", true, [](const Adapter& adapter) { return !adapter.hasLink; },
     [](const Adapter&, const std::string& name) {
         return "nothing is at the other end of the cable of " + name;
     },
     [](const std::string& name) {
         return "plug in the cable of " + name + ", and check the power of the switch or camera behind it";
     }},
    {"no-address", false, [](const Adapter& adapter) { return adapter.addresses.empty(); },
     [](const Adapter&, const std::string& name) { return name + " has no IPv4 address"; }, giveAddress},
    {"link-local-address", false, [](const Adapter& adapter) { return !isConfigured(adapter); },
     [](const Adapter& adapter, const std::string& name) {
         return name + " has only the address " + addressesOf(adapter) +
                " that it gave itself, since nobody gave it one";
     },
     giveAddress},
};

const AdapterRule* ruleFor(const Adapter& adapter) {
    const auto* const rule = std::find_if(std::begin(adapterRules), std::end(adapterRules),
                                          [&adapter](const AdapterRule& row) { return row.holds(adapter); });
    return rule == std::end(adapterRules) ? nullptr : rule;
}

enum class Weight { none, note, failure };

/// What an adapter lacks is of no interest where the cameras are behind another one, unless somebody took
/// the trouble to give it an address.
Weight weightOf(const AdapterRule& rule, const Adapter& adapter, const Facts& facts,
                const std::vector<Adapter>& adapters) {
    if (belongsToOthers(adapter) || (!rule.stopsAdapter && isFoundUnder(facts, adapter)))
        return Weight::none;
    const bool missed = isMissed(facts, adapters, adapter);
    if (!rule.stopsAdapter)
        return missed ? Weight::failure : facts.search ? Weight::note : Weight::none;
    if (isConfigured(adapter))
        return missed || facts.search ? Weight::failure : Weight::none;
    // Such as a radio that nobody uses.
    const bool isUsual = !adapter.isUp && std::any_of(adapters.begin(), adapters.end(), works);
    return missed && !isUsual ? Weight::failure : Weight::none;
}

const Answer* foreignBehind(const Facts& facts, const Adapter& adapter) {
    const auto at = std::find_if(facts.foreign.begin(), facts.foreign.end(),
                                 [&adapter](const Answer& answer) { return answer.adapter == adapter.name; });
    return at == facts.foreign.end() ? nullptr : &*at;
}

NetworkCause causeBy(const AdapterRule& rule, const Adapter& adapter, const FactsIndex& index,
                     Weight weight) {
    const std::string name = printable(adapter.name);
    NetworkCause cause;
    cause.adapter = adapter.name;
    cause.stopsAdapter = rule.stopsAdapter;
    cause.isElsewhere = !isConfigured(adapter);
    Verdict& verdict = cause.verdict;
    verdict.code = rule.code;
    verdict.severity = weight == Weight::failure ? Severity::failure : Severity::note;
    verdict.text = rule.text(adapter, name);
    verdict.remedy = rule.remedy(name);
    if (const Answer* const foreign = foreignBehind(index.facts, adapter)) {
        verdict.text += "; a camera on its cable is at " + printable(placeOf(*foreign));
        verdict.remedy = commandToJoin(index, adapter.name, {placeOf(*foreign), maskOf(*foreign)});
    }
    return cause;
}

} // namespace

NetworkCauses causesInAdapters(const FactsIndex& index) {
    const Facts& facts = index.facts;
    const std::vector<Adapter>& adapters = index.adapters;
    NetworkCauses causes;
    if (adapters.empty() && facts.adaptersKnown && !facts.adapters.empty()) {
        NetworkCause none;
        none.isElsewhere = true;
        none.verdict.code = "no-adapter";
        none.verdict.text = "this computer has no network adapter";
        none.verdict.remedy = "plug in or switch on a network adapter, or install its driver";
        causes.push_back(none);
    }
    for (const Adapter& adapter : adapters) {
        const AdapterRule* const rule = ruleFor(adapter);
        const Weight weight = rule == nullptr ? Weight::none : weightOf(*rule, adapter, facts, adapters);
        if (weight != Weight::none)
            causes.push_back(causeBy(*rule, adapter, index, weight));
    }
    return causes;
}

} // namespace Diagnosis
