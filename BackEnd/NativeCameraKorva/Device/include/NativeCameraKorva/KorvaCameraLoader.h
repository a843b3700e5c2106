#pragma once
// The door through which a host enters the plug-in.

#include "NativeCameraKorva/KorvaExport.h"
#include "NativeCameraKorva/KorvaTypeObject.h"

extern "C" {

/// Adds the camera family to the host's device types. `version` is that of the plug-in interface: for any
/// other than 1 returns -1 and does nothing else, otherwise 0. What the host throws passes to the caller.
/// Called by one thread.
KORVA_EXPORT int pnx_initialize_device_plugin(int version);

/// Does nothing; ignores whatever it is given.
KORVA_EXPORT void pnx_uninitialize_device_plugin(...);
}

/// Adds the camera family to the host's device types, once for every call. What the host throws passes.
KORVA_EXPORT void initializeKorvaCamera();
