#pragma once
// A host's thread with a camera that lies to it, and what it finds.

#include "Host.h"
#include "Outcome.h"
#include "Rounds.h"

#include "Communicator/TolvaneException.h"
#include "DeviceControl/DeviceBuilder.h"
#include "DeviceControl/DeviceType.h"
#include "ImagingLibrary/Image.h"
#include "ImagingLibrary/ImagingFactory.h"
#include "ImagingLibrary/ImagingLibrary.h"
#include "NativeCameraControl/NativeCamera.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

namespace Attack {

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
    Attacker(const Integration::CameraNetworks& networks, std::size_t index, Soak::Tally& tally)
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
    void awaitSearch() { play(random_->oneIn(2), samples_, true); }

    /// What a search must find of it.
    Faults::Outcome foundBySearch() const { return searchOf(script_, address_); }

    bool isOf(const DeviceTemplate& found) const {
        return Soak::infoOf(found).getIpAddress() == Soak::wide(address_);
    }

    /// A device of what a search found, and its picture.
    void useTemplate(const DeviceTemplate& found) {
        const CameraInfo info = Soak::infoOf(found);
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
        script_ = drawScript(*random_, lies, asking, address_);
        if (!isSearched)
            script_.datagrams.clear();
        camera_.play(script_);
        linesBefore_ = linesHeard;
    }

    Faults::Camera played() const { return cameraOf(script_, address_); }

    void build() {
        play(false, samples_);
        device_ = Soak::buildFromConnection(plugin_->type, address_);
        if (device_ == nullptr)
            throw std::runtime_error(where_ + ": an honest camera gives no device");
        judgeIdentity(Soak::infoOf(*device_), Faults::identify(played(), samples_));
        description_ = device_->toXml();
    }

    void buildFromLies() {
        play(true, samples_);
        const auto built = Soak::buildFromConnection(plugin_->type, address_);
        const Faults::Outcome expected = Faults::identify(played(), samples_);
        tally_.count(!expected.isSure ? "builds not judged" : built ? "devices built" : "builds refused");
        expectLine(built == nullptr, "a refused build");
        if (built)
            judgeIdentity(Soak::infoOf(*built), expected);
        else
            require(!expected.isSure || !expected.isGood, "no device");
    }

    void judgeIdentity(const CameraInfo& info, const Faults::Outcome& expected) {
        require(!expected.isSure ||
                    (expected.isGood && info.getCameraTypeEnum() == 6 &&
                     info.getIpAddress() == Soak::wide(address_) && Faults::told(info) == expected.identity),
                "another identity: " + info.toXml());
    }

    /// Whatever it says, there is a device or none. Then one of the description as it was.
    void buildFromDamagedDescription() {
        Bytes bytes(description_.begin(), description_.end());
        damage(*random_, bytes, bytes.size());
        try {
            const auto built = Soak::buildFromDescription(plugin_->type, {bytes.begin(), bytes.end()});
            tally_.count(built ? "devices of damaged descriptions" : "damaged descriptions without a device");
        } catch (const TolvaneException&) {
            tally_.count("damaged descriptions refused");
        }
        device_ = Soak::buildFromDescription(plugin_->type, description_);
        if (device_ == nullptr)
            throw std::runtime_error(where_ + ": no device of its own description");
    }

    void captureByDevice(bool lies) {
        const Asking asking = askingFor(size_);
        play(lies, asking);
        const Faults::Outcome expected = Faults::picture(played(), asking);
        const unsigned exposure = expose();
        // On this thread, whose lines are heard.
        Soak::Shot shot = Soak::takePicture(*device_, random_->below(2));
        const bool failed = shot.isReported(NetworkHealth::captureFailed);
        if (failed && shot.pixels) {
            require(std::ranges::count(*shot.pixels, 0) == std::ssize(*shot.pixels),
                    "pixels of a failed capture");
            shot.pixels.reset();
        }
        require(Size(shot.size) == size_, "an image of another form");
        require(failed || shot.isReported(NetworkHealth::pictureCaptured), "another health");
        require(!expected.isSure || failed || camera_.exposure() == exposure, "another exposure");
        judge("captures", expected, shot.pixels);
    }

    /// Sets any exposure; gives what the camera must be asked for, in units of 100 ms.
    unsigned expose() {
        const int time = static_cast<int>(random_->bits() >> (random_->oneIn(2) ? 32 : 44));
        dynamic_cast<NativeCamera&>(*device_).setExposureTime(time);
        const auto product = static_cast<std::int32_t>(static_cast<std::uint32_t>(time) * 10U);
        return std::clamp<unsigned>(static_cast<std::uint16_t>(product / 100000), 1, 3600);
    }

    void captureDirectly() {
        const bool isMonochrome = random_->oneIn(2);
        const Asking asking = askingFor(size_, random_->oneIn(2), isMonochrome ? 1U : 3U);
        play(!random_->oneIn(4), asking);
        std::optional<Bytes> actual;
        try {
            const auto host = Soak::connectionTo(address_, Simulator::binaryPort);
            Image* const image =
                plugin_->capture(host.get(), random_->oneIn(4), asking.isPng, isMonochrome, 1, false);
            if (image != nullptr) {
                const auto* const pixels = static_cast<const unsigned char*>(image->getRawImageData());
                actual.emplace(pixels, pixels + std::size_t{image->getWidth()} * image->getHeight());
                ImagingFactory::getInstance()->releaseImage(image);
            }
        } catch (const TolvaneException&) {
            ++linesHeard; // its own, which the host has in hand
        }
        judge("direct captures", Faults::capture(played(), asking), actual);
    }

    void probe() {
        play(!random_->oneIn(3), samples_);
        const bool isAlive = device_->isAlive();
        tally_.count(isAlive ? "connection checks that hold" : "connection checks that fail");
        require(isAlive == Faults::check(played()).isGood, "a wrong connection check");
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
    Asking samples_ = askingFor(size_, true, 1); ///< an identification's
    Soak::Tally& tally_;
    Script script_; ///< as played last
    std::uint64_t linesBefore_ = 0;
    const Plugin* plugin_ = nullptr;
    Random* random_ = nullptr;
    std::string where_;
    std::string description_;
    std::unique_ptr<Device> device_;
};

} // namespace Attack
