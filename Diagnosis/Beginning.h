#pragma once
// The beginning of a text that may be long.

#include <cstddef>
#include <string_view>

namespace Diagnosis {

/// At most so many bytes of the text's beginning, less where they would end inside a character.
std::string_view beginningOf(std::string_view text, std::size_t mostBytes);

} // namespace Diagnosis
