// A complete host: loads the plug-in, finds cameras (or takes the one at a given address), takes a picture of
// each and saves it, or says why there is none.

#include "Communicator/ClientFactory.h"
#include "Communicator/EthernetCommunicator.h"
#include "Device/CaptureCmds.h"
#include "DeviceControl/BroadcastWorkerObserver.h"
#include "DeviceControl/Device.h"
#include "DeviceControl/DeviceBuilder.h"
#include "DeviceControl/DeviceFramework1Locator.h"
#include "DeviceControl/DeviceTemplate.h"
#include "DeviceControl/DeviceType.h"
#include "NativeCameraControl/ImagingInterface.h"
#include "ReferenceHost/PluginLibrary.h"

#include <clocale>
#include <cstdio>
#include <fstream>
#include <log4cxx/appenderskeleton.h>
#include <log4cxx/level.h>
#include <log4cxx/logger.h>
#include <log4cxx/logmanager.h>
#include <log4cxx/spi/loggerrepository.h>
#include <memory>
#include <string>
#include <utility>
#include <vector>

using namespace Tolvane::DeviceFramework2::Device;
using Cameras = std::vector<std::unique_ptr<Device>>;

// Keeps the plug-in's warn and error lines: only they say why something failed. One thread; a host with
// several keeps lines apart by the thread that logs them, which is the one that uses the camera.
class Reasons : public log4cxx::AppenderSkeleton {
public:
    void close() override {}
    bool requiresLayout() const override { return false; }
    std::string take() { return std::exchange(text_, {}); }

protected:
    void append(const log4cxx::spi::LoggingEventPtr& event, log4cxx::helpers::Pool&) override {
        text_ += "  " + event->getLevel()->toString() + " " + event->getMessage() + "\n";
    }

private:
    std::string text_;
};

std::shared_ptr<Reasons> setLoggingUp() {
    using log4cxx::Level;
    // Else log4cxx follows any configuration that lies in the working folder.
    log4cxx::LogManager::getLoggerRepository()->setConfigured(true);
    auto reasons = std::make_shared<Reasons>();
    log4cxx::Logger::getRootLogger()->setLevel(Level::getWarn());
    log4cxx::Logger::getRootLogger()->addAppender(reasons);
    return reasons;
}

// A search hands over a template for each camera; the builder makes a device of it.
struct Collector : BroadcastWorkerObserver {
    void deviceFound(DeviceTemplate* found, int) override { templates.emplace_back(found); }
    std::vector<std::unique_ptr<DeviceTemplate>> templates;
};

Cameras search(const DeviceType& type) {
    Collector collector;
    type.getLocator().broadcastObserverSearch(&collector, 0); // blocks a second or more
    Cameras cameras;
    for (const auto& found : collector.templates)
        cameras.emplace_back(type.getBuilder().build(*found));
    return cameras;
}

Cameras connect(const DeviceType& type, const std::wstring& address) {
    const std::unique_ptr<Communicator> connection(
        ClientFactory::createEthernetCommunicator(address, 32768, -1));
    Cameras cameras;
    cameras.emplace_back(type.getBuilder().build(connection.get())); // null: no camera answered there
    return cameras;
}

void setExposure(Device& camera, int milliseconds) {
    constexpr int unitsPerMillisecond = 100; // the interface counts 10 us, the camera whole 100 ms
    auto* const imaging =
        dynamic_cast<ImagingInterface*>(camera.getInterface(ImagingInterface::interfaceTypeName));
    if (imaging != nullptr)
        imaging->setExposureTime(milliseconds * unitsPerMillisecond);
}

// As PGM, which needs no library: rows from the top, a byte for each pixel.
void save(const image_t& picture, const std::string& name) {
    std::ofstream file(name, std::ios::binary);
    file << "P5\n" << picture.width << ' ' << picture.height << "\n255\n";
    file.write(reinterpret_cast<const char*>(picture.pixels.get()),
               std::streamsize{picture.width} * picture.height);
}

bool takePicture(Device& camera, const std::string& name) {
    int health = 0; // the commands themselves report nothing
    camera.execInternal(std::make_shared<SetNetworkHealthCallback>(
                            [&health](NetworkHealth reported) { health = reported.getCode(); }),
                        {});
    setExposure(camera, 500);
    image_t picture;
    camera.execInternal(std::make_shared<Capture::FillMonoImage>(picture), {});
    std::printf("%ls: %d x %u pixels, health %d\n", camera.getDescription().c_str(), picture.width,
                picture.height, health);
    if (health != NetworkHealth::pictureCaptured)
        return false; // the pixels are black then
    save(picture, name);
    return true;
}

int main(int argc, char** argv) {
    if (argc < 2)
        return 2;
    std::setlocale(LC_ALL, "C.UTF-8"); // else log lines lose every byte above 127
    const std::shared_ptr<Reasons> reasons = setLoggingUp();
    ReferenceHost::PluginLibrary plugin(argv[1]);
    plugin.initialize(); // calls pnx_initialize_device_plugin(1)
    const DeviceType& type = *plugin.getDeviceTypes().at(0);
    std::string address = argc > 2 ? argv[2] : "";
    Cameras cameras =
        address.empty() ? search(type) : connect(type, std::wstring(address.begin(), address.end()));
    bool allDone = true;
    int number = 0;
    for (const auto& camera : cameras) {
        const bool isTaken =
            camera != nullptr && takePicture(*camera, "camera-" + std::to_string(++number) + ".pgm");
        const std::string why = reasons->take();
        if (!isTaken)
            std::printf("no picture:\n%s", why.c_str());
        allDone = allDone && isTaken;
    }
    return allDone ? 0 : 1; // devices go before the plug-in they came from
}
