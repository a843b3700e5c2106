#pragma once
// What the plug-in does, in the oracle's words.

#include "Cells.h"

#include "Support/LogCapture.h"

#include "Communicator/DeviceException.h"
#include "DeviceControl/BroadcastWorkerObserver.h"
#include "DeviceControl/DeviceTemplate.h"
#include "NativeCameraControl/ImagingInterface.h"
#include "NativeCameraControl/NativeCameraTemplate.h"
#include "NativeCameraKorva/KorvaCamera.h"
#include "Platform/Text.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Faults {

/// What one operation leads to: its value or its exception, and its lines at `level` and above.
template <class Perform>
Outcome outcomeBy(Perform perform, const log4cxx::LevelPtr& level = log4cxx::Level::getWarn()) {
    const auto behind = [](std::string_view prefix, std::string_view text) {
        return std::string(text.starts_with(prefix) ? text.substr(prefix.size()) : text);
    };
    Outcome outcome;
    const TestSupport::LogCapture log("Plenar.KorvaCamera", level);
    try {
        perform(outcome);
    } catch (const DeviceException& exception) {
        outcome.exception = Platform::utf8FromWide(exception.getMessage());
    }
    for (const TestSupport::LogLine& line : log.lines())
        outcome.lines.push_back({line.level, behind("Plenar.KorvaCamera.", line.logger),
                                 behind("BackEnd/NativeCameraKorva/", line.file), line.message, line.line});
    return outcome;
}

/// Writes down the camera that a search finds, at most one.
struct Finder final : BroadcastWorkerObserver {
    explicit Finder(Outcome& outcome) : outcome_(outcome) {}
    void deviceFound(DeviceTemplate* deviceTemplate, int /*reserved*/) override {
        const std::unique_ptr<DeviceTemplate> owned(deviceTemplate);
        outcome_.isGood = outcome_.identity.empty();
        outcome_.identity = told(dynamic_cast<const NativeCameraTemplate&>(*owned).getCameraInfo());
    }

private:
    Outcome& outcome_;
};

/// A device whose camera is described as Asking says.
class HeldDevice {
public:
    explicit HeldDevice(Communicator* communicator) : device_(communicator, described()) {
        device_.setNetworkHealthCallback(
            [this](NetworkHealth health) { reports_.push_back(health.getCode()); });
    }

    void takePicture(Outcome& outcome) {
        auto* const imaging =
            dynamic_cast<ImagingInterface*>(device_.getInterface(ImagingInterface::interfaceTypeName));
        const auto [width, height] = Asking().resolution;
        const auto* const pixels = static_cast<const std::uint8_t*>(imaging->getImage());
        outcome.isGood = pixels != nullptr;
        outcome.pixels = outcome.isGood ? Bytes(pixels, pixels + width * height) : Bytes{};
        outcome.health = std::exchange(reports_, {});
    }

    void check(Outcome& outcome) {
        outcome.isGood = device_.isAlive();
        outcome.health = std::exchange(reports_, {});
    }

private:
    static CameraInfo described() {
        CameraInfo info;
        info.setResolutionX(Asking().resolution.first);
        info.setResolutionY(Asking().resolution.second);
        return info;
    }

    std::vector<int> reports_;
    KorvaCamera device_;
};

inline std::string nameOfCell(const ::testing::TestParamInfo<Cell>& info) {
    return nameOf(info.param);
}

/// Value, health and lines; the rest depends on the network.
inline void expectSameResult(const Outcome& actual, const Outcome& expected) {
    EXPECT_EQ(actual.isGood, expected.isGood);
    EXPECT_EQ(actual.pixels, expected.pixels);
    EXPECT_EQ(actual.identity, expected.identity);
    EXPECT_EQ(actual.exception, expected.exception);
    EXPECT_EQ(actual.lines, expected.lines);
    EXPECT_EQ(actual.health, expected.health);
}

} // namespace Faults
