#pragma once
// The look at this computer and its networks, which gathers facts. Bounded in time, a few packets to each
// address, changes nothing, needs no rights.
//
// What cannot be looked at is a fact as well: nothing here throws but std::bad_alloc. An interrupt (see
// Platform::interrupted) cuts a look short; what it had found is there. Any thread; one at a time for each
// Facts.

#include "Diagnosis/Facts.h"

#include <chrono>
#include <string>
#include <vector>

namespace Diagnosis {

/// How long the looks last at most; without the search they stay below 5 s. The system itself takes 3 s to
/// find out that nobody has an address. A camera has 4 s for an answer in the text language, as the plug-in
/// gives it.
inline constexpr std::chrono::milliseconds searchLookTime{1000};
inline constexpr std::chrono::milliseconds addressLookTime{4100};
inline constexpr std::chrono::milliseconds nameLookTime{500}; ///< of all names together, a part of that

/// Sets adapters, default gateway and neighbours. At once.
void lookAtComputer(Facts& facts);

/// Sends the discovery query to the broadcast address of each own address, as the plug-in does for each
/// adapter's main one, and to 255.255.255.255 over each adapter with an address; takes `searchLookTime`.
///
/// Sets networks, answers and strange answers of `facts.search` (lines and an ending of the plug-in's search
/// stay as they are), `foreign` and `limitedOnly`, and renews the neighbours. `failure` is set only if the
/// look could not be made at all. Each IPv4 address that answered becomes one of `facts.cameras`, or is noted
/// there.
///
/// At most 2,048 datagrams are kept of each query, 100 strange ones among them.
void lookForCameras(Facts& facts);

/// Looks at each of `addresses`, IPv4 addresses or names, all side by side: route, ARP, a discovery query to
/// it alone, TCP 32768 with the question for its version, TCP 32769. As fast as they answer; for those that
/// do not, `addressLookTime`.
///
/// Adds each to `facts.cameras`, unless it is there, and sets what was seen of it; renews the neighbours.
/// What cannot be an address, or is a name that nobody knows, gets `unknownName`; it is not asked, and
/// neither is what has no route. An answer to ARP counts if it came in the look, or in the time `before`:
/// that of an attempt that has just failed.
void lookAt(const std::vector<std::string>& addresses, Facts& facts, std::chrono::milliseconds before = {});

/// An address itself, or the first behind a name, in dotted decimal. Empty if nobody tells it within
/// `nameLookTime`.
std::string addressBehind(const std::string& text);

/// The room that the camera at an IPv4 address or a name tells if it is asked by itself, with up to two
/// messages; any bytes, empty if none came within `roomLookTime`, besides the name's time.
inline constexpr std::chrono::milliseconds roomLookTime{1000};
std::string askForRoom(const std::string& address);

} // namespace Diagnosis
