// Whatever a camera calls itself, the tool's output stays what it is: lines, JSON, XML, file names.

#include "TemporaryFolder.h"
#include "TerminalText.h"
#include "ToolRun.h"

#include "Platform/Text.h"
#include "ReferenceHost/DeviceDescription.h"
#include "Support/PictureFiles.h"
#include "VantrelCommon/CameraInfo.h"

#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <nlohmann/json.hpp>
#include <ostream>
#include <random>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

using namespace Integration;
using Support::operator+;

namespace {

const std::string address = addressOfThisProcess();

struct HostileText {
    const char* name;
    std::string text; ///< one word, or words joined by single blanks, so that the camera's reply holds it
};

void PrintTo(const HostileText& text, std::ostream* stream) {
    *stream << text.name;
}

const HostileText hostileTexts[] = {
    {"Controls", "a\x01\x07\b\x0E\x7F b"},
    {"EscapeSequences", "\x1B[2J\x1B]0;title\x07\x1B[31m\x1B[8mhidden"},
    {"ControlsAbove127", "\xC2\x9B[2J\xC2\x85\xC2\x9D"},
    {"ForgedLines", "a\nERROR Plenar.KorvaCamera.KorvaCapture - forged\r\nkorva: forged"},
    {"ForgedLinesOfUnicode", "a\xE2\x80\xA8korva:forged\xE2\x80\xA9\xC2\x85korva:forged"},
    {"QuotesAndBackslashes", R"(","serialNumber":"0"}\\\"'`$(id)%n%s)"},
    {"Markup", "</model></CameraInfo><!--&lt;&x;<![CDATA[ ]]><?x?>"},
    {"MalformedUtf8", "\xFF\xFE\x80\xC3(\xC0\xAF\xED\xA0\x80\xF4\x90\x80\x80\xE2\x82"},
    {"WritingDirection", "\xE2\x80\xAE"
                         "16M\xE2\x81\xA6\xE2\x80\x8F\xD8\x9C"},
    {"NoWidth", "M\xE2\x80\x8B"
                "6\xE2\x81\xA0"
                "1\xEF\xBB\xBF\xC2\xAD\xF3\xA0\x81\x81\xE3\x85\xA4\xEF\xB8\x8F\xF3\xA0\x84\x80"},
    {"Path", "../../../../tmp/x"},
    {"Long", std::string(900, 'L')},
};

/// Everything that a camera says of itself is this text; its pictures are small.
std::vector<std::string> optionsOf(const std::string& text) {
    return {"--size",     "8x6", "--room",     text, "--serial", text,
            "--hardware", text,  "--firmware", text, "--api",    text};
}

/// Every line of standard error is the tool's own or a log line as the tool lays them out.
void expectHonestLines(const std::string& errors) {
    static const std::regex honest(
        R"((TRACE|DEBUG|INFO|WARN|ERROR) Plenar\.(KorvaCamera|NativeCameraKorva)\.Korva\w+ - .*|korva: .*)");
    std::istringstream stream(errors);
    for (std::string line; std::getline(stream, line);) {
        EXPECT_TRUE(std::regex_match(line, honest)) << line;
        EXPECT_FALSE(line.starts_with("korva: forged") || line.starts_with("ERROR")) << line;
    }
}

class ACameraThatCallsItself : public testing::TestWithParam<HostileText> {
protected:
    /// Runs the tool with its log shown; what it prints cannot steer a terminal.
    static ToolResult run(std::vector<std::string> arguments) {
        arguments.insert(arguments.end(), {"--log", "info"});
        const ToolResult result = runTool(arguments);
        EXPECT_EQ(result.status, 0) << result.errors;
        EXPECT_EQ(whatSteersATerminal(result.output), "") << result.output;
        EXPECT_EQ(whatSteersATerminal(result.errors), "") << result.errors;
        expectHonestLines(result.errors);
        return result;
    }

    /// The one JSON object that a command prints.
    static nlohmann::json jsonOf(const std::vector<std::string>& arguments) {
        const ToolResult result = run(arguments);
        EXPECT_EQ(lineCount(result.output), 1u) << result.output;
        for (const char byte : result.output)
            EXPECT_TRUE(byte == '\n' || (byte >= ' ' && byte <= '~')) << result.output;
        return nlohmann::json::parse(result.output);
    }

