#include "DeviceControl/DeviceTemplate.h"

#include "NativeCameraControl/NativeCameraTemplate.h"

DeviceTemplate::DeviceTemplate(const DeviceType& type, const CommunicatorTemplate& communicator)
    : type_(type), communicator_(communicator) {}

DeviceTemplate::~DeviceTemplate() = default;

Communicator* DeviceTemplate::createCommunicator() const {
    return communicator_.createCommunicator();
}

NativeCameraTemplate::NativeCameraTemplate(const DeviceType& type, const CameraInfo& info,
                                           const CommunicatorTemplate& communicator)
    : DeviceTemplate(type, communicator), info_(info) {}

NativeCameraTemplate::~NativeCameraTemplate() = default;
