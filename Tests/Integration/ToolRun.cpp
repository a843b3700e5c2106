#include "ToolRun.h"

#include <png.h>

#include <algorithm>
#include <fstream>
#include <regex>
#include <stdexcept>
#include <unistd.h>

namespace Integration {

namespace {

std::vector<std::string> simulateCommand(std::vector<std::string> place,
                                         const std::vector<std::string>& options) {
    place.insert(place.begin(), "simulate");
    place.insert(place.end(), options.begin(), options.end());
    return toolCommand(place);
}

void requireService(ChildProcess& camera) {
    if (!camera.waitForOutput("Take a picture with: "))
        throw std::runtime_error("korva simulate does not serve: " + camera.output() + camera.errors());
}

} // namespace

std::vector<std::string> toolCommand(const std::vector<std::string>& arguments) {
    std::vector<std::string> command = {KORVA_TOOL};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return command;
}

ToolResult runTool(const std::vector<std::string>& arguments) {
    ChildProcess process(toolCommand(arguments));
    const int status = process.wait();
    return {status, process.output(), process.errors()};
}

std::string addressOfThisProcess() {
    const auto process = static_cast<unsigned>(getpid());
    return "127." + std::to_string(64 + (process >> 16 & 63)) + "." + std::to_string(process >> 8 & 255) +
           "." + std::to_string(process & 255);
}

std::size_t lineCount(const std::string& text) {
    const auto ends = std::count(text.begin(), text.end(), '\n');
    const bool unended = !text.empty() && text.back() != '\n';
    return static_cast<std::size_t>(ends) + (unended ? 1 : 0);
}

SimulatedCamera::SimulatedCamera(const std::vector<std::string>& options)
    : process_(simulateCommand({"--port", "0", "--text-port", "0", "--for", "240"}, options)) {
    requireService(process_);
    std::smatch said;
    static const std::regex greeting(
        R"(pictures of (\d+) x (\d+),[^]*on TCP 127\.0\.0\.1:(\d+)[^]*on TCP 127\.0\.0\.1:(\d+))");
    if (!std::regex_search(process_.output(), said, greeting))
        throw std::runtime_error("korva simulate does not say what it serves: " + process_.output());
    port_ = said[3];
    textPort_ = said[4];
    std::ofstream(description()) << "<Device><CameraInfo><cameraTypeEnum>6</cameraTypeEnum><resolutionX>"
                                 << said[1] << "</resolutionX><resolutionY>" << said[2]
                                 << "</resolutionY><ipAddress>127.0.0.1</ipAddress></CameraInfo>"
                                    "<connection><address>127.0.0.1</address><port>"
                                 << port_ << "</port></connection></Device>\n";
}

std::vector<std::string> SimulatedCamera::captureArguments(const std::vector<std::string>& more) const {
    std::vector<std::string> arguments = {"capture", "--from", description()};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
}

CameraAtItsPorts::CameraAtItsPorts(const std::vector<std::string>& options)
    : process_(simulateCommand({"--address", addressOfThisProcess(), "--for", "120"}, options)) {
    requireService(process_);
}

GreyPicture readGreyPng(const std::string& path) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_file(&image, path.c_str()) == 0)
        return {};
    GreyPicture picture{image.width, image.height, {}};
    const bool greyOf8Bits = image.format == PNG_FORMAT_GRAY;
    if (greyOf8Bits) {
        picture.pixels.resize(std::size_t{image.width} * image.height);
        const auto stride = static_cast<png_int_32>(image.width);
        if (png_image_finish_read(&image, nullptr, picture.pixels.data(), stride, nullptr) == 0)
            picture.pixels.clear();
    }
    png_image_free(&image);
    return picture;
}

} // namespace Integration
