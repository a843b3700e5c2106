#pragma once
// A host with a thread for each of its cameras, and the plug-in loaded as a host does it.

#include "SoakedCamera.h"

#include "ReferenceHost/PluginLibrary.h"

#include <gtest/gtest.h>
#include <log4cxx/logger.h>

#include <barrier>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <thread>
#include <vector>

namespace Soak {

inline constexpr Simulator::PictureSize hostThreadsSizes[] = {{96, 72}, {96, 72}, {96, 72}, {133, 57}};
inline constexpr std::size_t hostThreadsCameras = std::size(hostThreadsSizes);

/// Nothing is logged: the log's lock would bring the threads into an order, in which the thread sanitizer
/// sees no race any more.
class HostThreadsFixture : public testing::Test {
protected:
    /// `ownNetworks`: see CameraNetworks.
    explicit HostThreadsFixture(bool ownNetworks) : networks_(hostThreadsCameras, ownNetworks) {
        log4cxx::Logger::getRootLogger()->setLevel(log4cxx::Level::getOff());
        plugin_.initialize();
        for (std::size_t index = 0; index < hostThreadsCameras; ++index)
            cameras_.emplace_back(index, networks_, tally_, index, hostThreadsSizes[index]);
    }

    const DeviceType& type() const { return *plugin_.getDeviceTypes().at(0); }

    /// Calls `work` with each camera and its number, on a thread of its own, so many times; each time all
    /// begin at once.
    template <typename Work>
    void together(std::uint64_t rounds, const Work& work) {
        std::barrier start(std::ssize(cameras_));
        std::vector<std::jthread> threads;
        for (std::size_t index = 0; index < cameras_.size(); ++index) {
            threads.emplace_back([this, rounds, index, &work, &start] {
                for (std::uint64_t round = 0; round < rounds; ++round) {
                    start.arrive_and_wait();
                    work(cameras_[index], index);
                }
            });
        }
    }

    Tally tally_; ///< prints what is wrong
    const Integration::CameraNetworks networks_;
    ReferenceHost::PluginLibrary plugin_{KORVA_PLUGIN};
    std::deque<SoakedCamera> cameras_;
};

} // namespace Soak
