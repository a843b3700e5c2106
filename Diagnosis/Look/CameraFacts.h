#pragma once
// Finding a camera among the facts.

#include "Diagnosis/Facts.h"

#include <algorithm>
#include <string>

namespace Diagnosis {

/// The camera of that address, added if it is not there.
inline Camera& cameraAt(const std::string& address, Facts& facts) {
    const auto found = std::ranges::find(facts.cameras, address, &Camera::address);
    if (found != facts.cameras.end())
        return *found;
    Camera& added = facts.cameras.emplace_back();
    added.address = address;
    return added;
}

/// Notes a hardware address once; an empty one is none.
inline void addMac(const std::string& mac, Camera& camera) {
    if (!mac.empty() && std::ranges::find(camera.macAddresses, mac) == camera.macAddresses.end())
        camera.macAddresses.push_back(mac);
}

} // namespace Diagnosis
