#include "Commands.h"
#include "Ipv4.h"
#include "Printable.h"
#include "Rules.h"
#include "RulesOfNetworks.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace Diagnosis {

namespace {

bool works(const Adapter& adapter) {
    return mayLeadToCameras(adapter) && adapter.isUp && adapter.hasLink && isConfigured(adapter);
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
    std::string (*remedy)(const Facts& facts, const std::string& adapter); ///< null: an address for it
};

/// In the network of a camera that was asked for and is missing, or else just an example.
std::string giveAddress(const Adapter& adapter, const FactsIndex& index) {
    for (const Camera& camera : index.facts.cameras) {
        const std::string& place = placeOf(camera);
        const bool isElsewhere = adapterFor(index.adapters, place) == nullptr;
        if (camera.wasAskedFor && !isThere(camera) && isElsewhere && ipv4Number(place))
            return "give it one in the camera's network, such as: " +
                   commandToJoin(index, adapter.name, {place, maskOf({})});
    }
    return "give it one in the cameras' network, such as: " +
           commandToAdd(index.facts.commands, adapter.name, {"10.77.1.200", "255.255.255.0"});
}

/// The first that holds is the adapter's cause.
constexpr AdapterRule adapterRules[] = {
    {"adapter-down", true, [](const Adapter& adapter) { return !adapter.isUp; },
     [](const Adapter&, const std::string& name) {
         return "the network adapter " + name + " is switched off";
     },
     [](const Facts& facts, const std::string& adapter) {
         return commandToSwitchOn(facts.commands, adapter);
     }},
    {"no-link", true, [](const Adapter& adapter) { return !adapter.hasLink; },
     [](const Adapter&, const std::string& name) {
         return "nothing is at the other end of the cable of " + name;
     },
     [](const Facts&, const std::string& adapter) {
         return "plug in the cable of " + printable(adapter) +
                ", and check the power of the switch or camera behind it";
     }},
    {"no-address", false, [](const Adapter& adapter) { return adapter.addresses.empty(); },
     [](const Adapter&, const std::string& name) { return name + " has no IPv4 address"; }, nullptr},
    {"link-local-address", false, [](const Adapter& adapter) { return !isConfigured(adapter); },
     [](const Adapter& adapter, const std::string& name) {
         return name + " has only the address " + addressesOf(adapter) +
                " that it gave itself, since nobody gave it one";
     },
     nullptr},
};

const AdapterRule* ruleFor(const Adapter& adapter) {
    const auto* const rule = std::find_if(std::begin(adapterRules), std::end(adapterRules),
                                          [&adapter](const AdapterRule& row) { return row.holds(adapter); });
    return rule == std::end(adapterRules) ? nullptr : rule;
}

enum class Weight { none, note, failure };

const Answer* foreignBehind(const Facts& facts, const Adapter& adapter) {
    const auto at = std::find_if(facts.foreign.begin(), facts.foreign.end(),
                                 [&adapter](const Answer& answer) { return answer.adapter == adapter.name; });
    return at == facts.foreign.end() ? nullptr : &*at;
}

/// What an adapter lacks is of no interest where the cameras are behind another one, unless somebody took
/// the trouble to give it an address. It explains nothing where another one works: computers have adapters
/// that nobody uses.
Weight weightOf(const AdapterRule& rule, const Adapter& adapter, const Facts& facts,
                const std::vector<Adapter>& adapters) {
    if (!mayLeadToCameras(adapter) || (!rule.stopsAdapter && isFoundUnder(facts, adapter)))
        return Weight::none;
    const bool missed = isMissed(facts, adapters, adapter);
    if (isConfigured(adapter))
        return missed || facts.search ? Weight::failure : Weight::none;
    if (!missed)
        return facts.search && !rule.stopsAdapter ? Weight::note : Weight::none;
    const bool isSpare =
        foreignBehind(facts, adapter) == nullptr && std::any_of(adapters.begin(), adapters.end(), works);
    const bool isUsual = isSpare && !adapter.isUp; // such as a radio
    return isUsual ? Weight::none : isSpare ? Weight::note : Weight::failure;
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
    verdict.remedy =
        rule.remedy == nullptr ? giveAddress(adapter, index) : rule.remedy(index.facts, adapter.name);
    if (const Answer* const foreign = foreignBehind(index.facts, adapter)) {
        verdict.text += "; a camera on its cable is at " + printable(placeOf(*foreign));
        verdict.remedy = commandToJoin(index, adapter.name, {placeOf(*foreign), maskOf(*foreign)});
    }
    return cause;
}

} // namespace

/// Containers and virtual machines have such ones, with nothing at the other end or without an address.
bool belongsToOthers(const Adapter& adapter) {
    constexpr const char* beginnings[] = {"docker", "br-",  "virbr", "lxcbr", "lxdbr",
                                          "podman", "cni-", "veth",  "vnet",  "tap"};
    return std::any_of(std::begin(beginnings), std::end(beginnings),
                       [&adapter](const char* beginning) { return adapter.name.starts_with(beginning); });
}

bool isAboutItself(const Facts& facts) {
    const auto isElsewhere = [&facts](const Camera& camera) {
        return camera.wasAskedFor && !isOfThisComputer(placeOf(camera), facts);
    };
    return std::any_of(facts.cameras.begin(), facts.cameras.end(),
                       [](const Camera& camera) { return camera.wasAskedFor; }) &&
           std::none_of(facts.cameras.begin(), facts.cameras.end(), isElsewhere);
}

