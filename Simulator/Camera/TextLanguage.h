#pragma once
// The camera's text language: which queries there are, and what a right reply to each says.

#include "Camera/CameraSettings.h"

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Simulator {

/// The whole datagram that asks every camera of a network to answer.
inline constexpr std::string_view discoveryQuery = "AreThereAnyKorvaAround?";

/// What one datagram can carry.
inline constexpr std::uint32_t longestReply = 65507;

inline constexpr std::array versionKeys = {std::string_view("--HW"), std::string_view("--SW"),
                                           std::string_view("--API")};
inline constexpr std::array serialKeys = {std::string_view("--Camera")};
inline constexpr std::array networkKeys = {std::string_view("--NetworkProtocol"),
                                           std::string_view("--NetMask"), std::string_view("--NetGateway")};
inline constexpr std::array discoveryKeys = {std::string_view("--Room"), std::string_view("--IP"),
                                             std::string_view("--NetMask")};

struct Query {
    Place place;
    std::string_view word; ///< the first of the query and of its reply
    std::span<const std::string_view> keys;
};

inline constexpr std::array queries = {
    Query{Place::version, "Version", versionKeys}, Query{Place::serial, "SerialNumber", serialKeys},
    Query{Place::network, "--Settings", networkKeys},
    Query{Place::discovery, "Korva", discoveryKeys}, // asked with discoveryQuery
};

/// A reply before it becomes text.
struct TextReply {
    struct Entry {
        std::string key;
        std::string value;
    };

    std::string word;
    std::vector<Entry> entries;

    /// "[Version --HW M61 --SW 3.2.15]"; a key without a value is followed by one blank all the same.
    std::string text() const;
};

/// The reply to `query` with those of its keys that were asked for, in the order in which they were asked;
/// with all of them where none was. Keys that it does not have are left out.
TextReply replyTo(const Query& query, std::span<const std::string_view> keys, const CameraSettings& camera);

} // namespace Simulator
