// Chosen cells of the fault matrix over real sockets, held to the same oracle.

#include "Actual.h"
#include "ServedCamera.h"

#include "NativeCameraKorva/KorvaHelper.h"
#include "ReferenceHost/HostControl.h"

#include <gtest/gtest.h>

#include <cstdio>

using namespace Faults;
using namespace Integration;

namespace {

const Chosen pictureFaults{
    {1, "configure:close configure:silent configure:truncate-close=3 configure:scatter=30 "
        "configure:checksum configure:many-arguments configure:wrong-command configure:wrong-response "
        "configure:endless "
        "take:reset take:truncate-silent=8 take:drip=1/1 take:length-small take:long-value "
        "take:no-argument take:unknown-code take:garbage take:stale "
        "get:silent get:delay=600 get:drip=1/1 get:checksum get:length-small get:length-large "
        "get:huge-image get:two-arguments get:many-arguments get:error=7 get:stale get:twice"},
    {2, "configure:length-wrap "
        "take:silent take:checksum "
        "get:close get:truncate-close=3 get:scatter=30 get:wrong-response get:garbage get:endless"},
};

const Chosen checkFaults{
    {1, "probe:close probe:silent probe:truncate-close=3 probe:reset probe:checksum probe:error=7 "
        "probe:garbage probe:endless"}};

const Chosen replyFaults{
    {1, "version:close version:truncate-silent=30 "
        "serial:silent serial:truncate-close=14 serial:drip=1/1 serial:stale serial:garbage "
        "network:delay=900 network:truncate-close=41 network:reset network:twice network:endless"}};

std::size_t checked = 0;

/// Tells the number at the end, when all cells have run.
struct Count : testing::Environment {
    void TearDown() override { std::printf("figure: fault cells checked over real sockets: %zu\n", checked); }
};
const testing::Environment* const count = testing::AddGlobalTestEnvironment(new Count);

/// A served camera with the cell's fault, and a host that waits for little.
class CellOverSockets : public testing::TestWithParam<Cell> {
protected:
    Outcome run(Operation operation) {
        const Outcome outcome = outcomeBy([&](Outcome& value) { perform(operation, value); });
        EXPECT_FALSE(communicator_->isConnected());
        EXPECT_EQ(ReferenceHost::liveImageCount(), 0U);
        return outcome;
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
    expectSameResult(run(cell.operation), outcome);
    Simulator::CameraSettings good = settings_;
    good.faults.clear();
    for (const Operation operation : {cell.operation, Operation::picture})
        expectSameResult(run(operation), expected(operation, good));
    ++checked;
    if (cell.operation != Operation::picture)
        return;
    // A camera that sends without end listens no more. Two further configurations are the mended camera's.
    const bool isDeaf = cell.fault.kind == Simulator::FaultKind::endless;
    const auto seen = isDeaf ? cell.attempt : static_cast<unsigned>(outcome.attempts);
    EXPECT_EQ(served_.stopAndCount("configure: exposure"), seen + 2);
}

INSTANTIATE_TEST_SUITE_P(capture, CellOverSockets,
                         testing::ValuesIn(chosenCells(Operation::picture, pictureFaults)), nameOfCell);
INSTANTIATE_TEST_SUITE_P(health, CellOverSockets,
                         testing::ValuesIn(chosenCells(Operation::check, checkFaults)), nameOfCell);
INSTANTIATE_TEST_SUITE_P(identify, CellOverSockets,
                         testing::ValuesIn(chosenCells(Operation::identify, replyFaults)), nameOfCell);

} // namespace
