#include "RulesOfSearch.h"

#include "Beginning.h"
#include "Commands.h"
#include "Ipv4.h"
#include "Printable.h"
#include "RulesOfNetworks.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>
#include <optional>
#include <string_view>

namespace Diagnosis {

namespace {

using Outcome = SearchedNetwork::Outcome;

NetworkCause causeWith(const char* code, Severity severity, std::string text, std::string remedy) {
    NetworkCause cause;
    cause.verdict.code = code;
    cause.verdict.severity = severity;
    cause.verdict.text = std::move(text);
    cause.verdict.remedy = std::move(remedy);
    return cause;
}

NetworkCause refusedBy(const SearchedNetwork& network, CommandSet commands) {
    const bool isNamed = !network.adapter.empty();
    const std::string name = isNamed ? printable(network.adapter) : "the adapter";
    const std::string own = network.own.address.empty() ? "" : " (" + printable(withMask(network.own)) + ")";
    const std::string reason = network.reason.empty() ? "" : ": " + printable(network.reason);
    NetworkCause cause = causeWith(
        "adapter-refused", Severity::failure, "no search can be sent on " + name + own + reason,
        "check the firewall and the routes of this computer" +
            (isNamed ? ", or switch the adapter off: " + commandToSwitchOff(commands, network.adapter)
                     : std::string()) +
            "; meanwhile give the camera's address to the command");
    cause.adapter = network.adapter;
    return cause;
}

struct SearchLineRule {
    const char* sign; ///< how the line begins
    const char* code;
    Severity severity;
    const char* text;
    const char* remedy;
};

constexpr auto lookAtAdapters = "check this computer's network adapters, or give the camera's address";

constexpr SearchLineRule searchLineRules[] = {
    {"setsockopt failed", "search-failed", Severity::failure,
     "this computer lets the tool send no search (a broadcast)",
     "check the security software or the settings of the container, or give the camera's address"},
    {"Failed on call to GetAdaptersInfo 232", "no-adapter", Severity::failure,
     "no network adapter of this computer has an IPv4 address",
     "plug in the network cable, or give an adapter an address in the cameras' network"},
    {"Failed on call to GetAdaptersInfo ", "search-failed", Severity::failure,
     "this computer does not tell its network adapters", lookAtAdapters},
    {"Failed on second call to GetAdaptersInfo ", "search-failed", Severity::failure,
     "this computer's network adapters changed during the search", "search again"},
    {"Unknown exception when trying to discover Korva devices.", "search-failed", Severity::failure,
     "the search failed for a reason that the plug-in does not tell", "search again with --log debug"},
    {"More than ", "too-many-answers", Severity::note,
     "something floods the network with answers; those who came too late are left out",
     "find the sender with a packet recorder, or give the camera's address"},
};

const SearchLineRule* ruleOn(const std::string& line) {
    const auto* const rule =
        std::find_if(std::begin(searchLineRules), std::end(searchLineRules),
                     [&line](const SearchLineRule& row) { return line.starts_with(row.sign); });
    return rule == std::end(searchLineRules) ? nullptr : rule;
}

/// Each code once.
void addLineCauses(const Facts& facts, NetworkCauses& causes) {
    for (const LogLine& line : facts.search->lines) {
        const SearchLineRule* const rule = ruleOn(line.message);
        if (rule == nullptr)
            continue;
        const bool isKnown = std::any_of(causes.begin(), causes.end(), [rule](const NetworkCause& cause) {
            return cause.verdict.code == rule->code;
        });
        const bool isNoMatter = isAboutItself(facts) && rule->code == std::string_view("no-adapter");
        if (!isKnown)
            causes.push_back(causeWith(rule->code, isNoMatter ? Severity::note : rule->severity, rule->text,
                                       rule->remedy));
    }
}

/// Each once, in the order they came, as far as they are known; the first few of them.
std::string sourcesOf(const std::vector<StrangeAnswer>& strange) {
    constexpr std::size_t most = 4;
    std::vector<std::string> sources;
    for (const StrangeAnswer& each : strange)
        if (!each.source.empty() && std::find(sources.begin(), sources.end(), each.source) == sources.end())
            sources.push_back(each.source);
    std::string all;
    for (std::size_t i = 0; i < std::min(most, sources.size()); ++i)
        all += (i == 0 ? " from " : ", ") + sources[i];
    if (sources.size() > most)
        all += " and " + std::to_string(sources.size() - most) + " more";
    return sources.size() > 1 ? all + ", the first of them" : all;
}

/// One for all of them, with the first as it came: the network may hold anything.
void addStrange(const Search& search, NetworkCauses& causes) {
    constexpr std::size_t shownBytes = 60;
    const std::vector<StrangeAnswer>& strange = search.strange;
    if (strange.empty())
        return;
    const std::string count = strange.size() == 1 ? "an answer" : std::to_string(strange.size()) + " answers";
    causes.push_back(
        causeWith("strange-answer", Severity::note,
                  count + " to the search that no camera gives" + printable(sourcesOf(strange)) + ": \"" +
                      printable(beginningOf(strange.front().text, shownBytes)) + "\"",
                  "give the camera another room name if it is one; else another device uses UDP 32768"));
}

} // namespace

std::string cutReason(Milliseconds after, CutBy by, std::size_t unasked) {
    static constexpr std::array reasons = {"it listens for a second after the last answer",
                                           "datagrams kept coming", "cameras kept it waiting",
                                           "it did not end"};
    std::array<char, 32> time{};
    std::snprintf(time.data(), time.size(), "after %.1f s: ", std::chrono::duration<double>(after).count());
    const std::string others = unasked == 0 ? ""
                                            : "; " + std::to_string(unasked) +
                                                  (unasked == 1 ? " answer was" : " answers were") +
                                                  " not asked any more";
    return time.data() + std::string(reasons[static_cast<std::size_t>(by)]) + others;
}

Verdict verdictOnCut(const Search& search) {
    return causeWith("search-cut", Severity::failure,
                     "the search was cut " + printable(search.cut) + "; cameras may be missing",
                     "a longer --max-time, or the camera's address")
        .verdict;
}

std::string whyNotSearched(const SearchedNetwork& network) {
    switch (network.outcome) {
    case Outcome::refused:
        return "the system did not send the query: " + network.reason;
    case Outcome::down:
        return "switched off";
    case Outcome::noLink:
        return "nothing at the other end of its cable";
    case Outcome::noAddress:
        return "it has no IPv4 address";
    case Outcome::linkLocal:
        return "only a self-given address";
    case Outcome::searched:
        break;
    }
    return "";
}

bool isOfInterest(const std::string& line) {
    return ruleOn(line) != nullptr;
}

std::string searchFailureIn(const std::string& line) {
    const SearchLineRule* const rule = ruleOn(line);
    const bool isWithoutAdapters = line.ends_with(" 232"); // which is an empty network
    const bool isFailure = rule != nullptr && rule->severity == Severity::failure && !isWithoutAdapters;
    return isFailure ? rule->text : "";
}

std::string searchRefused(const std::string& broadcast) {
    return "the system refused to send the query to " + broadcast;
}

std::string refusalIn(const std::string& line) {
    struct Refusal {
        const char* code; ///< at the line's end
        const char* reason;
    };
    static constexpr Refusal refusals[] = {
        {" 10013", "not permitted, by a firewall of this computer or for want of rights"},
        {" 10050", "the network is down"},
        {" 10051", "there is no route to it"},
        {" 10065", "there is no route to it"},
        {" 10049", "the adapter's address is not usable"},
        {" 10055", "the system has no memory for it"}};
    for (const Refusal& refusal : refusals)
        if (line.ends_with(refusal.code))
            return refusal.reason;
    return "the system does not send there";
}

NetworkCauses causesInSearch(const FactsIndex& index) {
    NetworkCauses causes;
    if (!index.facts.search)
        return causes;
    const Search& search = *index.facts.search;
    for (const SearchedNetwork& network : search.networks)
        if (network.outcome == Outcome::refused)
            causes.push_back(refusedBy(network, index.facts.commands));
    addLineCauses(index.facts, causes);
    const bool isExplained = std::any_of(causes.begin(), causes.end(), [](const NetworkCause& cause) {
        return cause.verdict.severity == Severity::failure;
    });
    if (!search.failure.empty() && !isExplained)
        causes.push_back(causeWith("search-failed", Severity::failure,
                                   "there was no search: " + printable(search.failure), lookAtAdapters));
    if (!search.cut.empty()) {
        causes.push_back({verdictOnCut(search)});
        if (!search.answers.empty())
            causes.back().verdict.severity = Severity::note;
    }
    addStrange(search, causes);
    return causes;
}

NetworkCause nobodyAnswered(const FactsIndex& index) {
    std::string networks;
    for (const Adapter& adapter : index.adapters)
        if (adapter.isUp && adapter.hasLink && !adapter.addresses.empty())
            networks += (networks.empty() ? " on " : ", ") + printable(adapter.name) + " (" +
                        addressesOf(adapter) + ")";
    const bool isTold =
        index.facts.askedByArp.value_or(true) || index.facts.commands == CommandSet::netsh; // nobody may ask
    return causeWith("no-camera", Severity::failure, "no camera answered the search" + networks,
                     "check the camera's power and cable and the switch; then the firewall of this computer "
                     "(UDP 32768); a camera behind a router is found by its address alone" +
                         std::string(isTold ? "" : "; sudo korva doctor, which sees more"));
}

} // namespace Diagnosis
