// A device plug-in of the host's tests: what a host gets from behind a library's border.

#include "Communicator/DeviceException.h"
#include "Device/Exceptions.h"
#include "DeviceControl/DeviceTypeManager.h"
#include "FakeCamera.h"

#include <memory>

using namespace Tolvane::DeviceFramework2::Device;

namespace {

/// Builds a camera from a communicator, and fails from a null one in the way that a device layer does.
struct PluginBuilder : Tests::FakeBuilder {
    ::Device* build(Communicator* communicator) const override {
        if (communicator == nullptr)
            throw ::DeviceException(L"no communicator", L"TestPlugin", 5);
        auto camera = std::make_unique<Tests::FakeCamera>();
        camera->installCmdHandler<Tests::Knock>(
            [](const std::shared_ptr<Cmd>& command, const CmdResultCallbacks&) {
                throw Exceptions::IncorrectCommandTypeException(command);
            });
        return camera.release();
    }
};

} // namespace

extern "C" __attribute__((visibility("default"))) int pnx_initialize_device_plugin(int version) {
    if (version != 1)
        return -1;
    static const Tests::FakeType type(new Tests::FakeLocator, new PluginBuilder);
    DeviceTypeManager::getInstance().addDeviceType(type);
    return 0;
}

extern "C" __attribute__((visibility("default"))) void pnx_uninitialize_device_plugin(...) {}
