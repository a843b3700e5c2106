#include "SimulateCommand.h"

#include "CommandRun.h"
#include "Printable.h"
#include "ToolLog.h"

#include "Camera/CameraSet.h"
#include "Diagnosis/Json.h"
#include "Network/CameraServer.h"
#include "Platform/Kernel.h"
#include "Platform/StandardStreams.h"
#include "Platform/Terminal.h"

#include <nlohmann/json.hpp>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <list>
#include <locale>
#include <sstream>
#include <thread>
#include <utility>

namespace Console {

namespace {

using Clock = std::chrono::steady_clock;
using Json = nlohmann::ordered_json;

/// How soon Ctrl-C is noticed.
constexpr DWORD pollMs = 50;

/// How long the servers have for their end, so that with what is above it takes less than half a second.
constexpr std::chrono::milliseconds longestFarewell{300};

/// Nobody sees any more what happens: as with the other commands, that is an end.
std::atomic<bool> isOutputLost{false};

/// Any thread. Blocks while a pipe that nobody reads is full, and so does whoever asks the stream then.
void tell(const std::string& line) {
    say(line);
    if (std::ferror(stdout) != 0)
        isOutputLost = true;
}

bool isOver(const SimulateOptions& options, Clock::time_point start) {
    return isOutputLost || Platform::interrupted() ||
           (options.runTime && Clock::now() - start >= *options.runTime);
}

std::list<Simulator::CameraServer> serversOf(const SimulateOptions& options) {
    std::list<Simulator::CameraServer> servers;
    const std::vector<Simulator::CameraEntry> cameras = camerasToServe(options);
    for (const Simulator::CameraEntry& camera : cameras) {
        const std::string prefix = cameras.size() > 1 ? camera.address + ": " : "";
        const auto log = [prefix, json = options.json](const std::string& event) {
            if (!json)
                tell(printable(prefix + event));
        };
        servers.emplace_back(camera.settings, Simulator::ServerOptions{camera.address, camera.binaryTcpPort,
                                                                       camera.textTcpAndUdpPort,
                                                                       camera.textTcpAndUdpPort, log});
    }
    return servers;
}

/// Ends the process where the servers do not end in time, most likely because nobody reads what they say.
void stop(std::list<Simulator::CameraServer> servers, bool json) {
    for (Simulator::CameraServer& server : servers)
        server.requestStop();
    std::packaged_task<void()> farewell([&] {
        const bool one = servers.size() == 1;
        servers.clear();
        if (!json)
            say(one ? "The simulated camera has stopped." : "The simulated cameras have stopped.");
    });
    const std::future<void> stopped = farewell.get_future();
    std::thread thread(std::move(farewell));
    if (stopped.wait_for(longestFarewell) != std::future_status::ready)
        std::_Exit(static_cast<int>(ExitStatus::done));
    thread.join();
}

Json objectOf(const Simulator::CameraServer& server) {
    const Simulator::CameraSettings& camera = server.settings();
    const auto portOf = [](Simulator::Service service, std::uint16_t port) {
        return service == Simulator::Service::refused ? Json() : Json(port);
    };
    return {{"address", server.address()},
            {"room", camera.room},
            {"model", camera.model},
            {"serialNumber", camera.serialNumber},
            {"firmware", camera.firmware},
            {"picturePort", portOf(camera.binary, server.binaryTcpPort())},
            {"textPort", portOf(camera.text, server.textTcpPort())},
            {"discoveryPort", portOf(camera.discovery, server.discoveryUdpPort())}};
}

void greet(const std::list<Simulator::CameraServer>& servers, const SimulateOptions& options) {
    Json object{{"cameras", Json::array()}};
    for (const Simulator::CameraServer& server : servers)
        if (options.json)
            object["cameras"].push_back(objectOf(server));
        else if (!Platform::interrupted())
            tell(simulateGreeting(server));
    if (options.json)
        tell(Diagnosis::dumped(object));
    else if (!options.runTime)
        tell("Ctrl-C ends it.");
}

void serve(const SimulateOptions& options) {
    // While files are read and ports are taken, there is nothing that Ctrl-C would have to wait for.
    Platform::endAtInterrupts("", static_cast<int>(ExitStatus::done));
    std::list<Simulator::CameraServer> servers = serversOf(options);
    Platform::catchInterrupts();
    greet(servers, options);
    const auto start = Clock::now();
    for (Simulator::CameraServer& server : servers)
        server.start();
    while (!isOver(options, start))
        Sleep(pollMs);
    stop(std::move(servers), options.json);
}

std::string serviceLine(const std::string& language, Simulator::Service service, const std::string& address,
                        std::uint16_t port) {
    if (service == Simulator::Service::refused)
        return "  " + language + " refused";
    const std::string place = " " + address + ":" + std::to_string(port);
    return "  " + language + place + (service == Simulator::Service::silent ? " (silent)" : "");
}

} // namespace

std::string simulateGreeting(const Simulator::CameraServer& server) {
    const std::string& address = server.address();
    const Simulator::CameraSettings& camera = server.settings();
    const Simulator::PictureSize size = camera.pictureSize();
    std::ostringstream text;
    text.imbue(std::locale::classic()); // a size has no separators between its digits
    text << "Simulated Korva camera " << printable(camera.model) << ", firmware "
         << printable(camera.firmware) << ", pictures of " << size.width << " x " << size.height
         << ", scene: " << printable(camera.scene.describe()) << "\n"
         << "  room " << printable(camera.room)
         << (camera.announcedAddress.empty() ? "" : ", announced as " + camera.announcedAddress)
         << ", serial " << printable(camera.serialNumber) << ", hardware "
         << printable(camera.hardwareIdentifier()) << ", API " << printable(camera.api) << "\n"
         << "  " << camera.networkProtocol << ", net mask " << camera.netMask << ", gateway "
         << camera.gateway << "\n"
         << serviceLine("binary protocol on TCP", camera.binary, address, server.binaryTcpPort()) << "\n"
         << serviceLine("text language on TCP", camera.text, address, server.textTcpPort()) << "\n"
         << serviceLine("discovery on UDP", camera.discovery, address, server.discoveryUdpPort());
    for (const std::string& broadcast : server.broadcasts())
        text << ", " << broadcast;
    for (const Simulator::Fault& fault : camera.faults)
        text << "\n  fault: " << fault.describe();
    const bool hasCamerasPorts =
        server.binaryTcpPort() == Simulator::binaryPort && server.textTcpPort() == Simulator::textPort;
    if (address.starts_with("127."))
        text << "\nThis address is this computer's own: a search does not find it. Ask it with: "
             << (hasCamerasPorts ? "korva discover " + address : "korva capture --from FILE.xml");
    text << "\nTake a picture with: korva capture "
         << (hasCamerasPorts ? address : "--from a description with this address and port");
    return text.str();
}

const bool hasSimulator = true;

ExitStatus runSimulate(const SimulateOptions& options, const CommonOptions& common) {
    Platform::ignoreBrokenPipes();
    CommonOptions hostless = common;
    hostless.log = {}; // nothing is fetched here, so that there is no folder of dumps to make or to name
    return runJson(options.json, {}, hostless, [&](Json& /*object*/) {
        const ToolLog log(common.log, nullptr);
        try {
            serve(options);
            return ExitStatus::done;
        } catch (const Simulator::CameraSetError& error) {
            throw CommandFailure(
                Diagnosis::Trouble{.what = Diagnosis::Obstacle::simulatedSet, .reason = error.what()});
        } catch (const Simulator::ServerError& error) {
            throw CommandFailure(
                Diagnosis::Trouble{.what = Diagnosis::Obstacle::simulator, .reason = error.what()});
        }
    });
}

} // namespace Console
