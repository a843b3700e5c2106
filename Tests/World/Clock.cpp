#include "World/Clock.h"

#include "World/Calls.h"
#include "World/Network.h"
#include "World/System.h"

#include <algorithm>

using namespace std::chrono_literals;

namespace World {
namespace {

/// Not zero: a time that was left out would pass for it.
constexpr Time beginning{24h};
Time present = beginning;

} // namespace

Time now() {
    return present;
}

Duration elapsed() {
    return present - beginning;
}

void advance(Duration duration) {
    present += duration;
}

void waitUntil(Time moment) {
    present = std::max(present, moment);
}

void reset() {
    present = beginning;
    Calls::current() = {};
    Network::current() = {};
    System::current() = {};
}

} // namespace World

Platform::Clock::time_point Platform::Clock::now() noexcept {
    return World::now();
}
