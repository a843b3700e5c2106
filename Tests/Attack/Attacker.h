#pragma once
// A host's thread with a camera that lies to it, and what it finds.

#include "Outcome.h"

#include "Communicator/ClientFactory.h"
#include "Communicator/EthernetCommunicator.h"
#include "Communicator/TolvaneException.h"
#include "Device/CaptureCmds.h"
#include "DeviceControl/DeviceBuilder.h"
#include "DeviceControl/DeviceType.h"
#include "ImagingLibrary/Image.h"
#include "ImagingLibrary/ImagingFactory.h"
#include "ImagingLibrary/ImagingLibrary.h"
#include "NativeCameraControl/ImagingInterface.h"
#include "NativeCameraControl/NativeCamera.h"
#include "NativeCameraControl/NativeCameraTemplate.h"
#include "Platform/Text.h"
#include "ReferenceHost/DeviceDescription.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Attack {

/// Any thread.
class Tally {
public:
    void count(const std::string& what) {
        const std::lock_guard lock(mutex_);
        ++counts[what];
    }
    /// Something that must not be; printed at once.
    void find(const std::string& where, const std::string& what) {
        count("findings");
        std::printf("FOUND: %s: %s\n", where.c_str(), what.c_str());
        std::fflush(stdout);
    }
    std::map<std::string, std::uint64_t> counts; ///< to be read when the threads have ended

private:
    std::mutex mutex_;
};

/// What a loaded plug-in gives to a host.
struct Plugin {
    const DeviceType& type;
    Image* (*capture)(Communicator*, bool, bool, bool, int, bool); ///< Korva::capture
    bool isHeard;                                                  ///< whether its log lines are
};

/// The warn and error lines of each thread.
inline thread_local std::uint64_t linesHeard = 0;

/// One thread at a time, from begin() to end() with a loaded plug-in.
class Attacker {
public:
    Attacker(const Integration::CameraNetworks& networks, std::size_t index, Tally& tally)
        : camera_(networks, index), address_(networks.addressOf(index)),
          size_(17 + 16 * static_cast<int>(index), 40 - 7 * static_cast<int>(index)), tally_(tally) {}

    /// `where` tells of the seed. Both others live until end().
    void begin(const Plugin& plugin, Random& random, const std::string& where) {
        plugin_ = &plugin;
        random_ = &random;
        where_ = where;
    }

    /// So many operations on a lying camera, each followed by a picture of an honest one.
    void work(int operations) {
        const std::string where = where_;
        build();
        for (int operation = 0; operation < operations; ++operation) {
            where_ = where + ", operation " + std::to_string(operation);
            operate(random_->below(12));
            where_ += ", behind it";
            captureByDevice(false);
        }
    }

    /// Has the camera answer a search, one of two times with lies.
    void awaitSearch() { play(random_->oneIn(2), samples, true); }

    /// What a search must find of it.
    Faults::Outcome foundBySearch() const { return searchOf(script_, address_); }

    bool isOf(const DeviceTemplate& found) const { return infoOf(found).getIpAddress() == wide(address_); }

    /// A device of what a search found, and its picture.
    void useTemplate(const DeviceTemplate& found) {
        const CameraInfo info = infoOf(found);
        judgeIdentity(info, foundBySearch());
        device_.reset(plugin_->type.getBuilder().build(found));
        require(device_ != nullptr, "no device of a template");
        if (device_ && Size(info.getResolutionX(), info.getResolutionY()) == size_)
            captureByDevice(false);
    }

    void end() { device_.reset(); }

    /// What is open then is the plug-in's.
    void awaitEnds() const { camera_.awaitEnds(); }

private:
    static constexpr Asking samples{true, 1}; ///< an identification's
    static constexpr int textPort = 32768;
    static constexpr int binaryPort = 32769;

    static std::wstring wide(const std::string& text) { return Platform::wideFromUtf8(text); }
    static CameraInfo infoOf(const DeviceTemplate& found) {
        return dynamic_cast<const NativeCameraTemplate&>(found).getCameraInfo();
    }
    static Bytes bytesAt(const void* pixels, std::size_t count) {
        const auto* const first = static_cast<const unsigned char*>(pixels);
        return {first, first + count};
    }

