// Two cameras at work at the same time, each on a host thread of its own. The world has one thread, so each
// has a scripted communicator.

#include "Device/CaptureCmds.h"
#include "DeviceFixture.h"

#include <gtest/gtest.h>

#include <future>
#include <memory>

using namespace Tolvane::DeviceFramework2::Device;
using namespace DeviceFixture;

TEST(KorvaCameraThreads, BuildUseAndDestroyTwoDevicesAtOnce) {
    const auto work = [](unsigned int firstSeed) {
        for (unsigned int seed = firstSeed; seed < firstSeed + 20; ++seed) {
            auto* const transport = new ScriptedCommunicator;
            KorvaCamera device(transport, describedAs(40, 30));
            Codes codes;
            device.setNetworkHealthCallback(into(codes));
            device.setExposureTime(static_cast<int>(100000 * seed));
            answerCapture(*transport, greyFile(40, 30, seed));
            image_t image;
            device.execAsync(std::make_shared<Capture::FillMonoImage>(image), {}).get();
            EXPECT_EQ(pixelsOf(image), greyPixels(1200, seed));
            EXPECT_FALSE(device.isAlive());
            EXPECT_EQ(codes, (Codes{2, 2056}));
        }
    };
    std::future<void> other = std::async(std::launch::async, work, 100);
    work(0);
    other.get();
}
