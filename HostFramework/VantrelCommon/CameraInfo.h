#pragma once
// The host's description of one camera.

#include "HostFrameworkExport.h"

#include <string>
#include <xercesc/dom/DOMNode.hpp>

/// A value: texts as the camera gave them (wide), the resolution in pixels, and the camera family's number
/// (0 unknown, 6 Korva). Copyable; one object is used by one thread at a time.
class HOSTFRAMEWORK_EXPORT CameraInfo {
public:
    CameraInfo();

    /// Reads a "CameraInfo" element as toXml writes it: one child element per field, in any order; a child
    /// that is missing leaves its field empty or 0, an unknown one is skipped, and of two of one name the
    /// last one counts. Throws DeviceException for a null node and for a number that is none or does not fit.
    explicit CameraInfo(xercesc::DOMNode* element);

    CameraInfo(const CameraInfo&);
    CameraInfo(CameraInfo&&) noexcept;
    CameraInfo& operator=(const CameraInfo&);
    CameraInfo& operator=(CameraInfo&&) noexcept;
    ~CameraInfo();

    int getCameraTypeEnum() const { return cameraType_; }
    const std::wstring& getIpAddress() const { return ipAddress_; }
    const std::wstring& getFW() const { return firmware_; }
    const std::wstring& getMacAddress() const { return macAddress_; }
    int getResolutionX() const { return resolutionX_; }
    int getResolutionY() const { return resolutionY_; }
    const std::wstring& getModel() const { return model_; }
    const std::wstring& getSerialNumber() const { return serialNumber_; }
    const std::wstring& getDefaultGateway() const { return defaultGateway_; }
    const std::wstring& getSubnetMask() const { return subnetMask_; }

    void setCameraTypeEnum(int type) { cameraType_ = type; }
    void setIpAddress(const std::wstring& text) { ipAddress_ = text; }
    void setFW(const std::wstring& text) { firmware_ = text; }
    void setMacAddress(const std::wstring& text) { macAddress_ = text; }
    void setResolutionX(int pixels) { resolutionX_ = pixels; }
    void setResolutionY(int pixels) { resolutionY_ = pixels; }
    void setModel(const std::wstring& text) { model_ = text; }
    void setSerialNumber(const std::wstring& text) { serialNumber_ = text; }
    void setDefaultGateway(const std::wstring& text) { defaultGateway_ = text; }
    void setSubnetMask(const std::wstring& text) { subnetMask_ = text; }

    /// The "CameraInfo" element as UTF-8 text, `indent` blanks before each line, a line feed behind the last:
    /// its children are cameraTypeEnum, resolutionX, resolutionY, ipAddress, firmware, macAddress, model,
    /// serialNumber, defaultGateway and subnetMask. Characters that XML cannot hold become U+FFFD.
    std::string toXml(int indent = 0) const;

private:
    int cameraType_ = 0;
    std::wstring ipAddress_;
    std::wstring firmware_;
    std::wstring macAddress_;
    int resolutionX_ = 0;
    int resolutionY_ = 0;
    std::wstring model_;
    std::wstring serialNumber_;
    std::wstring defaultGateway_;
    std::wstring subnetMask_;
};
