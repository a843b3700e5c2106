#pragma once
// A camera, and what several rules ask of it.

#include "FactsIndex.h"
#include "RulesOfNetworks.h"

#include <optional>
#include <set>
#include <string>
#include <vector>

namespace Diagnosis {

inline bool isShut(PortState port) {
    return port == PortState::silent || port == PortState::unreachable;
}

inline bool isOpenOrRefused(PortState port) {
    return port == PortState::open || port == PortState::refused;
}

/// A view of a camera among the facts, which must outlive it.
class SeenCamera {
public:
    SeenCamera(const Camera& seen, const FactsIndex& all);

    const Camera& camera;
    const FactsIndex& index;
    const std::vector<const Answer*>& answers; ///< to the search, that name its address
    bool hasAnswered = false;                  ///< the search
    bool isAlive = false;                      ///< answers ARP, a query or at a port

    std::set<std::string> rooms() const;
    std::set<std::string> adapters() const; ///< that its answers came by
    std::set<std::string> macs() const;

    /// Whether several cameras answer for its address.
    bool sharesItsAddress() const;

    /// The first answer of who has its one MAC address, if that is for another address; else null.
    const Answer* firstWithItsMac() const;

    std::string oneMac() const; ///< empty if none is known, or several are

    /// Another camera with its MAC address: one that tells another room.
    std::optional<FactsIndex::Holder> otherWithItsMac() const;
    bool sharesItsMac() const { return otherWithItsMac().has_value(); }

    /// Whether it is in a network of this computer's, as far as that is known.
    bool isBesideUs() const;

    /// Nothing came back from anything that was tried, and something was.
    bool isSilent() const;

    std::string model() const; ///< that it tells; empty if it told none
    std::string firmware() const;
    bool isBlank() const;         ///< it was identified, and told neither its model nor its serial number
    bool hasUnknownModel() const; ///< it told who it is, and that says nothing of its pictures
};

/// The first failure by what is known of its address, ports and answers; nothing if they are in order.
std::optional<Verdict> verdictOnLook(const SeenCamera& seen);

} // namespace Diagnosis
