#include "CameraHost.h"

#include "Aside.h"
#include "CommandFailure.h"
#include "DumpFolder.h"
#include "LookAround.h"
#include "Printable.h"
#include "SearchFacts.h"
#include "ToolLog.h"

#include "Communicator/ClientFactory.h"
#include "Communicator/CommunicatorTemplate.h"
#include "Communicator/DeviceException.h"
#include "Communicator/EthernetCommunicator.h"
#include "DeviceControl/DeviceBuilder.h"
#include "DeviceControl/DeviceType.h"
#include "Diagnosis/Ipv4.h"
#include "Diagnosis/Rules.h"
#include "Diagnosis/RulesOfSearch.h"
#include "Look/NetworkLook.h"
#include "Platform/DynamicLibrary.h"
#include "Platform/ErrorText.h"
#include "Platform/Path.h"
#include "Platform/Program.h"
#include "Platform/Text.h"
#include "ReferenceHost/DeviceDescription.h"
#include "ReferenceHost/OperationLimits.h"
#include "VantrelCommon/PlenarDiagnostics.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <system_error>
#include <utility>

namespace Console {

namespace {

namespace fs = std::filesystem;
using Diagnosis::Obstacle;
using Diagnosis::Trouble;

constexpr int hostsDefaultTimeout = -1;

/// Takes over what a builder made; null if that is no camera.
CameraPointer cameraOrNull(Device* built) {
    std::unique_ptr<Device> owned(built);
    auto* const camera = dynamic_cast<NativeCamera*>(built);
    if (camera != nullptr)
        static_cast<void>(owned.release());
    return CameraPointer(camera);
}

Diagnosis::CutBy cutBy(CameraSearch::End end) {
    switch (end) {
    case CameraSearch::End::tooShort:
        return Diagnosis::CutBy::ownLength;
    case CameraSearch::End::stillListening:
        return Diagnosis::CutBy::datagrams;
    case CameraSearch::End::unfollowed:
        return Diagnosis::CutBy::nothing;
    default:
        return Diagnosis::CutBy::cameras;
    }
}

/// Of a stored description.
CommandFailure descriptionFailure(const fs::path& file, std::string reason) {
    return CommandFailure(Trouble{
        .what = Obstacle::description, .place = Platform::utf8FromPath(file), .reason = std::move(reason)});
}

/// Throws CommandFailure with the system's reason. What can be read once, such as a pipe, is not opened.
void requireReadable(const fs::path& file) {
    std::error_code ignored;
    const fs::file_status status = fs::status(file, ignored);
    if (fs::exists(status) && !fs::is_regular_file(status) && !fs::is_directory(status))
        return;
    errno = 0;
    if (!fs::is_directory(status) && std::ifstream(file).is_open())
        return;
    const std::error_code reason(fs::is_directory(status) ? EISDIR : errno, std::generic_category());
    throw descriptionFailure(file, Platform::errorText(reason));
}

ReferenceHost::DeviceDescription readDescription(const fs::path& file) {
    try {
        return ReferenceHost::DeviceDescription::fromFile(file);
    } catch (const DeviceException& error) {
        std::string reason = reasonFrom(error);
        const std::string place = Platform::utf8FromPath(file) + ": ";
        throw descriptionFailure(file, reason.starts_with(place) ? reason.substr(place.size()) : reason);
    }
}

/// Null if it cannot be identified.
CameraPointer buildAt(const DeviceBuilder& builder, const std::string& address, TimeLimits::Time time) {
    const std::unique_ptr<Communicator> connection(ClientFactory::createEthernetCommunicator(
        Platform::wideFromUtf8(address), Diagnosis::textPort, hostsDefaultTimeout));
    const ReferenceHost::OperationLimits limits(time);
    return cameraOrNull(builder.build(connection.get()));
}

} // namespace

std::string pluginBeside(const std::string& folder) {
    const std::string file = Platform::libraryFileName("NativeCameraKorva");
    std::string places;
    for (const char* const place : {".", "../lib", "../" KORVA_LIBRARY_FOLDER}) {
        const fs::path candidate = (Platform::pathFromUtf8(folder) / place / file).lexically_normal();
        std::error_code ignored;
        if (fs::exists(candidate, ignored))
            return Platform::utf8FromPath(candidate);
        const std::string looked = Platform::utf8FromPath(candidate.parent_path());
        if (places.find(looked) == std::string::npos || places.empty())
            places += (places.empty() ? "" : ", ") + looked;
    }
    throw CommandFailure(Trouble{.what = Obstacle::noPlugin, .place = file, .reason = places});
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
        throw CommandFailure(
            Trouble{.what = versionRefused ? Obstacle::pluginOfAnotherRelease : Obstacle::plugin,
                    .reason = error.what()});
    }
    ReferenceHost::setDefaultTransportLimits(limits_.ofSpeed());
    if (plugin_->getDeviceTypes().empty())
        throw CommandFailure(Trouble{.what = Obstacle::pluginWithoutCameras, .place = file});
    if (ToolLog::isDumpingPictures())
        nameDumps();
}

