#pragma once
// Names for what a device's slots hold. Each source file that includes this has its own copy.

#include <string>

const std::string invalidSlotIndex = "Invalid Slot Index";
const std::string disabledSlotIndex = "Disabled Slot Index";
const std::string warpSlot = "warp";
const std::string convergenceSlot = "convergence";
