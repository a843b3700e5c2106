// Two cameras at work at the same time, each on host threads of its own.

#include "Device/CaptureCmds.h"
#include "DeviceFixture.h"

#include <gtest/gtest.h>

#include <future>
#include <memory>

using namespace Tolvane::DeviceFramework2::Device;
using namespace DeviceFixture;

TEST(KorvaCameraThreads, CaptureWithTwoDevicesAtOnce) {
    HeldCamera one(40, 30);
    HeldCamera other(40, 30);
    Codes oneCodes;
    Codes otherCodes;
    one.device->setNetworkHealthCallback(into(oneCodes));
    other.device->setNetworkHealthCallback(into(otherCodes));
    constexpr int rounds = 20;
    for (int i = 0; i < rounds; ++i) {
        const unsigned int seed = static_cast<unsigned int>(i);
        answerCapture(*one.transport, greyFile(40, 30, seed));
        answerCapture(*other.transport, greyFile(40, 30, seed + 100));
        image_t oneImage;
        image_t otherImage;
        std::future<void> oneDone =
            one.device->execAsync(std::make_shared<Capture::FillMonoImage>(oneImage), {});
        std::future<void> otherDone =
            other.device->execAsync(std::make_shared<Capture::FillNativeImage>(otherImage), {});
        oneDone.get();
        otherDone.get();
        EXPECT_EQ(pixelsOf(oneImage), greyPixels(1200, seed));
        EXPECT_EQ(pixelsOf(otherImage), greyPixels(1200, seed + 100));
    }
    EXPECT_EQ(oneCodes, Codes(rounds, 2));
    EXPECT_EQ(otherCodes, Codes(rounds, 2));
}

TEST(KorvaCameraThreads, BuildUseAndDestroyDevicesOnTwoThreads) {
    const auto work = [] {
        for (int i = 0; i < 20; ++i) {
            HeldCamera camera;
            camera.transport->afterNextWrite().deliver(doneMessage());
            EXPECT_TRUE(camera.device->isAlive());
            camera.device->setExposureTime(100000 * i);
            EXPECT_FALSE(camera.device->isAlive());
        }
    };
    std::future<void> other = std::async(std::launch::async, work);
    work();
    other.get();
}
