#include "CameraHost.h"

#include "CommandRun.h"
#include "FailureAdvice.h"
#include "Printable.h"
#include "ToolLog.h"

#include "Communicator/ClientFactory.h"
#include "Communicator/CommunicatorTemplate.h"
#include "Communicator/EthernetCommunicator.h"
#include "DeviceControl/DeviceBuilder.h"
#include "DeviceControl/DeviceType.h"
#include "Platform/DynamicLibrary.h"
#include "Platform/Program.h"
#include "Platform/Terminal.h"
#include "Platform/Text.h"
#include "ReferenceHost/DeviceDescription.h"
#include "ReferenceHost/OperationLimits.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <system_error>

namespace Console {

namespace {

namespace fs = std::filesystem;

constexpr int textLanguagePort = 32768;
constexpr int hostsDefaultTimeout = -1;

/// Takes over what a builder made; null if that is no camera.
CameraPointer cameraOrNull(Device* built) {
    std::unique_ptr<Device> owned(built);
    auto* const camera = dynamic_cast<NativeCamera*>(built);
    if (camera != nullptr)
        static_cast<void>(owned.release());
    return CameraPointer(camera);
}

/// Whether the plug-in's remark says that there was no search at all. Error 232, no adapter with an address,
/// is an empty network rather than a failure.
bool saysNoSearch(const std::string& remark) {
    constexpr std::array signs = {
        "setsockopt failed", "Failed on call to GetAdaptersInfo ",
        "Failed on second call to GetAdaptersInfo ",
        "Korva Query - sendto call failed: ", "Unknown exception when trying to discover Korva devices."};
    return !remark.ends_with("GetAdaptersInfo 232") &&
           std::any_of(signs.begin(), signs.end(),
                       [&remark](const char* sign) { return remark.starts_with(sign); });
}

std::string secondsText(std::chrono::milliseconds time) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.1f s", std::chrono::duration<double>(time).count());
    return text.data();
}

const char* whyCut(CameraSearch::End end) {
    switch (end) {
    case CameraSearch::End::tooShort:
        return "it listens for a second after the last answer";
    case CameraSearch::End::stillListening:
        return "datagrams kept coming";
    case CameraSearch::End::unfollowed:
        return "it did not end";
    default:
        return "cameras kept it waiting";
    }
}

std::string cutLine(const std::string& time, CameraSearch::End end, std::size_t unasked) {
    const std::string others = unasked == 0 ? ""
                                            : "; " + std::to_string(unasked) +
                                                  (unasked == 1 ? " answer was" : " answers were") +
                                                  " not asked any more";
    return "the search was cut after " + time + ": " + whyCut(end) + others +
           "; cameras may be missing; try: a longer --max-time, or the camera's address";
}

void throwIfInterrupted() {
    if (Platform::interrupted())
        throw CommandFailure("interrupted");
}

} // namespace

std::string pluginBeside(const std::string& folder) {
    const std::string file = Platform::libraryFileName("NativeCameraKorva");
    std::string places;
    for (const char* const place : {".", "../lib", "../" KORVA_LIBRARY_FOLDER}) {
        const fs::path candidate = (fs::path(folder) / place / file).lexically_normal();
        std::error_code ignored;
        if (fs::exists(candidate, ignored))
            return candidate.string();
        const std::string looked = candidate.parent_path().string();
        if (places.find(looked) == std::string::npos || places.empty())
            places += (places.empty() ? "" : ", ") + looked;
    }
    throw CommandFailure("the plug-in " + file + " is in none of " + printable(places) +
                         "; try: --plugin FILE");
}

CameraHost::CameraHost(const CameraOptions& options, ToolLog& log) : limits_(options.limits), log_(log) {
    using ReferenceHost::PluginException;
    const std::string file =
        options.pluginFile.empty() ? pluginBeside(Platform::programFolder()) : options.pluginFile;
    try {
        plugin_ = std::make_unique<ReferenceHost::PluginLibrary>(file);
        plugin_->initialize();
    } catch (const PluginException& error) {
        const bool versionRefused = error.getReason() == PluginException::Reason::versionRefused;
        throw CommandFailure(printable(error.what()) + "; try: " +
                             (versionRefused ? "a plug-in and a tool of the same release"
                                             : "--plugin FILE with the plug-in's file"));
    }
    ReferenceHost::setDefaultTransportLimits(limits_.ofSpeed());
    if (plugin_->getDeviceTypes().empty())
        throw CommandFailure("The plug-in " + printable(file) +
                             " registers no camera type; try: --plugin FILE with the plug-in's file");
}

