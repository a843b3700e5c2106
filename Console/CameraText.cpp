#include "CameraText.h"

#include "Printable.h"

#include "Platform/Text.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cstddef>

namespace Console {

namespace {

using Json = nlohmann::ordered_json;

std::string narrow(const std::wstring& text) {
    return Platform::utf8FromWide(text);
}

std::string shown(const std::wstring& text) {
    return text.empty() ? "-" : printable(narrow(text));
}

std::string resolutionText(const CameraInfo& camera) {
    return std::to_string(camera.getResolutionX()) + " x " + std::to_string(camera.getResolutionY());
}

/// The six columns of the table; the last one is as wide as it is. Widths are those of usual values.
std::string row(const std::array<std::string, 6>& cells) {
    constexpr std::array<std::size_t, 6> widths = {15, 17, 20, 12, 11, 0};
    std::string line;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        line += cells[i];
        if (i + 1 < cells.size())
            line.append(std::max(widths[i], cells[i].size()) - cells[i].size() + 2, ' ');
    }
    return line;
}

Json jsonOf(const CameraInfo& camera) {
    Json object;
    object["address"] = narrow(camera.getIpAddress());
    object["macAddress"] = narrow(camera.getMacAddress());
    object["model"] = narrow(camera.getModel());
    object["serialNumber"] = narrow(camera.getSerialNumber());
    object["firmware"] = narrow(camera.getFW());
    object["subnetMask"] = narrow(camera.getSubnetMask());
    object["defaultGateway"] = narrow(camera.getDefaultGateway());
    object["resolution"]["x"] = camera.getResolutionX();
    object["resolution"]["y"] = camera.getResolutionY();
    object["cameraType"] = camera.getCameraTypeEnum();
    return object;
}

/// ASCII alone, so that no text of a camera's can steer a terminal.
std::string dumped(const Json& json) {
    return json.dump(-1, ' ', true, Json::error_handler_t::replace);
}

} // namespace

std::string cameraTableHead() {
    return row({"ADDRESS", "MAC ADDRESS", "MODEL", "SERIAL", "PIXELS", "FIRMWARE"});
}

std::string cameraRow(const CameraInfo& camera) {
    return row({shown(camera.getIpAddress()), shown(camera.getMacAddress()), shown(camera.getModel()),
                shown(camera.getSerialNumber()), resolutionText(camera), shown(camera.getFW())});
}

std::string cameraDetails(const CameraInfo& camera) {
    return "address          " + shown(camera.getIpAddress()) + "\nMAC address      " +
           shown(camera.getMacAddress()) + "\nmodel            " + shown(camera.getModel()) +
           "\nserial number    " + shown(camera.getSerialNumber()) + "\nfirmware         " +
           shown(camera.getFW()) + "\nsubnet mask      " + shown(camera.getSubnetMask()) +
           "\ndefault gateway  " + shown(camera.getDefaultGateway()) + "\nresolution       " +
           resolutionText(camera) + "\ncamera type      " + std::to_string(camera.getCameraTypeEnum());
}

std::string cameraJson(const CameraInfo& camera) {
    return dumped(jsonOf(camera));
}

std::string camerasJson(const std::vector<CameraInfo>& cameras, const std::string& cut) {
    Json object;
    object["cameras"] = Json::array();
    for (const CameraInfo& camera : cameras)
        object["cameras"].push_back(jsonOf(camera));
    if (!cut.empty())
        object["cut"] = cut;
    return dumped(object);
}

} // namespace Console
