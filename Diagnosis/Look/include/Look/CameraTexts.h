#pragma once
// The camera's bracketed texts, as far as a look reads them. Pure; any bytes are welcome.

#include <optional>
#include <string>
#include <string_view>

namespace Diagnosis {

/// The query of discovery, and the question for a camera's version.
inline constexpr std::string_view discoveryQuery = "AreThereAnyKorvaAround?";
inline constexpr std::string_view versionQuestion = "[Version --HW --SW --API]";

/// What a reply to the discovery query tells, in its own bytes.
struct DiscoveryReply {
    std::string room; ///< empty if it has no name
    std::string address;
    std::string mask; ///< empty if it tells none

    bool operator==(const DiscoveryReply&) const = default;
};

/// Reads a datagram; nothing if it is no reply: without "[Korva", a room or an address.
std::optional<DiscoveryReply> readDiscoveryReply(std::string_view datagram);

/// What the answer to the question for its version tells.
struct VersionAnswer {
    std::string hardware; ///< the model identifier
    std::string firmware;

    bool operator==(const VersionAnswer&) const = default;
};

/// Reads an answer; nothing if it has neither model nor firmware.
std::optional<VersionAnswer> readVersionAnswer(std::string_view text);

} // namespace Diagnosis
