#pragma once
// The faults that a run sets, and what each must lead to.

#include <span>

namespace Soak {

enum class Expect {
    picture, ///< the right picture, health 2
    nothing, ///< no picture, health 1032
    either,  ///< one of the two
};

struct FaultRow {
    const char* fault; ///< as Simulator::parseFault reads it
    Expect expect;
    unsigned checksumLines = 0; ///< warn lines about wrong checksums that one capture leads to
};

/// Faults of captures that end soon.
std::span<const FaultRow> captureFaults();

/// Faults of captures that take one or two time-outs of 10 s.
std::span<const FaultRow> silentFaults();

/// Faults of connection checks; picture stands for an answer.
std::span<const FaultRow> probeFaults();

/// Faults of identification, after which there is no device.
std::span<const char* const> identificationFaults();

/// What one camera does while the host searches.
struct SearchRow {
    const char* fault; ///< empty: none
    bool isFound;
};

std::span<const SearchRow> searchFaults();

} // namespace Soak
