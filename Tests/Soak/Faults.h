#pragma once
// The faults that a run sets. What each must lead to, the oracle says.

#include "Cells.h"

#include <cstddef>
#include <string>
#include <vector>

namespace Soak {

enum class Expect {
    picture, ///< the right picture, health 2
    nothing, ///< no picture, health 1032
    either,  ///< one of the two
};

/// What the fault, or none where `fault` is empty, leads to.
Faults::Outcome outcomeOf(Faults::Operation operation, const std::string& fault);

/// Of its lines, those about a wrong checksum.
std::size_t checksumLines(const Faults::Outcome& outcome);

/// Faults of captures that end soon.
extern const std::vector<std::string> captureFaults;

/// Faults of captures that take one or two time-outs of 10 s.
extern const std::vector<std::string> silentFaults;

/// Faults of connection checks.
extern const std::vector<std::string> probeFaults;

/// Faults of identification, after which there is no device.
extern const std::vector<std::string> identificationFaults;

/// What one camera of two or three does while the host searches.
extern const std::vector<std::string> searchFaults;

} // namespace Soak
