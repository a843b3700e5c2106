#include "NativeCameraKorva/KorvaCamera.h"

#include "Device/CaptureCmds.h"
#include "NativeCameraControl/ImagingInterface.h"
#include "NativeCameraKorva/KorvaCameraHandlers.h"
#include "NativeCameraKorva/KorvaImaging2Interface.h"
#include "NativeCameraKorva/KorvaImagingInterface.h"
#include "NativeCameraKorva/KorvaInternals.h"
#include "NativeCameraKorva/KorvaTypeObject.h"

#include <cstdint>
#include <cstring>
#include <utility>

using namespace Tolvane::DeviceFramework2::Device;

KorvaCamera::KorvaCamera(Communicator* communicator, const CameraInfo& info)
    : NativeCamera(communicator, info) {
    internals_ = std::make_shared<KorvaInternals>(this);
    addInterface(new KorvaImagingInterface(*this, internals_));
    addInterface(new KorvaImaging2Interface(*this, internals_));
    initialize();
}

KorvaCamera::~KorvaCamera() {
    removeAllInterfaces();
}

void KorvaCamera::setNetworkHealthCallback(NetworkHealthCallback callback) {
    internals_->setNetworkHealthCallback(std::move(callback));
}

const DeviceType& KorvaCamera::getType() const {
    return getKorvaCameraType();
}

bool KorvaCamera::isAlive() {
    return internals_->validateConnection();
}

void KorvaCamera::installCmdHandlers() {
    installCommonCmdHandlers();
    if (dynamic_cast<ImagingInterface*>(getInterface(ImagingInterface::interfaceTypeName)) != nullptr) {
        imageFill_ = [this](const std::string& /*key*/, image_t& image) { fillImage(image); };
        const CmdHandler handler =
            Korva::makeCmdHandler<SetCmd<image_t&>>([this](const SetCmd<image_t&>& command) {
                const ImageFill fill = imageFill_;
                fill(command.getKey(), command.getValue());
            });
        installCmdHandler<Capture::FillMonoImage>(handler);
        installCmdHandler<Capture::FillNativeImage>(handler);
    }
    using SetCallback = SetCmd<NetworkHealthCallback>;
    installCmdHandler<SetNetworkHealthCallback>(Korva::makeCmdHandler<SetCallback>(
        [this](const SetCallback& command) { setNetworkHealthCallback(command.getValue()); }));
}

void KorvaCamera::fillImage(image_t& image) const {
    void* const pixels = internals_->getImaging1Image();
    const Point<int, 2> resolution = getResolution();
    image_t picture(image_t::layoutGrey, resolution.x(), static_cast<std::uint32_t>(resolution.y()), pixels,
                    static_cast<int>(PixelBufferMode::copy));
    // A picture that did not come is black, not what the memory held before.
    if (pixels == nullptr && picture.pixels != nullptr)
        std::memset(picture.pixels.get(), 0,
                    image_t::byteCount(picture.format, picture.width, picture.height));
    image = std::move(picture);
}
