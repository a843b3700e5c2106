#include "CameraText.h"

#include "Printable.h"

#include "Diagnosis/Json.h"
#include "Platform/Text.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cstddef>

namespace Console {

namespace {

std::string narrow(const std::wstring& text) {
    return Platform::utf8FromWide(text);
}

std::string shown(const std::wstring& text) {
    return text.empty() ? "-" : printable(narrow(text));
}

std::string resolutionText(const CameraInfo& camera) {
    return std::to_string(camera.getResolutionX()) + " x " + std::to_string(camera.getResolutionY());
}

std::string orDash(const std::string& text) {
    return text.empty() ? "-" : printable(text);
}

constexpr std::size_t columns = 7;

/// The columns of the table before the last one. Widths are those of usual values.
std::string row(const std::array<std::string, columns>& cells) {
    constexpr std::array<std::size_t, columns> widths = {15, 10, 17, 20, 8, 11, 17};
    std::string line;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        line += cells[i];
        line.append(std::max(widths[i], cells[i].size()) - cells[i].size() + 2, ' ');
    }
    return line;
}

} // namespace

std::string cameraTableHead() {
    return row({"ADDRESS", "ROOM", "MAC ADDRESS", "MODEL", "SERIAL", "PIXELS", "FIRMWARE"}) + "STATUS";
}

std::string cameraRow(const std::string& address, const std::string& room,
                      const std::optional<Diagnosis::Identity>& identity) {
    if (!identity)
        return row({orDash(address), orDash(room), "-", "-", "-", "-", "-"});
    return row({orDash(address), orDash(room), orDash(identity->macAddress), orDash(identity->model),
                orDash(identity->serialNumber),
                std::to_string(identity->width) + " x " + std::to_string(identity->height),
                orDash(identity->firmware)});
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
    return Diagnosis::dumped(cameraObject(camera));
}

nlohmann::ordered_json cameraObject(const CameraInfo& camera) {
    nlohmann::ordered_json object;
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

} // namespace Console
