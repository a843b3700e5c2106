#pragma once
// The short stories that a run is made of. Each begins with a camera in whatever state, lets something happen
// to it, mends it, and demands the next picture.

#include "Cells.h"
#include "SoakedCamera.h"

#include <string>

namespace Soak {

/// What the fault, or none where `fault` is empty, leads to.
Faults::Outcome outcomeOf(Faults::Operation operation, const std::string& fault);

/// What one of the cameras does while the host searches.
std::string searchFault(Random& random);

/// The lines about a wrong checksum that plays must have caused, as the tally counts them.
inline constexpr char checksumLines[] = "warnings of wrong checksums";
inline constexpr char checksumMessage[] = "Korva Response failed chksum";

/// A play drawn at random, of those that end within a second or so.
void playQuickly(SoakedCamera& camera);

/// The same, of those that wait for up to two time-outs of 10 s.
void playSlowly(SoakedCamera& camera);

} // namespace Soak
