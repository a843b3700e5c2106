#pragma once
// Questions to the kernel: which way an IPv4 address lies, and what its neighbour table and its routes hold.

#include "Platform/NetworkView.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <vector>

namespace Platform {

/// The kernel's routing socket, used by one thread at a time. No question waits longer than a second.
class Rtnetlink {
public:
    /// What the neighbour table holds of an address.
    struct Neighbour {
        /// The system is asking, or has not yet; it has failed if neither this nor an address is there.
        bool isPending = false;
        std::vector<unsigned char> hardwareAddress; ///< empty if it is not known
    };

    Rtnetlink();
    Rtnetlink(const Rtnetlink&) = delete;
    Rtnetlink& operator=(const Rtnetlink&) = delete;
    ~Rtnetlink();

    /// False if the system gives no such socket; the questions then find nothing.
    bool isOpen() const { return descriptor_ >= 0; }

    /// The route to an address, from the own address `source` or 0 for any; both in network byte order.
    Route routeTo(std::uint32_t destination, std::uint32_t source);

    /// The entry of an adapter's neighbour `address`; nothing if there is none.
    std::optional<Neighbour> neighbour(unsigned adapterIndex, std::uint32_t address);

    /// All of them, at most `most`, without groups and broadcasts; nothing if the kernel does not tell.
    std::optional<std::vector<NeighbourEntry>> neighbours(std::size_t most);

    /// The indices of the adapters that others are made of: ports of bridges and bonds, parents of virtual
    /// networks. None if the kernel does not tell.
    std::set<unsigned> parts();

    /// The preferred default route that has a router; `none` if there is none or the kernel does not tell.
    Route defaultRoute();

private:
    struct Request;
    struct Answer;

    /// Receives one message; false if none comes.
    bool receive(Answer& answer);
    bool ask(Request& request, Answer& answer);
    /// Hands each message of a list to `take`. False if the list is not complete.
    bool list(Request& request, const std::function<void(const Answer&)>& take);

    int descriptor_;
    std::uint32_t sequence_ = 0;
};

} // namespace Platform
