#pragma once
// What a person types to change this system's networks.

namespace Platform {

/// The system's program for it.
enum class NetworkCommand { ip, netsh };

#if defined(_WIN32)
inline constexpr NetworkCommand networkCommand = NetworkCommand::netsh;
#else
inline constexpr NetworkCommand networkCommand = NetworkCommand::ip;
#endif

} // namespace Platform
