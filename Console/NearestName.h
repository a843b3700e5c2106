#pragma once
// What somebody may have meant.

#include <string>
#include <string_view>
#include <vector>

namespace Console {

/// The one of `names` that a mistyped `word` comes nearest to, by letters left out, added, replaced or
/// swapped; empty if none is near.
std::string nearestName(std::string_view word, const std::vector<std::string>& names);

} // namespace Console
