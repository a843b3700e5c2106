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
    if (isThere || adapter.isLoopback || (outcome == Outcome::noAddress && !adapter.addresses.empty()))
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
    for (const CameraInfo& info : found) {
        Diagnosis::Camera& camera = cameraIn(facts, utf8(info.getIpAddress()));
        camera.answeredSearch = true;
        camera.identity = identityOf(info);
        camera.attempts.emplace_back().succeeded = true;
    }
    return facts;
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
    std::vector<bool> isTaken(looked.size(), false);
    for (Answer& answer : answers) {
        for (std::size_t i = 0; i < looked.size(); ++i) {
            if (isTaken[i] || looked[i].address != answer.address || looked[i].room != answer.room)
                continue;
            isTaken[i] = true;
            answer.source = looked[i].source;
            answer.adapter = looked[i].adapter;
            // Who answers from elsewhere has another one there.
            if (!looked[i].macAddress.empty() && answer.source == answer.address)
                answer.macAddress = looked[i].macAddress;
            break;
        }
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
    all.search->networks = further.search->networks;
    all.adapters = further.adapters;
    all.adaptersKnown = further.adaptersKnown;
    all.defaultGateway = further.defaultGateway;
    all.neighbours = further.neighbours;
    addNewCameras(all.cameras, further.cameras);
}

} // namespace Console
