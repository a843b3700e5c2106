#pragma once
// The device that the host holds for one camera.

#include "ImagingLibrary/image_t.h"
#include "NativeCameraControl/NativeCamera.h"
#include "VantrelCommon/NetworkHealth.h"

#include <functional>
#include <memory>
#include <string>

class Communicator;
class KorvaInternals;

/// Has two interfaces, the ImagingInterface first, and answers the commands FillMonoImage, FillNativeImage
/// and SetNetworkHealthCallback. Its work is done by its internals, which its interfaces share. One operation
/// at a time, on whatever thread; two devices have nothing in common.
///
/// The two image commands are one: 8-bit grey of the camera's resolution, black where the camera gave no
/// picture, of which the network-health callback tells. A command of another kind than its class has is an
/// IncorrectCommandTypeException, a TolvaneException behind a command a WrappedD1Exception.
///
/// The order of the virtual operations is the interface: the one that is new here comes directly behind the
/// destructor, the overrides behind it.
class KorvaCamera final : public NativeCamera {
public:
    /// Takes the communicator over, also if it throws; null for a camera that cannot be reached.
    KorvaCamera(Communicator* communicator, const CameraInfo& info);
    ~KorvaCamera() override;

    /// Slot 11: sets who is told of the camera's health, replacing an earlier one; empty for nobody. It is
    /// called on the thread of the operation that it tells of.
    virtual void setNetworkHealthCallback(NetworkHealthCallback callback);

    /// getKorvaCameraType().
    const DeviceType& getType() const override;
    /// Asks the camera over its connection; see KorvaInternals::validateConnection().
    bool isAlive() override;

protected:
    void installCmdHandlers() override;

private:
    /// Moves a new picture into the image; gets the command's key text, which means nothing here.
    using ImageFill = std::function<void(const std::string& key, image_t& image)>;

    void fillImage(image_t& image) const;

    ImageFill imageFill_;
    std::shared_ptr<KorvaInternals> internals_; ///< shared with the interfaces; they outlive these
};
