#include "Platform/Clock.h"

namespace Platform {

Clock::time_point Clock::now() noexcept {
    return time_point(std::chrono::steady_clock::now().time_since_epoch());
}

} // namespace Platform
