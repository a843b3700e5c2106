#pragma once
// The time of the tests: it stands still but where something waits, or a test moves it.

#include "Platform/Clock.h"

namespace World {

using Time = Platform::Clock::time_point;
using Duration = Platform::Clock::duration;

/// What Platform::Clock::now() answers, and what sockets, datagrams, Sleep and the performance counter go by.
Time now();

/// Since the last reset().
Duration elapsed();

void advance(Duration duration);

/// A moment that is past changes nothing.
void waitUntil(Time moment);

/// Back to the beginning: no time is over, nobody is on the network, no call was made and none is to fail.
void reset();

} // namespace World
