#include "AddressText.h"
#include "CameraFacts.h"
#include "Look/CameraTexts.h"
#include "Look/NetworkLook.h"
#include "Platform/Clock.h"
#include "Platform/PortQuestions.h"
#include "Platform/QuerySocket.h"
#include "View.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <set>
#include <string_view>
#include <utility>

namespace Diagnosis {

namespace {

using Platform::Clock;
using Platform::PortAnswer;
using Platform::PortQuestion;
using Platform::QuerySocket;
using Platform::Route;
using Platform::Way;
using NeighbourState = Platform::NeighbourEntry::State;

/// How long a camera may take to answer a query of its own, as the plug-in's search waits.
constexpr auto queryTime = std::chrono::seconds(1);
constexpr std::size_t mostReplies = 16'384;

/// An address that is looked at.
struct Target {
    std::size_t camera; ///< its place among the facts
    std::uint32_t ip;
    Route route;
};

/// Whether a text is worth asking the name service for.
bool canBeName(std::string_view text) {
    constexpr std::string_view fit = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-._";
    constexpr std::size_t longest = 253;
    return !text.empty() && text.size() <= longest && text.find_first_not_of(fit) == std::string_view::npos;
}

/// The address itself, or the first one behind the name.
std::optional<std::uint32_t> findAddress(Camera& camera, Clock::time_point deadline) {
    camera.unknownName.clear();
    if (const auto address = addressFromText(camera.address))
        return address;
    if (!canBeName(camera.address)) {
        camera.unknownName = "it is neither an address nor a name";
        return std::nullopt;
    }
    const Platform::HostAddresses found = Platform::lookUpHost(camera.address, deadline);
    if (!found.addresses.empty())
        return found.addresses.front();
    camera.unknownName = found.reason;
    return std::nullopt;
}

/// The address, if it is worth asking.
std::optional<Target> findWay(std::size_t number, Camera& camera, Clock::time_point nameDeadline) {
    const auto ip = findAddress(camera, nameDeadline);
    if (!ip)
        return std::nullopt;
    camera.ipv4 = dottedText(*ip);
    const std::optional<Route> route = Platform::routeTo(*ip);
    if (!route) {
        camera.lookFailure = "the system does not tell its routes";
        return Target{number, *ip, {}};
    }
    camera.hasRoute = route->way != Way::none && *ip != 0;
    camera.isOnOwnNetwork = route->way == Way::own || route->way == Way::direct;
    if (camera.hasRoute)
        return Target{number, *ip, *route};
    camera.text = camera.picture = PortState::unreachable; // also a broadcast address, which is not asked
    return std::nullopt;
}

std::vector<Target> targetsAmong(const std::vector<std::string>& addresses, Clock::time_point nameDeadline,
                                 Facts& facts) {
    std::vector<Target> targets;
    std::set<std::string> seen;
    for (const std::string& address : addresses) {
        if (!seen.insert(address).second)
            continue;
        Camera& camera = cameraAt(address, facts);
        const auto number = static_cast<std::size_t>(&camera - facts.cameras.data());
        camera.lookFailure.clear();
        if (const auto target = findWay(number, camera, nameDeadline))
            targets.push_back(*target);
    }
    return targets;
}

void sendQueries(const std::vector<Target>& targets, QuerySocket& socket, Facts& facts) {
    for (const Target& target : targets) {
        Camera& camera = facts.cameras[target.camera];
        const std::string refusal = socket.send(discoveryQuery, target.ip, textPort);
        if (!refusal.empty() && camera.lookFailure.empty())
            camera.lookFailure = refusal;
        camera.answersQuery = false;
        camera.namedFrom.clear();
        camera.announces.clear();
    }
}

/// Takes the replies until everybody has answered, or the deadline; if that is past, what is there.
void takeReplies(const std::vector<Target>& targets, QuerySocket& socket, Clock::time_point deadline,
                 Facts& facts) {
    std::set<std::uint32_t> missing;
    for (const Target& target : targets)
        missing.insert(target.ip);
    const std::set<std::uint32_t> asked = missing;
    for (std::size_t count = 0; count < mostReplies && !missing.empty(); ++count) {
        const auto datagram = socket.receive(deadline);
        if (!datagram)
            return;
        const auto reply = readDiscoveryReply(datagram->text);
        if (!reply)
            continue;
        // A camera with several addresses may answer from another one than was asked, but not from one that
        // was asked itself.
        const bool wasAsked = asked.contains(datagram->source);
        const std::uint32_t announced = addressFromText(reply->address).value_or(datagram->source);
        for (const Target& target : targets) {
            if (target.ip != datagram->source && target.ip != announced)
                continue;
            Camera& camera = facts.cameras[target.camera];
            if (target.ip != datagram->source && wasAsked) {
                camera.namedFrom = dottedText(datagram->source);
                continue;
            }
            camera.answersQuery = true;
            if (target.ip == datagram->source && announced != target.ip)
                camera.announces = dottedText(announced);
            if (camera.room.empty())
                camera.room = reply->room;
            missing.erase(target.ip);
        }
    }
}

PortState stateOf(PortAnswer::Outcome outcome) {
    switch (outcome) {
    case PortAnswer::Outcome::open:
        return PortState::open;
    case PortAnswer::Outcome::refused:
        return PortState::refused;
    case PortAnswer::Outcome::silent:
        return PortState::silent;
    case PortAnswer::Outcome::unreachable:
        return PortState::unreachable;
    case PortAnswer::Outcome::failed:
        return PortState::failed;
    case PortAnswer::Outcome::notAsked:
        break;
    }
    return PortState::notLooked;
}

void noteFailure(const PortAnswer& answer, Camera& camera) {
    if (!camera.lookFailure.empty())
        return;
    if (answer.outcome == PortAnswer::Outcome::failed)
        camera.lookFailure = answer.reason;
    if (answer.outcome == PortAnswer::Outcome::notAsked)
        camera.lookFailure = "there was no time left to ask it";
}

void askBothPorts(const std::vector<Target>& targets, Clock::time_point deadline, Facts& facts) {
    std::vector<PortQuestion> questions;
    for (const Target& target : targets) {
        questions.push_back({target.ip, textPort, std::string(versionQuestion), ']'});
        questions.push_back({target.ip, picturePort, {}, 0});
    }
    const std::vector<PortAnswer> answers = Platform::askPorts(questions, deadline);
    for (std::size_t at = 0; at < targets.size(); ++at) {
        const PortAnswer& text = answers[2 * at];
        const PortAnswer& picture = answers[2 * at + 1];
        Camera& camera = facts.cameras[targets[at].camera];
        camera.text = stateOf(text.outcome);
        camera.picture = stateOf(picture.outcome);
        camera.textAnswer = text.text;
        const VersionAnswer version = readVersionAnswer(text.text).value_or(VersionAnswer());
        camera.toldModel = version.hardware;
        camera.toldFirmware = version.firmware;
        noteFailure(text, camera);
        noteFailure(picture, camera);
    }
}

/// Whether something has come from there.
bool hasAnswered(const Camera& camera) {
    const auto answered = [](PortState port) {
        return port == PortState::open || port == PortState::refused;
    };
    return camera.answersQuery == true || answered(camera.text) || answered(camera.picture);
}

/// Whether who has the address answered at or after a time. For long after its last answer the system still
/// calls a neighbour good that is gone.
bool hasConfirmed(const Platform::NeighbourEntry& entry, Clock::time_point since, Clock::time_point now) {
    return entry.state == NeighbourState::confirmed && entry.confirmedAgo &&
           now - *entry.confirmedAgo >= since;
}

/// What the system has found out since the look's beginning about the address itself.
void noteNeighbour(const Target& target, const View& view, Clock::time_point since, Camera& camera) {
    camera.isOwnAddress = target.route.way == Way::own && view.holderOf(target.ip) != nullptr;
    camera.adapter = view.nameOf(target.route.adapterIndex);
    camera.answersArp.reset();
    if (target.route.way != Way::direct)
        return;
    const Platform::NeighbourEntry* const entry = view.neighbour(target.ip, target.route.adapterIndex);
    const NeighbourState state = entry == nullptr ? NeighbourState::failed : entry->state;
    const bool isKnown = state == NeighbourState::confirmed || state == NeighbourState::known;
    if (isKnown && (hasAnswered(camera) || hasConfirmed(*entry, since, Clock::now())))
        camera.answersArp = true;
    // What is only known from before may be gone. Where nothing was sent, nobody was asked.
    else if (entry != nullptr && !isKnown)
        camera.answersArp = false;
    if (camera.answersArp == true) // else it may be of whoever had the address before
        addMac(macText(entry->hardwareAddress), camera);
    if (camera.answersArp != false)
        return;
    // The system says so of a few addresses at a time only, and of the others nothing.
    for (PortState* const port : {&camera.text, &camera.picture})
        if (*port == PortState::silent)
            *port = PortState::unreachable;
}

} // namespace

std::string addressBehind(const std::string& text) {
    Camera camera;
    camera.address = text;
    const auto ip = findAddress(camera, Clock::now() + nameLookTime);
    return ip ? dottedText(*ip) : std::string();
}

void lookAt(const std::vector<std::string>& addresses, Facts& facts, std::chrono::milliseconds before) {
    const Clock::time_point begin = Clock::now();
    const std::vector<Target> targets = targetsAmong(addresses, begin + nameLookTime, facts);
    QuerySocket socket;
    sendQueries(targets, socket, facts);
    const Clock::time_point asked = Clock::now();
    askBothPorts(targets, begin + addressLookTime, facts);
    takeReplies(targets, socket, asked + queryTime, facts);
    const View view = View::now();
    for (const Target& target : targets)
        noteNeighbour(target, view, begin - before, facts.cameras[target.camera]);
    facts.neighbours = view.neighbourFacts();
}

std::string askForRoom(const std::string& address) {
    Facts facts;
    const std::vector<Target> targets = targetsAmong({address}, Clock::now() + nameLookTime, facts);
    QuerySocket socket;
    constexpr int queries = 2; // one may be lost
    for (int query = 0; query < queries && facts.cameras.front().room.empty(); ++query) {
        sendQueries(targets, socket, facts);
        takeReplies(targets, socket, Clock::now() + roomLookTime / queries, facts);
    }
    return facts.cameras.front().room;
}

} // namespace Diagnosis
