// Whatever a camera calls itself, the tool's output stays what it is: lines, JSON, XML, file names.

#include "TerminalText.h"
#include "ToolRun.h"

#include "Platform/Text.h"
#include "ReferenceHost/DeviceDescription.h"
#include "Support/PictureFiles.h"
#include "VantrelCommon/CameraInfo.h"

#include <algorithm>
#include <fstream>
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
using nlohmann::json;
using testing::_;
using testing::StartsWith;

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

/// Matches what cannot steer a terminal.
Text harmless() {
    return testing::ResultOf("what steers a terminal", whatSteersATerminal, "");
}

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

/// Whether a line of standard error is the tool's own or a log line as the tool lays them out.
bool isHonest(const std::string& line) {
    static const std::regex honest(
        R"((TRACE|DEBUG|INFO|WARN|ERROR) Plenar\.(KorvaCamera|NativeCameraKorva)\.Korva\w+ - .*|korva: .*)");
    return std::regex_match(line, honest) && !line.starts_with("korva: forged") && !line.starts_with("ERROR");
}

/// Everything that the camera says of itself is one text; its pictures are small.
class ACameraThatCallsItself : public testing::TestWithParam<HostileText> {
protected:
    /// What the tool prints, with its log shown.
    static std::string said(Names arguments) {
        arguments.insert(arguments.end(), {"--log", "info"});
        const ProcessResult result = runTool(arguments);
        EXPECT_THAT(result, ended(0, harmless(), harmless()));
        EXPECT_THAT(linesOf(result.errors), testing::Each(testing::Truly(isHonest)));
        return result.output;
    }

    /// The one JSON object that a command prints.
    static json jsonOf(const Names& arguments) {
        const std::string text = said(arguments);
        EXPECT_THAT(text, oneLine());
        for (const char byte : text)
            EXPECT_TRUE(byte == '\n' || (byte >= ' ' && byte <= '~')) << text;
        return json::parse(text);
    }

    const std::string& text = GetParam().text;
    const CameraAtItsPorts camera{{"--size", "8x6", "--room", text, "--serial", text, "--hardware", text,
                                   "--firmware", text, "--api", text}};
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
    EXPECT_EQ(lineCount(said({"identify", address})), 9u);
}

TEST_P(ACameraThatCallsItself, IsOneLineOfJson) {
    const json object = jsonOf({"identify", address, "--json"});
    EXPECT_EQ(object.size(), 9u) << object;
    EXPECT_EQ(object["address"], address);
    EXPECT_EQ(object["resolution"], (json{{"x", 8}, {"y", 6}}));
}

TEST_P(ACameraThatCallsItself, IsDescribedInXmlThatLeadsBackToIt) {
    const std::string xml = said({"describe", address});
    const CameraInfo info = cameraOf(xml);
    EXPECT_EQ(info.getIpAddress(), Platform::wideFromUtf8(address));
    EXPECT_EQ(info.getResolutionX(), 8);
    EXPECT_EQ(info.getCameraTypeEnum(), 6);
    // What XML cannot hold is replaced, character by character.
    const std::string serial = jsonOf({"identify", address, "--json"})["serialNumber"];
    EXPECT_EQ(info.getSerialNumber().size(), Platform::wideFromUtf8(serial).size());
    std::ofstream(folder.file("camera.xml")) << xml;
    said({"health", "--from", folder.file("camera.xml")});
}

TEST_P(ACameraThatCallsItself, IsPhotographedIntoTheFileThatWasNamed) {
    const json files =
        jsonOf({"capture", address, "--json", "--output", folder.file("a.png"), "--contact-sheet",
                folder.file("sheet.png"), "--diagnostics", folder.file("dumps")})["files"];
    ASSERT_EQ(files.size(), 1u);
    EXPECT_EQ(files[0]["file"], folder.file("a.png"));
    EXPECT_EQ(files[0]["address"], address);
    EXPECT_EQ(readGreyPng(folder.file("a.png")).width, 8u);
    EXPECT_EQ(folder.names(), (Names{"a.png", "dumps", "sheet.png"}));
}

class AFirmwareThatCallsItself : public testing::TestWithParam<HostileText> {};

TEST_P(AFirmwareThatCallsItself, IsRefusedInOneLine) {
    const CameraAtItsPorts camera({"--model", "M61", "--firmware", GetParam().text});
    const TemporaryFolder folder;
    const auto refusal = AllOf(oneLine(), StartsWith("korva: no camera identified at "),
                               testing::EndsWith("; try: update the camera's firmware\n"), harmless());
    EXPECT_THAT(runTool({"identify", address}), ended(1, "", refusal));
    EXPECT_THAT(runTool({"capture", address, "--json", "--output", folder.file("a.png")}),
                ended(1, AllOf(oneLine(), harmless()), refusal));
}

INSTANTIATE_TEST_SUITE_P(HostileText, AFirmwareThatCallsItself, testing::ValuesIn(hostileTexts),
                         [](const auto& text) { return text.param.name; });

INSTANTIATE_TEST_SUITE_P(HostileText, ACameraThatCallsItself, testing::ValuesIn(hostileTexts),
                         [](const auto& text) { return text.param.name; });

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
std::string complaintsOfChunks(const Support::Bytes& chunks) {
    using Support::PngColour;
    const TemporaryFolder folder;
    const Support::Bytes picture = Support::pngSignature() + Support::pngHeader(2, 1, 16, PngColour::grey) +
                                   chunks + Support::pngPixels({0, 100, 0, 200, 0}) + Support::pngEnd();
    std::ofstream(folder.file("sample.png"), std::ios::binary)
        .write(reinterpret_cast<const char*>(picture.data()), static_cast<std::streamsize>(picture.size()));
    const CameraAtItsPorts camera({"--hardware", "X900", "--scene", "file:" + folder.file("sample.png")});
    const ProcessResult result = runTool({"identify", address});
    EXPECT_THAT(result, ended(0, AllOf(has({"2 x 1"}), harmless()), harmless()));
    return result.errors;
}

} // namespace

TEST(ASamplePicture, CannotSteerTheTerminalThroughThePictureLibrary) {
    const std::string complaints = complaintsOfChunks(brokenProfile("\x1B]0;PWN\a\x1B[31mFAKE\n"
                                                                    "korva: warning: forged\r\x9B"
                                                                    "2J"));
    EXPECT_THAT(linesOf(complaints), testing::Each(StartsWith("korva: from a library: ")));
    EXPECT_GE(lineCount(complaints), 2u);
    EXPECT_THAT(complaints, has({"\\x1b]0;PWN\\x07\\x1b[31mFAKE\n",
                                 "korva: from a library: korva: warning: forged\\x0d\\x9b2J"}));
}

TEST(ASamplePicture, CannotFloodTheTerminalThroughThePictureLibrary) {
    Support::Bytes chunks;
    for (int i = 0; i < 1000; ++i)
        chunks = std::move(chunks) + Support::pngChunk("iCCP", "none");
    const std::string complaints = complaintsOfChunks(chunks);
    EXPECT_EQ(lineCount(complaints), 21u) << complaints;
    EXPECT_THAT(complaints, testing::EndsWith("\nkorva: further lines from libraries are left out\n"));
}