CameraHost::~CameraHost() {
    if (isThreadLeftBehind())
        static_cast<void>(plugin_.release());
}

std::string CameraHost::search(const CameraSearch::Found& found) const {
    CameraSearch search(type().getLocator(), log_, limits_);
    const CameraSearch::End end = search.await(found);
    throwIfInterrupted();
    for (const std::string& remark : log_.remarks())
        if (saysNoSearch(remark))
            throw CommandFailure(
                "no search: " + remark +
                "; try: check this computer's network adapters, or give the camera's address");
    const std::string time = secondsText(search.elapsed());
    if (end == CameraSearch::End::tooShort || end == CameraSearch::End::stillListening) {
        search.leave(); // or it might come to its own questions meanwhile
        return cutLine(time, end, askThemselves(search, found));
    }
    const TimeLimits::Time most = limits_.ofSearch();
    const bool isCut = end != CameraSearch::End::over || (most > most.zero() && search.elapsed() >= most);
    return isCut ? cutLine(time, end, search.unasked()) : "";
}

/// How many were not asked, since the time was over.
std::size_t CameraHost::askThemselves(const CameraSearch& search, const CameraSearch::Found& found) const {
    const std::vector<std::string> addresses = search.addresses();
    for (std::size_t asked = 0; asked < addresses.size(); ++asked) {
        const auto left = limits_.ofSearch() - search.elapsed();
        if (left <= left.zero())
            return addresses.size() - asked;
        const ReferenceHost::OperationLimits limits(left);
        const CameraPointer camera = identified(addresses[asked]);
        throwIfInterrupted();
        if (camera != nullptr)
            found(std::make_unique<NativeCameraTemplate>(type(), camera->getCameraInfo(),
                                                         CommunicatorTemplate(camera->getCommunicator())));
    }
    return 0;
}

/// Null if it cannot be identified; the log's remarks say why.
CameraPointer CameraHost::identified(const std::string& address) const {
    const std::unique_ptr<Communicator> connection(ClientFactory::createEthernetCommunicator(
        Platform::wideFromUtf8(address), textLanguagePort, hostsDefaultTimeout));
    const ReferenceHost::OperationLimits limits(limits_.ofIdentification());
    return cameraOrNull(type().getBuilder().build(connection.get()));
}

CameraPointer CameraHost::cameraAt(const std::string& address) const {
    CameraPointer camera = identified(address);
    throwIfInterrupted();
    if (camera != nullptr)
        return camera;
    const std::string reason = reasonOf(log_.takeRemarks());
    throw CommandFailure("no camera identified at " + printable(address) + ":" +
                         std::to_string(textLanguagePort) + ": " + reason + "; try: " + adviceFor(reason));
}

CameraPointer CameraHost::cameraOf(const std::string& descriptionFile) const {
    const fs::path file(std::u8string(descriptionFile.begin(), descriptionFile.end()));
    const auto description = ReferenceHost::DeviceDescription::fromFile(file);
    CameraPointer camera = cameraOrNull(type().getBuilder().build(description.root()));
    if (camera == nullptr)
        throw CommandFailure(printable(descriptionFile) +
                             " describes no Korva camera; try: korva describe ADDRESS, which prints what a "
                             "description holds");
    return camera;
}

CameraPointer CameraHost::cameraFrom(const NativeCameraTemplate& found) const {
    CameraPointer camera = cameraOrNull(type().getBuilder().build(found));
    if (camera == nullptr)
        throw CommandFailure("no device can be built of the camera at " +
                             printable(Platform::utf8FromWide(found.getCameraInfo().getIpAddress())));
    return camera;
}

CameraPointer CameraHost::cameraNamedBy(const CameraOptions& options) const {
    return options.descriptionFile.empty() ? cameraAt(options.address) : cameraOf(options.descriptionFile);
}

std::string placeOf(const NativeCamera& camera) {
    const auto* const connection = dynamic_cast<EthernetCommunicator*>(camera.getCommunicator());
    if (connection == nullptr)
        return "a camera without an address";
    return printable(Platform::utf8FromWide(connection->getAddress())) + ":" +
           std::to_string(connection->getPort());
}

} // namespace Console