bool mayLeadToCameras(const Adapter& adapter) {
    return !belongsToOthers(adapter) && (!adapter.isPart || isConfigured(adapter));
}

Verdict verdictOnLoss(const std::string& adapter, const Adapter* now, const OwnAddress& lost,
                      const Facts& facts) {
    const std::string name = printable(adapter);
    const std::string own = printable(withMask(lost));
    const AdapterRule* const rule = now == nullptr ? nullptr : ruleFor(*now);
    Verdict verdict;
    if (now == nullptr) {
        verdict.code = "adapter-gone";
        verdict.text = "this computer has no network adapter " + name + " any more";
        verdict.remedy = "plug " + name + " in again, or check its driver";
        return verdict;
    }
    verdict.code = rule == nullptr ? "own-address-changed" : rule->code;
    verdict.text = rule == nullptr
                       ? name + " has another address: " + addressesOf(*now) + ", no longer " + own
                       : rule->text(*now, name);
    const bool isStopped = rule != nullptr && rule->stopsAdapter;
    verdict.remedy = isStopped ? rule->remedy(facts, adapter) : commandToAdd(facts.commands, adapter, lost);
    return verdict;
}

NetworkCauses causesInAdapters(const FactsIndex& index) {
    const Facts& facts = index.facts;
    const std::vector<Adapter>& adapters = index.adapters;
    NetworkCauses causes;
    if (adapters.empty() && facts.adaptersKnown && !facts.adapters.empty()) {
        NetworkCause none;
        none.isElsewhere = true;
        none.verdict.code = "no-adapter";
        none.verdict.severity = isAboutItself(facts) ? Severity::note : Severity::failure;
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
    // What somebody has set up is meant to work.
    std::stable_partition(causes.begin(), causes.end(),
                          [](const NetworkCause& cause) { return !cause.isElsewhere; });
    return causes;
}

namespace {

/// As a number, however it was asked for; empty if that is not known.
std::string numberOf(const Camera& camera) {
    const std::string told = camera.identity ? camera.identity->address : "";
    for (const std::string& text : {placeOf(camera), told})
        if (ipv4Number(text))
            return text;
    return "";
}

/// Towards the camera; empty if that is this computer itself, or not known.
std::string firstStopTowards(const Camera& camera, const Facts& facts, const std::vector<Adapter>& adapters) {
    const std::string place = numberOf(camera);
    if (place.empty() || isOfThisComputer(place, facts))
        return "";
    std::vector<OwnAddress> networks;
    for (const Adapter& adapter : adapters)
        networks.insert(networks.end(), adapter.addresses.begin(), adapter.addresses.end());
    return firstStopTo(place, networks, facts.defaultGateway);
}

const OwnAddress* ownAddressTowards(const Adapter& adapter, const std::string& stop) {
    const auto own = std::find_if(adapter.addresses.begin(), adapter.addresses.end(),
                                  [&stop](const OwnAddress& some) { return isInNetworkOf(some, stop); });
    return own == adapter.addresses.end() ? nullptr : &*own;
}

/// An adapter that led to the camera, and what is left of it; null: nothing.
struct Way {
    const Adapter& before;
    const Adapter* now;
    const OwnAddress& own;

    bool isOpen(const std::string& stop) const {
        return now != nullptr && now->isUp && now->hasLink && ownAddressTowards(*now, stop) != nullptr;
    }
};

Verdict verdictOnClosed(const Way& way, const Camera& camera, const Facts& now) {
    Verdict verdict = verdictOnLoss(way.before.name, way.now, way.own, now);
    verdict.address = camera.address;
    verdict.room = camera.room;
    return verdict;
}

} // namespace

std::optional<Verdict> verdictOnWay(const Camera& camera, const Facts& before, const Facts& now) {
    const std::vector<Adapter> adapters = adaptersIn(before);
    const std::string stop = firstStopTowards(camera, before, adapters);
    const std::vector<Adapter> left = adaptersIn(now);
    std::vector<Way> ways;
    for (const Adapter& adapter : adapters) {
        const OwnAddress* const own = ownAddressTowards(adapter, stop);
        const bool isAnother = !camera.adapter.empty() && camera.adapter != adapter.name;
        if (own == nullptr || isAnother || !now.adaptersKnown)
            continue;
        const auto rest = std::find_if(left.begin(), left.end(),
                                       [&adapter](const Adapter& each) { return each.name == adapter.name; });
        ways.push_back({adapter, rest == left.end() ? nullptr : &*rest, *own});
    }
    const bool isAnyOpen =
        std::any_of(ways.begin(), ways.end(), [&stop](const Way& way) { return way.isOpen(stop); });
    for (const Way& way : ways)
        if (!way.isOpen(stop) && (works(way.before) || !isAnyOpen))
            return verdictOnClosed(way, camera, now);
    return std::nullopt;
}

bool mayBeOfTheWay(const Verdict& failure) {
    constexpr std::string_view codes[] = {
        "unknown-name",    "no-route",          "other-subnet",         "absent",         "died-after-answer",
        "connection-lost", "text-port-blocked", "picture-port-blocked", "silent",         "too-slow",
        "took-too-long",   "short-time",        "exposure-too-long",    "not-identified", "no-answer",
        "no-picture"};
    return std::find(std::begin(codes), std::end(codes), failure.code) != std::end(codes);
}

} // namespace Diagnosis
