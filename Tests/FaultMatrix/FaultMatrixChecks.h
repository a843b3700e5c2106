#pragma once
// What the operations of the fault matrix are held to, their time among it.

#include "FaultMatrixBench.h"

#include "Support/TimedLine.h"

#include <chrono>
#include <cstddef>
#include <initializer_list>

namespace FaultMatrix {

/// How long the answer takes that the fault sends, where that is not a time-out's affair.
struct Dripping {
    std::chrono::milliseconds time{0};
    int pieces = 0;
};

/// The fault of the kind, whose answer is measured when it is made. `dripping` outlives it.
Fault watched(Kind kind, Dripping& dripping);

/// Checks that an operation took as long as the rules say, and no longer than its reads may wait.
void expectTimely(std::chrono::milliseconds took, std::chrono::milliseconds waited, const Dripping& dripping,
                  std::initializer_list<const TestSupport::TimedLine*> lines);

/// The fault came, nothing waited longer than it may, and the same device takes a good picture now.
void expectMendedInTime(DeviceBench& bench, const DeviceOutcome& expected, const Dripping& dripping);

/// Checks the connection and all that comes of it, expectMendedInTime included.
void expectConnectionCheck(DeviceBench& bench, const DeviceOutcome& expected, const Dripping& dripping = {});

/// Identifies the camera and checks all that comes of it, its time and that it is identified well afterwards.
void expectIdentification(IdentityBench& bench, const IdentityOutcome& expected);

/// How often expectTimely was called.
std::size_t timedOperations();

} // namespace FaultMatrix
