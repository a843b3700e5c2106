#pragma once
// The camera's text replies, read as Docs/Protocol.md describes them.

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Faults {

using Size = std::pair<int, int>;

/// The entries of a reply, whose text ends at its first zero byte.
std::vector<std::string> entriesOf(const std::string& reply);

/// What follows the first entry equal to `key`; empty where nothing does.
std::string valueOf(const std::vector<std::string>& entries, const std::string& key);

/// True for three dotted numbers, each of its low 8 bits, of 3.2.15 or above.
bool isNewEnough(const std::string& firmware);

/// The picture size of a known hardware identifier.
std::optional<Size> knownSize(const std::string& hardware);
/// Whether its firmware must be new enough.
bool isM61(const std::string& hardware);

/// The address that a discovery datagram names; none where it is no reply.
std::optional<std::string> addressIn(const std::string& datagram);

} // namespace Faults
