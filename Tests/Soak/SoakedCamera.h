#pragma once
// One simulated camera, the host's device for it, and what the one must show of the other.

#include "CameraNetworks.h"
#include "Faults.h"
#include "ProcessorWait.h"
#include "Random.h"
#include "Tally.h"

#include "ExpectedPixels.h"

#include "DeviceControl/Device.h"
#include "DeviceControl/DeviceTemplate.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

class DeviceType;
class NativeCamera;

namespace Soak {

/// One thread at a time. The device and the template come out of the plug-in: forgetDevice() before it goes.
class SoakedCamera {
public:
    /// `size`: of its pictures; where unset the camera is a known model, else one that a picture is asked of.
    SoakedCamera(std::size_t index, const Integration::CameraNetworks& networks, Tally& tally,
                 std::uint64_t seed, std::optional<Simulator::PictureSize> size);
    ~SoakedCamera();

    Random& random() { return random_; }
    const std::string& address() const { return networks_.addressOf(index_); }

    /// Serves a scene that no camera of this run has shown before, with a fault where `fault` is not empty.
    void serve(const std::string& fault = {});
    /// Whether a search's query is answered, but only after `time`: on a busy machine a simulated camera may
    /// not get to it within the second that a search waits. Waits for the answer, 10 s at most.
    bool answersLaterThan(std::chrono::steady_clock::time_point time) const;
    /// Not there any more: connections break, new ones are refused.
    void leave();
    /// leave(), from another thread while this one captures.
    void leaveMeanwhile() { server_->stop(); }

    /// From now on capture() draws from so many exposures, at least 2. A simulated camera keeps its last 4
    /// pictures and is deaf while it makes a new one, which takes long where the machine is busy.
    void useExposures(unsigned count) { exposures_ = count; }
    static constexpr unsigned fewExposures = 3;
    static constexpr unsigned allExposures = 22;

    /// Takes a picture, by one of the host's three ways, and judges it.
    void capture(Expect expect, const std::string& circumstance);
    /// Checks the connection, and judges what comes out.
    void probe(bool answers, const std::string& circumstance);

    void buildFromConnection(const DeviceType& type, bool succeeds, const std::string& circumstance);
    void buildFromTemplate(const DeviceType& type);
    void buildFromDescription(const DeviceType& type);
    bool hasTemplate() const { return template_ != nullptr; }
    void keep(std::unique_ptr<DeviceTemplate> found) { template_ = std::move(found); }
    /// Destroys device and template; the description stays.
    void forgetDevice();

    void find(const std::string& what, const std::string& circumstance);
    /// The same of what came too late or not at all. Where the threads of host and camera have had to wait
    /// half a second or more for a processor since `wait` began, time-outs say nothing, and it only counts as
    /// not judged.
    void miss(const std::string& what, const std::string& circumstance, const ProcessorWait& wait);
    ProcessorWait startWait() const { return ProcessorWait(serverThread_); }

private:
    /// What a capture gave.
    struct Shot {
        std::vector<int> health;
        Integration::Bytes pixels; ///< empty for null
    };

    void adopt(Device* device, const std::string& circumstance);
    void setExposure();
    void listen(Shot& shot);
    void deafen();
    Shot shoot();
    void judge(const Shot& shot, Expect expect, const std::string& circumstance, const ProcessorWait& wait);
    NativeCamera& camera() const;

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
    std::unique_ptr<Device> device_;
    std::unique_ptr<DeviceTemplate> template_;
    std::string description_;
};

} // namespace Soak
