#pragma once
// The computer's networks at one moment, with the names that facts give them.

#include "Diagnosis/Facts.h"
#include "Platform/NetworkView.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Diagnosis {

/// What the system says of its adapters and neighbours.
struct View {
    /// Asks the system.
    static View now();

    std::optional<std::vector<Platform::Adapter>> adapters; ///< nothing: the system does not tell
    std::vector<Platform::NeighbourEntry> neighbours;

    /// Null if there is none of that index.
    const Platform::Adapter* adapter(unsigned index) const;
    /// Empty if there is none of that index.
    std::string nameOf(unsigned index) const;
    /// The adapter, the loopback aside, that holds an address; null if none does.
    const Platform::Adapter* holderOf(std::uint32_t address) const;
    /// Whether an address lies in the network of an own address, the loopback's aside.
    bool isInOwnNetwork(std::uint32_t address) const;
    /// The neighbour of an address over an adapter, or over any for index 0; null if the table has none.
    const Platform::NeighbourEntry* neighbour(std::uint32_t address, unsigned adapterIndex) const;

    /// As facts.
    std::vector<Adapter> adapterFacts() const;
    std::vector<Neighbour> neighbourFacts() const;
};

/// "02-4b-00-01-00-0b"; empty for no bytes.
std::string macText(const std::vector<unsigned char>& address);

} // namespace Diagnosis
