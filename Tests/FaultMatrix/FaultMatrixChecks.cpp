#include "FaultMatrixChecks.h"

#include <gtest/gtest.h>

using namespace std::chrono_literals;

namespace FaultMatrix {
namespace {

constexpr auto quietTime = 20ms; ///< a wait that the transport may add to each call
constexpr auto dropTime = 3000ms;

std::size_t operations = 0;

} // namespace

Fault watched(Kind kind, Dripping& dripping) {
    return [fault = faultOf(kind), kind, &dripping](const Bytes& due, const Bytes& before) {
        Arrivals arrivals = fault(due, before);
        dripping.pieces = static_cast<int>(arrivals.size());
        if (kind != Kind::delayedPastTheTimeout)
            for (const auto& arrival : arrivals)
                dripping.time += arrival.after;
        return arrivals;
    };
}

void expectTimely(std::chrono::milliseconds took, std::chrono::milliseconds waited, const Dripping& dripping,
                  std::initializer_list<const TestSupport::TimedLine*> lines) {
    std::chrono::milliseconds longest{0};
    int calls = 0;
    for (const auto* const line : lines) {
        longest += line->patience() + line->writes() * dropTime;
        calls += line->reads() + line->writes();
        // A header, an argument's header, its value, the checksum; each piece and each argument once more.
        EXPECT_LE(line->reads(), 4 * line->writes() + dripping.pieces + 254);
    }
    EXPECT_GE(took, waited);
    EXPECT_LE(took, waited + dripping.time + calls * quietTime);
    EXPECT_LE(took, longest + 1000ms);
    ++operations;
}

void expectMendedInTime(DeviceBench& bench, const DeviceOutcome& expected, const Dripping& dripping) {
    EXPECT_TRUE(bench.camera.hasStruck());
    expectTimely(bench.clock.now, expected.waited, dripping, {&bench.line()});
    bench.expectAtRest();
    bench.expectMended();
}

void expectConnectionCheck(DeviceBench& bench, const DeviceOutcome& expected, const Dripping& dripping) {
    {
        const Said said;
        EXPECT_EQ(bench.isAlive(), expected.good);
        EXPECT_EQ(said.matching(expected.lines), expected.lines);
    }
    EXPECT_EQ(bench.reports, expected.good ? std::vector<int>{} : std::vector{expected.health});
    expectMendedInTime(bench, expected, dripping);
}

void expectIdentification(IdentityBench& bench, const IdentityOutcome& expected) {
    {
        const Said said;
        const auto identity =
            expected.identity ? std::optional(asTheHostReads(*expected.identity)) : std::nullopt;
        EXPECT_EQ(bench.identify(), identity);
        EXPECT_EQ(said.matching(expected.lines), expected.lines);
    }
    EXPECT_EQ(bench.exception(), expected.exception);
    EXPECT_EQ(bench.camera.configurations(), expected.configurations);
    EXPECT_TRUE(bench.camera.hasStruck());
    expectTimely(bench.clock.now, expected.waited, {}, {&bench.text(), &bench.binary()});
    bench.expectAtRest();
    bench.expectMended(Operation::identify);
}

std::size_t timedOperations() {
    return operations;
}

} // namespace FaultMatrix
