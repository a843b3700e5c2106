#pragma once
// Host names to IPv4 addresses, bounded in time.

#include "Platform/Clock.h"

#include <netinet/in.h>
#include <string>
#include <vector>

namespace Platform {

struct Resolution {
    std::vector<sockaddr_in> addresses; ///< port 0; empty if the name did not resolve
    bool timedOut = false;
    std::string reason; ///< UTF-8; why there are none
};

/// Resolves `host`, an IPv4 address in dotted decimal or a name, by `deadline`. Throws only std::bad_alloc.
Resolution resolve(const std::string& host, Clock::time_point deadline);

} // namespace Platform
