// How long a camera that drips its picture holds a capture, with and without the host's limits.

#include "ServedCamera.h"

#include "Communicator/DeviceException.h"

#include <gmock/gmock.h>

#include <chrono>
#include <cstdio>
#include <string>
#include <tuple>

using namespace Integration;
using namespace std::chrono_literals;
using Seconds = std::chrono::duration<double>;

namespace {

constexpr Simulator::PictureSize size{10, 5};
constexpr double fileBytes = 512 + 10 * 5 * 3 * 2;
constexpr Seconds betweenBytes = 1ms;

struct HeldCapture {
    Seconds time;
    std::string failure; ///< empty for a picture
};

HeldCapture captureOfDrips(const TransportLimits& limits) {
    Simulator::CameraSettings settings;
    settings.size = size;
    settings.faults = {Simulator::parseFault("get:drip=1/1")};
    ConnectedCamera connected(settings);
    connected.communicator.setLimits(limits);
    HeldCapture capture;
    const auto begin = std::chrono::steady_clock::now();
    try {
        EXPECT_NE(connected.capture({}, 1), nullptr);
    } catch (const DeviceException& exception) {
        capture.failure = exception.what();
    }
    capture.time = std::chrono::steady_clock::now() - begin;
    return capture;
}

void tell(const char* which, Seconds time) {
    std::printf("figure: capture of a picture of %.0f bytes, one every %.0f ms, %s: %.2f s\n", fileBytes,
                betweenBytes.count() * 1000.0, which, time.count());
}

} // namespace

TEST(HeldCapture, LastsWithoutLimitsAsLongAsTheCameraLikes) {
    const HeldCapture capture = captureOfDrips({});
    tell("without limits", capture.time);
    EXPECT_EQ(capture.failure, "");
    EXPECT_GE(capture.time, betweenBytes * fileBytes) << "so that each byte may take what a read waits, 10 s";
}

TEST(HeldCapture, EndsWithTheTimeOfAHoldOrTheLeastSpeed) {
    const TransportLimits ofHold{.hold = 300ms};
    const TransportLimits ofSpeed{.hold = 0ms, .bytesPerSecond = 65'536, .window = 300ms};
    for (const auto& [limits, name, reason] :
         {std::tuple{ofHold, "a hold of at most 0.3 s", "Took too long: "},
          {ofSpeed, "65536 bytes/s at least over 0.3 s", "Too slow: "}}) {
        const HeldCapture capture = captureOfDrips(limits);
        tell(name, capture.time);
        EXPECT_THAT(capture.failure, testing::HasSubstr(std::string(": receive failed: ") + reason));
        EXPECT_LT(capture.time, betweenBytes * fileBytes);
    }
}
