#pragma once
// Whether the code under test builds its log messages.

#include <log4cxx/logger.h>

namespace Fuzz {

/// Has every log message built, or none. What has not changed is not set again, which is slow.
inline void setLogging(bool enabled) {
    static int current = -1;
    if (current == static_cast<int>(enabled))
        return;
    current = static_cast<int>(enabled);
    log4cxx::Logger::getRootLogger()->setLevel(enabled ? log4cxx::Level::getTrace()
                                                       : log4cxx::Level::getOff());
}

} // namespace Fuzz
