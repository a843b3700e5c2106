#include "VantrelCommon/CameraInfo.h"

#include "Communicator/DeviceException.h"
#include "XmlText.h"

#include <algorithm>
#include <sstream>
#include <string_view>

namespace {

/// A field, the element that holds it, and how it is reached.
template <typename Value, typename Argument>
struct Field {
    const char* name;
    Value (CameraInfo::*get)() const;
    void (CameraInfo::*set)(Argument);

    bool isNamed(const std::wstring& other) const {
        const std::string_view own = name;
        return std::equal(own.begin(), own.end(), other.begin(), other.end());
    }
};

constexpr Field<int, int> numberFields[] = {
    {"cameraTypeEnum", &CameraInfo::getCameraTypeEnum, &CameraInfo::setCameraTypeEnum},
    {"resolutionX", &CameraInfo::getResolutionX, &CameraInfo::setResolutionX},
    {"resolutionY", &CameraInfo::getResolutionY, &CameraInfo::setResolutionY},
};

constexpr Field<const std::wstring&, const std::wstring&> textFields[] = {
    {"ipAddress", &CameraInfo::getIpAddress, &CameraInfo::setIpAddress},
    {"firmware", &CameraInfo::getFW, &CameraInfo::setFW},
    {"macAddress", &CameraInfo::getMacAddress, &CameraInfo::setMacAddress},
    {"model", &CameraInfo::getModel, &CameraInfo::setModel},
    {"serialNumber", &CameraInfo::getSerialNumber, &CameraInfo::setSerialNumber},
    {"defaultGateway", &CameraInfo::getDefaultGateway, &CameraInfo::setDefaultGateway},
    {"subnetMask", &CameraInfo::getSubnetMask, &CameraInfo::setSubnetMask},
};

} // namespace

CameraInfo::CameraInfo() = default;
CameraInfo::CameraInfo(const CameraInfo&) = default;
CameraInfo::CameraInfo(CameraInfo&&) noexcept = default;
CameraInfo& CameraInfo::operator=(const CameraInfo&) = default;
CameraInfo& CameraInfo::operator=(CameraInfo&&) noexcept = default;
CameraInfo::~CameraInfo() = default;

CameraInfo::CameraInfo(xercesc::DOMNode* element) {
    if (element == nullptr)
        throw DeviceException(L"A camera description needs an element to be read from");
    ReferenceHost::forEachChildElement(*element, [this](const std::wstring& name, const std::wstring& text) {
        for (const auto& field : numberFields)
            if (field.isNamed(name))
                (this->*field.set)(ReferenceHost::numberOfElement(name, text));
        for (const auto& field : textFields)
            if (field.isNamed(name))
                (this->*field.set)(text);
    });
}

std::string CameraInfo::toXml(int indent) const {
    std::ostringstream stream;
    ReferenceHost::writeTag(stream, indent, "CameraInfo");
    for (const auto& field : numberFields)
        ReferenceHost::writeElement(stream, indent + 2, field.name, std::to_wstring((this->*field.get)()));
    for (const auto& field : textFields)
        ReferenceHost::writeElement(stream, indent + 2, field.name, (this->*field.get)());
    ReferenceHost::writeTag(stream, indent, "/CameraInfo");
    return stream.str();
}
