#include "Scene.h"

#include "Communicator/DeviceException.h"
#include "ReferenceHost/HostControl.h"
#include "Support/PictureFiles.h"
#include "VantrelCommon/CameraInfo.h"

#include <algorithm>
#include <map>
#include <new>
#include <ostream>
#include <utility>

namespace Torture {
namespace {

constexpr const char* loggers[] = {
    "Plenar.KorvaCamera.KorvaInternalsComm",    "Plenar.KorvaCamera.KorvaCameraBuilder",
    "Plenar.KorvaCamera.KorvaCameraLocator",    "Plenar.KorvaCamera.KorvaCapture",
    "Plenar.KorvaCamera.KorvaImagingInterface", "Plenar.KorvaCamera.KorvaInternals"};

std::string narrow(const std::wstring& text) {
    return std::string(text.begin(), text.end());
}

/// "send 10.0.0.5:32769" of "send 10.0.0.5:32769 37 bytes": each place is a kind of calls of its own.
std::string nameOfLine(const std::string& line) {
    const std::size_t first = line.find(' ');
    const std::size_t second = line.find(' ', first + 1);
    const bool namesPlace = line.find(':', first) < second && !line.starts_with("fopen");
    return line.substr(0, namesPlace ? second : first);
}

} // namespace

std::ostream& operator<<(std::ostream& stream, const Call& call) {
    return stream << call.name << " #" << call.occurrence;
}

Scene::Scene() {
    ReferenceHost::setImagesSubDirectory(folder.path().wstring());
    for (const char* const logger : loggers) {
        logs_.emplace_back(logger);
        linesBefore_.push_back(0);
    }
}

Scene::~Scene() {
    world.network.openSockets.clear(); // residue() has told of them
}

std::string Scene::run(const Call& failing, const World::Calls::Failure& failure) {
    for (std::size_t at = 0; at < logs_.size(); ++at)
        linesBefore_[at] = logs_[at].lines().size();
    prepare();
    world.calls.clear();
    if (!failing.name.empty())
        world.calls.fail(failing.name, failure, failing.occurrence);
    try {
        return operate();
    } catch (const DeviceException& exception) {
        const std::string message = narrow(exception.getMessage());
        const bool isTheHosts = message == "torture" || message.starts_with("10.0.0.5:");
        return "throws DeviceException" + (isTheHosts ? "" : ": " + message);
    } catch (const TolvaneException&) {
        return "throws TolvaneException";
    } catch (const std::bad_alloc&) {
        return "throws bad_alloc";
    } catch (const std::exception& exception) {
        return std::string("throws ") + exception.what();
    } catch (...) {
        return "throws something";
    }
}

void Scene::takeStock() {
    wasReached_ = !world.calls.isToFail();
    world.calls.failNoMore();
    made_.clear();
    std::map<std::string, int> occurrences;
    for (const std::string& line : world.calls.lines()) {
        const std::string name = nameOfLine(line);
        // What is taken down cannot fail.
        if (!name.starts_with("close ") && !name.starts_with("delete "))
            made_.push_back({name, ++occurrences[name]});
    }
}

std::string Scene::residue() const {
    std::string text;
    const auto count = [&text](const char* what, std::size_t number) {
        if (number != 0)
            text += std::string(what) + ": " + std::to_string(number) + " ";
    };
    count("communicators", world.communicators.size() - static_cast<std::size_t>(ownCommunicators));
    count("connections", world.network.openConnections().size());
    count("images", world.imaging.alive.size());
    count("sockets", world.network.openSockets.size());
    count("startups", static_cast<std::size_t>(world.network.startups));
    count("files", static_cast<std::size_t>(world.system.openFiles));
    return text;
}

bool Scene::complained() const {
    for (std::size_t at = 0; at < logs_.size(); ++at) {
        const auto& lines = logs_[at].lines();
        for (std::size_t line = linesBefore_[at]; line < lines.size(); ++line)
            if (lines[line].level == "WARN" || lines[line].level == "ERROR")
                return true;
    }
    return false;
}

World::Peer& Scene::freshCamera(int host, int port) {
    World::Peer& camera = world.at("10.0.0." + std::to_string(host), port);
    camera.forget(); // what an earlier, broken run left
    return camera;
}

void Scene::answerIdentification(int host, const std::string& hardwareId) {
    // A version longer than what a string holds without memory of its own.
    World::answerIdentification(freshCamera(host, 32768),
                                {hardwareId, "3.2.0000000000000000015", "K-" + std::to_string(host)});
}

void Scene::answerGrab(int host) {
    World::answerCapture(freshCamera(host, 32769),
                         TestSupport::pngFile(TestSupport::uniformSamples(6, 5, 1, 0x1000)));
}

std::string textOf(const CameraInfo& info) {
    std::string text = std::to_string(info.getCameraTypeEnum());
    for (const std::wstring& field :
         {info.getIpAddress(), info.getFW(), info.getMacAddress(), info.getModel(), info.getSerialNumber(),
          info.getDefaultGateway(), info.getSubnetMask()})
        text += "|" + narrow(field);
    return text + "|" + std::to_string(info.getResolutionX()) + "x" + std::to_string(info.getResolutionY());
}

std::vector<Operation> operations() {
    std::vector<Operation> all = findingOperations();
    for (Operation& operation : pictureOperations())
        all.push_back(std::move(operation));
    return all;
}

void PrintTo(const Operation& operation, std::ostream* stream) {
    *stream << operation.name;
}

std::string nameOf(std::string operation) {
    std::ranges::replace(operation, ' ', '_');
    return operation;
}

} // namespace Torture
