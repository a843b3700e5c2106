#pragma once
// Who has an address, asked by ARP itself, past the system's own neighbour table.

#include "Platform/Clock.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace Platform {

/// Whom to ask for.
struct ArpQuestion {
    unsigned adapterIndex = 0;
    std::vector<unsigned char>
        ownHardwareAddress;    ///< the adapter's, 6 bytes; of another length: nobody is asked
    std::uint32_t address = 0; ///< in network byte order; may be this computer's own
};

/// More machines than that at one address are not told apart.
inline constexpr std::size_t mostArpAnswers = 8;

/// Asks all at once, as a computer does that has no address yet, so that nobody takes note of it, and returns
/// for each question, in their order, the hardware addresses of the others who have that address, each once.
/// Takes until `deadline`. Nothing if the system does not let this user ask: that takes the right to raw
/// sockets. Throws only std::bad_alloc.
std::optional<std::vector<std::vector<std::vector<unsigned char>>>>
askByArp(const std::vector<ArpQuestion>& questions, Clock::time_point deadline);

} // namespace Platform
