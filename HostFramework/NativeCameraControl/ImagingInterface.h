#pragma once
// A camera's imaging, first generation.

#include "DeviceControl/BaseInterface.h"
#include "VantrelCommon/Point.h"

#include <string>

/// The order of the virtual operations, behind those of BaseInterface, is the interface.
class HOSTFRAMEWORK_EXPORT ImagingInterface : public BaseInterface {
public:
    /// The name under which a device finds this interface.
    static const std::wstring interfaceTypeName;

    /// `device` outlives the interface.
    explicit ImagingInterface(Device& device);
    ~ImagingInterface() override;

    virtual Point<int, 2> getResolution() = 0;  // slot 5: width and height in pixels
    virtual int getBitDepth() = 0;              // slot 6: bits per sample
    virtual void setExposureTime(int time) = 0; // slot 7: in units of 10 microseconds
    virtual int getExposureTime() = 0;          // slot 8: as last set
    /// Slot 9: takes a picture. 8-bit grey pixels, resolution x by y, valid until the next picture of this
    /// camera and owned by it; null if it failed.
    virtual void* getImage() = 0;
};
