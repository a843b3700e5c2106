#include "SimulateCommand.h"

#include "Printable.h"
#include "ToolLog.h"

#include "Platform/Kernel.h"
#include "Platform/Terminal.h"

#include <chrono>
#include <cstdio>
#include <exception>
#include <sstream>

namespace Console {

namespace {

using Clock = std::chrono::steady_clock;

/// How soon Ctrl-C is noticed.
constexpr DWORD pollMs = 50;

void say(const std::string& line) {
    std::printf("%s\n", line.c_str());
    std::fflush(stdout); // whoever waits for a line in a pipe gets it now
}

bool isOver(const SimulateOptions& options, Clock::time_point start) {
    return Platform::interrupted() || (options.runTime && Clock::now() - start >= *options.runTime);
}

void serve(const SimulateOptions& options) {
    Simulator::ServerOptions serverOptions = options.server;
    serverOptions.log = [](const std::string& event) { say(printable(event)); };
    Simulator::CameraServer server(options.camera, serverOptions);
    say(simulateGreeting(options, server.binaryTcpPort(), server.textTcpPort(), server.discoveryUdpPort()));
    const auto start = Clock::now();
    server.start();
    while (!isOver(options, start))
        Sleep(pollMs);
    server.stop();
    say("The simulated camera has stopped.");
}

ExitStatus failed(const std::string& reason) {
    std::fprintf(stderr, "korva: %s\n", printable(reason).c_str());
    return ExitStatus::failed;
}

} // namespace

std::string simulateGreeting(const SimulateOptions& options, std::uint16_t binaryPort, std::uint16_t textPort,
                             std::uint16_t discoveryPort) {
    const Simulator::CameraSettings& camera = options.camera;
    const std::string& address = options.server.address;
    const Simulator::PictureSize size = camera.pictureSize();
    std::ostringstream text;
    text << "Simulated Korva camera " << printable(camera.model) << ", firmware "
         << printable(camera.firmware) << ", pictures of " << size.width << " x " << size.height
         << ", scene: " << printable(camera.scene.describe()) << "\n"
         << "  binary protocol on TCP " << address << ":" << binaryPort << "\n"
         << "  text language on TCP " << address << ":" << textPort << ", discovery on UDP " << address << ":"
         << discoveryPort << " (held, not answered)\n";
    for (const Simulator::Fault& fault : camera.faults)
        text << "  fault: " << fault.describe() << "\n";
    text << "Take a picture with: korva capture " << address;
    if (binaryPort != Simulator::binaryPort)
        text << " --port " << binaryPort;
    text << (options.runTime ? "" : "\nCtrl-C ends it.");
    return text.str();
}

ExitStatus runSimulate(const SimulateOptions& options, const CommonOptions& common) {
    Platform::catchInterrupts();
    try {
        applyToHost(common);
        const ToolLog log(common.log, nullptr);
        serve(options);
    } catch (const Simulator::ServerError& error) {
        return failed(
            std::string(error.what()) +
            "; try: another --address, --port or --text-port, or end the program that has the port");
    } catch (const std::exception& error) {
        return failed(error.what());
    }
    return ExitStatus::done;
}

} // namespace Console
