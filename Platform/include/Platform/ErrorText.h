#pragma once
// What went wrong, in words.

#include <string>
#include <system_error>

namespace Platform {

/// The code's message; on a system whose own words are others, those of POSIX systems as far as they have
/// one for it: what users read, and what advice goes by, is the same everywhere. UTF-8. Any thread.
std::string errorText(const std::error_code& code);

/// The same of a code of POSIX systems.
std::string errorText(std::errc code);

} // namespace Platform
