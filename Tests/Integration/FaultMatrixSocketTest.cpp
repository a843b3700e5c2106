// Chosen cells of the fault matrix over real sockets, held to the same oracle.

#include "Actual.h"
#include "ServedCamera.h"

#include "Camera/FaultTable.h"
#include "NativeCameraKorva/KorvaHelper.h"
#include "ReferenceHost/HostControl.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <vector>

using namespace Faults;
using namespace Integration;
using Simulator::FaultKind;

namespace {

const Chosen pictureFaults{
    {1,
     "configure:close configure:silent configure:truncate-close=3 configure:scatter=30 "
     "configure:checksum configure:many-arguments configure:wrong-command configure:wrong-response "
     "configure:endless "
     "take:reset take:truncate-silent=8 take:drip=1/1 take:length-small take:long-value "
     "take:no-argument take:unknown-code take:garbage take:stale take:flip=103 take:trail "
     "get:silent get:delay=600 get:drip=1/1 get:drip=100/60 get:checksum get:length-small get:length-large "
     "get:huge-image get:two-arguments get:many-arguments get:error=4294967295 get:stale get:twice "
     "get:garbage-picture get:empty-picture get:black-picture"},
    {2, "configure:length-wrap "
        "take:silent take:checksum "
        "get:close get:truncate-close=3 get:scatter=30 get:wrong-response get:garbage get:endless"},
};

/// They do not pass: every attempt meets them.
const char lastingFaults[] =
    "configure:wrong-response configure:wrong-command configure:garbage "
    "take:checksum take:error=7 take:no-argument take:two-arguments take:unknown-code take:long-value "
    "take:stale take:endless take:trail take:reset take:close take:silent "
    "get:checksum get:wrong-response get:length-large get:length-small get:huge-image get:stale "
    "get:truncate-close=20 get:garbage-picture get:empty-picture get:black-picture any:twice";

const Chosen checkFaults{
    {1, "probe:close probe:silent probe:truncate-close=3 probe:reset probe:checksum probe:error=7 "
        "probe:garbage probe:endless"}};

const Chosen replyFaults{
    {1, "version:close version:truncate-silent=30 "
        "serial:silent serial:truncate-close=14 serial:drip=1/1 serial:stale serial:garbage "
        "network:delay=900 network:truncate-close=41 network:reset network:twice network:endless"}};

std::vector<Cell> lastingCells() {
    std::vector<Cell> cells;
    for (const std::string& fault : faultsIn(lastingFaults))
        cells.push_back({Operation::picture, 1, Simulator::parseFault(fault)});
    return cells;
}

/// A served camera with the cell's fault, and a host that waits for little.
class CellOverSockets : public testing::TestWithParam<Cell> {
protected:
    /// Tells the number of those that have run so far.
    static void TearDownTestSuite() {
        std::printf("figure: fault cells checked over real sockets: %zu\n", checked_);
    }

    void expectOutcome(Operation operation, const Outcome& expected) {
        expectSameResult(outcomeBy([&](Outcome& value) { perform(operation, value); }), expected);
        EXPECT_FALSE(communicator_->isConnected());
        EXPECT_EQ(ReferenceHost::liveImageCount(), 0U);
    }

    Outcome expected(Operation operation, const Simulator::CameraSettings& settings) const {
        Asking asking;
        asking.longestRead = std::chrono::milliseconds(ImpatientCommunicator::longestReadMs);
        Camera place;
        place.address = "127.0.0.1";
        place.textPort = served_.textPort();
        place.binaryPort = served_.port();
        return outcomeOf(operation, settings, asking, place);
    }

    static inline std::size_t checked_ = 0;
    const Simulator::CameraSettings settings_ = settingsOf(GetParam());
    ServedCamera served_{settings_};

private:
    void perform(Operation operation, Outcome& outcome) {
        if (operation == Operation::picture)
            return device_.takePicture(outcome);
        if (operation == Operation::check)
            return device_.check(outcome);
        ImpatientCommunicator texts(served_.textPort());
        outcome.identity = told(Korva::determineCameraInfo(&texts, "00-00-00-00-00-01"));
        outcome.isGood = true;
    }

    ImpatientCommunicator* const communicator_ = new ImpatientCommunicator(served_.port()); ///< the device's
    HeldDevice device_{communicator_};
};

TEST_P(CellOverSockets, EndsAsTheOracleSays) {
    const Cell& cell = GetParam();
    const Outcome outcome = expected(cell.operation, settings_);
    expectOutcome(cell.operation, outcome);
    ++checked_;
    const bool isLasting = cell.fault.times != 1;
    Simulator::CameraSettings good = settings_;
    good.faults.clear();
    if (!isLasting)
        for (const Operation operation : {cell.operation, Operation::picture})
            expectOutcome(operation, expected(operation, good));
    if (cell.operation != Operation::picture)
        return;
    // A camera that sends without end listens no more. Two further configurations are the mended camera's.
    const bool isDeaf = cell.fault.kind == FaultKind::endless || cell.fault.kind == FaultKind::trail;
    const auto seen = isDeaf ? cell.attempt : static_cast<unsigned>(outcome.attempts);
    EXPECT_EQ(served_.stopAndCount("configure: exposure"), seen + (isLasting ? 0 : 2));
}

INSTANTIATE_TEST_SUITE_P(capture, CellOverSockets,
                         testing::ValuesIn(chosenCells(Operation::picture, pictureFaults)), nameOfCell);
INSTANTIATE_TEST_SUITE_P(lasting, CellOverSockets, testing::ValuesIn(lastingCells()), nameOfCell);
INSTANTIATE_TEST_SUITE_P(health, CellOverSockets,
                         testing::ValuesIn(chosenCells(Operation::check, checkFaults)), nameOfCell);
INSTANTIATE_TEST_SUITE_P(identify, CellOverSockets,
                         testing::ValuesIn(chosenCells(Operation::identify, replyFaults)), nameOfCell);

TEST(CellsOverSockets, HoldEveryFaultOfTheBinaryProtocol) {
    std::vector<Cell> cells = chosenCells(Operation::picture, pictureFaults);
    for (const Simulator::FaultRow& row : Simulator::faultRows) {
        const bool isHere =
            std::ranges::any_of(cells, [&row](const Cell& cell) { return cell.fault.kind == row.kind; });
        EXPECT_EQ(isHere, (row.reach & (Simulator::inBinary | Simulator::inPictures)) != 0) << row.name;
    }
}

} // namespace
