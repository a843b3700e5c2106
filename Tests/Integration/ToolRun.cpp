#include "ToolRun.h"

#include <png.h>

#include <algorithm>
#include <stdexcept>

namespace Integration {

namespace {

std::vector<std::string> simulateArguments(const std::vector<std::string>& options) {
    std::vector<std::string> arguments = {"simulate", "--port", "0", "--text-port", "0", "--for", "240"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return toolCommand(arguments);
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

std::size_t lineCount(const std::string& text) {
    const auto ends = std::count(text.begin(), text.end(), '\n');
    const bool unended = !text.empty() && text.back() != '\n';
    return static_cast<std::size_t>(ends) + (unended ? 1 : 0);
}

SimulatedCamera::SimulatedCamera(const std::vector<std::string>& options)
    : process_(simulateArguments(options)) {
    const std::string sign = "korva capture 127.0.0.1 --port ";
    if (!process_.waitForOutput(sign) || !process_.waitForOutput("\n"))
        throw std::runtime_error("korva simulate does not serve: " + process_.errors());
    const std::size_t begin = process_.output().find(sign) + sign.size();
    port_ = process_.output().substr(begin, process_.output().find('\n', begin) - begin);
}

std::vector<std::string> SimulatedCamera::captureArguments(const std::vector<std::string>& more) const {
    std::vector<std::string> arguments = {"capture", "127.0.0.1", "--port", port_};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
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
