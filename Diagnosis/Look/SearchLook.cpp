#include "AddressText.h"
#include "CameraFacts.h"
#include "Look/CameraTexts.h"
#include "Look/NetworkLook.h"
#include "Platform/Clock.h"
#include "Platform/QuerySocket.h"
#include "View.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <set>
#include <utility>

namespace Diagnosis {

namespace {

using Outcome = SearchedNetwork::Outcome;
using Platform::Clock;
using Platform::QuerySocket;

constexpr std::uint16_t discoveryPort = 32768;
constexpr std::uint32_t everybody = 0xFFFFFFFF;
constexpr std::size_t mostDatagrams = 2'048; // of each of the two queries
constexpr std::size_t mostStrange = 100;
constexpr std::size_t strangeBytes = 200;

/// A datagram, and when it came.
struct Heard {
    QuerySocket::Datagram datagram;
    Milliseconds after{0};
};

/// Asks the networks of all own addresses, each once: a camera that is asked twice answers twice.
std::vector<SearchedNetwork> askNetworks(const std::vector<Platform::Adapter>& adapters,
                                         QuerySocket& socket) {
    std::vector<SearchedNetwork> networks;
    std::set<std::uint32_t> asked;
    for (const Platform::Adapter& adapter : adapters) {
        if (adapter.isLoopback || (adapter.isPart && adapter.addresses.empty()))
            continue;
        const Outcome usual = !adapter.isUp      ? Outcome::down
                              : !adapter.hasLink ? Outcome::noLink
                                                 : Outcome::searched;
        if (adapter.addresses.empty()) {
            const Outcome outcome = usual == Outcome::searched ? Outcome::noAddress : usual;
            networks.push_back(
                {.adapter = adapter.name, .own = {}, .broadcast = {}, .outcome = outcome, .reason = {}});
        }
        for (const auto& [ip, mask] : adapter.addresses) {
            const std::uint32_t broadcast = ip | ~mask;
            SearchedNetwork& network = networks.emplace_back();
            network.adapter = adapter.name;
            network.own = {dottedText(ip), dottedText(mask)};
            network.broadcast = dottedText(broadcast);
            network.outcome = usual == Outcome::searched && isLinkLocal(ip) ? Outcome::linkLocal : usual;
            if (!adapter.isUp || !asked.insert(broadcast).second)
                continue;
            network.reason = socket.send(discoveryQuery, broadcast, discoveryPort);
            if (!network.reason.empty())
                network.outcome = Outcome::refused;
        }
    }
    return networks;
}

/// Asks whoever is on the cables, whatever its address is.
void askCables(const std::vector<Platform::Adapter>& adapters, QuerySocket& socket) {
    for (const Platform::Adapter& adapter : adapters)
        if (adapter.isUp && adapter.isEthernet && !adapter.isLoopback && !adapter.addresses.empty())
            socket.send(discoveryQuery, everybody, discoveryPort, adapter.index);
}

/// What comes by the deadline; if that is past, what is there. A flood does not hold it longer.
std::vector<Heard> hear(QuerySocket& socket, Clock::time_point begin, Clock::time_point deadline) {
    constexpr auto patience = std::chrono::milliseconds(100);
    const Clock::time_point end = std::max(deadline, Clock::now()) + patience;
    std::vector<Heard> heard;
    while (heard.size() < mostDatagrams && Clock::now() < end) {
        auto datagram = socket.receive(deadline);
        if (!datagram)
            break;
        heard.push_back({std::move(*datagram), std::chrono::floor<Milliseconds>(Clock::now() - begin)});
    }
    return heard;
}

Answer answerOf(const DiscoveryReply& reply, const Heard& heard, const View& view) {
    const auto& [source, adapterIndex, text] = heard.datagram;
    const Platform::NeighbourEntry* const neighbour = view.neighbour(source, adapterIndex);
    return {.address = reply.address,
            .source = dottedText(source),
            .room = reply.room,
            .adapter = view.nameOf(adapterIndex),
            .macAddress = neighbour == nullptr ? std::string() : macText(neighbour->hardwareAddress),
            .after = heard.after,
            .mask = reply.mask};
}

/// Sorts what was heard into answers and others.
void sortInto(Search& search, const std::vector<Heard>& heard, const View& view) {
    std::map<std::pair<std::uint32_t, unsigned>, int> perPlace;
    for (const auto& [datagram, after] : heard)
        ++perPlace[{datagram.source, datagram.adapterIndex}];
    for (const Heard& each : heard) {
        const auto reply = readDiscoveryReply(each.datagram.text);
        if (!reply) {
            if (search.strange.size() < mostStrange)
                search.strange.push_back(
                    {dottedText(each.datagram.source), each.datagram.text.substr(0, strangeBytes)});
            continue;
        }
        Answer& answer = search.answers.emplace_back(answerOf(*reply, each, view));
        // The table has one hardware address; whose of several it is it does not say.
        if (perPlace[{each.datagram.source, each.datagram.adapterIndex}] > 1)
            answer.macAddress.clear();
    }
}

void noteCamera(const Answer& answer, Facts& facts) {
    if (!addressFromText(answer.address))
        return;
    Camera& camera = cameraAt(answer.address, facts);
    camera.answeredSearch = true;
    if (camera.room.empty())
        camera.room = answer.room;
    addMac(answer.macAddress, camera);
}

/// Keeps the answers to the limited broadcast that the search has not had.
void sortOthers(Facts& facts, const std::vector<Heard>& heard, const View& view) {
    std::set<std::pair<std::string, std::string>> known; // address and room
    for (const Answer& answer : facts.search->answers)
        known.emplace(answer.address, answer.room);
    for (const Heard& each : heard) {
        const auto reply = readDiscoveryReply(each.datagram.text);
        if (!reply || !known.emplace(reply->address, reply->room).second)
            continue;
        const std::uint32_t address = addressFromText(reply->address).value_or(each.datagram.source);
        (view.isInOwnNetwork(address) ? facts.limitedOnly : facts.foreign)
            .push_back(answerOf(*reply, each, view));
    }
}

} // namespace

void lookForCameras(Facts& facts) {
    const std::optional<std::vector<Platform::Adapter>> adapters = Platform::listAdapters();
    QuerySocket search;
    QuerySocket cables;
    if (!facts.search)
        facts.search.emplace();
    facts.search->networks.clear();
    facts.search->answers.clear();
    facts.search->strange.clear();
    facts.foreign.clear();
    facts.limitedOnly.clear();
    const std::string failure = adapters ? search.failure() : "the system does not tell its adapters";
    if (!failure.empty()) {
        facts.search->failure = failure;
        return;
    }

    const Clock::time_point begin = Clock::now();
    facts.search->networks = askNetworks(*adapters, search);
    askCables(*adapters, cables);
    const std::vector<Heard> answers = hear(search, begin, begin + searchLookTime);
    const std::vector<Heard> others = hear(cables, begin, begin);
    const View view = View::now();
    sortInto(*facts.search, answers, view);
    sortOthers(facts, others, view);
    for (const Answer& answer : facts.search->answers)
        noteCamera(answer, facts);
    facts.neighbours = view.neighbourFacts();
}

} // namespace Diagnosis