    void operate(std::size_t operation) {
        tally_.count("hostile operations");
        if (operation == 0)
            build();
        else if (operation == 1)
            buildFromDamagedDescription();
        else if (operation < 4)
            buildFromLies();
        else if (operation < 6)
            probe();
        else if (operation < 9)
            captureDirectly();
        else
            captureByDevice(true);
    }

    void play(bool lies, const Asking& asking, bool isSearched = false) {
        script_ = drawScript(*random_, lies, asking, size_, address_);
        if (!isSearched)
            script_.datagrams.clear();
        camera_.play(script_);
        linesBefore_ = linesHeard;
    }

    std::unique_ptr<Communicator> connection(int port) const {
        return std::unique_ptr<Communicator>(
            ClientFactory::createEthernetCommunicator(wide(address_), port, -1));
    }

    std::unique_ptr<Device> builtFromConnection() const {
        return std::unique_ptr<Device>(plugin_->type.getBuilder().build(connection(textPort).get()));
    }

    void build() {
        play(false, samples);
        device_ = builtFromConnection();
        if (device_ == nullptr)
            throw std::runtime_error(where_ + ": an honest camera gives no device");
        judgeIdentity(dynamic_cast<NativeCamera&>(*device_).getCameraInfo(), identified());
        description_ = device_->toXml();
    }

    void buildFromLies() {
        play(true, samples);
        const std::unique_ptr<Device> built = builtFromConnection();
        const Faults::Outcome expected = identified();
        tally_.count(!expected.isSure ? "builds not judged" : built ? "devices built" : "builds refused");
        expectLine(built == nullptr, "a refused build");
        if (built)
            judgeIdentity(dynamic_cast<NativeCamera&>(*built).getCameraInfo(), expected);
        else
            require(!expected.isSure || !expected.isGood, "no device");
    }

    /// With the bound that the host has.
    static Asking bounded(Asking asking) {
        asking.mostPictureBytes = mostPictureBytes;
        return asking;
    }

    Faults::Outcome identified() const { return Faults::identify(cameraOf(script_, address_), bounded({})); }

    void judgeIdentity(const CameraInfo& info, const Faults::Outcome& expected) {
        require(!expected.isSure ||
                    (expected.isGood && info.getCameraTypeEnum() == 6 &&
                     info.getIpAddress() == wide(address_) && Faults::told(info) == expected.identity),
                "another identity: " + info.toXml());
    }

    /// Whatever it says, there is a device or none. Then one of the description as it was.
    void buildFromDamagedDescription() {
        Bytes bytes(description_.begin(), description_.end());
        damage(*random_, bytes, bytes.size());
        try {
            const ReferenceHost::DeviceDescription description(std::string(bytes.begin(), bytes.end()));
            const std::unique_ptr<Device> built(plugin_->type.getBuilder().build(description.root()));
            tally_.count(built ? "devices of damaged descriptions" : "damaged descriptions without a device");
        } catch (const TolvaneException&) {
            tally_.count("damaged descriptions refused");
        }
        const ReferenceHost::DeviceDescription description(description_);
        device_.reset(plugin_->type.getBuilder().build(description.root()));
        if (device_ == nullptr)
            throw std::runtime_error(where_ + ": no device of its own description");
    }

    void captureByDevice(bool lies) {
        Asking asking;
        asking.resolution = size_;
        play(lies, asking);
        const Faults::Outcome expected = Faults::picture(cameraOf(script_, address_), bounded(asking));
        const std::size_t wanted = static_cast<std::size_t>(size_.first * size_.second);
        const unsigned exposure = expose();
        std::vector<int> health;
        listen([&health](NetworkHealth reported) { health.push_back(reported.getCode()); });
        std::optional<Bytes> actual = random_->oneIn(2) ? imagePixels(wanted) : commandPixels(wanted);
        listen({});
        const bool failed = health == std::vector{NetworkHealth::captureFailed};
        if (failed && actual) {
            require(*actual == Bytes(wanted), "pixels of a failed capture");
            actual.reset();
        }
        require(failed || health == std::vector{NetworkHealth::pictureCaptured}, "another health");
        require(!expected.isSure || failed || camera_.exposure() == exposure, "another exposure");
        judge("captures", expected, actual);
    }