    const CameraAtItsPorts camera{optionsOf(GetParam().text)};
    const TemporaryFolder folder;
};

CameraInfo cameraOf(const std::string& xml) {
    const ReferenceHost::DeviceDescription description(xml);
    for (auto* child = description.root()->getFirstChild(); child != nullptr; child = child->getNextSibling())
        if (child->getNodeName() == std::u16string(u"CameraInfo"))
            return CameraInfo(child);
    throw std::runtime_error("no CameraInfo in " + xml);
}

} // namespace

TEST_P(ACameraThatCallsItself, IsShownInNineLines) {
    EXPECT_EQ(lineCount(run({"identify", address}).output), 9u);
}

TEST_P(ACameraThatCallsItself, IsOneLineOfJson) {
    const auto json = jsonOf({"identify", address, "--json"});
    EXPECT_EQ(json.size(), 9u) << json;
    EXPECT_EQ(json["address"], address);
    EXPECT_EQ(json["resolution"], (nlohmann::json{{"x", 8}, {"y", 6}}));
}

TEST_P(ACameraThatCallsItself, IsDescribedInXmlThatLeadsBackToIt) {
    const std::string xml = run({"describe", address}).output;
    const CameraInfo info = cameraOf(xml);
    EXPECT_EQ(info.getIpAddress(), Platform::wideFromUtf8(address));
    EXPECT_EQ(info.getResolutionX(), 8);
    EXPECT_EQ(info.getCameraTypeEnum(), 6);
    const auto json = jsonOf({"identify", address, "--json"});
    // What XML cannot hold is replaced, character by character.
    EXPECT_EQ(info.getSerialNumber().size(),
              Platform::wideFromUtf8(json["serialNumber"].get<std::string>()).size());
    std::ofstream(folder.file("camera.xml")) << xml;
    run({"health", "--from", folder.file("camera.xml")});
}

TEST_P(ACameraThatCallsItself, IsPhotographedIntoTheFileThatWasNamed) {
    const auto json =
        jsonOf({"capture", address, "--json", "--output", folder.file("a.png"), "--contact-sheet",
                folder.file("sheet.png"), "--diagnostics", folder.file("dumps")});
    ASSERT_EQ(json["files"].size(), 1u);
    EXPECT_EQ(json["files"][0]["file"], folder.file("a.png"));
    EXPECT_EQ(json["files"][0]["address"], address);
    EXPECT_EQ(readGreyPng(folder.file("a.png")).width, 8u);
    EXPECT_EQ(folder.names(), (std::vector<std::string>{"a.png", "dumps", "sheet.png"}));
}

class AFirmwareThatCallsItself : public testing::TestWithParam<HostileText> {};

TEST_P(AFirmwareThatCallsItself, IsRefusedInOneLine) {
    const CameraAtItsPorts camera({"--model", "M61", "--firmware", GetParam().text});
    const TemporaryFolder folder;
    for (const std::vector<std::string>& command :
         {std::vector<std::string>{"identify", address},
          {"capture", address, "--json", "--output", folder.file("a.png")}}) {
        const ToolResult result = runTool(command);
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(lineCount(result.errors), 1u) << result.errors;
        EXPECT_TRUE(result.errors.starts_with("korva: no camera identified at ")) << result.errors;
        EXPECT_TRUE(result.errors.ends_with("; try: update the camera's firmware\n")) << result.errors;
        EXPECT_EQ(whatSteersATerminal(result.errors), "") << result.errors;
        EXPECT_EQ(whatSteersATerminal(result.output), "") << result.output;
        EXPECT_LE(lineCount(result.output), 1u) << result.output;
    }
}

INSTANTIATE_TEST_SUITE_P(HostileText, AFirmwareThatCallsItself, testing::ValuesIn(hostileTexts),
                         [](const auto& text) { return text.param.name; });

INSTANTIATE_TEST_SUITE_P(HostileText, ACameraThatCallsItself, testing::ValuesIn(hostileTexts),
                         [](const auto& text) { return text.param.name; });

