// A device plug-in of the host's tests: what a host gets from behind a library's border.

#include "Device/Exceptions.h"
#include "DeviceControl/DeviceTypeManager.h"
#include "FakeCamera.h"
#include "TestPluginExport.h"

#include <memory>

namespace {

/// Builds a camera from a communicator, and fails from a null one in the way that a device layer does.
class PluginBuilder : public Tests::FakeBuilder {
public:
    Device* build(Communicator* communicator) const override {
        if (communicator == nullptr)
            throw DeviceException(L"no communicator", L"TestPlugin", 5);
        auto camera = std::make_unique<Tests::FakeCamera>();
        camera->installCmdHandler<Tolvane::DeviceFramework2::Device::Capture::FillNativeImage>(
            [](const std::shared_ptr<Tolvane::DeviceFramework2::Device::Cmd>& command,
               const Tolvane::DeviceFramework2::Device::CmdResultCallbacks&) {
                throw Tolvane::DeviceFramework2::Device::Exceptions::IncorrectCommandTypeException(command);
            });
        return camera.release();
    }
};

class PluginType : public Tests::FakeType {
public:
    PluginType() : FakeType(new Tests::FakeLocator, new PluginBuilder) {}
};

} // namespace

TEST_PLUGIN_EXPORT int pnx_initialize_device_plugin(int version) {
    if (version != 1)
        return -1;
    static const PluginType type;
    DeviceTypeManager::getInstance().addDeviceType(type);
    return 0;
}

TEST_PLUGIN_EXPORT void pnx_uninitialize_device_plugin(...) {}
