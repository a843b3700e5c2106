#pragma once
// One simulated camera, the host's device for it, and what the one must show of the other.

#include "CameraNetworks.h"
#include "Host.h"
#include "Random.h"
#include "Rounds.h"

#include "ExpectedPixels.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace Soak {

enum class Expect {
    picture, ///< the right picture, health 2
    nothing, ///< no picture, health 1032
    either,  ///< one of the two
};

inline constexpr std::chrono::steady_clock::duration noAnswer{};
inline constexpr auto busyWait = std::chrono::milliseconds(500);
inline constexpr unsigned shortestExposure = 3; // units of 100 ms
inline constexpr int timePerUnit = 10000;       // a device counts 10 us, a camera 100 ms

inline std::string words(const std::vector<int>& codes) {
    std::string text;
    for (const int code : codes)
        text += " " + std::to_string(code);
    return text.empty() ? " none" : text;
}

/// 0 where the thread is over or the system does not tell.
inline std::chrono::nanoseconds waitOf(int thread) {
    std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/schedstat");
    std::int64_t running = 0;
    std::int64_t waiting = 0;
    file >> running >> waiting;
    return std::chrono::nanoseconds(file ? waiting : 0);
}

/// One thread at a time.
class SoakedCamera {
public:
    /// `size`: of its pictures; where unset the camera is a known model, else one that a picture is asked of.
    SoakedCamera(std::size_t index, const Integration::CameraNetworks& networks, Tally& tally,
                 std::uint64_t seed, std::optional<Simulator::PictureSize> size)
        : index_(index), networks_(networks), tally_(tally), random_(seed) {
        settings_.serialNumber = std::to_string(5000 + index);
        settings_.room = "Room " + std::to_string(index);
        settings_.size = size;
        if (size)
            settings_.hardware = "X900";
    }

    Random& random() { return random_; }
    Tally& tally() { return tally_; }
    const std::string& address() const { return networks_.addressOf(index_); }

    /// Serves a scene that no camera of this run has shown before, with a fault where `fault` is not empty.
    void serve(const std::string& fault = {}) {
        leave();
        settings_.scene.kind = random_.oneIn(3) ? Simulator::SceneKind::grid : Simulator::SceneKind::noise;
        settings_.seed = (std::uint64_t{index_ + 1} << 40) + ++scenes_;
        settings_.faults.clear();
        if (!fault.empty())
            settings_.faults.push_back(Simulator::parseFault(fault));
        answered_ = noAnswer;
        server_ = networks_.serve(index_, settings_, [this](const std::string& event) {
            serverThread_ = gettid();
            if (event.find("(discovery)") != std::string::npos)
                answered_ = std::chrono::steady_clock::now().time_since_epoch();
        });
    }

    /// Whether a search's query is answered, but only after `time`: on a busy machine a simulated camera may
    /// not get to it within the second that a search waits. Waits for the answer, 10 s at most.
    bool answersLaterThan(std::chrono::steady_clock::time_point time) const {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (answered_.load() == noAnswer && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::milliseconds(10)); // its own thread notes it
        return answered_.load() > time.time_since_epoch();
    }

    /// Not there any more: connections break, new ones are refused.
    void leave() { server_.reset(); }
    /// leave(), from another thread while this one captures.
    void leaveMeanwhile() { server_->stop(); }
    /// Not where networks are not the run's own.
    bool hasCable() const { return networks_.areOwn(); }
    void pullCable() { networks_.pullCable(index_); }
    void mendCable() { networks_.mendCable(index_); }

    /// From now on capture() draws from so many exposures, at least 2. A simulated camera keeps its last 4
    /// pictures and is deaf while it makes a new one, which takes long where the machine is busy.
    void useExposures(unsigned count) { exposures_ = count; }
    static constexpr unsigned fewExposures = 3;
    static constexpr unsigned allExposures = 22;

    /// Takes a picture and judges it.
    void capture(Expect expect, const std::string& circumstance) {
        const unsigned formerUnits = exposureUnits_;
        while (exposureUnits_ == formerUnits)
            exposureUnits_ = shortestExposure + static_cast<unsigned>(random_.below(exposures_));
        const int units = static_cast<int>(exposureUnits_);
        dynamic_cast<NativeCamera&>(*device_).setExposureTime(units * timePerUnit);
        const auto before = waited();
        const Shot shot = takePicture(*device_, random_.below(4));
        const Bytes pixels = shot.pixels.value_or(Bytes());
        const bool good = shot.isReported(NetworkHealth::pictureCaptured);
        const bool failed = shot.isReported(NetworkHealth::captureFailed);
        if (!good && !failed)
            return find("health reported:" + words(shot.health), circumstance);
        const auto [width, height] = settings_.pictureSize();
        if (good && (shot.size != std::pair{width, height} ||
                     pixels != Integration::expectedPixels(settings_, {}, units)))
            return find("wrong picture", circumstance);
        if (good && expect == Expect::nothing)
            return find("a picture where there could be none", circumstance);
        if (failed && std::ranges::any_of(pixels, [](unsigned char pixel) { return pixel != 0; }))
            return find("pixels from a failed capture", circumstance);
        if (failed && expect == Expect::picture)
            return miss("good picture lost", circumstance, before);
        tally_.count("captures");
        tally_.count(good ? "good pictures" : "expected failures");
    }

