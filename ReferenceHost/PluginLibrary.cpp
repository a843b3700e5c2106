#include "ReferenceHost/PluginLibrary.h"

#include "DeviceControl/DeviceTypeManager.h"
#include "Platform/DynamicLibrary.h"

#include <mutex>

namespace {

using Initialize = int (*)(int);
using Uninitialize = void (*)(...);

constexpr auto entryPoint = "pnx_initialize_device_plugin";
constexpr auto exitPoint = "pnx_uninitialize_device_plugin";

/// Held while a plug-in is loaded, registers its types and is unloaded: so each plug-in's types can be told
/// from the others', and what a library does at its unloading is over when the next one is loaded.
std::mutex& comingAndGoing() {
    static std::mutex instance;
    return instance;
}

} // namespace

namespace ReferenceHost {

struct PluginLibrary::State {
    std::string path;
    Platform::DynamicLibrary library;
    std::vector<const DeviceType*> types;

    void noteTypesBehind(std::size_t count) {
        const auto all = DeviceTypeManager::getInstance().getDeviceTypes();
        for (std::size_t at = count; at < all.size(); ++at)
            types.push_back(all[at]);
    }
};

PluginException::PluginException(Reason reason, const std::string& text)
    : std::runtime_error(text), reason_(reason) {}

PluginException::~PluginException() = default;

PluginLibrary::PluginLibrary(const std::string& path) : state_(std::make_unique<State>()) {
    state_->path = path;
    const std::scoped_lock lock(comingAndGoing());
    const std::string reason = state_->library.load(path);
    if (!reason.empty())
        throw PluginException(PluginException::Reason::notLoadable,
                              "The plug-in " + path + " cannot be loaded: " + reason);
    if (state_->library.find(entryPoint) == nullptr) {
        state_->library.unload();
        throw PluginException(PluginException::Reason::noEntryPoint,
                              path + " is no device plug-in: it has no entry point " + entryPoint);
    }
}

PluginLibrary::~PluginLibrary() {
    const std::scoped_lock lock(comingAndGoing());
    if (void* const found = state_->library.find(exitPoint))
        reinterpret_cast<Uninitialize>(found)();
    for (const DeviceType* const type : state_->types)
        DeviceTypeManager::getInstance().removeDeviceType(*type);
    state_->library.unload();
}

void PluginLibrary::initialize(int version) {
    const auto enter = reinterpret_cast<Initialize>(state_->library.find(entryPoint));
    const std::scoped_lock lock(comingAndGoing());
    const std::size_t before = DeviceTypeManager::getInstance().getDeviceTypes().size();
    const int result = enter(version);
    state_->noteTypesBehind(before);
    if (result != 0)
        throw PluginException(PluginException::Reason::versionRefused,
                              "The plug-in " + state_->path + " refuses version " + std::to_string(version) +
                                  " of the plug-in interface: its entry point returned " +
                                  std::to_string(result));
}

const std::vector<const DeviceType*>& PluginLibrary::getDeviceTypes() const {
    return state_->types;
}

} // namespace ReferenceHost
