#include "IdentifyCommand.h"

#include "CameraHost.h"
#include "CameraText.h"
#include "CommandRun.h"
#include "DescribedCamera.h"
#include "HardwareAddress.h"
#include "Printable.h"
#include "ProgressBar.h"
#include "ToolLog.h"
#include "Twins.h"

#include "Diagnosis/Ipv4.h"
#include "Diagnosis/Json.h"
#include "Diagnosis/Print.h"
#include "Platform/Text.h"

#include <nlohmann/json.hpp>

#include <cstdio>

namespace Console {

namespace {

/// The plug-in asks for it in a search only. What answers at the address that was asked is the camera,
/// whatever address it tells.
CameraInfo withMacAddress(CameraInfo camera, const std::string& asked, ToolLog& log) {
    const std::string address =
        Diagnosis::ipv4Number(asked) ? asked : Platform::utf8FromWide(camera.getIpAddress());
    if (camera.getMacAddress().empty())
        camera.setMacAddress(Platform::wideFromUtf8(hardwareAddressOf(address, log)));
    return camera;
}

/// To people and to programs, what is odd about the camera.
void noteOddity(const Diagnosis::Verdict& verdict, nlohmann::ordered_json& object) {
    warn(verdict);
    if (!object.contains("note"))
        object["note"] = Diagnosis::errorOf(verdict);
}

/// Of an address that another camera has as well: which one was asked is chance.
void noteTwin(const std::string& address, nlohmann::ordered_json& object) {
    const Twins twins = lookForTwins({address}, TwinLook::byArp);
    if (!twins.empty())
        noteOddity(twins.begin()->second, object);
}

/// Of what answers, and not as a camera does, or not as one that is known.
void noteStranger(const std::string& address, const CameraInfo& camera, nlohmann::ordered_json& object) {
    if (const auto verdict = oddityOf(address, camera))
        noteOddity(*verdict, object);
}

} // namespace

void addIdentifyOptions(const CommandLine::Options& command, IdentityOptions& options) {
    addAddress(command, options.camera);
    addJson(command, options.json);
    addPluginOption(command, options.camera);
    command.footer(exitStatusHelp);
}

void addDescribeOptions(const CommandLine::Options& command, IdentityOptions& options) {
    addAddress(command, options.camera);
    addJson(command, options.json, ", with the XML as \"description\"");
    addPluginOption(command, options.camera);
    command.footer(exitStatusHelp);
}

ExitStatus runIdentify(const IdentityOptions& options, const CommonOptions& common) {
    return runJson(options.json, {}, common, [&](nlohmann::ordered_json& object) {
        warnOfNoDump(common);
        ProgressBar status(streamOfStatus(common));
        ToolLog log(common.log, &status);
        const CameraHost host(options.camera, log);
        status.show("asking...");
        const CameraInfo camera = withMacAddress(host.cameraAt(options.camera.address)->getCameraInfo(),
                                                 options.camera.address, log);
        status.erase();
        object = cameraObject(camera);
        if (!options.json)
            say(cameraDetails(camera));
        noteTwin(options.camera.address, object);
        noteStranger(options.camera.address, camera, object);
        return tellLost(host.takeDumpFailures(), ExitStatus::done, object);
    });
}

ExitStatus runDescribe(const IdentityOptions& options, const CommonOptions& common) {
    return runJson(options.json, {}, common, [&](nlohmann::ordered_json& object) {
        warnOfNoDump(common);
        ProgressBar status(streamOfStatus(common));
        ToolLog log(common.log, &status);
        const CameraHost host(options.camera, log);
        status.show("asking...");
        const CameraPointer camera = host.cameraAt(options.camera.address);
        status.erase();
        const std::string description = printableXml(camera->toXml());
        object = {{"address", Platform::utf8FromWide(camera->getCameraInfo().getIpAddress())},
                  {"description", description}};
        if (!options.json)
            std::fputs(description.c_str(), stdout);
        noteTwin(options.camera.address, object);
        noteStranger(options.camera.address, camera->getCameraInfo(), object);
        return tellLost(host.takeDumpFailures(), ExitStatus::done, object);
    });
}

} // namespace Console
