#pragma once
// The commands by which a person sets up this computer's network, in the words of the system that it runs.

#include "Facts.h"

#include <string>

namespace Diagnosis {

/// Gives the adapter a further address.
std::string commandToAdd(CommandSet commands, const std::string& adapter, const OwnAddress& address);

/// Takes an address from the adapter.
std::string commandToRemove(CommandSet commands, const std::string& adapter, const OwnAddress& address);

std::string commandToSwitchOn(CommandSet commands, const std::string& adapter);
std::string commandToSwitchOff(CommandSet commands, const std::string& adapter);

} // namespace Diagnosis
