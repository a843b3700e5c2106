#include "NativeCameraKorva/KorvaIdentification.h"

#include "Communicator/ClientFactory.h"
#include "Communicator/Connector.h"
#include "Communicator/DeviceException.h"
#include "Communicator/EthernetCommunicator.h"
#include "Communicator/PosixEthernetCommunicator.h"
#include "NativeCameraKorva/KorvaCommParser.h"
#include "NativeCameraKorva/KorvaConstants.h"
#include "NativeCameraKorva/KorvaHelper.h"
#include "NativeCameraKorva/KorvaLog.h"
#include "Platform/Text.h"

#include <array>
#include <initializer_list>
#include <memory>

namespace Korva {
namespace {

using Platform::utf8FromWide;
using Platform::wideFromUtf8;

const log4cxx::LoggerPtr logger = log4cxx::Logger::getLogger("Plenar.KorvaCamera.KorvaCapture");

constexpr bool discardUnread = true;
constexpr int reserved = 1;
constexpr unsigned int replyTimeoutMs = 4000;
constexpr unsigned int maximumReplyBytes = 256;

/// The zero-terminated beginning of a reply.
using Reply = std::array<char, maximumReplyBytes + 1>;

/// What a camera says of itself.
struct Identity {
    std::string hardwareId;
    std::string softwareVersion;
    std::string apiVersion;
    std::string serialNumber;
    std::string networkProtocol;
    std::string netMask;
    std::string netGateway;
};

std::string makeQuery(const std::string& keyword, std::initializer_list<std::string> keys) {
    std::string query = "[" + keyword;
    for (const std::string& key : keys)
        query += " " + key;
    return query + "]";
}

/// The text conversation with one camera.
class Conversation {
public:
    explicit Conversation(EthernetCommunicator& camera) : camera_(camera), connection_(camera) {}

    /// Sends `query` and adds the reply's entries to those of the earlier ones. Throws DeviceException,
    /// logged, if none comes; `what` names it there.
    void ask(const std::string& query, const char* what) {
        camera_.writeBytes(query.data(), static_cast<unsigned int>(query.size()), discardUnread, reserved);
        Reply reply{};
        if (camera_.readBytes(reply.data(), maximumReplyBytes, reserved, replyTimeoutMs) <= 0)
            failWithoutReply(what);
        reply.back() = '\0';
        entries_.parse(reply.data());
    }

    std::string valueOf(const std::string& key) { return entries_.getValue(key); }

private:
    [[noreturn]] void failWithoutReply(const char* what) const {
        const std::wstring address = camera_.getAddress();
        KORVA_LOG(logger, Error, "KorvaHelper",
                  "Couldn't get any " << what << " info from Korva device at: " << utf8FromWide(address)
                                      << ".. ignore it");
        throw DeviceException(L"Couldn't get any " + wideFromUtf8(what) + L" info from Korva device at: " +
                              address + L".. ignore it");
    }