/// A thread that was left behind may be at a dump.
void CameraHost::nameDumps() {
    if (dumps_ != nullptr)
        return;
    dumps_.reset(new DumpFolder(Platform::utf8FromWide(PlenarDiagnostics::getImagesSubDirectory())),
                 [](DumpFolder* dumps) {
                     if (isThreadLeftBehind())
                         dumps->nameTheRest();
                     else
                         delete dumps;
                 });
}

void CameraHost::claimDumps(const std::string& address) const {
    if (dumps_ != nullptr)
        dumps_->claim(address);
}

std::function<void()> CameraHost::claimOf(const std::string& address) const {
    return [dumps = dumps_, address] {
        if (dumps != nullptr)
            dumps->claim(address);
    };
}

void CameraHost::nameOtherDumps() const {
    if (dumps_ != nullptr)
        dumps_->nameTheRest();
}

std::vector<Diagnosis::Verdict> CameraHost::takeDumpFailures() const {
    return dumps_ == nullptr ? std::vector<Diagnosis::Verdict>() : dumps_->takeFailures();
}

CameraHost::~CameraHost() {
    if (isThreadLeftBehind())
        static_cast<void>(plugin_.release());
}

Diagnosis::Facts CameraHost::searchFacts(const CameraSearch::Found& found) const {
    CameraSearch search(type().getLocator(), log_, limits_);
    std::vector<CameraInfo> infos;
    const auto note = [&](CameraTemplatePointer camera) {
        infos.push_back(camera->getCameraInfo());
        found(std::move(camera));
    };
    const CameraSearch::End end = search.await(note);
    throwIfInterrupted();
    const std::string cut = cutOf(search, end, note);
    const SearchProgress progress = search.progress();
    askThemselves(passedWithoutHardwareAddress(progress), search, note);
    Diagnosis::Facts facts = factsOf(progress, infos);
    facts.search->cut = cut;
    lookAtComputer(facts);
    completeNetworks(facts);
    if (cut.empty() && tellsTooLittle(facts)) {
        askThemselves(absorbLook(facts, lookForAnybody()), search, note);
        throwIfInterrupted();
        addFound(infos, facts);
    }
    nameOtherDumps(); // its threads have ended, and the next ones may bear their numbers
    return facts;
}

std::string CameraHost::cutOf(CameraSearch& search, CameraSearch::End end,
                              const CameraSearch::Found& found) const {
    const auto after = std::chrono::duration_cast<Diagnosis::Milliseconds>(search.elapsed());
    if (end == CameraSearch::End::tooShort || end == CameraSearch::End::stillListening) {
        search.leave(); // or it might come to its own questions meanwhile
        const std::size_t unasked = askThemselves(search.addresses(), search, found);
        return Diagnosis::cutReason(after, cutBy(end), unasked);
    }
    const TimeLimits::Time most = limits_.ofSearch();
    const bool isCut = end != CameraSearch::End::over || (most > most.zero() && search.elapsed() >= most);
    return isCut ? Diagnosis::cutReason(after, cutBy(end), search.unasked()) : "";
}

/// How many were not asked, since the time was over.
std::size_t CameraHost::askThemselves(const std::vector<std::string>& addresses, const CameraSearch& search,
                                      const CameraSearch::Found& found) const {
    for (std::size_t asked = 0; asked < addresses.size(); ++asked) {
        const bool isBounded = limits_.ofSearch() > limits_.ofSearch().zero();
        const auto left = limits_.ofSearch() - search.elapsed();
        if (isBounded && left <= left.zero())
            return addresses.size() - asked;
        if (!Diagnosis::ipv4Number(addresses[asked]))
            continue; // any other text is not looked up
        const CameraPointer camera = std::move(identify({addresses[asked]}, left).front().camera);
        if (camera == nullptr && isBounded && search.elapsed() >= limits_.ofSearch())
            return addresses.size() - asked; // this one had no time either
        if (camera != nullptr)
            found(std::make_unique<NativeCameraTemplate>(type(), camera->getCameraInfo(),
                                                         CommunicatorTemplate(camera->getCommunicator())));
    }
    return 0;
}

std::vector<CameraHost::Identified> CameraHost::identified(const std::vector<std::string>& addresses) const {
    return identify(addresses, limits_.ofIdentification().zero());
}

