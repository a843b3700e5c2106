// A complete host: loads the plug-in, finds cameras (or takes the one at a given address), takes a picture of
// each.

#include "Communicator/ClientFactory.h"
#include "Communicator/EthernetCommunicator.h"
#include "Device/CaptureCmds.h"
#include "DeviceControl/BroadcastWorkerObserver.h"
#include "DeviceControl/Device.h"
#include "DeviceControl/DeviceBuilder.h"
#include "DeviceControl/DeviceFramework1Locator.h"
#include "DeviceControl/DeviceTemplate.h"
#include "DeviceControl/DeviceType.h"
#include "ReferenceHost/PluginLibrary.h"

#include <clocale>
#include <cstdio>
#include <log4cxx/logmanager.h>
#include <log4cxx/spi/loggerrepository.h>
#include <memory>
#include <vector>

using namespace Tolvane::DeviceFramework2::Device;
using Cameras = std::vector<std::unique_ptr<Device>>;

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
    cameras.emplace_back(type.getBuilder().build(connection.get()));
    return cameras;
}

bool takePicture(Device& camera) {
    int health = 0; // the commands themselves report nothing
    camera.execInternal(std::make_shared<SetNetworkHealthCallback>(
                            [&health](NetworkHealth reported) { health = reported.getCode(); }),
                        {});
    image_t picture;
    camera.execInternal(std::make_shared<Capture::FillMonoImage>(picture), {});
    std::printf("%ls: %d x %u pixels, health %d\n", camera.getDescription().c_str(), picture.width,
                picture.height, health);
    return health == NetworkHealth::pictureCaptured;
}

int main(int argc, char** argv) {
    if (argc < 2)
        return 2;
    std::setlocale(LC_ALL, "C.UTF-8"); // else log lines lose every byte above 127
    // Else log4cxx follows any configuration that lies in the working folder.
    log4cxx::LogManager::getLoggerRepository()->setConfigured(true);
    ReferenceHost::PluginLibrary plugin(argv[1]);
    plugin.initialize(); // calls pnx_initialize_device_plugin(1)
    const DeviceType& type = *plugin.getDeviceTypes().at(0);
    std::string address = argc > 2 ? argv[2] : "";
    Cameras cameras =
        address.empty() ? search(type) : connect(type, std::wstring(address.begin(), address.end()));
    bool allDone = true;
    for (const auto& camera : cameras)
        allDone = camera != nullptr && takePicture(*camera) && allDone;
    return allDone ? 0 : 1; // devices go before the plug-in they came from
}
