#include "Camera/SettingTable.h"

#include "Camera/Ipv4.h"
#include "Camera/ModelTable.h"

#include <stdexcept>
#include <vector>

namespace Simulator {

namespace {

[[noreturn]] void refuse(const std::string& text, const std::string& due) {
    throw std::invalid_argument("\"" + text + "\" is " + due);
}

template <std::string CameraSettings::*member>
void setText(CameraEntry& camera, const std::string& text) {
    camera.settings.*member = text;
}

template <Service CameraSettings::*member>
void setService(CameraEntry& camera, const std::string& text) {
    const auto service = serviceFromText(text);
    if (!service)
        refuse(text, "none of answered, silent, refused");
    camera.settings.*member = *service;
}

void setAddress(CameraEntry& camera, const std::string& text) {
    camera.address = text;
}

void setBinaryPort(CameraEntry& camera, std::uint16_t port) {
    camera.binaryTcpPort = port;
}

void setTextPort(CameraEntry& camera, std::uint16_t port) {
    camera.textTcpAndUdpPort = port;
}

void setSize(CameraEntry& camera, const std::string& text) {
    camera.settings.size = pictureSizeFromText(text);
    if (!camera.settings.size)
        refuse(text, "not WIDTHxHEIGHT, 1 to 65535 each");
}

void setScene(CameraEntry& camera, const std::string& text) {
    camera.settings.scene = parseScene(text);
}

void setSeed(CameraEntry& camera, std::uint64_t seed) {
    camera.settings.seed = seed;
}

void setWaitExposure(CameraEntry& camera, bool wait) {
    camera.settings.waitExposure = wait;
}

void addFault(CameraEntry& camera, const std::string& text) {
    camera.settings.faults.push_back(parseFault(text));
}

void setNetMask(CameraEntry& camera, const std::string& text) {
    if (!netMaskFromText(text))
        refuse(text, "no net mask such as 255.255.255.0");
    camera.settings.netMask = text;
}

std::string modelHelp() {
    std::string help = "The camera's model: ";
    for (const Model& model : models)
        help += std::string(model.name) + (&model == &models.front()  ? " (unless given), "
                                           : &model == &models.back() ? " "
                                                                      : ", ");
    return help + "or any text";
}

std::string serviceHelp(const std::string& language) {
    return "How the camera treats " + language + ": answered (unless given), silent or refused";
}

} // namespace

std::string Setting::option() const {
    return "--" + std::string(kind == TextKind::repeated ? key.substr(0, key.size() - 1) : key);
}

std::span<const Setting> settingTable() {
    static const std::vector<Setting> rows = {
        {"address", "ADDRESS", "Address to serve on; 127.0.0.1 unless given", setAddress,
         TextKind::servedAddress},
        {"port", "PORT", "TCP port of the binary protocol; 32769 unless given, 0 lets the system choose",
         setBinaryPort},
        {"text-port", "PORT",
         "TCP and UDP port of the text language; 32768 unless given, 0 lets the system choose", setTextPort},
        {"model", "MODEL", modelHelp(), setText<&CameraSettings::model>},
        {"firmware", "VERSION", "The camera's firmware version; 3.2.15 unless given",
         setText<&CameraSettings::firmware>},
        {"size", "WxH", "Size of the pictures; the model's unless given", setSize},
        {"scene", "SCENE",
         "What the camera looks at: grid (unless given), ramp, black, white, noise, or a PNG or SGI file as "
         "file:PATH, which is served as it is",
         setScene},
        {"seed", "N", "Seed of the sensor's noise; 1 unless given", setSeed},
        {"wait-exposure", " ", "Answer a take request only after the exposure time, as a real camera does",
         setWaitExposure},
        {"faults", "FAULT", "What goes wrong, see below; may be repeated", addFault, TextKind::repeated},
        {"room", "TEXT", "The room that the camera announces; Lab unless given",
         setText<&CameraSettings::room>},
        {"announce", "ADDRESS", "The address that the camera announces; the one it is served on unless given",
         setText<&CameraSettings::announcedAddress>, TextKind::address},
        {"serial", "TEXT", "The camera's serial number; 1234 unless given",
         setText<&CameraSettings::serialNumber>},
        {"api", "VERSION", "The camera's interface version; 1.4 unless given", setText<&CameraSettings::api>},
        {"hardware", "TEXT", "The hardware identifier; the model unless given",
         setText<&CameraSettings::hardware>},
        {"netmask", "ADDRESS",
         "Net mask of the address, which says at which broadcasts the camera is heard; 255.255.255.0 unless "
         "given",
         setNetMask},
        {"gateway", "ADDRESS", "The camera's default gateway; 0.0.0.0 unless given",
         setText<&CameraSettings::gateway>, TextKind::address},
        {"protocol", "HOW", "static (unless given) or DHCP", setText<&CameraSettings::networkProtocol>,
         TextKind::protocol},
        {"discovery", "HOW", serviceHelp("discovery queries"), setService<&CameraSettings::discovery>},
        {"text", "HOW", serviceHelp("the text language"), setService<&CameraSettings::text>},
        {"binary", "HOW", serviceHelp("the binary protocol"), setService<&CameraSettings::binary>},
    };
    return rows;
}

} // namespace Simulator
