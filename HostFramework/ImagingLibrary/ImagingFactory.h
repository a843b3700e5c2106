#pragma once
// Access to the host's imaging library.

#include "HostFrameworkExport.h"

class ImagingLibrary;

class HOSTFRAMEWORK_EXPORT ImagingFactory {
public:
    /// The process-wide imaging library; never null, never to be deleted. Any thread.
    static ImagingLibrary* getInstance();
};