    EthernetCommunicator& camera_;
    const Connector connection_;
    CommParser entries_;
};

/// Throws DeviceException, logged, if the camera's model must have a newer firmware.
void requireSoftwareVersion(const Identity& identity) {
    const bool isM61 = endsWithOrIsOneShorter(identity.hardwareId, modelM61);
    if (!isM61 || checkSoftwareVersion(identity.softwareVersion))
        return;
    const std::string text = "Rejecting Korva camera, Vantrel requires Korva SW version at least " +
                             minimumSoftwareVersionText + " found " + identity.softwareVersion;
    KORVA_LOG(logger, Error, "KorvaHelper", text);
    throw DeviceException(wideFromUtf8(text));
}

Identity askIdentity(Conversation& conversation) {
    Identity identity;
    conversation.ask(makeQuery(versionKeyword, {hardwareKey, softwareKey, apiKey}), "version");
    identity.hardwareId = conversation.valueOf(hardwareKey);
    identity.softwareVersion = conversation.valueOf(softwareKey);
    identity.apiVersion = conversation.valueOf(apiKey);
    // A camera with too old a firmware is asked nothing more.
    requireSoftwareVersion(identity);
    conversation.ask(makeQuery(serialNumberKeyword, {cameraKey}), "serial");
    identity.serialNumber = conversation.valueOf(cameraKey);
    conversation.ask(makeQuery(settingsKeyword, {networkProtocolKey, netMaskKey, netGatewayKey}), "network");
    identity.networkProtocol = conversation.valueOf(networkProtocolKey);
    identity.netMask = conversation.valueOf(netMaskKey);
    identity.netGateway = conversation.valueOf(netGatewayKey);
    return identity;
}

Point<int, 2> requireResolution(const std::string& hardwareId, Communicator* imageCommunicator) {
    const Point<int, 2> resolution = getKorvaResolution(hardwareId, imageCommunicator);
    if (resolution == unknownResolution) {
        KORVA_LOG(logger, Error, "KorvaHelper", "Found Korva, but couldn't determine its resolution");
        throw DeviceException(L"Found Korva, but couldn't determine its resolution");
    }
    return resolution;
}

CameraInfo describe(const Identity& identity, const std::wstring& address, const std::string& macAddress,
                    const Point<int, 2>& resolution) {
    CameraInfo info;
    info.setCameraTypeEnum(cameraType);
    info.setIpAddress(address);
    info.setFW(wideFromUtf8("SW-" + identity.softwareVersion + "_API-" + identity.apiVersion));
    info.setMacAddress(wideFromUtf8(macAddress));
    info.setResolutionX(resolution.x());
    info.setResolutionY(resolution.y());
    info.setModel(wideFromUtf8(modelPrefix + " " + identity.hardwareId));
    info.setSerialNumber(wideFromUtf8(identity.serialNumber));
    info.setDefaultGateway(wideFromUtf8(identity.netGateway));
    info.setSubnetMask(wideFromUtf8(identity.netMask));
    return info;
}

void logSummary(const CameraInfo& info, const std::string& hardwareId) {
    KORVA_LOG(logger, Info, "KorvaHelper", "Found Korva Camera--");
    KORVA_LOG_WIDE(logger, Info, "KorvaHelper", L"     IP: " << info.getIpAddress());
    KORVA_LOG_WIDE(logger, Info, "KorvaHelper", L"     FW: " << info.getFW());
    KORVA_LOG_WIDE(logger, Info, "KorvaHelper", L"    MAC: " << info.getMacAddress());
    KORVA_LOG_WIDE(logger, Info, "KorvaHelper", L" Serial: " << info.getSerialNumber());
    KORVA_LOG_WIDE(logger, Info, "KorvaHelper", L"Gateway: " << info.getDefaultGateway());
    KORVA_LOG_WIDE(logger, Info, "KorvaHelper", L" Subnet: " << info.getSubnetMask());
    KORVA_LOG(logger, Info, "KorvaHelper", "      HW: " << hardwareId);
}

} // namespace

// NOLINTNEXTLINE(performance-unnecessary-value-param): a reference would rename the exported symbol
CameraInfo determineCameraInfo(Communicator* communicator, const std::string macAddress) {
    auto* const camera = dynamic_cast<EthernetCommunicator*>(communicator);
    if (camera == nullptr)
        throw DeviceException(L"Ethernet communicator needed to determine Korva CameraInfo");
    const std::wstring address = camera->getAddress();
    // The looked-up address is deliberately not stored: the record says what the caller said. The look-up
    // still logs where the camera cannot be found.
    if (macAddress.empty())
        static_cast<void>(getKorvaMacAddress(utf8FromWide(address)));
    Conversation conversation(*camera);
    const Identity identity = askIdentity(conversation);
    const std::unique_ptr<EthernetCommunicator> imageCommunicator(
        ClientFactory::createEthernetCommunicator(address, binaryPort, hostsDefaultTimeout));
    const Point<int, 2> resolution = requireResolution(identity.hardwareId, imageCommunicator.get());
    CameraInfo info = describe(identity, address, macAddress, resolution);
    logSummary(info, identity.hardwareId);
    return info;
}

CameraInfo determineCameraInfoByAddress(const std::string& ip, const std::string& mac) {
    const auto communicator =
        std::make_unique<PosixEthernetCommunicator>(wideFromUtf8(ip), textPort, hostsDefaultTimeout);
    return determineCameraInfo(communicator.get(), mac);
}

} // namespace Korva