TEST(HostileText, IsKeptInJsonWhereItIsText) {
    const std::string serial = "\x1B[2J\xE2\x80\xAE\"\\\xC3\xA9";
    const CameraAtItsPorts camera({"--serial", serial});
    const ToolResult result = runTool({"identify", address, "--json"});
    EXPECT_EQ(nlohmann::json::parse(result.output)["serialNumber"], serial);
}

TEST(HostileText, IsNoticedByTheseTests) {
    for (const char* text : {"\x1B", "\r", "\t", "\x7F", "\xFF", "\xC3", "\xC2\x9B", "\xE2\x80\xA8",
                             "\xE2\x80\xAE", "\xE2\x80\x8B", "\xEF\xBB\xBF", "\xF3\xA0\x81\x81", "\xC0\xAF"})
        EXPECT_NE(whatSteersATerminal(std::string("a") + text), "") << testing::PrintToString(text);
    EXPECT_NE(whatSteersATerminal(std::string("a\0", 2)), "");
    EXPECT_EQ(whatSteersATerminal("caf\xC3\xA9 \\x1b\n\xEF\xBF\xBD"), "");
}

namespace {

/// A colour profile's chunk that the picture library complains of, with the profile's name in the complaint.
Support::Bytes brokenProfile(const std::string& name) {
    Support::Bytes unpacked = {0, 0, 1, 0}; // the length that the profile says of itself: not its own
    std::minstd_rand random;                // what packs well is refused before it is looked at
    std::generate_n(std::back_inserter(unpacked), 300,
                    [&random] { return static_cast<unsigned char>(random() >> 8); });
    Support::Bytes chunk(name.begin(), name.end());
    chunk.insert(chunk.end(), {0, 0}); // the name's end, and the one way of packing
    return Support::pngChunk("iCCP", chunk + Support::packed(unpacked));
}

/// What the tool says of a camera of an unknown model, whose sample picture has these chunks before its
/// pixels.
ToolResult identifyWithChunks(const Support::Bytes& chunks) {
    using Support::PngColour;
    const TemporaryFolder folder;
    const Support::Bytes picture = Support::pngSignature() + Support::pngHeader(2, 1, 16, PngColour::grey) +
                                   chunks + Support::pngPixels({0, 100, 0, 200, 0}) + Support::pngEnd();
    std::ofstream(folder.file("sample.png"), std::ios::binary)
        .write(reinterpret_cast<const char*>(picture.data()), static_cast<std::streamsize>(picture.size()));
    const CameraAtItsPorts camera({"--hardware", "X900", "--scene", "file:" + folder.file("sample.png")});
    const ToolResult result = runTool({"identify", address});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_NE(result.output.find("2 x 1"), std::string::npos) << result.output;
    EXPECT_EQ(whatSteersATerminal(result.output + result.errors), "") << result.errors;
    return result;
}

} // namespace

TEST(ASamplePicture, CannotSteerTheTerminalThroughThePictureLibrary) {
    const ToolResult result = identifyWithChunks(brokenProfile("\x1B]0;PWN\a\x1B[31mFAKE\n"
                                                               "korva: warning: forged\r\x9B"
                                                               "2J"));
    std::istringstream stream(result.errors);
    std::size_t lines = 0;
    for (std::string line; std::getline(stream, line); ++lines)
        EXPECT_TRUE(line.starts_with("korva: from a library: ")) << result.errors;
    EXPECT_GE(lines, 2u) << result.errors;
    EXPECT_NE(result.errors.find("\\x1b]0;PWN\\x07\\x1b[31mFAKE\n"), std::string::npos) << result.errors;
    EXPECT_NE(result.errors.find("korva: from a library: korva: warning: forged\\x0d\\x9b2J"),
              std::string::npos)
        << result.errors;
}

TEST(ASamplePicture, CannotFloodTheTerminalThroughThePictureLibrary) {
    Support::Bytes chunks;
    for (int i = 0; i < 1000; ++i)
        chunks = std::move(chunks) + Support::pngChunk("iCCP", "none");
    const ToolResult result = identifyWithChunks(chunks);
    EXPECT_EQ(lineCount(result.errors), 21u) << result.errors;
    EXPECT_TRUE(result.errors.ends_with("\nkorva: further lines from libraries are left out\n"))
        << result.errors;
}
