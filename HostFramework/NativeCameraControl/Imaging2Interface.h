#pragma once
// A camera's imaging, second generation.

#include "DeviceControl/BaseInterface.h"

#include <string>

/// The order of the virtual operations, behind those of BaseInterface, is the interface.
class HOSTFRAMEWORK_EXPORT Imaging2Interface : public BaseInterface {
public:
    /// The name under which a device finds this interface.
    static const std::wstring interfaceTypeName;

    /// `device` outlives the interface.
    explicit Imaging2Interface(Device& device);
    ~Imaging2Interface() override;

    virtual int getBinning() = 0;            // slot 5
    virtual void setBinning(int factor) = 0; // slot 6
    virtual double getGamma() = 0;           // slot 7
    virtual void setGamma(double gamma) = 0; // slot 8
    virtual int getFrameCount() = 0;         // slot 9
    virtual int getFrameRate() = 0;          // slot 10
};
