#include "Scene.h"

#include "Communicator/DeviceException.h"
#include "DeveloperDLL/DeveloperSettings.h"
#include "Support/OutsidePlugin.h"
#include "Support/SamplePictures.h"
#include "Support/WireMessages.h"
#include "VantrelCommon/CameraInfo.h"

#include <array>
#include <cctype>
#include <new>
#include <ostream>
#include <stdexcept>
#include <utility>

namespace Torture {
namespace {

Scene* onStage = nullptr;

constexpr const char* loggers[] = {
    "Plenar.KorvaCamera.KorvaInternalsComm",    "Plenar.KorvaCamera.KorvaCameraBuilder",
    "Plenar.KorvaCamera.KorvaCameraLocator",    "Plenar.KorvaCamera.KorvaCapture",
    "Plenar.KorvaCamera.KorvaImagingInterface", "Plenar.KorvaCamera.KorvaInternals"};

[[noreturn]] void raise(Thrown thrown) {
    switch (thrown) {
    case Thrown::deviceException:
        throw DeviceException(L"torture", L"Torture.cpp", 12);
    case Thrown::tolvaneException:
        throw TolvaneException(L"torture");
    case Thrown::badAlloc:
        throw std::bad_alloc();
    case Thrown::number:
        break;
    }
    throw 42;
}

std::string narrow(const std::wstring& text) {
    return std::string(text.begin(), text.end());
}

/// "write 32769" of "write 10.0.0.5:32769 37 bytes true 1"; the ports are two kinds of calls.
std::string nameOfLine(const std::string& line) {
    const std::size_t wordEnd = line.find(' ');
    const std::size_t colon = line.find(':');
    if (wordEnd == std::string::npos || colon == std::string::npos)
        return line;
    return line.substr(0, wordEnd) + line.substr(colon).replace(0, 1, " ").substr(0, 6);
}

} // namespace

std::ostream& operator<<(std::ostream& stream, const Call& call) {
    return stream << call.name << " #" << call.occurrence;
}

Scene::Scene() {
    onStage = this;
    World::reset();
    host.imagesFolder = folder.path().wstring();
    TestSupport::onScriptedHostCall() = [this](const std::string& call) { hostCall(call); };
    transport.onCall = [this](const std::string& line) {
        if (!line.starts_with("disconnect") && !line.starts_with("destroy"))
            hostCall(nameOfLine(line));
    };
    for (const char* const logger : loggers) {
        logs_.emplace_back(logger);
        linesBefore_.push_back(0);
    }
}

Scene::~Scene() {
    World::reset();
    onStage = nullptr;
}

Scene* Scene::current() {
    return onStage;
}

std::string Scene::run() {
    for (std::size_t at = 0; at < logs_.size(); ++at)
        linesBefore_[at] = logs_[at].lines().size();
    prepare();
    try {
        return operate();
    } catch (const DeviceException& exception) {
        const bool isOurs = exception.getMessage() != L"torture";
        return "throws DeviceException" + (isOurs ? ": " + narrow(exception.getMessage()) : std::string());
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

std::string Scene::residue() const {
    std::string text;
    const auto count = [&text](const char* what, long number) {
        if (number != 0)
            text += std::string(what) + ": " + std::to_string(number) + " ";
    };
    const auto lines = [this](const char* word) { return static_cast<long>(transport.calls(word).size()); };
    count("communicators", transport.alive() - ownCommunicators);
    count("connections", lines("connect ") - lines("disconnect "));
    count("images", static_cast<long>(host.imaging.alive.size()));
    count("sockets", static_cast<long>(network.openSockets.size()));
    count("startups", network.startups);
    count("files", World::System::current().openFiles);
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

void Scene::failPlatform(const Call& call) {
    constexpr int code = 10050;
    World::Calls::current().fail(call.name, code, call.occurrence);
}

void Scene::failHost(const Call& call, Thrown thrown) {
    failingHostCall_ = call;
    thrown_ = thrown;
}

void Scene::hostCall(const std::string& name) {
    const TestSupport::OutsidePlugin outside;
    if (!PluginAtWork::isNow())
        return;
    const int occurrence = ++hostOccurrences_[name];
    if (name == failingHostCall_.name && occurrence == failingHostCall_.occurrence)
        raise(thrown_);
}

namespace {

std::vector<Call> spread(const std::map<std::string, int>& occurrences) {
    std::vector<Call> calls;
    for (const auto& [name, count] : occurrences)
        for (int occurrence = 1; occurrence <= count; ++occurrence)
            calls.push_back({name, occurrence});
    return calls;
}

} // namespace

std::vector<Call> Scene::platformCalls() const {
    return spread(World::Calls::current().counts());
}

std::vector<Call> Scene::hostCalls() const {
    return spread(hostOccurrences_);
}

TestSupport::ScriptedCommunicator& Scene::freshCamera(int number, int port) {
    auto& camera = transport.at(L"10.0.0." + std::to_wstring(number), port);
    // What an earlier, broken run left.
    while (!camera.isExhausted()) {
        camera.writeBytes(nullptr, 0, false, 0);
        std::array<char, 4096> rest{};
        while (camera.readBytes(rest.data(), static_cast<unsigned int>(rest.size()), 0, 0) > 0) {
        }
    }
    return camera;
}

void Scene::answerIdentification(int number, const std::string& hardwareId) {
    auto& camera = freshCamera(number, 32768);
    // Longer than what a string holds without memory of its own.
    TestSupport::answerText(camera,
                            "[Version --HW " + hardwareId + " --SW 3.2.0000000000000000015 --API 1.4]");
    TestSupport::answerText(camera, "[SerialNumber --Camera K-" + std::to_string(number) + "]");
    TestSupport::answerText(camera, "[--Settings --NetworkProtocol DHCP --NetMask 255.255.255.0 "
                                    "--NetGateway 10.0.0.254]");
}

void Scene::answerGrab(int number) {
    auto& camera = freshCamera(number, 32769);
    const TestSupport::Bytes done = TestSupport::wireMessage({{0, {}}});
    camera.afterNextWrite().deliver(done);
    camera.afterNextWrite().deliver(done);
    camera.afterNextWrite().deliver(
        TestSupport::wireMessage({{6, TestSupport::pngFile(TestSupport::uniformSamples(6, 5, 1, 0x1000))}}));
}

std::string textOf(const CameraInfo& info) {
    std::string text = std::to_string(info.getCameraTypeEnum());
    for (const std::wstring& field :
         {info.getIpAddress(), info.getFW(), info.getMacAddress(), info.getModel(), info.getSerialNumber(),
          info.getDefaultGateway(), info.getSubnetMask()})
        text += "|" + narrow(field);
    return text + "|" + std::to_string(info.getResolutionX()) + "x" + std::to_string(info.getResolutionY());
}

std::vector<Call> callsOf(const Operation& operation, std::vector<Call> (Scene::*kind)() const) {
    const auto scene = operation.make();
    if (scene->run() != "good")
        throw std::logic_error(operation.name + " fails undisturbed");
    return ((*scene).*kind)();
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

std::string nameOf(const std::string& operation) {
    std::string name;
    bool isWordBegin = true;
    for (const char letter : operation) {
        if (letter != ' ')
            name +=
                isWordBegin ? static_cast<char>(std::toupper(static_cast<unsigned char>(letter))) : letter;
        isWordBegin = letter == ' ';
    }
    return name;
}

} // namespace Torture

// In the reference host's place.
bool DeveloperSettings::Boolean::value() const {
    const TestSupport::OutsidePlugin outside;
    if (Torture::Scene* const scene = Torture::Scene::current())
        scene->hostCall("setting");
    return false;
}
