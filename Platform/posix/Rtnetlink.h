#pragma once
// Two questions to the kernel: which way an IPv4 address lies, and what its neighbour table knows of it.

#include <cstdint>
#include <optional>
#include <vector>

namespace Platform {

/// The kernel's routing socket, used by one thread at a time. No question waits longer than a second.
class Rtnetlink {
public:
    /// How an address is reached.
    enum class Way {
        own,       ///< it is this machine's
        neighbour, ///< directly, over an adapter
        none       ///< not at all, through a router, or by broadcast
    };

    struct Route {
        Way way = Way::none;
        unsigned adapterIndex = 0; ///< for a neighbour
    };

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

private:
    struct Request;
    struct Answer;

    bool ask(Request& request, Answer& answer);

    int descriptor_;
    std::uint32_t sequence_ = 0;
};

} // namespace Platform
