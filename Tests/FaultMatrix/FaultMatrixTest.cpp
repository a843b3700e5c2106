// Every fault at every place where a camera answers, under every operation: the table against the plug-in.

#include "FaultMatrixBench.h"
#include "FaultMatrixChecks.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace FaultMatrix {
namespace {

struct CaptureCells : ::testing::TestWithParam<Cell> {};

TEST_P(CaptureCells, EndAsTheTableSays) {
    const Cell& cell = GetParam();
    DeviceBench bench;
    Dripping dripping;
    bench.camera.strike(cell.place, watched(cell.kind, dripping));
    const DeviceOutcome expected = pictureRequest(
        cameraEndpoint, struckBy(cell.kind, cell.place, bench.camera.dueOf(Exchange::take, false),
                                 bench.camera.dueOf(Exchange::get, false)));
    {
        const Said said;
        EXPECT_EQ(bench.picture(), expected.good ? pictureOf() : Bytes{});
        EXPECT_EQ(said.matching(expected.lines), expected.lines);
    }
    EXPECT_EQ(bench.reports, std::vector{expected.health});
    EXPECT_EQ(bench.camera.configurations(), expected.configurations);
    expectMendedInTime(bench, expected, dripping);
}

struct HealthCells : ::testing::TestWithParam<Cell> {};

TEST_P(HealthCells, EndAsTheTableSays) {
    const Cell& cell = GetParam();
    DeviceBench bench;
    Dripping dripping;
    bench.camera.strike(cell.place, watched(cell.kind, dripping));
    const Due due{bench.camera.dueOf(Exchange::probe, false)};
    const DeviceOutcome expected = connectionCheck(cameraEndpoint, readingOf(cell.kind, due));
    expectConnectionCheck(bench, expected, dripping);
}

struct IdentificationCells : ::testing::TestWithParam<Cell> {
    IdentityBench bench;
    Dripping dripping;

    IdentificationCells() {
        const Cell& cell = GetParam();
        // A sample picture is taken only of a camera whose model is not known.
        if (isOfAPicture(cell.place.exchange))
            bench.camera.setHardware("XM99");
        if (cell.place.exchange != Exchange::discovery)
            bench.camera.strike(cell.place, watched(cell.kind, dripping));
    }

    IdentityOutcome expected() const {
        return identify(identifiedWith(bench.camera, GetParam().place, GetParam().kind));
    }

    void expectTraffic(const IdentityOutcome& expected) {
        EXPECT_EQ(bench.camera.configurations(), expected.configurations);
        EXPECT_EQ(bench.text().connects(), 1);
        EXPECT_EQ(bench.binary().connects(), expected.grabs);
        bench.expectAtRest();
    }
};

struct IdentifyCells : IdentificationCells {};

TEST_P(IdentifyCells, EndAsTheTableSays) {
    const IdentityOutcome expected = this->expected();
    {
        const Said said;
        EXPECT_EQ(bench.identify(), expected.identity);
        EXPECT_EQ(said.matching(expected.lines), expected.lines);
    }
    EXPECT_EQ(bench.exception(), expected.exception);
    EXPECT_TRUE(bench.camera.hasStruck());
    expectTimely(bench.clock.now, expected.waited, dripping, {&bench.text(), &bench.binary()});
    expectTraffic(expected);
    bench.expectMended(Operation::identify);
}

struct DiscoverCells : IdentificationCells {
    std::vector<std::string> datagrams() const {
        if (GetParam().place.exchange != Exchange::discovery)
            return {discoveryReply};
        return faultyDatagrams(GetParam().kind, discoveryReply);
    }
    bool isReplyLost() const {
        if (GetParam().place.exchange != Exchange::discovery)
            return false;
        return !isFound(GetParam().kind);
    }
};

TEST_P(DiscoverCells, EndAsTheTableSays) {
    IdentityOutcome expected;
    if (!isReplyLost())
        expected = this->expected();
    Lines lines = expected.lines;
    if (!expected.exception.empty()) {
        const Lines skipped = linesOfASkippedCamera(expected.exception);
        lines.insert(lines.end(), skipped.begin(), skipped.end());
    }
    {
        const Said said;
        const std::vector<Identity> found = bench.search(datagrams());
        EXPECT_EQ(found, expected.identity ? std::vector{*expected.identity} : std::vector<Identity>{});
        EXPECT_EQ(said.matching(lines), lines);
    }
    expectTimely(bench.clock.now, expected.waited + gatheringTime, dripping,
                 {&bench.text(), &bench.binary()});
    if (isReplyLost())
        EXPECT_EQ(bench.text().connects(), 0);
    else
        expectTraffic(expected);
    bench.expectAtRest();
    bench.expectMended(Operation::discover);
}

std::string nameOfCell(const ::testing::TestParamInfo<Cell>& info) {
    return nameOf(info.param);
}

INSTANTIATE_TEST_SUITE_P(capture, CaptureCells, ::testing::ValuesIn(cellsOf(Operation::capture)), nameOfCell);
INSTANTIATE_TEST_SUITE_P(health, HealthCells, ::testing::ValuesIn(cellsOf(Operation::health)), nameOfCell);
INSTANTIATE_TEST_SUITE_P(identify, IdentifyCells, ::testing::ValuesIn(cellsOf(Operation::identify)),
                         nameOfCell);
INSTANTIATE_TEST_SUITE_P(discover, DiscoverCells, ::testing::ValuesIn(cellsOf(Operation::discover)),
                         nameOfCell);

TEST(FaultMatrix, CountsItsCells) {
    std::size_t checked = 0;
    std::size_t inapplicable = 0;
    for (const Operation operation :
         {Operation::discover, Operation::identify, Operation::capture, Operation::health}) {
        const std::size_t cells = cellsOf(operation).size();
        checked += cells;
        inapplicable += placesOf(operation).size() * allKinds().size() - cells;
    }
    EXPECT_EQ(checked, 900U);
    std::printf("figure: fault matrix, cells checked over the scripted transport: %zu\n", checked);
    std::printf("figure: fault matrix, cells that cannot be, with the reason: %zu\n", inapplicable);
}

/// Tells the number at the end, when all cases have run, those of the flipped and the cut-off answers too.
struct Times : ::testing::Environment {
    void TearDown() override {
        std::printf(
            "figure: operations on a faulty camera held to their time bound, scripted transport: %zu\n",
            timedOperations());
    }
};
const ::testing::Environment* const times = ::testing::AddGlobalTestEnvironment(new Times);

} // namespace
} // namespace FaultMatrix
