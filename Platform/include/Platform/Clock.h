#pragma once
// The time by which operations are bounded.

#include <chrono>

namespace Platform {

/// Monotonic, as std::chrono::steady_clock, which it is on a real system. A platform of tests gives it the
/// time of its own that its sockets wait in. Any thread may ask it.
struct Clock {
    using duration = std::chrono::nanoseconds;
    using rep = duration::rep;
    using period = duration::period;
    using time_point = std::chrono::time_point<Clock>;
    static constexpr bool is_steady = true;

    static time_point now() noexcept;
};

} // namespace Platform
