// Whatever a camera calls itself, the tool's output stays what it is: lines, JSON, XML, file names.

#include "ToolRun.h"

#include "Support/PictureFiles.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <ostream>
#include <random>
#include <regex>
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

/// Whether a line of standard error is the tool's own or a log line as the tool lays them out.
bool isHonest(const std::string& line) {
    static const std::regex honest(
        R"((TRACE|DEBUG|INFO|WARN|ERROR) Plenar\.(KorvaCamera|NativeCameraKorva)\.Korva\w+ - .*|korva: .*)");
    return std::regex_match(line, honest) && !line.starts_with("korva: forged") && !line.starts_with("ERROR");
}

/// What the tool prints, with its log shown.
std::string said(const Names& arguments) {
    const ProcessResult result = runTool(joined(arguments, {"--log", "info"}));
    EXPECT_THAT(result, ended(0, harmless(), AllOf(harmless(), eachLine(testing::Truly(isHonest)))));
    return result.output;
}

/// The one JSON object that a command prints.
json jsonOf(const Names& arguments) {
    const std::string text = said(arguments);
    EXPECT_THAT(text, lines(1));
    return json::parse(text);
}

/// Everything that the camera says of itself is one text; its pictures are small.
class ACameraThatCallsItself : public testing::TestWithParam<HostileText> {
protected:
    const std::string& text = GetParam().text;
    const CameraAtItsPorts camera{{"--size", "8x6", "--room", text, "--serial", text, "--hardware", text,
                                   "--firmware", text, "--api", text}};
    const TemporaryFolder folder;
};

} // namespace

TEST_P(ACameraThatCallsItself, IsShownInNineLinesAndInOneOfJson) {
    EXPECT_THAT(said({"identify", address}), lines(9));
    const json object = jsonOf({"identify", address, "--json"});
    constexpr std::size_t longestAnswer = 255; // of what is longer nothing is left
    EXPECT_EQ(object["note"]["code"], text.size() > longestAnswer ? "garbage" : "unknown-model");
    EXPECT_EQ(object.size(), 10u) << object;
    EXPECT_EQ(object["address"], address);
    EXPECT_EQ(object["resolution"], (json{{"x", 8}, {"y", 6}}));
}

TEST_P(ACameraThatCallsItself, IsDescribedInXmlThatLeadsBackToIt) {
    std::ofstream(folder.file("camera.xml")) << said({"describe", address});
    EXPECT_EQ(said({"health", "--from", folder.file("camera.xml")}),
              address + ":32769: good, the camera answers\n");
    EXPECT_THAT(said({"capture", "--from", folder.file("camera.xml"), "--output", folder.file("a.png")}),
                StartsWith(folder.file("a.png") + ": 8 x 6 pixels"));
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

INSTANTIATE_TEST_SUITE_P(HostileText, ACameraThatCallsItself, testing::ValuesIn(hostileTexts),
                         [](const auto& text) { return text.param.name; });

TEST(AFirmwareThatCallsItself, IsRefusedInOneLine) {
    const auto refusal = AllOf(lines(1), StartsWith("korva: " + address),
                               testing::EndsWith("; try: update the camera's firmware\n"), harmless());
    const TemporaryFolder folder;
    for (const auto& [name, text] : hostileTexts) {
        SCOPED_TRACE(name);
        const CameraAtItsPorts camera({"--model", "M61", "--firmware", text});
        EXPECT_THAT(runTool({"identify", address}), ended(1, "", refusal));
        EXPECT_THAT(runTool({"capture", address, "--json", "--output", folder.file("a.png")}),
                    ended(1, AllOf(lines(1), harmless()), refusal));
    }
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

} // namespace

TEST(ASamplePicture, CannotSteerOrFloodTheTerminalThroughThePictureLibrary) {
    Support::Bytes chunks = brokenProfile("\x1B]0;PWN\a\x1B[31mFAKE\n"
                                          "korva: warning: forged\r\x9B"
                                          "2J");
    for (int i = 0; i < 1000; ++i)
        chunks = std::move(chunks) + Support::pngChunk("iCCP", "none");
    const Support::Bytes picture = Support::pngSignature() +
                                   Support::pngHeader(2, 1, 16, Support::PngColour::grey) + chunks +
                                   Support::pngPixels({0, 100, 0, 200, 0}) + Support::pngEnd();
    const TemporaryFolder folder;
    std::ofstream(folder.file("sample.png"), std::ios::binary)
        .write(reinterpret_cast<const char*>(picture.data()), static_cast<std::streamsize>(picture.size()));
    const CameraAtItsPorts camera({"--hardware", "X900", "--scene", "file:" + folder.file("sample.png")});
    const ProcessResult result = runTool({"identify", address});
    EXPECT_THAT(result, ended(0, AllOf(has({"2 x 1"}), harmless()), AllOf(lines(22), harmless())));
    const std::string last = "korva: further lines from libraries are left out";
    const std::string ownWarning = "korva: warning: " + std::string(address) + ": model X900 is unknown";
    EXPECT_THAT(result.errors,
                eachLine(AnyOf(StartsWith("korva: from a library: "), last, StartsWith(ownWarning))));
    EXPECT_THAT(result.errors,
                has({"\\x1b]0;PWN\\x07\\x1b[31mFAKE\n",
                     "korva: from a library: korva: warning: forged\\x0d\\x9b2J", "\n" + last + "\n"}));
}