    /// Sets any exposure; gives what the camera must be asked for, in units of 100 ms.
    unsigned expose() {
        const int time = static_cast<int>(random_->bits() >> (random_->oneIn(2) ? 32 : 44));
        dynamic_cast<NativeCamera&>(*device_).setExposureTime(time);
        const auto product = static_cast<std::int32_t>(static_cast<std::uint32_t>(time) * 10U);
        return std::clamp<unsigned>(static_cast<std::uint16_t>(product / 100000), 1, 3600);
    }

    void listen(NetworkHealthCallback callback) {
        using Tolvane::DeviceFramework2::Device::SetNetworkHealthCallback;
        device_->execInternal(std::make_shared<SetNetworkHealthCallback>(std::move(callback)), {});
    }

    std::optional<Bytes> imagePixels(std::size_t count) {
        auto& found = *device_->getInterface(ImagingInterface::interfaceTypeName);
        const void* const pixels = dynamic_cast<ImagingInterface&>(found).getImage();
        return pixels == nullptr ? std::nullopt : std::optional(bytesAt(pixels, count));
    }

    std::optional<Bytes> commandPixels(std::size_t count) {
        image_t image;
        using Tolvane::DeviceFramework2::Device::Capture::FillNativeImage;
        device_->execInternal(std::make_shared<FillNativeImage>(image), {});
        const Size size(image.width, static_cast<int>(image.height));
        require(image.format == image_t::layoutGrey && size == size_, "an image of another form");
        return bytesAt(image.pixels.get(), count);
    }

    void captureDirectly() {
        const bool isMonochrome = random_->oneIn(2);
        const Asking asking{random_->oneIn(2), isMonochrome ? 1U : 3U};
        play(!random_->oneIn(4), asking);
        std::optional<Bytes> actual;
        try {
            const auto host = connection(binaryPort);
            Image* const image =
                plugin_->capture(host.get(), random_->oneIn(4), asking.isPng, isMonochrome, 1, false);
            if (image != nullptr) {
                actual =
                    bytesAt(image->getRawImageData(), std::size_t{image->getWidth()} * image->getHeight());
                ImagingFactory::getInstance()->releaseImage(image);
            }
        } catch (const TolvaneException&) {
            ++linesHeard; // its own, which the host has in hand
        }
        judge("direct captures", Faults::capture(cameraOf(script_, address_), bounded(asking)), actual);
    }

    void probe() {
        play(!random_->oneIn(3), {});
        const bool isAlive = device_->isAlive();
        tally_.count(isAlive ? "connection checks that hold" : "connection checks that fail");
        require(isAlive == Faults::check(cameraOf(script_, address_)).isGood, "a wrong connection check");
        expectLine(!isAlive, "a failed connection check");
    }

    void judge(const std::string& what, const Faults::Outcome& expected, const std::optional<Bytes>& actual) {
        expectLine(!actual, what);
        tally_.count(what + (!expected.isSure ? " not judged"
                             : actual         ? " with the right picture"
                                              : " without a picture"));
        require(!expected.isSure || (expected.isGood ? actual == expected.pixels : !actual),
                what + (actual ? ": a wrong picture" : ": no picture"));
    }

    void expectLine(bool failed, const std::string& what) {
        require(!failed || !plugin_->isHeard || linesHeard > linesBefore_, "no line of " + what);
    }

    void require(bool holds, const std::string& what) {
        if (!holds)
            tally_.find(where_, what);
    }

    HostileCamera camera_;
    std::string address_;
    Size size_;
    Tally& tally_;
    Script script_; ///< as played last
    std::uint64_t linesBefore_ = 0;
    const Plugin* plugin_ = nullptr;
    Random* random_ = nullptr;
    std::string where_;
    std::string description_;
    std::unique_ptr<Device> device_;
};

} // namespace Attack
