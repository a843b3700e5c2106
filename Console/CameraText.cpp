#include "CameraText.h"

#include "Columns.h"
#include "Printable.h"

#include "Platform/Text.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>

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

constexpr std::size_t cellsOfARow = 7;
using Cells = std::array<std::string, cellsOfARow>;
using Widths = std::array<std::size_t, cellsOfARow>;

/// Those of usual values, and what no column exceeds, so that one odd camera does not spoil the table.
constexpr Widths usualWidths = {15, 10, 17, 20, 8, 11, 17};
constexpr Widths mostWidths = {24, 32, 17, 24, 12, 13, 24};

Cells cellsOf(const CameraLine& camera) {
    if (!camera.identity)
        return {orDash(camera.address), orDash(camera.room), "-", "-", "-", "-", "-"};
    const Diagnosis::Identity& identity = *camera.identity;
    return {orDash(camera.address),
            orDash(camera.room),
            orDash(identity.macAddress),
            orDash(identity.model),
            orDash(identity.serialNumber),
            std::to_string(identity.width) + " x " + std::to_string(identity.height),
            orDash(identity.firmware)};
}

std::string rowOf(const Cells& cells, const Widths& widths) {
    std::string line;
    for (std::size_t i = 0; i < cellsOfARow; ++i)
        line += padded(cells[i], widths[i]) + "  ";
    return line;
}

} // namespace

std::vector<std::string> cameraTable(const std::vector<CameraLine>& cameras) {
    std::vector<Cells> rows = {{"ADDRESS", "ROOM", "MAC ADDRESS", "MODEL", "SERIAL", "PIXELS", "FIRMWARE"}};
    std::transform(cameras.begin(), cameras.end(), std::back_inserter(rows), cellsOf);
    Widths widths = usualWidths;
    for (Cells& cells : rows)
        for (std::size_t i = 0; i < cellsOfARow; ++i) {
            cells[i] = shortened(cells[i], mostWidths[i]);
            widths[i] = std::max(widths[i], columnsOf(cells[i]));
        }
    std::vector<std::string> lines;
    lines.reserve(rows.size());
    for (const Cells& cells : rows)
        lines.push_back(rowOf(cells, widths));
    lines.front() += "STATUS";
    return lines;
}

std::string cameraDetails(const CameraInfo& camera) {
    return "address          " + shown(camera.getIpAddress()) + "\nMAC address      " +
           shown(camera.getMacAddress()) + "\nmodel            " + shown(camera.getModel()) +
           "\nserial number    " + shown(camera.getSerialNumber()) + "\nfirmware         " +
           shown(camera.getFW()) + "\nsubnet mask      " + shown(camera.getSubnetMask()) +
           "\ndefault gateway  " + shown(camera.getDefaultGateway()) + "\nresolution       " +
           resolutionText(camera) + "\ncamera type      " + std::to_string(camera.getCameraTypeEnum());
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
