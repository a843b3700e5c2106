#pragma once
// Who else has an address.

#include "Diagnosis/Facts.h"

#include <chrono>

namespace Diagnosis {

/// How long the look lasts.
inline constexpr std::chrono::milliseconds arpLookTime{300};

/// Asks by ARP, one message for each address, who has the addresses of this computer and those of
/// `facts.cameras` that lie in its networks. Others at an own address become `facts.neighbours`, all at a
/// camera's are added to its hardware addresses. Does no more than say so if the system does not let this
/// user ask, which takes root's rights. Comes after the other looks, which renew the neighbours.
void lookByArp(Facts& facts);

} // namespace Diagnosis
