// Never linked: what the compiler lays out for it is compared with VirtualTables.txt. A call of an operation
// has it number those of the class, and a destructor's definition has it lay out the whole object's tables.

#include "Communicator/PosixEthernetCommunicator.h"
#include "Device/CaptureCmds.h"
#include "Device/Exceptions.h"
#include "DeviceControl/BroadcastWorkerObserver.h"
#include "ImagingLibrary/Image.h"
#include "ImagingLibrary/ImagingLibrary.h"
#include "NativeCameraKorva/KorvaCamera.h"
#include "NativeCameraKorva/KorvaCameraBuilder.h"
#include "NativeCameraKorva/KorvaCameraLocator.h"
#include "NativeCameraKorva/KorvaCameraTemplate.h"
#include "NativeCameraKorva/KorvaCameraType.h"
#include "NativeCameraKorva/KorvaImaging2Interface.h"
#include "NativeCameraKorva/KorvaImagingInterface.h"
#include "NativeCameraKorva/WrappedD1Exception.h"

template <typename... Classes>
void number(Classes*... objects) {
    (delete objects, ...);
}

namespace Framework2 = Tolvane::DeviceFramework2::Device;

template void number(BaseInterface*, BroadcastWorkerObserver*, Communicator*, Device*, Device2Bridge*,
                     DeviceBuilder*, DeviceFramework1Locator*, DeviceTemplate*, DeviceType*,
                     EthernetCommunicator*, Image*, Imaging2Interface*, ImagingInterface*, ImagingLibrary*,
                     INativeCamera*, NativeCamera*, NativeCameraTemplate*, NativeCameraType*,
                     Framework2::AbstractDevice*, Framework2::BaseDevice*, Framework2::Cmd*,
                     Framework2::Exceptions::DeviceException*);

KorvaCamera::~KorvaCamera() = default;
KorvaCameraBuilder::~KorvaCameraBuilder() = default;
KorvaCameraLocator::~KorvaCameraLocator() = default;
KorvaCameraTemplate::~KorvaCameraTemplate() = default;
KorvaCameraType::~KorvaCameraType() = default;
KorvaImagingInterface::~KorvaImagingInterface() = default;
KorvaImaging2Interface::~KorvaImaging2Interface() = default;
