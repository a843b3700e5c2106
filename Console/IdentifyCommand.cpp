#include "IdentifyCommand.h"

#include "CameraHost.h"
#include "CameraText.h"
#include "CommandRun.h"
#include "HardwareAddress.h"
#include "Printable.h"
#include "ToolLog.h"

#include "Diagnosis/Ipv4.h"
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

} // namespace

void addIdentifyOptions(const CommandLine::Options& command, IdentityOptions& options) {
    addAddress(command, options.camera);
    command.addFlag("--json", options.json, "Print one JSON object on standard output instead of words")
        .placeholder(" ");
    addPluginOption(command, options.camera);
    command.footer(exitStatusHelp);
}

void addDescribeOptions(const CommandLine::Options& command, IdentityOptions& options) {
    addAddress(command, options.camera);
    addPluginOption(command, options.camera);
    command.footer(exitStatusHelp);
}

ExitStatus runIdentify(const IdentityOptions& options, const CommonOptions& common) {
    return runJson(options.json, {}, common, [&](nlohmann::ordered_json& object) {
        warnOfNoDump(common);
        ToolLog log(common.log, nullptr);
        const CameraHost host(options.camera, log);
        const CameraInfo camera = withMacAddress(host.cameraAt(options.camera.address)->getCameraInfo(),
                                                 options.camera.address, log);
        object = cameraObject(camera);
        if (!options.json)
            say(cameraDetails(camera));
        return ExitStatus::done;
    });
}

ExitStatus runDescribe(const IdentityOptions& options, const CommonOptions& common) {
    return runCommand(common, OnInterrupt::note, [&] {
        ToolLog log(common.log, nullptr);
        const CameraHost host(options.camera, log);
        const std::string description = host.cameraAt(options.camera.address)->toXml();
        std::fputs(printableXml(description).c_str(), stdout);
    });
}

} // namespace Console
