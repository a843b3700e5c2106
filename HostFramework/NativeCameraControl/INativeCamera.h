#pragma once
// What the host asks of every camera.

#include "HostFrameworkExport.h"
#include "VantrelCommon/CameraInfo.h"
#include "VantrelCommon/Point.h"

#include <string>

/// The order of the virtual operations is the interface.
class HOSTFRAMEWORK_EXPORT INativeCamera {
public:
    INativeCamera() = default;
    INativeCamera(const INativeCamera&) = delete;
    INativeCamera& operator=(const INativeCamera&) = delete;

    virtual int getBitDepth() const = 0;                    // slot 0: bits per sample of a picture
    virtual void setBitDepth(int bits) = 0;                 // slot 1
    virtual int getExposureTime() const = 0;                // slot 2: in units of 10 microseconds
    virtual void setExposureTime(int time) = 0;             // slot 3
    virtual bool hasGainControl() const = 0;                // slot 4
    virtual double getGain() const = 0;                     // slot 5
    virtual void setGain(double gain) = 0;                  // slot 6
    virtual Point<int, 2> getResolution() const = 0;        // slot 7: width and height in pixels
    virtual CameraInfo getCameraInfo() const = 0;           // slot 8
    virtual std::wstring getEmbeddedIntrinsics() const = 0; // slot 9: empty if the camera stores none
    virtual ~INativeCamera();                               // slot 10
};
