// What the plug-in calls of the host's device model and settings, by name and not by an interface: the
// linker's
// --wrap leads its calls here, where they are noted and fail as planned.

#include "World/HostCalls.h"

#include "DeveloperDLL/DeveloperSettings.h"
#include "DeviceControl/Device.h"
#include "NativeCameraControl/Imaging2Interface.h"
#include "NativeCameraControl/ImagingInterface.h"
#include "NativeCameraControl/NativeCameraTemplate.h"

#include <memory>

using World::ModelCall;

// KORVA_LINK(NAME, SYMBOL, PARAMETERS, ARGUMENTS) is a function of no result, or a constructor, that is noted
// as NAME. A constructor's first parameter is the object.
#define KORVA_LINK(name, symbol, parameters, arguments)                                                      \
    extern "C" void __real_##symbol parameters;                                                              \
    extern "C" void __wrap_##symbol parameters;                                                              \
    void __wrap_##symbol parameters {                                                                        \
        const ModelCall call(name);                                                                          \
        __real_##symbol arguments;                                                                           \
    }

KORVA_LINK("emptyDescription", _ZN10CameraInfoC1Ev, (CameraInfo * made), (made))
KORVA_LINK("copiedDescription", _ZN10CameraInfoC1ERKS_, (CameraInfo * made, const CameraInfo* from),
           (made, from))
KORVA_LINK("storedDescription", _ZN10CameraInfoC1EPN11xercesc_3_27DOMNodeE,
           (CameraInfo * made, xercesc::DOMNode* element), (made, element))
KORVA_LINK("CommunicatorTemplate", _ZN20CommunicatorTemplateC1EPK12Communicator,
           (CommunicatorTemplate * made, const Communicator* from), (made, from))
KORVA_LINK("NativeCameraTemplate",
           _ZN20NativeCameraTemplateC2ERK10DeviceTypeRK10CameraInfoRK20CommunicatorTemplate,
           (NativeCameraTemplate * made, const DeviceType* type, const CameraInfo* info,
            const CommunicatorTemplate* communicator),
           (made, type, info, communicator))
KORVA_LINK("ImagingInterface", _ZN16ImagingInterfaceC2ER6Device, (ImagingInterface * made, Device* device),
           (made, device))
KORVA_LINK("Imaging2Interface", _ZN17Imaging2InterfaceC2ER6Device, (Imaging2Interface * made, Device* device),
           (made, device))
KORVA_LINK("initialize", _ZN7Tolvane16DeviceFramework26Device10BaseDevice10initializeEv,
           (Tolvane::DeviceFramework2::Device::BaseDevice * device), (device))
KORVA_LINK("installCommonCmdHandlers", _ZN12NativeCamera24installCommonCmdHandlersEv, (void* camera),
           (camera))

// This one owns the interface also where it throws.
extern "C" void __real__ZN6Device12addInterfaceEP13BaseInterface(Device* device, BaseInterface* added);
extern "C" void __wrap__ZN6Device12addInterfaceEP13BaseInterface(Device* device, BaseInterface* added);
void __wrap__ZN6Device12addInterfaceEP13BaseInterface(Device* device, BaseInterface* added) {
    std::unique_ptr<BaseInterface> own(added);
    const ModelCall call("addInterface");
    __real__ZN6Device12addInterfaceEP13BaseInterface(device, own.release());
}

extern "C" Communicator* __real__ZNK6Device15getCommunicatorEv(const Device* device);
extern "C" Communicator* __wrap__ZNK6Device15getCommunicatorEv(const Device* device);
Communicator* __wrap__ZNK6Device15getCommunicatorEv(const Device* device) {
    const ModelCall call("getCommunicator");
    return __real__ZNK6Device15getCommunicatorEv(device);
}

extern "C" bool __real__ZNK17DeveloperSettings7Boolean5valueEv(const DeveloperSettings::Boolean* setting);
extern "C" bool __wrap__ZNK17DeveloperSettings7Boolean5valueEv(const DeveloperSettings::Boolean* setting);
bool __wrap__ZNK17DeveloperSettings7Boolean5valueEv(const DeveloperSettings::Boolean* setting) {
    const ModelCall call("setting");
    return __real__ZNK17DeveloperSettings7Boolean5valueEv(setting);
}
