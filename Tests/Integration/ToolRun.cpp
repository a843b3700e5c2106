#include "ToolRun.h"

#include "Console/Printable.h"

#include <png.h>

#include <algorithm>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <unistd.h>

namespace Integration {

namespace {

/// A race that is seen in the tool ends it with a status of its own. Else the sanitizer would wait for an end
/// that a tool which leaves a thread behind never comes to.
[[maybe_unused]] const bool racesEndTheTool = setenv("TSAN_OPTIONS", "halt_on_error=1", 0) == 0;

Names withSize(const Names& options) {
    const bool hasSize = std::find(options.begin(), options.end(), "--size") != options.end();
    return hasSize ? options : joined(options, {"--size", "120x80"});
}

} // namespace

Names toolCommand(const Names& arguments) {
    const char* const other = std::getenv("KORVA_TESTED_TOOL");
    return joined({other == nullptr ? KORVA_TOOL : other}, arguments);
}

ProcessResult runTool(const Names& arguments) {
    return run(toolCommand(arguments));
}

ProcessResult runToolBy(const std::string& script, const Names& arguments) {
    return run(joined({"/bin/bash", "-c", script}, toolCommand(arguments)));
}

testing::Matcher<const ProcessResult&> failed(const Names& parts) {
    return ended(1, "", testing::AllOf(lines(1), testing::StartsWith("korva: "), has(parts)));
}

Text eachLine(const Text& line) {
    const auto split = [](const std::string& text) {
        Names all;
        std::istringstream stream(text);
        for (std::string each; std::getline(stream, each);)
            all.push_back(each);
        return all;
    };
    return testing::ResultOf("lines", split, testing::Each(line));
}

Text harmless() {
    return eachLine(testing::Truly([](const std::string& line) { return Console::printable(line) == line; }));
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

GreyPicture readGreyPng(const std::string& path) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_file(&image, path.c_str()) == 0)
        return {};
    GreyPicture picture{image.width, image.height, {}};
    picture.pixels.resize(std::size_t{image.width} * image.height);
    const bool isGreyOf8Bits = image.format == PNG_FORMAT_GRAY;
    image.format = PNG_FORMAT_GRAY;
    const bool isRead = png_image_finish_read(&image, nullptr, picture.pixels.data(), 0, nullptr) != 0;
    return isGreyOf8Bits && isRead ? picture : GreyPicture{};
}

Served::Served(const Names& arguments) : process(toolCommand(joined({"simulate"}, arguments))) {
    if (!process.waitForOutput("Take a picture with: "))
        throw std::runtime_error("korva simulate does not serve: " + process.output() + process.errors());
}

std::string Served::stop() {
    const ProcessResult result = process.endBy(SIGTERM);
    EXPECT_THAT(result, ended(0, testing::_, ""));
    return result.output;
}

SimulatedCamera::SimulatedCamera(const Names& options)
    : Served(joined({"--port", "0", "--text-port", "0", "--for", "240"}, withSize(options))) {
    std::istringstream said(process.output());
    const auto readOn = [&said](const std::string& sign) { // what follows the next line's sign
        std::string line;
        while (std::getline(said, line))
            if (const std::size_t at = line.find(sign); at != std::string::npos)
                return std::istringstream(line.substr(at + sign.size()));
        throw std::runtime_error("korva simulate does not say what it serves: " + sign);
    };
    std::string width;
    std::string height;
    std::string times;
    readOn("pictures of ") >> width >> times >> height;
    height.pop_back(); // the comma
    std::getline(readOn("binary protocol on TCP ").ignore(15, ':'), port);
    place = "127.0.0.1:" + port;
    std::ofstream(description) << "<Device><CameraInfo><cameraTypeEnum>6</cameraTypeEnum><resolutionX>"
                               << width << "</resolutionX><resolutionY>" << height
                               << "</resolutionY><ipAddress>127.0.0.1</ipAddress></CameraInfo>"
                                  "<connection><address>127.0.0.1</address><port>"
                               << port << "</port></connection></Device>\n";
}

Names SimulatedCamera::captureArguments(const Names& more, const std::string& file) const {
    return joined({"capture", "--from", description, "--output", pictures.file(file)}, more);
}

ProcessResult SimulatedCamera::capture(const Names& more, const std::string& file) const {
    return runTool(captureArguments(more, file));
}

ProcessResult SimulatedCamera::health(const Names& more) const {
    return runTool(joined({"health", "--from", description}, more));
}

CameraAtItsPorts::CameraAtItsPorts(const Names& options)
    : Served(joined({"--address", addressOfThisProcess(), "--for", "120"}, options)) {}

} // namespace Integration
