#pragma once
// The system's errors, in the words and the codes of POSIX systems: what users read, and what advice goes by,
// is the same on every system.

#include "Platform/ErrorText.h"
#include "Platform/Winsock.h"

#include <string>
#include <system_error>

namespace Platform {

/// Of an error of the system's or of Winsock's; "Error NUMBER" if it has no words here. UTF-8.
std::string textOf(DWORD error);

/// The same as a code, of the generic category where that has one for it.
std::error_code codeOf(DWORD error);

/// Winsock's last error.
inline DWORD lastSocketError() {
    return static_cast<DWORD>(WSAGetLastError());
}

} // namespace Platform
