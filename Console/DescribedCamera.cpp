#include "DescribedCamera.h"

#include "SearchFacts.h"

#include "Communicator/EthernetCommunicator.h"
#include "Diagnosis/PictureRules.h"
#include "Diagnosis/Rules.h"
#include "Platform/Text.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>
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

} // namespace

std::optional<Diagnosis::Verdict> anotherThanDescribed(const CameraHost& host,
                                                       const NativeCamera& described) {
    const auto* const connection = dynamic_cast<EthernetCommunicator*>(described.getCommunicator());
    const std::string serialNumber = serialNumberOf(described);
    if (!isAtPortOfPictures(described) || serialNumber.empty())
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
    std::optional<Diagnosis::Verdict> verdict = oddityOf(address, info);
    return verdict && verdict->code == "garbage" ? verdict : std::nullopt;
}

std::optional<Diagnosis::Verdict> oddityOf(const std::string& address, const CameraInfo& info) {
    Diagnosis::Camera camera;
    camera.address = address;
    camera.identity = identityOf(info);
    std::optional<Diagnosis::Verdict> verdict = Diagnosis::verdictOn(camera, {});
    return verdict && isAboutIdentity(*verdict) ? verdict : std::nullopt;
}

bool isAboutIdentity(const Diagnosis::Verdict& verdict) {
    constexpr std::string_view codes[] = {"duplicate-address", "duplicate-mac", "garbage", "unknown-model"};
    return std::find(std::begin(codes), std::end(codes), verdict.code) != std::end(codes);
}

} // namespace Console
