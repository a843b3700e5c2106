// How long a camera that drips its picture holds a capture, with and without the host's limits.

#include "ServedCamera.h"

#include "Communicator/DeviceException.h"
#include "Support/Thrown.h"

#include <gmock/gmock.h>

#include <chrono>
#include <cstdio>
#include <string>
#include <tuple>

using namespace Integration;
using namespace std::chrono_literals;
using Seconds = std::chrono::duration<double>;

TEST(HeldCapture, LastsAsLongAsTheCameraLikesUnlessTheHostLimitsIt) {
    constexpr double fileBytes = 512 + 10 * 5 * 3 * 2;
    constexpr Seconds betweenBytes = 1ms; // and each might take what a read waits, 10 s
    Simulator::CameraSettings settings;
    settings.size = {10, 5};
    settings.faults = {Simulator::parseFault("get:drip=1/1")};
    for (const auto& [name, limits, failure] :
         {std::tuple<const char*, TransportLimits, std::string>{"without limits", {}, ""},
          {"a hold of at most 0.3 s", {.hold = 300ms}, ": receive failed: Took too long: "},
          {"65536 bytes/s at least over 0.3 s",
           {.hold = 0ms, .bytesPerSecond = 65'536, .window = 300ms},
           ": receive failed: Too slow: "}}) {
        ConnectedCamera connected(settings);
        connected.communicator.setLimits(limits);
        const bool isTaken = failure.empty();
        const auto begin = std::chrono::steady_clock::now();
        const std::string exception =
            TestSupport::thrownBy<DeviceException>([&] { EXPECT_NE(connected.capture({}, 1), nullptr); });
        const Seconds time = std::chrono::steady_clock::now() - begin;
        std::printf("figure: capture of a picture of %.0f bytes, one every %.0f ms, %s: %.2f s\n", fileBytes,
                    betweenBytes.count() * 1000.0, name, time.count());
        EXPECT_THAT(exception, testing::HasSubstr(failure));
        EXPECT_EQ(exception.empty(), isTaken);
        EXPECT_EQ(time >= betweenBytes * fileBytes, isTaken);
    }
}
