#pragma once
// What a look of the tool's own adds to a search, for every command that searches.

#include "CommandFailure.h"

#include "Diagnosis/Facts.h"

#include <cstddef>
#include <string>
#include <vector>

namespace Console {

/// Answers beyond these are told by the search alone: nobody has so many cameras.
inline constexpr std::size_t mostLookedAt = 256;

/// A search by our own means, by ARP too where nobody answers it. Blocks; throws interruption().
Diagnosis::Facts lookForAnybody();

/// Looks at `addresses`; without any, where nobody has answered the search in `facts`, at the neighbours, who
/// may have answered in vain. Blocks; an interrupt cuts it short.
void lookAround(const std::vector<std::string>& addresses, Diagnosis::Facts& facts);

/// Why a search has found no camera, by facts after lookAround(): what `korva discover` says of it first,
/// with the status that it ends with.
CommandFailure whyNobody(const Diagnosis::Facts& facts);

} // namespace Console
