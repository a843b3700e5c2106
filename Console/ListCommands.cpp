#include "ListCommands.h"

#include "CameraHost.h"
#include "CameraText.h"
#include "CommandRun.h"
#include "Printable.h"
#include "ToolLog.h"

#include "Platform/StandardError.h"

#include <cstdio>

namespace Console {

namespace {

constexpr auto exitStatusHelp =
    "Exit status: 0 done; 1 the plug-in, the camera or the network failed, or Ctrl-C; 2 wrong usage.";

void addJson(const CommandLine::Options& command, IdentityOptions& options, const std::string& help) {
    command.addFlag("--json", options.json, help).placeholder(" ");
}

void addEnd(const CommandLine::Options& command, IdentityOptions& options) {
    addPluginOption(command, options.camera);
    command.footer(exitStatusHelp);
}

void showFound(const CameraInfo& camera, bool isFirst, bool json) {
    std::FILE* const stream = json ? Platform::standardError() : stdout;
    if (isFirst && !json)
        std::fprintf(stream, "%s\n", cameraTableHead().c_str());
    std::fprintf(stream, "%s\n", cameraRow(camera).c_str());
    std::fflush(stream); // a search goes on for a while
}

/// Of a search that was cut nobody knows whether none answered.
std::string summary(std::size_t count, bool isCut) {
    if (count == 0)
        return isCut ? "No Korva camera found." : "No Korva camera answered.";
    return std::to_string(count) + (count == 1 ? " camera found." : " cameras found.");
}

} // namespace

void addDiscoverOptions(const CommandLine::Options& command, IdentityOptions& options) {
    addJson(command, options,
            "Print one JSON object on standard output; the line for each camera goes to standard error then");
    addEnd(command, options);
}

void addIdentifyOptions(const CommandLine::Options& command, IdentityOptions& options) {
    addAddress(command, options.camera);
    addJson(command, options, "Print one JSON object on standard output instead of words");
    addEnd(command, options);
}

void addDescribeOptions(const CommandLine::Options& command, IdentityOptions& options) {
    addAddress(command, options.camera);
    addEnd(command, options);
}

ExitStatus runDiscover(const IdentityOptions& options, const CommonOptions& common) {
    return runCommand(common, OnInterrupt::end, [&] {
        ToolLog log(common.log, nullptr);
        const CameraHost host(options.camera, log);
        std::vector<CameraInfo> cameras;
        const std::string cut = host.search([&](const CameraTemplatePointer& found) {
            cameras.push_back(found->getCameraInfo());
            showFound(cameras.back(), cameras.size() == 1, options.json);
        });
        warn(log.takeRemarks());
        if (!cut.empty())
            warn({cut});
        std::fprintf(options.json ? Platform::standardError() : stdout, "%s\n",
                     summary(cameras.size(), !cut.empty()).c_str());
        if (options.json)
            say(camerasJson(cameras, cut));
    });
}

ExitStatus runIdentify(const IdentityOptions& options, const CommonOptions& common) {
    return runCommand(common, OnInterrupt::end, [&] {
        ToolLog log(common.log, nullptr);
        const CameraHost host(options.camera, log);
        const CameraInfo camera = host.cameraAt(options.camera.address)->getCameraInfo();
        warn(log.takeRemarks());
        say(options.json ? cameraJson(camera) : cameraDetails(camera));
    });
}

ExitStatus runDescribe(const IdentityOptions& options, const CommonOptions& common) {
    return runCommand(common, OnInterrupt::end, [&] {
        ToolLog log(common.log, nullptr);
        const CameraHost host(options.camera, log);
        const std::string description = host.cameraAt(options.camera.address)->toXml();
        warn(log.takeRemarks());
        std::fputs(printableXml(description).c_str(), stdout);
    });
}

} // namespace Console
