#pragma once
// Texts that hold what was measured.

#include "Verdict.h"

#include <string>
#include <string_view>

namespace Diagnosis {

/// A text with "#" for each number that was measured, such as "58" of "58 bytes": two of them that are the
/// same then tell of one state. Numbers that name something, such as those of errors and addresses, stay.
std::string withoutFigures(std::string_view text);

/// The verdict with its text so.
Verdict withoutFigures(Verdict verdict);

} // namespace Diagnosis
