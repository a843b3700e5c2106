// Chosen cells of the fault matrix under a search and under an identification with a sample picture, which
// know only the ports of a real camera: over real sockets, on networks of the test's own.

#include "Actual.h"
#include "CameraNetworks.h"
#include "ServedCamera.h"

#include "DeviceControl/DeviceFramework1Locator.h"
#include "NativeCameraKorva/KorvaCameraType.h"
#include "NativeCameraKorva/KorvaIdentification.h"
#include "ReferenceHost/HostControl.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdio>
#include <memory>

using namespace Faults;
using namespace Integration;

namespace {

const Chosen searchFaults{
    {1, "discovery:silent discovery:delay=1500 discovery:length=25 discovery:drip=1/1 "
        "discovery:scatter=10 discovery:other-marker discovery:garbage discovery:twice "
        "version:close version:garbage "
        "serial:silent serial:reset serial:stale "
        "network:truncate-close=41 network:drip=1/1 network:twice "
        "configure:close "
        "get:checksum"},
    {4, "take:unknown-code"},
};

/// Under an identification by address.
const Chosen sampleFaults{
    {1, "configure:close configure:many-arguments "
        "take:silent take:checksum take:stale "
        "get:truncate-close=3 get:scatter=30 get:length-large get:two-arguments get:wrong-response"},
    {2, "configure:length-wrap configure:unknown-code "
        "take:reset "
        "get:checksum get:twice"},
    {3, "configure:truncate-close=3 "
        "take:long-value "
        "get:close get:huge-image"},
    {4, "configure:no-argument "
        "take:wrong-command take:error=7 "
        "get:drip=1/1 get:length-small get:garbage get:endless"},
};

/// A camera with the cell's fault, on a network of its own.
class CellOnANetwork : public testing::TestWithParam<Cell> {
protected:
    /// Tells the number of those that have run so far.
    static void TearDownTestSuite() {
        std::printf("figure: fault cells of searches and sample pictures checked over real sockets: %zu\n",
                    checked_);
    }

    Outcome run() const {
        return outcomeBy([&](Outcome& outcome) {
            if (GetParam().operation == Operation::discover) {
                Finder finder(outcome);
                KorvaCameraType().getLocator().broadcastObserverSearch(&finder, 0);
            } else {
                outcome.identity = told(Korva::determineCameraInfoByAddress(networks_.addressOf(0), ""));
                outcome.isGood = true;
            }
        });
    }

    Outcome expected(const Simulator::CameraSettings& settings) const {
        Camera place;
        place.address = networks_.addressOf(0);
        return outcomeOf(GetParam().operation, settings, {}, place);
    }

    static inline std::size_t checked_ = 0;
    const Simulator::CameraSettings settings_ = settingsOf(GetParam());
    Events events_;

private:
    const CameraNetworks networks_{1, true};
    const std::unique_ptr<Simulator::CameraServer> server_ = networks_.serve(0, settings_, events_.log());
};

TEST_P(CellOnANetwork, EndsAsTheOracleSays) {
    const Outcome outcome = expected(settings_);
    expectSameResult(run(), outcome);
    EXPECT_EQ(events_.count("configure: exposure"), static_cast<std::size_t>(outcome.attempts));
    Simulator::CameraSettings good = settings_;
    good.faults.clear();
    expectSameResult(run(), expected(good));
    EXPECT_EQ(ReferenceHost::liveImageCount(), 0U);
    ++checked_;
}

INSTANTIATE_TEST_SUITE_P(discover, CellOnANetwork,
                         testing::ValuesIn(chosenCells(Operation::discover, searchFaults)), nameOfCell);
INSTANTIATE_TEST_SUITE_P(identify, CellOnANetwork,
                         testing::ValuesIn(chosenCells(Operation::identify, sampleFaults)), nameOfCell);

} // namespace
