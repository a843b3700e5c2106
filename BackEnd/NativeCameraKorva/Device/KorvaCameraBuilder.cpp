#include "NativeCameraKorva/KorvaCameraBuilder.h"

#include "Communicator/ClientFactory.h"
#include "Communicator/DeviceException.h"
#include "Communicator/PosixEthernetCommunicator.h"
#include "NativeCameraControl/NativeCameraTemplate.h"
#include "NativeCameraKorva/KorvaCamera.h"
#include "NativeCameraKorva/KorvaConstants.h"
#include "NativeCameraKorva/KorvaIdentification.h"
#include "NativeCameraKorva/KorvaLog.h"
#include "Platform/Text.h"

#include <algorithm>
#include <memory>
#include <string_view>
#include <typeinfo>
#include <utility>

namespace {

const log4cxx::LoggerPtr logger = log4cxx::Logger::getLogger("Plenar.KorvaCamera.KorvaCameraBuilder");

constexpr std::string_view descriptionElement = "CameraInfo";
constexpr std::string_view connectionElement = "connection";

bool isNamed(const xercesc::DOMNode& node, std::string_view name) {
    const std::basic_string_view<XMLCh> actual(node.getNodeName());
    return std::equal(actual.begin(), actual.end(), name.begin(), name.end(),
                      [](XMLCh unit, char letter) { return unit == static_cast<XMLCh>(letter); });
}

bool isKorva(const CameraInfo& info) {
    return info.getCameraTypeEnum() == Korva::cameraType;
}

Device* makeCamera(std::unique_ptr<Communicator> communicator, const CameraInfo& info) {
    return new KorvaCamera(communicator.release(), info);
}

Device* identifyAndMakeCamera(const EthernetCommunicator& given) {
    const std::wstring address = given.getAddress();
    const CameraInfo info = Korva::determineCameraInfoByAddress(Platform::utf8FromWide(address), {});
    std::unique_ptr<Communicator> communicator(
        ClientFactory::createEthernetCommunicator(address, Korva::binaryPort, Korva::hostsDefaultTimeout));
    return makeCamera(std::move(communicator), info);
}

} // namespace

KorvaCameraBuilder::KorvaCameraBuilder() = default;
KorvaCameraBuilder::~KorvaCameraBuilder() = default;

Device* KorvaCameraBuilder::build(xercesc::DOMNode* element) const {
    if (element == nullptr)
        return nullptr;
    std::unique_ptr<CameraInfo> info;
    std::unique_ptr<Communicator> communicator;
    for (auto* child = element->getFirstChild(); child != nullptr; child = child->getNextSibling()) {
        if (isNamed(*child, descriptionElement))
            info = std::make_unique<CameraInfo>(child);
        else if (isNamed(*child, connectionElement))
            communicator.reset(ClientFactory::buildCommunicator(child));
    }
    if (info == nullptr || communicator == nullptr || !isKorva(*info))
        return nullptr;
    return makeCamera(std::move(communicator), *info);
}

Device* KorvaCameraBuilder::build(const DeviceTemplate& deviceTemplate) const {
    try {
        const auto& camera = dynamic_cast<const NativeCameraTemplate&>(deviceTemplate);
        if (!isKorva(camera.getCameraInfo()))
            return nullptr;
        std::unique_ptr<Communicator> communicator(camera.createCommunicator());
        return makeCamera(std::move(communicator), camera.getCameraInfo());
    } catch (const DeviceException&) {
        return nullptr;
    } catch (const std::bad_cast&) {
        return nullptr;
    }
}

Device* KorvaCameraBuilder::build(Communicator* communicator) const {
    const auto* const camera = dynamic_cast<const PosixEthernetCommunicator*>(communicator);
    if (camera == nullptr) {
        KORVA_LOG_AT_LINE(logger, Warn, "KorvaCameraBuilder", 37,
                          "Ethernet communicator needed to build Korva camera");
        return nullptr;
    }
    try {
        return identifyAndMakeCamera(*camera);
    } catch (const DeviceException& failure) {
        KORVA_LOG_AT_LINE(logger, Error, "KorvaCameraBuilder", 46,
                          "DeviceException while determining camera info.");
        KORVA_LOG_AT_LINE(logger, Error, "KorvaCameraBuilder", 47,
                          "    " << Platform::utf8FromWide(failure.getDescription()));
        return nullptr;
    }
}
