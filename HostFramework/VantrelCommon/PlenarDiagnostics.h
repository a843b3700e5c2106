#pragma once
// Where the host keeps what helps to find faults.

#include "HostFrameworkExport.h"

#include <string>

class HOSTFRAMEWORK_EXPORT PlenarDiagnostics {
public:
    /// The folder for diagnostic pictures, without a separator at its end. It need not exist. Any thread.
    static std::wstring getImagesSubDirectory();
};
