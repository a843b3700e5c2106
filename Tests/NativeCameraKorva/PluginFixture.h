#pragma once
// The built plug-in, loaded as a host loads it. The path of the library is the build's to say.

#include "DeviceControl/DeviceType.h"
#include "DeviceControl/DeviceTypeManager.h"
#include "Platform/DynamicLibrary.h"

#include <stdexcept>
#include <string>
#include <vector>

namespace PluginTests {

using Types = std::vector<const DeviceType*>;

inline Types registeredTypes() {
    return DeviceTypeManager::getInstance().getDeviceTypes();
}

/// The plug-in's exported functions. The host's registry is empty again when this goes.
class Plugin {
public:
    Plugin() {
        const std::string reason = library_.load(KORVA_PLUGIN_FILE);
        if (!reason.empty())
            throw std::runtime_error(reason);
    }
    Plugin(const Plugin&) = delete;
    Plugin& operator=(const Plugin&) = delete;
    ~Plugin() { DeviceTypeManager::getInstance().clear(); }

    int initialize(int version) const { return function<int(int)>("pnx_initialize_device_plugin")(version); }
    template <typename... Argument>
    void uninitialize(Argument... argument) const {
        function<void(...)>("pnx_uninitialize_device_plugin")(argument...);
    }
    void initializeCamera() const { function<void()>("_Z21initializeKorvaCamerav")(); }
    const DeviceType& cameraType() const {
        return function<const DeviceType&()>("_Z18getKorvaCameraTypev")();
    }

private:
    template <typename Signature>
    Signature* function(const char* name) const {
        void* const found = library_.find(name);
        if (found == nullptr)
            throw std::runtime_error(std::string("no ") + name);
        return reinterpret_cast<Signature*>(found);
    }

    Platform::DynamicLibrary library_;
};

} // namespace PluginTests
