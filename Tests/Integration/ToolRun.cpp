#include "ToolRun.h"

#include <png.h>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <regex>
#include <stdexcept>
#include <unistd.h>

namespace Integration {

namespace {

Names joined(Names first, const Names& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

void requireService(ChildProcess& camera) {
    if (!camera.waitForOutput("Take a picture with: "))
        throw std::runtime_error("korva simulate does not serve: " + camera.output() + camera.errors());
}

Names withSize(const Names& options) {
    const bool hasSize = std::find(options.begin(), options.end(), "--size") != options.end();
    return hasSize ? options : joined(options, {"--size", "120x80"});
}

} // namespace

Names toolCommand(const Names& arguments) {
    return joined({KORVA_TOOL}, arguments);
}

ProcessResult runTool(const Names& arguments) {
    return run(toolCommand(arguments));
}

ProcessResult runToolBy(const std::string& script, const Names& arguments) {
    return run(joined({"/bin/bash", "-c", script}, toolCommand(arguments)));
}

Text oneLine() {
    return testing::ResultOf("number of lines", lineCount, 1u);
}

testing::Matcher<const ProcessResult&> failed(const Names& parts) {
    return ended(1, "", testing::AllOf(oneLine(), testing::StartsWith("korva: "), has(parts)));
}

std::string addressOfThisProcess() {
    const auto process = static_cast<unsigned>(getpid());
    return "127." + std::to_string(64 + (process >> 16 & 63)) + "." + std::to_string(process >> 8 & 255) +
           "." + std::to_string(process & 255);
}

std::string everyLineIntoAFile(const std::string& name) {
    if (name.ends_with(".xml"))
        return R"(<log4j:configuration xmlns:log4j="http://jakarta.apache.org/log4j/">
            <appender name="F" class="org.apache.log4j.FileAppender"><param name="File" value="victim"/>
            <layout class="org.apache.log4j.SimpleLayout"/></appender>
            <root><level value="TRACE"/><appender-ref ref="F"/></root></log4j:configuration>)";
    return "log4j.rootLogger=TRACE, F\nlog4j.appender.F=org.apache.log4j.FileAppender\n"
           "log4j.appender.F.File=victim\nlog4j.appender.F.layout=org.apache.log4j.SimpleLayout\n";
}

std::size_t lineCount(const std::string& text) {
    const auto ends = std::count(text.begin(), text.end(), '\n');
    const bool unended = !text.empty() && text.back() != '\n';
    return static_cast<std::size_t>(ends) + (unended ? 1 : 0);
}

SimulatedCamera::SimulatedCamera(const Names& options)
    : process_(toolCommand(
          joined({"simulate", "--port", "0", "--text-port", "0", "--for", "240"}, withSize(options)))) {
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

std::string SimulatedCamera::stop() {
    process_.signal(SIGTERM);
    const ProcessResult result = process_.result();
    EXPECT_THAT(result, ended(0, testing::_, ""));
    return result.output;
}

Names SimulatedCamera::captureArguments(const Names& more, const std::string& file) const {
    return joined({"capture", "--from", description(), "--output", pictures_.file(file)}, more);
}

ProcessResult SimulatedCamera::capture(const Names& more, const std::string& file) const {
    return runTool(captureArguments(more, file));
}

ProcessResult SimulatedCamera::health(const Names& more) const {
    return runTool(joined({"health", "--from", description()}, more));
}

CameraAtItsPorts::CameraAtItsPorts(const Names& options)
    : process_(
          toolCommand(joined({"simulate", "--address", addressOfThisProcess(), "--for", "120"}, options))) {
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