std::vector<CameraHost::Identified> CameraHost::identify(const std::vector<std::string>& addresses,
                                                         TimeLimits::Time most) const {
    // The thread may be left behind: what it uses is the plug-in's, or shared.
    const auto results = std::make_shared<std::vector<Identified>>(addresses.size());
    std::vector<std::function<void()>> works;
    for (std::size_t i = 0; i < addresses.size(); ++i)
        works.emplace_back([results, i, most, dumps = dumps_, address = addresses[i],
                            &builder = type().getBuilder(), time = limits_.ofIdentification()] {
            const ReferenceHost::OperationLimits limits(most);
            const auto begin = std::chrono::steady_clock::now();
            Identified& result = (*results)[i];
            result.camera = buildAt(builder, address, time);
            if (dumps != nullptr)
                dumps->claim(address); // of a picture that told its size
            result.attempt.succeeded = result.camera != nullptr;
            result.attempt.took = std::chrono::duration_cast<std::chrono::milliseconds>(
                std::chrono::steady_clock::now() - begin);
        });
    std::vector<std::vector<Diagnosis::LogLine>> lines = doAside(log_, std::move(works));
    for (std::size_t i = 0; i < lines.size(); ++i)
        (*results)[i].attempt.lines = std::move(lines[i]);
    return std::move(*results);
}

CameraPointer CameraHost::cameraAt(const std::string& address) const {
    Identified result = std::move(identified({address}).front());
    if (result.camera != nullptr)
        return std::move(result.camera);
    throw CommandFailure(whyNot({{address, result.attempt}}).front());
}

CameraPointer CameraHost::cameraOf(const std::string& descriptionFile) const {
    const fs::path file = Platform::pathFromUtf8(descriptionFile);
    requireReadable(file);
    const auto description = readDescription(file);
    CameraPointer camera = cameraOrNull(type().getBuilder().build(description.root()));
    if (camera == nullptr)
        throw CommandFailure(Trouble{.what = Obstacle::descriptionOfAnother, .place = descriptionFile});
    return camera;
}

CameraPointer CameraHost::cameraFrom(const NativeCameraTemplate& found) const {
    CameraPointer camera = cameraOrNull(type().getBuilder().build(found));
    if (camera == nullptr)
        throw CommandFailure(Trouble{.what = Obstacle::noDevice,
                                     .place = Platform::utf8FromWide(found.getCameraInfo().getIpAddress())});
    return camera;
}

std::vector<Diagnosis::Verdict> whyNot(const std::vector<FailedAttempt>& failed,
                                       const Diagnosis::Facts& seen) {
    Diagnosis::Facts facts;
    facts.search = seen.search;
    facts.foreign = seen.foreign;
    facts.limitedOnly = seen.limitedOnly;
    std::vector<std::string> addresses;
    addresses.reserve(failed.size());
    for (const FailedAttempt& each : failed)
        addresses.push_back(each.address);
    std::chrono::milliseconds longest{};
    for (const FailedAttempt& each : failed)
        longest = std::max(longest, each.attempt.took);
    lookAtComputer(facts);
    lookAt(addresses, facts, longest);
    throwIfInterrupted();
    std::vector<Diagnosis::Verdict> verdicts;
    for (const FailedAttempt& each : failed) {
        Diagnosis::Camera& camera = cameraIn(facts, each.address);
        camera.wasAskedFor = true;
        for (const Diagnosis::Camera& answered : seen.cameras) {
            if (answered.address != each.address)
                continue;
            camera.answeredSearch = answered.answeredSearch;
            camera.room = answered.room;
        }
        camera.attempts.push_back(each.attempt);
        std::optional<Diagnosis::Verdict> verdict = Diagnosis::verdictOnReturn(each.attempt, camera);
        if (!verdict)
            verdict = Diagnosis::verdictOn(camera, facts);
        const bool isFailure = verdict && verdict->severity == Diagnosis::Severity::failure;
        verdicts.push_back(isFailure ? *verdict : Diagnosis::verdictOn(each.attempt, camera).value());
    }
    return verdicts;
}

Diagnosis::Verdict orOfTheWay(Diagnosis::Verdict failure, const Diagnosis::Camera& camera,
                              const Diagnosis::Facts& before, bool isAtItsPorts) {
    if (!Diagnosis::mayBeOfTheWay(failure))
        return failure;
    Diagnosis::Facts now;
    lookAtComputer(now);
    if (std::optional<Diagnosis::Verdict> way = Diagnosis::verdictOnWay(camera, before, now))
        return *std::move(way);
    if (!isAtItsPorts)
        return failure;
    now.cameras = {camera};
    now.cameras.front().attempts.clear();
    lookAt({camera.address}, now);
    throwIfInterrupted();
    std::optional<Diagnosis::Verdict> look = Diagnosis::verdictOn(now.cameras.front(), now);
    const bool isGone = look && (look->code == "absent" || look->code == "died-after-answer");
    return isGone ? *std::move(look) : std::move(failure);
}

bool isAtPortOfPictures(const NativeCamera& camera) {
    const auto* const connection = dynamic_cast<EthernetCommunicator*>(camera.getCommunicator());
    return connection != nullptr && connection->getPort() == Diagnosis::picturePort;
}

std::string placeOf(const NativeCamera& camera) {
    const auto* const connection = dynamic_cast<EthernetCommunicator*>(camera.getCommunicator());
    if (connection == nullptr)
        return "a camera without an address";
    return printable(Platform::utf8FromWide(connection->getAddress())) + ":" +
           std::to_string(connection->getPort());
}

} // namespace Console
