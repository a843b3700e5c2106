// What one camera that hangs costs the others: 16 cameras, each on a host thread of its own, one of which
// says nothing, beside the other 15 alone. Many short runs, with and without in turn; of each the median of
// the 15 cameras' capture times. With --check the exit status is 1 if the median of the ratios of the runs
// that stand beside each other is above its bound.

#include "Communicator/PosixEthernetCommunicator.h"
#include "ImagingLibrary/Image.h"
#include "ImagingLibrary/ImagingFactory.h"
#include "ImagingLibrary/ImagingLibrary.h"
#include "NativeCameraKorva/KorvaHelper.h"
#include "Network/CameraServer.h"
#include "Platform/Memory.h"

#include <log4cxx/logger.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <optional>
#include <string_view>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::vector<double>;
using Simulator::CameraServer;

constexpr std::size_t others = 15;
constexpr std::size_t pairs = 40;
constexpr int capturesPerRun = 6;
constexpr double atMost = 1.15;
constexpr Simulator::PictureSize size{640, 480};

std::unique_ptr<CameraServer> serve(Simulator::Service service) {
    Simulator::CameraSettings settings;
    settings.size = size;
    settings.scene.kind = Simulator::SceneKind::ramp;
    settings.binary = service;
    Simulator::ServerOptions options;
    options.binaryTcpPort = 0;
    options.textTcpPort = 0;
    options.discoveryUdpPort = 0;
    auto server = std::make_unique<CameraServer>(settings, options);
    server->start();
    return server;
}

[[noreturn]] void breakOff(const char* why) {
    std::fprintf(stderr, "Broken off: %s\n", why);
    std::_Exit(2); // the other threads are at work
}

/// Whether a picture came.
bool capture(std::uint16_t port) {
    PosixEthernetCommunicator camera(L"127.0.0.1", port, -1);
    Image* const image = Korva::capture(&camera, false, false, false, 15, false);
    if (image == nullptr)
        return false;
    ImagingFactory::getInstance()->releaseImage(image);
    return true;
}

/// A capture that hangs from its construction to its destruction, on a thread of its own.
class HungCapture {
public:
    HungCapture() : camera_(serve(Simulator::Service::silent)) {
        thread_ = std::thread([this] {
            try {
                capture(camera_->binaryTcpPort());
            } catch (const std::exception&) {
                // The camera's end is the end of the connection.
            }
            over_ = true;
        });
    }
    HungCapture(const HungCapture&) = delete;
    HungCapture& operator=(const HungCapture&) = delete;
    ~HungCapture() {
        camera_->stop();
        thread_.join();
    }

    bool isOver() const { return over_; }

private:
    std::unique_ptr<CameraServer> camera_;
    std::atomic<bool> over_ = false;
    std::thread thread_;
};

double median(Milliseconds values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

void captureAll(std::uint16_t port, Milliseconds& times) {
    for (int left = capturesPerRun; left > 0; --left) {
        const auto start = Clock::now();
        if (!capture(port))
            breakOff("a camera gave no picture");
        times.push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
    }
}

/// The median capture time of all the cameras at work at once.
double run(const std::vector<std::unique_ptr<CameraServer>>& cameras, bool withHungOne) {
    std::optional<HungCapture> hung;
    if (withHungOne)
        hung.emplace();
    std::vector<Milliseconds> times(cameras.size());
    {
        std::vector<std::jthread> threads;
        for (std::size_t at = 0; at < cameras.size(); ++at)
            threads.emplace_back(captureAll, cameras[at]->binaryTcpPort(), std::ref(times[at]));
    }
    if (hung && hung->isOver())
        breakOff("the hung capture was over before the others");
    Milliseconds all;
    for (const Milliseconds& each : times)
        all.insert(all.end(), each.begin(), each.end());
    return median(all);
}

} // namespace

int main(int argc, char** argv) {
    const bool check = argc == 2 && std::string_view(argv[1]) == "--check";
    log4cxx::Logger::getRootLogger()->setLevel(log4cxx::Level::getOff());
    Platform::keepFreedMemory(std::size_t{128} << 20);
    std::vector<std::unique_ptr<CameraServer>> cameras;
    for (std::size_t at = 0; at < others; ++at)
        cameras.push_back(serve(Simulator::Service::answered));
    run(cameras, false); // renders what they see
    Milliseconds alone;
    Milliseconds beside;
    Milliseconds ratios;
    for (std::size_t pair = 0; pair < pairs; ++pair) {
        const bool hungFirst = pair % 2 == 0;
        const double first = run(cameras, hungFirst);
        const double second = run(cameras, !hungFirst);
        beside.push_back(hungFirst ? first : second);
        alone.push_back(hungFirst ? second : first);
        ratios.push_back(beside.back() / alone.back());
    }
    const double ratio = median(ratios);
    std::printf("%zu cameras, %zu pairs of runs: median capture %.2f ms alone, %.2f ms beside a hung one\n",
                others, pairs, median(alone), median(beside));
    std::printf("figure: median capture time of %zu cameras beside a hung one, to that without it: %.3f (at "
                "most %.2f)%s\n",
                others, ratio, atMost, ratio > atMost ? " OVER" : "");
    return check && ratio > atMost ? 1 : 0;
}
