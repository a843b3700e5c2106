#pragma once
// This machine's network adapters and their IPv4 addresses.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Platform {

/// One network adapter, the loopback among them.
struct Adapter {
    /// In network byte order.
    struct Address {
        std::uint32_t ip;
        std::uint32_t mask;
    };

    std::string name;
    unsigned index = 0;
    bool isUp = false;
    bool isLoopback = false;
    bool isEthernet = false;
    std::vector<unsigned char> hardwareAddress; ///< empty if it has none
    std::vector<Address> addresses;             ///< the main one first
};

/// All adapters, in the system's order; nothing if the system does not tell.
std::optional<std::vector<Adapter>> listAdapters();

} // namespace Platform
