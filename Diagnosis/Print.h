#pragma once
// Verdicts in the forms that the tool prints, for people and as JSON.

#include "Verdict.h"

#include <string>
#include <vector>

namespace Diagnosis {

/// "10.77.1.11 (Lab 2): no answer on TCP 32768: a firewall?; try: ..." on one line, printable; without the
/// address where there is none.
std::string lineOf(const Verdict& verdict);

/// {"code": ..., "text": ..., "try": ...} as JSON text of ASCII alone.
std::string errorJson(const Verdict& verdict);

/// [{"address", "room", "code", "text", "try"}...], the shape of `problems`.
std::string problemsJson(const std::vector<Verdict>& verdicts);

} // namespace Diagnosis
