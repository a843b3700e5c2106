#pragma once
// A camera device for all runs of a fuzz target: whatever a camera answered, the device must stay usable.

#include "SpanCommunicator.h"

#include "NativeCameraKorva/KorvaCamera.h"
#include "VantrelCommon/CameraInfo.h"
#include "VantrelCommon/NetworkHealth.h"

#include <vector>

namespace Fuzz {

class FuzzedDevice {
public:
    /// Its pictures have 16 x 12 pixels.
    FuzzedDevice() : communicator_(new SpanCommunicator), camera_(communicator_, describe()) {
        camera_.setNetworkHealthCallback(
            [this](NetworkHealth health) { reports_.push_back(health.getCode()); });
    }

    /// Scripts what the camera answers from now on, and forgets the reports. The first answer is to the first
    /// request.
    KorvaCamera& answering(const std::vector<Answer>& answers) {
        communicator_->startWithRequest(answers);
        reports_.clear();
        return camera_;
    }

    /// The health reports since then.
    const std::vector<int>& reports() const { return reports_; }
    bool isConnected() const { return communicator_->isConnected(); }

    static constexpr unsigned int width = 16;
    static constexpr unsigned int height = 12;

private:
    static CameraInfo describe() {
        CameraInfo info;
        info.setResolutionX(width);
        info.setResolutionY(height);
        return info;
    }

    SpanCommunicator* communicator_; ///< the camera's
    std::vector<int> reports_;
    KorvaCamera camera_;
};

} // namespace Fuzz
