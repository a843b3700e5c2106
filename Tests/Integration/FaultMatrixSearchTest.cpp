// Chosen cells of the fault matrix under a search and under an identification with a sample picture, which
// know only the ports of a real camera: over real sockets, on networks of the test's own.

#include "CameraNetworks.h"
#include "SocketCells.h"

#include "Communicator/DeviceException.h"
#include "DeviceControl/BroadcastWorkerObserver.h"
#include "DeviceControl/DeviceFramework1Locator.h"
#include "NativeCameraControl/NativeCameraTemplate.h"
#include "NativeCameraKorva/KorvaCameraType.h"
#include "NativeCameraKorva/KorvaIdentification.h"
#include "ReferenceHost/HostControl.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

using namespace FaultMatrix;
using namespace Integration;

namespace {

constexpr wchar_t cameraAddress[] = L"10.77.1.11";

const SocketCell discoveryCells[] = {
    {Exchange::discovery, 1, Kind::silent, "discovery:silent*1"},
    {Exchange::discovery, 1, Kind::delayedPastTheTimeout, "discovery:delay=1500*1"},
    {Exchange::discovery, 1, Kind::truncatedThenSilent, "discovery:length=25*1"},
    {Exchange::discovery, 1, Kind::drippedByteByByte, "discovery:drip=1/1*1"},
    {Exchange::discovery, 1, Kind::drippedInRandomPieces, "discovery:scatter=10*1"},
    {Exchange::discovery, 1, Kind::wrongCode, "discovery:other-marker*1"},
    {Exchange::discovery, 1, Kind::garbage, "discovery:garbage*1"},
    {Exchange::discovery, 1, Kind::answerTwice, "discovery:twice*1"},
};

/// Under a search.
const SocketCell searchCells[] = {
    {Exchange::version, 1, Kind::closedAtOnce, "version:close*1"},
    {Exchange::serial, 1, Kind::silent, "serial:silent*1"},
    {Exchange::network, 1, Kind::truncatedThenClosed, "network:truncate-close=41*1"},
    {Exchange::serial, 1, Kind::reset, "serial:reset*1"},
    {Exchange::network, 1, Kind::drippedByteByByte, "network:drip=1/1*1"},
    {Exchange::version, 1, Kind::garbage, "version:garbage*1"},
    {Exchange::serial, 1, Kind::answerOfTheMessageBefore, "serial:stale*1"},
    {Exchange::network, 1, Kind::answerTwice, "network:twice*1"},
    {Exchange::configure, 1, Kind::closedAtOnce, "configure:close*1"},
    {Exchange::get, 1, Kind::wrongChecksum, "get:checksum*1"},
    {Exchange::take, 4, Kind::wrongCode, "take:unknown-code*1"},
};

/// Under an identification by address.
const SocketCell sampleCells[] = {
    {Exchange::configure, 1, Kind::closedAtOnce, "configure:close*1"},
    {Exchange::get, 3, Kind::closedAtOnce, "get:close*1"},
    {Exchange::take, 2, Kind::reset, "take:reset*1"},
    {Exchange::take, 1, Kind::silent, "take:silent*1"},
    {Exchange::configure, 3, Kind::truncatedThenClosed, "configure:truncate-close=3*1"},
    {Exchange::get, 1, Kind::truncatedThenClosed, "get:truncate-close=3*1"},
    {Exchange::get, 4, Kind::drippedByteByByte, "get:drip=1/1*1"},
    {Exchange::get, 1, Kind::drippedInRandomPieces, "get:scatter=30*1"},
    {Exchange::take, 1, Kind::wrongChecksum, "take:checksum*1"},
    {Exchange::get, 2, Kind::wrongChecksum, "get:checksum*1"},
    {Exchange::get, 4, Kind::lengthTooSmall, "get:length-small*1"},
    {Exchange::get, 1, Kind::lengthTooLarge, "get:length-large*1"},
    {Exchange::configure, 2, Kind::lengthWrapping, "configure:length-wrap*1"},
    {Exchange::get, 3, Kind::imageBeyondTheLimit, "get:huge-image*1"},
    {Exchange::take, 3, Kind::valueTooLong, "take:long-value*1"},
    {Exchange::configure, 4, Kind::noArgument, "configure:no-argument*1"},
    {Exchange::get, 1, Kind::twoArguments, "get:two-arguments*1"},
    {Exchange::configure, 1, Kind::arguments255, "configure:many-arguments*1"},
    {Exchange::take, 4, Kind::wrongCommand, "take:wrong-command*1"},
    {Exchange::configure, 2, Kind::wrongCode, "configure:unknown-code*1"},
    {Exchange::get, 1, Kind::wrongAnswer, "get:wrong-response*1"},
    {Exchange::take, 4, Kind::errorWithACode, "take:error=7*1"},
    {Exchange::get, 4, Kind::garbage, "get:garbage*1"},
    {Exchange::take, 1, Kind::answerOfTheMessageBefore, "take:stale*1"},
    {Exchange::get, 2, Kind::answerTwice, "get:twice*1"},
    {Exchange::get, 4, Kind::endlessData, "get:endless*1"},
};

std::size_t checked = 0;

/// Tells the number at the end, when all cells have run.
struct Count : testing::Environment {
    void TearDown() override {
        std::printf("figure: fault cells of searches and sample pictures checked over real sockets: %zu\n",
                    checked);
    }
};
const testing::Environment* const count = testing::AddGlobalTestEnvironment(new Count);

struct Observer : BroadcastWorkerObserver {
    void deviceFound(DeviceTemplate* found, int) override {
        const std::unique_ptr<DeviceTemplate> owner(found);
        cameras.push_back(dynamic_cast<const NativeCameraTemplate&>(*found).getCameraInfo());
    }
    std::vector<CameraInfo> cameras;
};

std::vector<CameraInfo> search() {
    Observer observer;
    KorvaCameraType().getLocator().broadcastObserverSearch(&observer, 0);
    return observer.cameras;
}

/// A camera with the cell's fault, on a network of its own.
class CellOnANetwork : public testing::TestWithParam<SocketCell> {
protected:
    static IdentityOutcome expectedOfTheMended() { return identify(goodCamera(GetParam(), cameraAddress)); }

