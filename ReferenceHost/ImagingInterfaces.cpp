#include "NativeCameraControl/Imaging2Interface.h"
#include "NativeCameraControl/ImagingInterface.h"

const std::wstring ImagingInterface::interfaceTypeName = L"Imaging";

ImagingInterface::ImagingInterface(Device& device) : BaseInterface(device, interfaceTypeName) {}

ImagingInterface::~ImagingInterface() = default;

const std::wstring Imaging2Interface::interfaceTypeName = L"Imaging2";

Imaging2Interface::Imaging2Interface(Device& device) : BaseInterface(device, interfaceTypeName) {}

Imaging2Interface::~Imaging2Interface() = default;
