#include "DescribedCamera.h"

#include "SearchFacts.h"

#include "Communicator/EthernetCommunicator.h"
#include "Diagnosis/PictureRules.h"
#include "Diagnosis/Rules.h"
#include "Platform/Text.h"

#include <algorithm>
#include <string>
#include <utility>

namespace Console {

namespace {

using Platform::utf8FromWide;

/// As a description can hold it.
std::string serialNumberOf(const NativeCamera& camera) {
    std::wstring serialNumber = camera.getCameraInfo().getSerialNumber();
    std::replace_if(
        serialNumber.begin(), serialNumber.end(), [](wchar_t unit) { return unit < 0x20; }, L'\uFFFD');
    return utf8FromWide(serialNumber);
}

/// Where it is another one, a camera behind it answers texts elsewhere too, if at all.
constexpr int picturePort = 32769;

} // namespace

std::optional<Diagnosis::Verdict> anotherThanDescribed(const CameraHost& host,
                                                       const NativeCamera& described) {
    const auto* const connection = dynamic_cast<EthernetCommunicator*>(described.getCommunicator());
    const std::string serialNumber = serialNumberOf(described);
    if (connection == nullptr || connection->getPort() != picturePort || serialNumber.empty())
        return std::nullopt;
    const std::string address = utf8FromWide(connection->getAddress());
    const CameraHost::Identified answering = std::move(host.identified({address}).front());
    if (answering.camera == nullptr)
        return std::nullopt;
    const std::string found = serialNumberOf(*answering.camera);
    if (found == serialNumber)
        return std::nullopt;
    return Diagnosis::anotherCamera(address, serialNumber, found);
}

std::optional<Diagnosis::Verdict> saysNothing(const std::string& address, const CameraInfo& info) {
    Diagnosis::Camera camera;
    camera.address = address;
    camera.identity = identityOf(info);
    std::optional<Diagnosis::Verdict> verdict = Diagnosis::verdictOn(camera, {});
    return verdict && verdict->code == "garbage" ? verdict : std::nullopt;
}

} // namespace Console
