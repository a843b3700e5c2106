#pragma once
// The hardware address behind an IPv4 address, as a search asks for it.

#include <string>

namespace Console {

class ToolLog;

/// "02-4b-00-01-00-0b"; empty for what is no IPv4 address, for one beyond a router and for one that does not
/// answer. May take 3 s; throws interruption() if Ctrl-C comes meanwhile.
std::string hardwareAddressOf(const std::string& address, ToolLog& log);

} // namespace Console
