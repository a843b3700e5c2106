#include "SoakedCamera.h"

#include "Communicator/ClientFactory.h"
#include "Communicator/EthernetCommunicator.h"
#include "Device/CaptureCmds.h"
#include "DeviceControl/DeviceBuilder.h"
#include "DeviceControl/DeviceType.h"
#include "NativeCameraControl/ImagingInterface.h"
#include "NativeCameraControl/NativeCamera.h"
#include "ReferenceHost/DeviceDescription.h"

#include <algorithm>
#include <cstdio>
#include <stdexcept>
#include <thread>
#include <unistd.h>

using namespace std::chrono_literals;
using namespace Tolvane::DeviceFramework2::Device;

namespace Soak {

namespace {

using Integration::Bytes;

constexpr std::chrono::steady_clock::duration noAnswer{};
constexpr auto busyWait = 500ms;
constexpr int textPort = 32768;
constexpr unsigned shortestExposure = 3; // units of 100 ms
constexpr int timePerUnit = 10000;       // a device counts 10 us, a camera 100 ms

std::wstring wide(const std::string& text) {
    return {text.begin(), text.end()};
}

std::string words(const std::vector<int>& codes) {
    std::string text;
    for (const int code : codes)
        text += (text.empty() ? "" : ", ") + std::to_string(code);
    return text.empty() ? "none" : text;
}

Bytes bytesAt(const void* pixels, std::size_t count) {
    if (pixels == nullptr)
        return {};
    const auto* const first = static_cast<const unsigned char*>(pixels);
    return {first, first + count};
}

std::size_t pixelsOf(const Point<int, 2>& resolution) {
    return static_cast<std::size_t>(resolution.x()) * static_cast<std::size_t>(resolution.y());
}

} // namespace

SoakedCamera::SoakedCamera(std::size_t index, const Integration::CameraNetworks& networks, Tally& tally,
                           std::uint64_t seed, std::optional<Simulator::PictureSize> size)
    : index_(index), networks_(networks), tally_(tally), random_(seed) {
    settings_.serialNumber = std::to_string(5000 + index);
    settings_.room = "Room " + std::to_string(index);
    settings_.size = size;
    if (size)
        settings_.hardware = "X900";
}

SoakedCamera::~SoakedCamera() = default;

void SoakedCamera::serve(const std::string& fault) {
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

bool SoakedCamera::answersLaterThan(std::chrono::steady_clock::time_point time) const {
    const auto deadline = std::chrono::steady_clock::now() + 10s;
    while (answered_.load() == noAnswer && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(10ms);
    return answered_.load() > time.time_since_epoch();
}

void SoakedCamera::leave() {
    server_.reset();
}

NativeCamera& SoakedCamera::camera() const {
    return dynamic_cast<NativeCamera&>(*device_);
}

void SoakedCamera::setExposure() {
    const unsigned before = exposureUnits_;
    while (exposureUnits_ == before)
        exposureUnits_ = shortestExposure + static_cast<unsigned>(random_.below(exposures_));
    camera().setExposureTime(static_cast<int>(exposureUnits_) * timePerUnit);
}

void SoakedCamera::listen(Shot& shot) {
    device_->execInternal(std::make_shared<SetNetworkHealthCallback>(
                              [&shot](NetworkHealth reported) { shot.health.push_back(reported.getCode()); }),
                          {});
}

void SoakedCamera::deafen() {
    device_->execInternal(std::make_shared<SetNetworkHealthCallback>(NetworkHealthCallback()), {});
}

SoakedCamera::Shot SoakedCamera::shoot() {
    Shot shot;
    listen(shot);
    const std::size_t way = random_.below(3);
    if (way == 0) {
        auto& imaging =
            dynamic_cast<ImagingInterface&>(*device_->getInterface(ImagingInterface::interfaceTypeName));
        shot.pixels = bytesAt(imaging.getImage(), pixelsOf(imaging.getResolution()));
    } else {
        image_t image;
        if (way == 1)
            device_->execInternal(std::make_shared<Capture::FillMonoImage>(image), {});
        else
            device_->execAsync(std::make_shared<Capture::FillNativeImage>(image), {}).get();
        shot.pixels =
            bytesAt(image.pixels.get(), image_t::byteCount(image.format, image.width, image.height));
    }
    deafen();
    return shot;
}

void SoakedCamera::capture(Expect expect, const std::string& circumstance) {
    setExposure();
    const ProcessorWait wait = startWait();
    judge(shoot(), expect, circumstance, wait);
}

void SoakedCamera::judge(const Shot& shot, Expect expect, const std::string& circumstance,
                         const ProcessorWait& wait) {
    const bool good = shot.health == std::vector{NetworkHealth::pictureCaptured};
    const bool failed = shot.health == std::vector{NetworkHealth::captureFailed};
    if (!good && !failed)
        return find("health reported: " + words(shot.health), circumstance);
    if (good && shot.pixels != Integration::expectedPixels(settings_, {}, static_cast<int>(exposureUnits_)))
        return find("wrong picture", circumstance);
    if (good && expect == Expect::nothing)
        return find("a picture where there could be none", circumstance);
    if (failed && std::ranges::any_of(shot.pixels, [](unsigned char pixel) { return pixel != 0; }))
        return find("pixels from a failed capture", circumstance);
    if (failed && expect == Expect::picture)
        return miss("good picture lost", circumstance, wait);
    ++(good ? tally_.good : tally_.expectedFailures);
}

void SoakedCamera::probe(bool answers, const std::string& circumstance) {
    Shot shot;
    listen(shot);
    const ProcessorWait wait = startWait();
    const bool alive = device_->isAlive();
    deafen();
    const auto reports = answers ? std::vector<int>() : std::vector{NetworkHealth::connectionCheckFailed};
    if (answers && shot.health == std::vector{NetworkHealth::connectionCheckFailed} && !alive)
        return miss("connection check failed", circumstance, wait);
    if (alive != answers || shot.health != reports)
        return find(std::string("connection check: ") + (alive ? "true" : "false") +
                        ", health reported: " + words(shot.health),
                    circumstance);
    ++tally_.probes;
}

void SoakedCamera::buildFromConnection(const DeviceType& type, bool succeeds,
                                       const std::string& circumstance) {
    const std::unique_ptr<Communicator> connection(
        ClientFactory::createEthernetCommunicator(wide(address()), textPort, -1));
    const ProcessorWait wait = startWait();
    std::unique_ptr<Device> built(type.getBuilder().build(connection.get()));
    if (succeeds && built == nullptr && device_ != nullptr)
        return miss("no device", circumstance, wait);
    if (!succeeds && built != nullptr)
        return find("a device where there could be none", circumstance);
    if (succeeds)
        adopt(built.release(), circumstance);
    else
        ++tally_.refusedBuilds;
}

void SoakedCamera::buildFromTemplate(const DeviceType& type) {
    adopt(type.getBuilder().build(*template_), "build from a template");
}

void SoakedCamera::buildFromDescription(const DeviceType& type) {
    const ReferenceHost::DeviceDescription description(description_);
    adopt(type.getBuilder().build(description.root()), "build from a description");
}

void SoakedCamera::adopt(Device* device, const std::string& circumstance) {
    if (device == nullptr) {
        find("no device", circumstance);
        if (device_ == nullptr)
            throw std::runtime_error("no device to go on with: " + circumstance);
        return;
    }
    device_.reset(device);
    const Simulator::PictureSize size = settings_.pictureSize();
    const Point<int, 2> resolution = camera().getResolution();
    if (device_->getUID() != wide(settings_.serialNumber) ||
        camera().getCameraInfo().getIpAddress() != wide(address()) ||
        resolution != Point<int, 2>(static_cast<int>(size.width), static_cast<int>(size.height)))
        find("another camera's device: " + std::string(device_->toXml()), circumstance);
    description_ = device_->toXml();
    ++tally_.builds;
}

void SoakedCamera::forgetDevice() {
    device_.reset();
    template_.reset();
}

void SoakedCamera::miss(const std::string& what, const std::string& circumstance, const ProcessorWait& wait) {
    const auto waited = wait.soFar(serverThread_);
    if (waited < busyWait)
        return find(what, circumstance);
    ++tally_.notJudged;
    std::printf("not judged: camera %zu, %s: %s, as its threads waited %.1f s for a processor\n", index_ + 1,
                circumstance.c_str(), what.c_str(), std::chrono::duration<double>(waited).count());
}

void SoakedCamera::find(const std::string& what, const std::string& circumstance) {
    tally_.find("camera " + std::to_string(index_ + 1) + ", " + circumstance + ", scene " +
                std::to_string(scenes_) + ": " + what);
}

} // namespace Soak
