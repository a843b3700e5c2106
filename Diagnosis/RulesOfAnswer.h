#pragma once
// What is said of who answered a search, and is not known to be a camera that is ready.

#include "Facts.h"
#include "Verdict.h"

#include <string>

namespace Diagnosis {

/// Of a camera that answered, whatever else is not known of it: it is not ready before it is identified.
Verdict notIdentified(const Camera& camera, const Facts& facts);

/// Of a camera that had answered and was still being asked when the command's time was over.
Verdict stillAsked(const std::string& address, const std::string& room);

/// Of an address that was being asked then, and is not known to have answered.
Verdict notAskedToTheEnd(const std::string& address);

/// Where no rule has a cause for it.
Verdict nobodyThere();

/// That nobody is there, above what was searched and the causes: a sentence.
std::string headlineOfNobody(const Facts& facts);

/// Of a camera that was there.
inline constexpr auto goneText = "no longer answers";

} // namespace Diagnosis