    /// Serves without a fault, and takes the picture that must come.
    void demandPicture(const std::string& circumstance) {
        serve();
        capture(Expect::picture, circumstance);
    }

    /// Checks the connection, and judges what comes out.
    void probe(bool answers, const std::string& circumstance) {
        const auto before = waited();
        const Shot shot = checkConnection(*device_);
        const bool isRefused = !shot.isAlive && shot.isReported(NetworkHealth::connectionCheckFailed);
        if (answers && isRefused)
            return miss("connection check failed", circumstance, before);
        if (!(answers ? shot.isAlive && shot.health.empty() : isRefused))
            return find(std::string("connection check: ") + (shot.isAlive ? "true" : "false") +
                            ", health reported:" + words(shot.health),
                        circumstance);
        tally_.count("connection checks");
    }

    /// To build devices with, from now on.
    void use(const DeviceType& type) { type_ = &type; }
    void buildFromConnection(bool succeeds, const std::string& circumstance) {
        const auto before = waited();
        std::unique_ptr<Device> built = Soak::buildFromConnection(*type_, address());
        if (succeeds && built == nullptr && device_ != nullptr)
            return miss("no device", circumstance, before);
        if (!succeeds && built != nullptr)
            return find("a device where there could be none", circumstance);
        if (!succeeds)
            return tally_.count("builds refused as they must be");
        adopt(std::move(built), circumstance);
    }

    void buildFromDescription() {
        adopt(Soak::buildFromDescription(*type_, description_), "build from a description");
    }

    /// From connection, template or description, as is drawn.
    void buildAnew() {
        const std::size_t source = random_.below(3);
        if (source == 0)
            buildFromConnection(true, "build from a connection");
        else if (source == 1 && template_ != nullptr)
            adopt(std::unique_ptr<Device>(type_->getBuilder().build(*template_)), "build from a template");
        else
            buildFromDescription();
    }

    void keep(std::unique_ptr<DeviceTemplate> found) { template_ = std::move(found); }
    /// Before the plug-in goes: destroys what is the plug-in's, device and template. The description stays.
    void forgetDevice() {
        device_.reset();
        template_.reset();
    }

    void find(const std::string& what, const std::string& circumstance) {
        tally_.find("camera " + std::to_string(index_ + 1) + ", " + circumstance + ", scene " +
                        std::to_string(scenes_),
                    what);
    }

    /// The same of what came too late or not at all. Where the threads of host and camera have had to wait
    /// half a second or more for a processor since `before` was waited(), time-outs say nothing, and it only
    /// counts as not judged.
    void miss(const std::string& what, const std::string& circumstance, std::chrono::nanoseconds before) {
        const auto time = waited() - before;
        if (time < busyWait)
            return find(what, circumstance);
        tally_.count("not judged, as the machine was busy");
        std::printf("not judged: camera %zu, %s: %s, as its threads waited %.1f s for a processor\n",
                    index_ + 1, circumstance.c_str(), what.c_str(),
                    std::chrono::duration<double>(time).count());
    }

    /// How long the calling thread and the camera's have stood ready and got no processor.
    std::chrono::nanoseconds waited() const { return waitOf(gettid()) + waitOf(serverThread_); }

private:
    void adopt(std::unique_ptr<Device> device, const std::string& circumstance) {
        if (device == nullptr && device_ == nullptr)
            throw std::runtime_error("no device to go on with: " + circumstance);
        if (device == nullptr)
            return find("no device", circumstance);
        device_ = std::move(device);
        const CameraInfo info = infoOf(*device_);
        const auto [width, height] = settings_.pictureSize();
        const Point<int, 2> size(static_cast<int>(width), static_cast<int>(height));
        description_ = device_->toXml();
        if (device_->getUID() != wide(settings_.serialNumber) || info.getIpAddress() != wide(address()) ||
            dynamic_cast<const NativeCamera&>(*device_).getResolution() != size)
            find("another camera's device: " + description_, circumstance);
        tally_.count("devices built");
    }

    std::size_t index_;
    const Integration::CameraNetworks& networks_;
    Tally& tally_;
    Random random_;
    Simulator::CameraSettings settings_;
    std::uint64_t scenes_ = 0;
    unsigned exposures_ = allExposures;
    unsigned exposureUnits_ = 0;
    std::atomic<std::chrono::steady_clock::duration> answered_{};
    std::atomic<int> serverThread_{};
    std::unique_ptr<Simulator::CameraServer> server_;
    const DeviceType* type_ = nullptr;
    std::unique_ptr<Device> device_;
    std::unique_ptr<DeviceTemplate> template_;
    std::string description_;
};

} // namespace Soak
