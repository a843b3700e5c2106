#pragma once
// How wide characters stand on a terminal.

namespace Platform {

/// The columns that a character takes: 0 of one that stands above or below another, 2 of a wide one; 1 of
/// what the system does not know. Any thread.
int columnsOf(char32_t character);

} // namespace Platform
