#pragma once
// Texts in the columns of a table.

#include <cstddef>
#include <string>
#include <string_view>

namespace Console {

/// How many columns of a terminal a text takes; it is printable.
std::size_t columnsOf(std::string_view text);

/// As much of a printable text as takes no more than `columns`, at least 1; "…" ends it where some is
/// missing.
std::string shortened(std::string_view text, std::size_t columns);

/// `text` with blanks behind it, up to so many columns.
std::string padded(std::string text, std::size_t columns);

} // namespace Console
