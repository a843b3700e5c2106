#include "Beginning.h"
#include "Ipv4.h"
#include "Printable.h"
#include "RulesOfNetworks.h"

#include <algorithm>
#include <optional>
#include <string_view>

namespace Diagnosis {

namespace {

using Outcome = SearchedNetwork::Outcome;

/// What follows `beginning`; nothing if the line begins otherwise.
std::optional<std::string> restOf(std::string_view beginning, const std::string& line) {
    if (!line.starts_with(beginning))
        return std::nullopt;
    return line.substr(beginning.size());
}

NetworkCause causeWith(const char* code, Severity severity, std::string text, std::string remedy) {
    NetworkCause cause;
    cause.verdict.code = code;
    cause.verdict.severity = severity;
    cause.verdict.text = std::move(text);
    cause.verdict.remedy = std::move(remedy);
    return cause;
}

/// In words, of the code in the plug-in's line.
std::string reasonIn(const std::string& line) {
    if (line.ends_with(" 10013"))
        return "not permitted, by a firewall of this computer or for want of rights";
    if (line.ends_with(" 10050"))
        return "the network is down";
    if (line.ends_with(" 10051") || line.ends_with(" 10065"))
        return "there is no route to it";
    return "the system refuses it";
}

/// The networks that the system let no query into, by the search's record or else by the plug-in's lines.
std::vector<SearchedNetwork> refusedNetworks(const Search& search, const std::vector<Adapter>& adapters) {
    std::vector<SearchedNetwork> refused;
    std::copy_if(search.networks.begin(), search.networks.end(), std::back_inserter(refused),
                 [](const SearchedNetwork& network) { return network.outcome == Outcome::refused; });
    if (!refused.empty())
        return refused;
    SearchedNetwork network;
    for (const LogLine& line : search.lines) {
        network.own.address = restOf("IP on network adapter: ", line.message).value_or(network.own.address);
        network.own.mask = restOf("Mask on network adapter: ", line.message).value_or(network.own.mask);
        network.broadcast =
            restOf("UDP broadcasting Korva Discovery on: ", line.message).value_or(network.broadcast);
        if (!line.message.starts_with("Korva Query - sendto call failed: "))
            continue;
        const auto hasIt = [&network](const Adapter& adapter) {
            return std::any_of(adapter.addresses.begin(), adapter.addresses.end(),
                               [&network](const auto& own) { return own.address == network.own.address; });
        };
        const auto at = std::find_if(adapters.begin(), adapters.end(), hasIt);
        network.adapter = at == adapters.end() ? "" : at->name;
        network.reason = reasonIn(line.message);
        refused.push_back(network);
    }
    return refused;
}

NetworkCause refusedBy(const SearchedNetwork& network) {
    const bool isNamed = !network.adapter.empty();
    const std::string name = isNamed ? printable(network.adapter) : "the adapter";
    const std::string own = network.own.address.empty() ? "" : " (" + printable(withMask(network.own)) + ")";
    const std::string reason = network.reason.empty() ? "" : ": " + printable(network.reason);
    NetworkCause cause = causeWith(
        "adapter-refused", Severity::failure, "no search can be sent on " + name + own + reason,
        "check the firewall and the routes of this computer" +
            (isNamed ? ", or switch the adapter off: sudo ip link set " + name + " down" : std::string()) +
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

/// Each code once.
void addLineCauses(const Search& search, NetworkCauses& causes) {
    for (const LogLine& line : search.lines) {
        const auto* const rule =
            std::find_if(std::begin(searchLineRules), std::end(searchLineRules),
                         [&line](const SearchLineRule& row) { return line.message.starts_with(row.sign); });
        if (rule == std::end(searchLineRules))
            continue;
        const bool isKnown = std::any_of(causes.begin(), causes.end(), [rule](const NetworkCause& cause) {
            return cause.verdict.code == rule->code;
        });
        if (!isKnown)
            causes.push_back(causeWith(rule->code, rule->severity, rule->text, rule->remedy));
    }
}

std::vector<StrangeAnswer> strangeAnswers(const Search& search) {
    std::vector<StrangeAnswer> strange = search.strange;
    if (!strange.empty())
        return strange;
    for (const LogLine& line : search.lines)
        if (const auto text = restOf("Got message that wasn't parsed as a Korva response: ", line.message))
            strange.push_back({{}, *text});
    return strange;
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
    const std::vector<StrangeAnswer> strange = strangeAnswers(search);
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

NetworkCauses causesInSearch(const FactsIndex& index) {
    NetworkCauses causes;
    if (!index.facts.search)
        return causes;
    const Search& search = *index.facts.search;
    for (const SearchedNetwork& network : refusedNetworks(search, index.adapters))
        causes.push_back(refusedBy(network));
    addLineCauses(search, causes);
    const bool isExplained = std::any_of(causes.begin(), causes.end(), [](const NetworkCause& cause) {
        return cause.verdict.severity == Severity::failure;
    });
    if (!search.failure.empty() && !isExplained)
        causes.push_back(causeWith("search-failed", Severity::failure,
                                   "there was no search: " + printable(search.failure), lookAtAdapters));
    if (!search.cut.empty())
        causes.push_back(
            causeWith("search-cut", search.answers.empty() ? Severity::failure : Severity::note,
                      "the search was cut short (" + printable(search.cut) + "): cameras may be missing",
                      "a longer --max-time, or the camera's address"));
    addStrange(search, causes);
    return causes;
}

NetworkCause nobodyAnswered(const FactsIndex& index) {
    std::string networks;
    for (const Adapter& adapter : index.adapters)
        if (adapter.isUp && adapter.hasLink && !adapter.addresses.empty())
            networks += (networks.empty() ? " on " : ", ") + printable(adapter.name) + " (" +
                        addressesOf(adapter) + ")";
    const bool isTold = index.facts.askedByArp.value_or(true);
    return causeWith("no-camera", Severity::failure, "no camera answered the search" + networks,
                     "check the camera's power and cable and the switch; then the firewall of this computer "
                     "(UDP 32768); a camera behind a router is found by its address alone" +
                         std::string(isTold ? "" : "; sudo korva doctor, which sees more"));
}

} // namespace Diagnosis
