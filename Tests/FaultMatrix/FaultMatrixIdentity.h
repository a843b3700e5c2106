#pragma once
// The rules of the fault matrix for text replies: what an identification makes of them.

#include "FaultMatrixRules.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <iosfwd>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace FaultMatrix {

/// The entries of a reply, as Docs/Protocol.md describes them; the text ends at its first zero byte.
std::vector<std::string> entriesOf(const std::string& reply);

/// What follows the first entry equal to `key`; empty where nothing does.
std::string valueOf(const std::vector<std::string>& entries, const std::string& key);

/// True for three dotted numbers, each of its low 8 bits, of 3.2.15 or above.
bool isNewEnough(const std::string& firmware);

using Size = std::pair<int, int>;

/// Of a known hardware identifier, by the end of its name.
std::optional<Size> knownSize(const std::string& hardware);

/// What the host gets to know of a camera.
struct Identity {
    std::string hardware;
    std::string software;
    std::string api;
    std::string serial;
    std::string netMask;
    std::string gateway;
    Size size;

    bool operator==(const Identity&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const Identity& identity);

struct IdentityOutcome {
    std::optional<Identity> identity;
    std::wstring exception = {}; ///< the DeviceException's message where there is no identity
    Lines lines = {};
    int configurations = 0;
    int grabs = 0;
    std::chrono::milliseconds waited{0};
};

/// The camera and its one fault.
struct Identified {
    std::wstring address;
    /// The replies to the three queries, read one after the other.
    std::array<std::string, 3> replies;
    /// The query whose reply is faulty, from 0, and what becomes of it.
    std::optional<std::pair<std::size_t, ReplyReading>> faulty = std::nullopt;
    /// The message that is faulty where sample pictures are taken.
    std::optional<Struck> struck = std::nullopt;
    Size sampleSize; ///< of a sample picture
    int textPort = 32768;
};

IdentityOutcome identify(const Identified& camera);

/// The lines of a search that could not identify a camera, behind those of the identification.
Lines linesOfASkippedCamera(const std::wstring& exception);

/// The address and room of a discovery reply; none where it is not recognised.
struct FoundCamera {
    std::string room;
    std::string ip;
};
std::optional<FoundCamera> foundIn(const std::string& datagram);

} // namespace FaultMatrix
