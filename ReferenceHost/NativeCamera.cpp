#include "NativeCameraControl/NativeCamera.h"

#include "Communicator/DeviceException.h"
#include "NativeCameraControl/ImagingInterface.h"

#include <algorithm>
#include <ostream>

namespace {

constexpr int defaultBitDepth = 8;
constexpr double onlyGain = 1.0;

ImagingInterface* imagingOf(const Device& device) {
    return dynamic_cast<ImagingInterface*>(device.getInterface(ImagingInterface::interfaceTypeName));
}

std::wstring descriptionOf(const CameraInfo& info) {
    std::wstring text = info.getModel();
    const auto append = [&text](const wchar_t* label, const std::wstring& part) {
        if (!part.empty())
            text += (text.empty() ? L"" : L", ") + (label + part);
    };
    append(L"", info.getIpAddress());
    append(L"serial number ", info.getSerialNumber());

    // The texts are the camera's, and a description is one line.
    const auto isControl = [](wchar_t unit) { return unit < 0x20 || (unit >= 0x7F && unit < 0xA0); };
    std::replace_if(text.begin(), text.end(), isControl, L'\uFFFD');
    return text;
}

} // namespace

INativeCamera::~INativeCamera() = default;

NativeCamera::NativeCamera(Communicator* communicator, const CameraInfo& info)
    : Device2Bridge(communicator), info_(info) {
    Identity identity;
    // The MAC address is not known in every session, the serial number is.
    identity.uid = info_.getSerialNumber().empty() ? info_.getMacAddress() : info_.getSerialNumber();
    identity.model = info_.getModel();
    identity.description = descriptionOf(info_);
    identity.version = info_.getFW();
    identity.mac = info_.getMacAddress();
    identity.writeXml = [this](std::ostream& stream, int indent) { stream << info_.toXml(indent); };
    setIdentity(std::move(identity));
}

NativeCamera::~NativeCamera() = default;

int NativeCamera::getBitDepth() const {
    ImagingInterface* const imaging = imagingOf(*this);
    return imaging == nullptr ? defaultBitDepth : imaging->getBitDepth();
}

void NativeCamera::setBitDepth(int bits) {
    if (bits != getBitDepth())
        throw DeviceException(L"The camera gives " + std::to_wstring(getBitDepth()) +
                              L" bits per sample, not " + std::to_wstring(bits));
}

int NativeCamera::getExposureTime() const {
    ImagingInterface* const imaging = imagingOf(*this);
    return imaging == nullptr ? 0 : imaging->getExposureTime();
}

void NativeCamera::setExposureTime(int time) {
    ImagingInterface* const imaging = imagingOf(*this);
    if (imaging == nullptr)
        throw DeviceException(L"The camera has no imaging interface to set an exposure time with");
    imaging->setExposureTime(time);
}

bool NativeCamera::hasGainControl() const {
    return false;
}

double NativeCamera::getGain() const {
    return onlyGain;
}

void NativeCamera::setGain(double gain) {
    if (gain != onlyGain)
        throw DeviceException(L"The camera has no gain control");
}

Point<int, 2> NativeCamera::getResolution() const {
    return Point<int, 2>(info_.getResolutionX(), info_.getResolutionY());
}

CameraInfo NativeCamera::getCameraInfo() const {
    return info_;
}

std::wstring NativeCamera::getEmbeddedIntrinsics() const {
    return {};
}

void NativeCamera::installCommonCmdHandlers() {}
