#pragma once
// Verdicts as JSON values, for objects that hold more than them.

#include "Verdict.h"

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <vector>

namespace Diagnosis {

/// {"code", "text", "try"}: what stands under "error".
nlohmann::ordered_json errorOf(const Verdict& verdict);

/// {"address", "room", "code", "text", "try"}: an element of "problems".
nlohmann::ordered_json problemOf(const Verdict& verdict);

/// {"code", "severity": "failure" or "note", "text", "try", "address"}: an element of "causes".
nlohmann::ordered_json causeOf(const Verdict& verdict);

/// A list of what one of these makes of each, in their order.
nlohmann::ordered_json listOf(const std::vector<Verdict>& verdicts,
                              nlohmann::ordered_json (*element)(const Verdict&));

/// On one line of ASCII alone, so that no text of a camera's can steer a terminal.
std::string dumped(const nlohmann::ordered_json& json);

} // namespace Diagnosis