    /// Calls `expectOutcome` for the faulty camera, and for the mended one that it is then.
    void expectBothCameras(const std::function<void(const IdentityOutcome&)>& expectOutcome) const {
        const IdentityOutcome expected = identify(faultyCamera(GetParam(), cameraAddress));
        expectOutcome(expected);
        EXPECT_EQ(configurations(), expected.configurations);
        expectOutcome(expectedOfTheMended());
        ++checked;
    }

    /// How often it has been configured so far.
    int configurations() const {
        const std::lock_guard lock(mutex_);
        return static_cast<int>(std::count_if(events_.begin(), events_.end(), [](const std::string& event) {
            return event.find("configure: exposure") != std::string::npos;
        }));
    }

    void expectSearch(const IdentityOutcome& expected) const {
        Lines lines = expected.lines;
        if (!expected.exception.empty()) {
            const Lines skipped = linesOfASkippedCamera(expected.exception);
            lines.insert(lines.end(), skipped.begin(), skipped.end());
        }
        const PluginLog log;
        const std::vector<CameraInfo> found = search();
        EXPECT_EQ(log.texts(), textsOf(lines));
        ASSERT_EQ(found.size(), expected.identity ? 1U : 0U);
        for (const CameraInfo& info : found) {
            EXPECT_EQ(info.getIpAddress(), cameraAddress);
            EXPECT_EQ(info.getMacAddress().size(), std::string("00-00-00-00-00-00").size());
            expectSame(info, *expected.identity);
        }
        EXPECT_EQ(ReferenceHost::liveImageCount(), 0U);
    }

    void expectIdentification(const IdentityOutcome& expected) const {
        const PluginLog log;
        try {
            const CameraInfo info = Korva::determineCameraInfoByAddress(networks_.addressOf(0), "");
            ASSERT_TRUE(expected.identity);
            expectSame(info, *expected.identity);
        } catch (const DeviceException& exception) {
            EXPECT_FALSE(expected.identity);
            EXPECT_EQ(exception.getMessage(), expected.exception);
        }
        EXPECT_EQ(log.texts(), textsOf(expected.lines));
        EXPECT_EQ(ReferenceHost::liveImageCount(), 0U);
    }

private:
    const CameraNetworks networks_{1, true};
    mutable std::mutex mutex_;
    std::vector<std::string> events_;
    const std::unique_ptr<Simulator::CameraServer> server_ =
        networks_.serve(0, settingsOf(GetParam()), [this](const std::string& event) {
            const std::lock_guard lock(mutex_);
            events_.push_back(event);
        });
};

} // namespace

class DiscoveryOverSockets : public CellOnANetwork {};

TEST_P(DiscoveryOverSockets, EndsAsTheTableSays) {
    expectSearch(isFound(GetParam().kind) ? expectedOfTheMended() : IdentityOutcome{});
    expectSearch(expectedOfTheMended());
    ++checked;
}

INSTANTIATE_TEST_SUITE_P(discover, DiscoveryOverSockets, testing::ValuesIn(discoveryCells), nameOfCell);

class SearchOverSockets : public CellOnANetwork {};

TEST_P(SearchOverSockets, EndsAsTheTableSays) {
    expectBothCameras([this](const IdentityOutcome& expected) { expectSearch(expected); });
}

INSTANTIATE_TEST_SUITE_P(discover, SearchOverSockets, testing::ValuesIn(searchCells), nameOfCell);

class SampleOverSockets : public CellOnANetwork {};

TEST_P(SampleOverSockets, EndsAsTheTableSays) {
    expectBothCameras([this](const IdentityOutcome& expected) { expectIdentification(expected); });
}

INSTANTIATE_TEST_SUITE_P(identify, SampleOverSockets, testing::ValuesIn(sampleCells), nameOfCell);
