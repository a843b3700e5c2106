#include "SearchFacts.h"

#include "Diagnosis/Ipv4.h"
#include "Platform/Text.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <set>
#include <utility>

namespace Console {

namespace {

using Diagnosis::Adapter;
using Diagnosis::Answer;
using Diagnosis::SearchedNetwork;
using Outcome = SearchedNetwork::Outcome;

std::string utf8(const std::wstring& text) {
    return Platform::utf8FromWide(text);
}

bool hasAddress(const Adapter& adapter, const std::string& address) {
    return std::any_of(adapter.addresses.begin(), adapter.addresses.end(),
                       [&address](const auto& own) { return own.address == address; });
}

Outcome outcomeOf(const Adapter& adapter, const std::string& address) {
    if (!adapter.isUp)
        return Outcome::down;
    if (!adapter.hasLink)
        return Outcome::noLink;
    if (address.empty())
        return Outcome::noAddress;
    return address.starts_with("169.254.") ? Outcome::linkLocal : Outcome::searched;
}

/// An adapter with an address that is none of the networks came after one that ended the search.
void addUnlessSearched(std::vector<SearchedNetwork>& networks, const Adapter& adapter) {
    const bool isThere =
        std::any_of(networks.begin(), networks.end(),
                    [&adapter](const SearchedNetwork& network) { return network.adapter == adapter.name; });
    const Outcome outcome = outcomeOf(adapter, "");
    const bool isBarePart = adapter.isPart && adapter.addresses.empty();
    if (isThere || adapter.isLoopback || isBarePart ||
        (outcome == Outcome::noAddress && !adapter.addresses.empty()))
        return;
    SearchedNetwork& network = networks.emplace_back();
    network.adapter = adapter.name;
    network.outcome = outcome;
    if (!adapter.addresses.empty())
        network.own = adapter.addresses.front();
}

template <typename T>
void addNew(std::vector<T>& all, const T& one) {
    if (std::find(all.begin(), all.end(), one) == all.end())
        all.push_back(one);
}

/// The first search knows better why it was refused.
void addUnlessKnown(std::vector<SearchedNetwork>& networks, const SearchedNetwork& network) {
    for (SearchedNetwork& known : networks)
        if (known.adapter == network.adapter && known.own.address == network.own.address)
            return;
    const auto isBare = [&network](const SearchedNetwork& known) {
        return known.adapter == network.adapter && known.own.address.empty();
    };
    std::erase_if(networks, isBare);
    networks.push_back(network);
}

void takeAnswer(const Answer& answer, Diagnosis::Facts& facts) {
    facts.search->answers.push_back(answer);
    Diagnosis::Camera& camera = cameraIn(facts, answer.address);
    camera.answeredSearch = true;
    if (camera.room.empty())
        camera.room = answer.room;
}

/// One search may add answers of its own: the same ones may come more than once in it.
void addNewAnswers(std::vector<Answer>& all, const std::vector<Answer>& further) {
    std::set<std::pair<std::string, std::string>> known;
    for (const Answer& answer : all)
        known.emplace(answer.address, answer.room);
    for (const Answer& answer : further)
        if (all.size() < SearchProgress::mostAnswers && !known.contains({answer.address, answer.room}))
            all.push_back(answer);
}

void addNewCameras(std::vector<Diagnosis::Camera>& all, const std::vector<Diagnosis::Camera>& further) {
    std::map<std::string, std::size_t> places;
    for (std::size_t i = 0; i < all.size(); ++i)
        places.emplace(all[i].address, i);
    for (const Diagnosis::Camera& camera : further) {
        const auto known = places.find(camera.address);
        if (known == places.end() && all.size() < SearchProgress::mostAnswers)
            all.push_back(camera);
        else if (known != places.end() && !all[known->second].identity)
            all[known->second] = camera;
    }
}

} // namespace

Diagnosis::Identity identityOf(const CameraInfo& camera) {
    Diagnosis::Identity identity;
    identity.address = utf8(camera.getIpAddress());
    identity.macAddress = utf8(camera.getMacAddress());
    identity.model = utf8(camera.getModel());
    identity.serialNumber = utf8(camera.getSerialNumber());
    identity.firmware = utf8(camera.getFW());
    identity.subnetMask = utf8(camera.getSubnetMask());
    identity.defaultGateway = utf8(camera.getDefaultGateway());
    identity.width = static_cast<unsigned>(std::max(0, camera.getResolutionX()));
    identity.height = static_cast<unsigned>(std::max(0, camera.getResolutionY()));
    return identity;
}

Diagnosis::Camera& cameraIn(Diagnosis::Facts& facts, const std::string& address) {
    const auto known =
        std::find_if(facts.cameras.begin(), facts.cameras.end(),
                     [&address](const Diagnosis::Camera& camera) { return camera.address == address; });
    if (known != facts.cameras.end())
        return *known;
    Diagnosis::Camera& camera = facts.cameras.emplace_back();
    camera.address = address;
    return camera;
}

Diagnosis::Facts factsOf(const SearchProgress& progress, const std::vector<CameraInfo>& found) {
    Diagnosis::Facts facts;
    facts.search = progress.search();
    std::map<std::string, std::size_t> places; // there may be many thousands
    for (std::size_t i = 0; i < facts.search->answers.size(); ++i) {
        const Answer& answer = facts.search->answers[i];
        const auto [place, isNew] = places.emplace(answer.address, facts.cameras.size());
        Diagnosis::Camera& camera = isNew ? facts.cameras.emplace_back() : facts.cameras[place->second];
        camera.address = answer.address;
        camera.answeredSearch = true;
        if (camera.room.empty())
            camera.room = answer.room;
        if (!answer.macAddress.empty())
            addNew(camera.macAddresses, answer.macAddress);
        if (!progress.turns()[i].complaints.empty()) {
            Diagnosis::Attempt& attempt = camera.attempts.emplace_back();
            attempt.lines = progress.turns()[i].complaints;
        }
    }
    addFound(found, facts);
    return facts;
}

void addFound(const std::vector<CameraInfo>& found, Diagnosis::Facts& facts) {
    for (const CameraInfo& info : found) {
        Diagnosis::Camera& camera = cameraIn(facts, utf8(info.getIpAddress()));
        if (camera.identity)
            continue;
        camera.answeredSearch = true;
        camera.identity = identityOf(info);
        camera.attempts.emplace_back().succeeded = true;
    }
}

void takeFromRefused(Diagnosis::Facts& facts) {
    const std::vector<SearchedNetwork>& networks = facts.search->networks;
    const auto isRefused = [&networks](const Answer& answer) {
        return std::any_of(networks.begin(), networks.end(), [&answer](const SearchedNetwork& network) {
            return network.outcome == Outcome::refused && network.adapter == answer.adapter;
        });
    };
    for (const Answer& answer : facts.limitedOnly)
        if (isRefused(answer) && Diagnosis::ipv4Number(answer.address))
            takeAnswer(answer, facts);
    std::erase_if(facts.limitedOnly, isRefused);
}

bool tellsTooLittle(const Diagnosis::Facts& facts) {
    std::set<std::string> addresses;
    const auto isRepeated = [&addresses](const Answer& answer) {
        return !addresses.insert(answer.address).second;
    };
    const std::vector<Answer>& answers = facts.search->answers;
    return answers.empty() || std::any_of(answers.begin(), answers.end(), isRepeated) ||
           std::any_of(facts.cameras.begin(), facts.cameras.end(),
                       [](const Diagnosis::Camera& camera) { return !camera.identity; });
}

std::vector<std::string> absorbLook(Diagnosis::Facts& facts, const Diagnosis::Facts& look) {
    facts.foreign = look.foreign;
    facts.limitedOnly = look.limitedOnly;
    facts.neighbours = look.neighbours;
    facts.askedByArp = look.askedByArp;
    if (!look.search)
        return {};
    Diagnosis::Search& search = *facts.search;
    if (!look.search->strange.empty())
        search.strange = look.search->strange; // which has their sources
    if (!search.answers.empty()) {
        completeAnswers(search.answers, look.search->answers);
        return {};
    }
    for (const SearchedNetwork& network : look.search->networks)
        addUnlessKnown(search.networks, network);
    for (const Answer& answer : look.search->answers)
        takeAnswer(answer, facts);
    takeFromRefused(facts);
    std::vector<std::string> addresses;
    for (const Answer& answer : search.answers)
        addNew(addresses, answer.address);
    return addresses;
}

void completeNetworks(Diagnosis::Facts& facts) {
    if (!facts.search)
        return;
    std::vector<SearchedNetwork>& networks = facts.search->networks;
    for (SearchedNetwork& network : networks) {
        const auto adapter =
            std::find_if(facts.adapters.begin(), facts.adapters.end(),
                         [&network](const Adapter& each) { return hasAddress(each, network.own.address); });
        if (adapter == facts.adapters.end())
            continue;
        network.adapter = adapter->name;
        if (network.outcome == Outcome::searched)
            network.outcome = outcomeOf(*adapter, network.own.address);
    }
    for (const Adapter& adapter : facts.adapters)
        addUnlessSearched(networks, adapter);
}

void completeAnswers(std::vector<Answer>& answers, const std::vector<Answer>& looked) {
    // Of equal keys those that come first stand first.
    std::multimap<std::pair<std::string, std::string>, const Answer*> waiting;
    for (const Answer& each : looked)
        waiting.emplace(std::pair(each.address, each.room), &each);
    for (Answer& answer : answers) {
        const auto found = waiting.lower_bound({answer.address, answer.room});
        if (found == waiting.end() || found->first != std::pair(answer.address, answer.room))
            continue;
        const Answer& seen = *found->second;
        answer.source = seen.source;
        answer.adapter = seen.adapter;
        // Who answers from elsewhere has another one there.
        if (!seen.macAddress.empty() && answer.source == answer.address)
            answer.macAddress = seen.macAddress;
        waiting.erase(found);
    }
}

std::vector<std::string> passedWithoutHardwareAddress(const SearchProgress& progress) {
    std::vector<std::string> passed;
    const std::vector<Answer>& answers = progress.search().answers;
    std::set<std::string> known;
    for (std::size_t i = 0; i < answers.size(); ++i)
        if (progress.turns()[i].isPassed && answers[i].macAddress.empty() &&
            known.insert(answers[i].address).second)
            passed.push_back(answers[i].address);
    return passed;
}

std::vector<std::string> addressesIn(const Diagnosis::Facts& facts, std::size_t most) {
    std::vector<std::string> addresses;
    for (const Diagnosis::Camera& camera : facts.cameras)
        if (addresses.size() < most && Diagnosis::ipv4Number(camera.address))
            addresses.push_back(camera.address);
    return addresses;
}

void absorb(Diagnosis::Facts& all, const Diagnosis::Facts& further) {
    if (!all.search) {
        all = further;
        return;
    }
    if (!further.search)
        return;
    addNewAnswers(all.search->answers, further.search->answers);
    all.search->failure = further.search->failure;
    all.search->cut = further.search->cut;
    all.search->lines = further.search->lines;
    all.search->networks = further.search->networks;
    all.adapters = further.adapters;
    all.adaptersKnown = further.adaptersKnown;
    all.defaultGateway = further.defaultGateway;
    all.neighbours = further.neighbours;
    all.askedByArp = further.askedByArp;
    all.foreign = further.foreign;
    all.limitedOnly = further.limitedOnly;
    addNewCameras(all.cameras, further.cameras);
}

} // namespace Console
