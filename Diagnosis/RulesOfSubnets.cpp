#include "Commands.h"
#include "Ipv4.h"
#include "Printable.h"
#include "RulesOfNetworks.h"

#include <algorithm>

namespace Diagnosis {

namespace {

/// Two adapters in one network answer for each other's addresses.
bool isForeignMac(const std::string& mac, const FactsIndex& index) {
    return !mac.empty() && mac != "00-00-00-00-00-00" && !index.isOwnMac(mac);
}

const Camera* cameraAt(const Facts& facts, const std::string& address) {
    const auto at = std::find_if(facts.cameras.begin(), facts.cameras.end(),
                                 [&address](const Camera& camera) { return placeOf(camera) == address; });
    return at == facts.cameras.end() ? nullptr : &*at;
}

/// A camera that this computer itself plays answers under its address as well; one that answers from
/// elsewhere does not have it.
bool claims(const Answer& answer, const OwnAddress& own, const FactsIndex& index, const Camera* here) {
    const bool isFromElsewhere = !answer.source.empty() && answer.source != own.address;
    if (answer.address != own.address || isFromElsewhere)
        return false;
    const bool isNotPlayedHere = here != nullptr && here->text == PortState::refused;
    return isNotPlayedHere || isForeignMac(answer.macAddress, index);
}

bool isTaken(const FactsIndex& index, const OwnAddress& own) {
    const Facts& facts = index.facts;
    const Camera* const here = cameraAt(facts, own.address);
    const auto isOther = [&index](const std::string& mac) { return isForeignMac(mac, index); };
    if (here != nullptr && std::any_of(here->macAddresses.begin(), here->macAddresses.end(), isOther))
        return true;
    const auto answersForIt = [&](const Neighbour& neighbour) {
        return neighbour.address == own.address && isOther(neighbour.macAddress);
    };
    if (std::any_of(facts.neighbours.begin(), facts.neighbours.end(), answersForIt))
        return true;
    const auto claimsIt = [&](const Answer& answer) { return claims(answer, own, index, here); };
    return std::any_of(facts.foreign.begin(), facts.foreign.end(), claimsIt) ||
           (facts.search &&
            std::any_of(facts.search->answers.begin(), facts.search->answers.end(), claimsIt));
}

std::string commandToMove(const FactsIndex& index, const Adapter& adapter, const OwnAddress& from,
                          const std::string& added) {
    return commandToRemove(index.facts.commands, adapter.name, from) + "; " + added;
}

NetworkCause ownAddressTaken(const FactsIndex& index, const Adapter& adapter, const OwnAddress& own) {
    NetworkCause cause;
    cause.adapter = adapter.name;
    cause.camera = own.address;
    cause.verdict.code = "own-address-taken";
    cause.verdict.address = own.address;
    cause.verdict.text =
        "this computer and another device on " + printable(adapter.name) + " both have this address";
    cause.verdict.remedy = commandToMove(index, adapter, own, commandToJoin(index, adapter.name, own));
    return cause;
}

NetworkCause wrongMask(const FactsIndex& index, const Adapter& adapter, const OwnAddress& own,
                       const std::string& camera, const std::string& mask) {
    const std::string name = printable(adapter.name);
    NetworkCause cause;
    cause.adapter = adapter.name;
    cause.camera = camera;
    cause.isElsewhere = !isInNetworkOf(own, camera);
    cause.verdict.code = "wrong-mask";
    cause.verdict.text = "the mask " + printable(own.mask) + " of " + name +
                         " is not that of the cameras' network (" + printable(camera) + ", probably " +
                         printable(mask) + ")";
    const std::string added = commandToAdd(index.facts.commands, adapter.name, {own.address, mask});
    cause.verdict.remedy = commandToMove(index, adapter, own, added);
    return cause;
}

NetworkCause otherSubnet(const FactsIndex& index, const Adapter& adapter, const Answer& camera,
                         std::ptrdiff_t count) {
    const std::string more = count == 1 ? "" : " (and " + std::to_string(count - 1) + " more)";
    NetworkCause cause;
    cause.adapter = adapter.name;
    cause.camera = placeOf(camera);
    cause.isElsewhere = true;
    cause.verdict.code = "other-subnet";
    cause.verdict.address = placeOf(camera);
    cause.verdict.room = camera.room;
    cause.verdict.text = "this camera" + more + " is on the cable of " + printable(adapter.name) +
                         ", but not in its network " + addressesOf(adapter);
    cause.verdict.remedy = commandToJoin(index, adapter.name, {cause.camera, maskOf(camera)}) +
                           "; then give the camera's address to the command";
    return cause;
}

bool isBeside(const Answer& one, const Answer& other) {
    return one.adapter == other.adapter && areNeighbours(placeOf(one), placeOf(other));
}

/// Nobody has more networks on one cable, unless he wants to be a nuisance.
constexpr std::size_t mostNetworks = 16;

/// Of those who answer nothing but a limited broadcast on the adapter, the first of each network.
std::vector<const Answer*> firstsBehind(const FactsIndex& index, const Adapter& adapter,
                                        const std::vector<Answer>& answers) {
    std::vector<const Answer*> firsts;
    for (const Answer& answer : answers) {
        const bool isBehind = answer.adapter.empty() || answer.adapter == adapter.name;
        const bool isFirst = std::none_of(firsts.begin(), firsts.end(), [&answer](const Answer* first) {
            return isBeside(*first, answer);
        });
        if (isBehind && isFirst && index.answersNaming(answer.address).empty())
            firsts.push_back(&answer);
        if (firsts.size() == mostNetworks)
            break;
    }
    return firsts;
}

void addOnce(const NetworkCause& cause, NetworkCauses& causes) {
    const bool isThere = std::any_of(causes.begin(), causes.end(), [&cause](const NetworkCause& before) {
        return before.verdict.code == cause.verdict.code && before.adapter == cause.adapter;
    });
    if (!isThere)
        causes.push_back(cause);
}

/// Of a camera whose mask is another one than the network's, in which others are found.
NetworkCause cameraMask(const Adapter& adapter, const OwnAddress& own, const Answer& camera) {
    NetworkCause cause;
    cause.adapter = adapter.name;
    cause.camera = placeOf(camera);
    cause.verdict.code = "wrong-mask";
    cause.verdict.address = placeOf(camera);
    cause.verdict.room = camera.room;
    cause.verdict.text = "its mask " + printable(maskOf(camera)) + " is not that of its network (" +
                         printable(own.mask) + "): a search does not get to it";
    cause.verdict.remedy =
        "correct the mask in the camera's settings; until then give its address to the command";
    return cause;
}

bool isAnyFoundIn(const Facts& facts, const OwnAddress& own) {
    return facts.search &&
           std::any_of(facts.search->answers.begin(), facts.search->answers.end(),
                       [&own](const Answer& answer) { return isInNetworkOf(own, placeOf(answer)); });
}

void addForeign(const FactsIndex& index, const Adapter& adapter, NetworkCauses& causes) {
    const Facts& facts = index.facts;
    for (const Answer* const answer : firstsBehind(index, adapter, facts.foreign)) {
        const OwnAddress theirs{placeOf(*answer), maskOf(*answer)};
        const auto own =
            std::find_if(adapter.addresses.begin(), adapter.addresses.end(),
                         [&theirs](const OwnAddress& some) { return isInNetworkOf(theirs, some.address); });
        const auto count = std::count_if(facts.foreign.begin(), facts.foreign.end(),
                                         [answer](const Answer& other) { return isBeside(*answer, other); });
        if (own != adapter.addresses.end())
            addOnce(wrongMask(index, adapter, *own, theirs.address, theirs.mask), causes);
        else
            causes.push_back(otherSubnet(index, adapter, *answer, count));
    }
}

/// Those who answer a limited broadcast alone, though they are in a network of the adapter's.
void addLimited(const FactsIndex& index, const Adapter& adapter, NetworkCauses& causes) {
    for (const Answer* const answer : firstsBehind(index, adapter, index.facts.limitedOnly))
        for (const OwnAddress& own : adapter.addresses) {
            if (!isInNetworkOf(own, placeOf(*answer)) || maskOf(*answer) == own.mask)
                continue;
            if (isAnyFoundIn(index.facts, own))
                causes.push_back(cameraMask(adapter, own, *answer));
            else
                addOnce(wrongMask(index, adapter, own, placeOf(*answer), maskOf(*answer)), causes);
        }
}

/// Of a camera that was asked for, and left out by the mask; or that is there, and whose mask is another one.
void addWrongMask(const FactsIndex& index, const Camera& camera, NetworkCauses& causes) {
    if (!index.answersNaming(placeOf(camera)).empty())
        return;
    const std::vector<Adapter>& adapters = index.adapters;
    const Adapter* const own = adapterFor(adapters, placeOf(camera));
    for (const Adapter& adapter : adapters)
        for (const OwnAddress& some : adapter.addresses) {
            const bool leavesOut =
                own == nullptr && camera.wasAskedFor && areNeighbours(some.address, placeOf(camera));
            const bool differs = own == &adapter && index.facts.search && camera.identity &&
                                 isInNetworkOf(some, placeOf(camera)) &&
                                 ipv4Number(camera.identity->subnetMask).value_or(0) != 0 &&
                                 camera.identity->subnetMask != some.mask;
            if (leavesOut || differs)
                addOnce(wrongMask(index, adapter, some, placeOf(camera),
                                  differs ? camera.identity->subnetMask : maskOf({})),
                        causes);
        }
}

/// Whom a search did not find though a connection does, if it found nobody else on the adapter.
NetworkCause unfound(const Camera& camera, const Adapter* adapter) {
    const bool isBlocked = !camera.answersQuery.value_or(true);
    NetworkCause cause;
    cause.adapter = adapter == nullptr ? "" : adapter->name;
    cause.camera = camera.address;
    cause.verdict.code = isBlocked ? "discovery-blocked" : "broadcast-lost";
    cause.verdict.text = isBlocked
                             ? "the answers to a search do not come through: " + printable(camera.address) +
                                   " answers on TCP alone"
                             : "a search does not get to the cameras: " + printable(camera.address) +
                                   " answers if it is asked by itself";
    cause.verdict.remedy =
        isBlocked ? "allow UDP from port 32768 in the firewall of this computer and of the network; until "
                    "then give the camera's address to the command"
                  : "check the masks of this computer and of the cameras, and that no switch holds back "
                    "broadcasts; until then give the camera's address to the command";
    return cause;
}

void addUnfound(const Facts& facts, const std::vector<Adapter>& adapters, NetworkCauses& causes) {
    for (const Camera& camera : facts.cameras) {
        const Adapter* const adapter = adapterFor(adapters, placeOf(camera));
        const bool isOnOwn = adapter != nullptr || (adapters.empty() && camera.isOnOwnNetwork);
        const bool isFoundByConnecting = camera.text == PortState::open && camera.answersQuery == false;
        const bool isAnother = !isOfThisComputer(placeOf(camera), facts);
        if (isOnOwn && isAnother && (isFoundByConnecting || camera.answersQuery == true)) {
            causes.push_back(unfound(camera, adapter));
            return;
        }
    }
}

} // namespace

NetworkCauses causesInSubnets(const FactsIndex& index) {
    const Facts& facts = index.facts;
    const std::vector<Adapter>& adapters = index.adapters;
    NetworkCauses causes;
    for (const Adapter& adapter : adapters)
        for (const OwnAddress& own : adapter.addresses)
            if (isTaken(index, own))
                causes.push_back(ownAddressTaken(index, adapter, own));
    for (const Adapter& adapter : adapters)
        if (isConfigured(adapter)) {
            addForeign(index, adapter, causes);
            addLimited(index, adapter, causes);
        }
    for (const Camera& camera : facts.cameras)
        addWrongMask(index, camera, causes);
    if (facts.search && facts.search->answers.empty())
        addUnfound(facts, adapters, causes);
    return causes;
}

} // namespace Diagnosis
