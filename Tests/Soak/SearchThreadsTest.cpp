// Searches beside captures, on networks of the test's own.

#include "HostThreads.h"

#include "DeviceControl/BroadcastWorkerObserver.h"
#include "DeviceControl/DeviceFramework1Locator.h"
#include "DeviceControl/DeviceType.h"
#include "NativeCameraControl/NativeCameraTemplate.h"

#include <gmock/gmock.h>

#include <atomic>
#include <string>

using namespace Soak;

namespace {

struct Collector : BroadcastWorkerObserver {
    void deviceFound(DeviceTemplate* found, int) override {
        const std::unique_ptr<DeviceTemplate> owner(found);
        const auto info = dynamic_cast<const NativeCameraTemplate&>(*found).getCameraInfo();
        addresses.emplace_back(info.getIpAddress().begin(), info.getIpAddress().end());
    }
    std::vector<std::string> addresses;
};

class SearchThreads : public HostThreadsFixture {
protected:
    SearchThreads() : HostThreadsFixture(true) {}

    std::vector<std::string> search() const {
        Collector collector;
        type().getLocator().broadcastObserverSearch(&collector, 0);
        return collector.addresses;
    }
};

} // namespace

TEST_F(SearchThreads, FindEveryCameraOnceBesideItsCaptures) {
    for (SoakedCamera& camera : cameras_) {
        camera.serve();
        camera.buildFromConnection(type(), true, "build");
    }
    std::atomic<int> searching = 2;
    std::vector<std::string> found[2];
    {
        std::vector<std::jthread> searches;
        for (auto& addresses : found) {
            searches.emplace_back([this, &addresses, &searching] {
                addresses = search();
                --searching;
            });
        }
        together(1, [&searching](SoakedCamera& camera, std::size_t) {
            do {
                camera.capture(Expect::picture, "beside a search");
                camera.probe(true, "beside a search");
            } while (searching > 0);
        });
    }
    for (const auto& addresses : found)
        EXPECT_THAT(addresses,
                    testing::UnorderedElementsAre("10.77.1.11", "10.77.2.11", "10.77.3.11", "10.77.4.11"));
    EXPECT_EQ(tally_.findings, 0u);
    EXPECT_GE(tally_.good, hostThreadsCameras);
}
