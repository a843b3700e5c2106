#include "DeviceControl/DeviceTypeManager.h"

#include <algorithm>
#include <iterator>

DeviceTypeManager& DeviceTypeManager::getInstance() {
    static DeviceTypeManager instance;
    return instance;
}

void DeviceTypeManager::addDeviceType(const DeviceType& type) {
    const std::scoped_lock lock(mutex_);
    types_.push_back(&type);
}

std::vector<const DeviceType*> DeviceTypeManager::getDeviceTypes() const {
    const std::scoped_lock lock(mutex_);
    return types_;
}

void DeviceTypeManager::removeDeviceType(const DeviceType& type) {
    const std::scoped_lock lock(mutex_);
    const auto latest = std::find(types_.rbegin(), types_.rend(), &type);
    if (latest != types_.rend())
        types_.erase(std::prev(latest.base()));
}

void DeviceTypeManager::clear() {
    const std::scoped_lock lock(mutex_);
    types_.clear();
}
