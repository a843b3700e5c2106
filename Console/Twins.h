#pragma once
// Several cameras with one address, of the network or of the hardware.

#include "Diagnosis/Facts.h"
#include "Diagnosis/Verdict.h"

#include <map>
#include <string>
#include <vector>

namespace Console {

/// By address, that several cameras have it, or its MAC address.
using Twins = std::map<std::string, Diagnosis::Verdict>;

/// Of what a search has told.
Twins twinsIn(const Diagnosis::Facts& facts);

enum class TwinLook {
    byArp,       ///< takes 0.3 s, and does nothing without root's rights
    alsoBySearch ///< takes 1 s more
};

/// Of these addresses, as far as that can be found out. An interrupt cuts it short.
Twins lookForTwins(const std::vector<std::string>& addresses, TwinLook look);

} // namespace Console
