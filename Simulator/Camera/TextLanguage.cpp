#include "Camera/TextLanguage.h"

#include <algorithm>

namespace Simulator {

namespace {

std::string valueOf(std::string_view key, const CameraSettings& camera) {
    if (key == "--HW")
        return camera.hardwareIdentifier();
    if (key == "--SW")
        return camera.firmware;
    if (key == "--API")
        return camera.api;
    if (key == "--Camera")
        return camera.serialNumber;
    if (key == "--NetworkProtocol")
        return camera.networkProtocol;
    if (key == "--NetMask")
        return camera.netMask;
    if (key == "--NetGateway")
        return camera.gateway;
    if (key == "--Room")
        return camera.room;
    return camera.announcedAddress; // --IP
}

} // namespace

std::string TextReply::text() const {
    std::string text = "[" + word;
    for (const auto& [key, value] : entries)
        text.append(" ").append(key).append(" ").append(value);
    return text + "]";
}

TextReply replyTo(const Query& query, std::span<const std::string_view> keys, const CameraSettings& camera) {
    TextReply reply{std::string(query.word), {}};
    for (const std::string_view key : keys.empty() ? query.keys : keys)
        if (std::ranges::find(query.keys, key) != query.keys.end())
            reply.entries.push_back({std::string(key), valueOf(key, camera)});
    return reply;
}

} // namespace Simulator
