// One session on the wire, compared byte for byte with what Docs/Protocol.md shows.

#include "TemporaryFolder.h"
#include "ToolRun.h"
#include "WireRecorder.h"

#include <fstream>
#include <gtest/gtest.h>
#include <regex>
#include <string>
#include <vector>

using namespace Integration;

namespace {

const std::string address = addressOfThisProcess();

/// The bytes that the document shows for `label`: hexadecimal pairs behind it or indented below it.
std::string documentedBytes(const std::string& label) {
    std::ifstream document(std::string(KORVA_SOURCE_DIR) + "/Docs/Protocol.md");
    const std::regex pair("(^| )([0-9A-F]{2})(?= |$)");
    std::string bytes;
    bool found = false;
    for (std::string line; std::getline(document, line);) {
        const bool starts = line.starts_with(label + "  ") || line == label;
        if (!found && !starts)
            continue;
        if (found && !line.starts_with("  "))
            break;
        found = true;
        const std::string hex = starts ? line.substr(label.size()) : line;
        for (std::sregex_iterator at(hex.begin(), hex.end(), pair), end; at != end; ++at)
            bytes += static_cast<char>(std::stoi((*at)[2], nullptr, 16));
    }
    EXPECT_FALSE(bytes.empty()) << "the document shows no bytes of: " << label;
    return bytes;
}

/// A camera behind a recorder that has the camera's own ports.
class Wire : public testing::Test {
protected:
    SimulatedCamera camera_{{"--size", "1676x1266"}};
    WireRecorder text_{address, 32768, camera_.textPort()};
    WireRecorder binary_{address, 32769, camera_.port()};
    TemporaryFolder folder_;
};

} // namespace

TEST_F(Wire, IdentificationIsToTheByteWhatTheDocumentShows) {
    EXPECT_EQ(runTool({"identify", address}).status, 0);
    EXPECT_EQ(text_.stopAndTellAsked(),
              documentedBytes("[Version --HW --SW --API]") + documentedBytes("[SerialNumber --Camera]") +
                  documentedBytes("[--Settings --NetworkProtocol --NetMask --NetGateway]"));
    EXPECT_EQ(text_.answered(),
              documentedBytes("[Version --HW M61 --SW 3.2.15 --API 1.4]") +
                  documentedBytes("[SerialNumber --Camera 1234]") +
                  documentedBytes(
                      "[--Settings --NetworkProtocol static --NetMask 255.255.255.0 --NetGateway 0.0.0.0]"));
    EXPECT_EQ(binary_.stopAndTellAsked(), "");
}

TEST_F(Wire, PictureIsToTheByteWhatTheDocumentShows) {
    const ToolResult result =
        runTool({"capture", address, "--exposure", "10", "--output", folder_.file("a.png")});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(binary_.stopAndTellAsked(),
              documentedBytes("configuration, 10.0 s (100 units), mode 2, SGI, 39 bytes") +
                  documentedBytes("take image") + documentedBytes("get image"));
    const std::string done = documentedBytes("Done");
    EXPECT_TRUE(binary_.answered().starts_with(done + done));
}

TEST_F(Wire, ProbeIsToTheByteWhatTheDocumentShows) {
    EXPECT_EQ(runTool({"health", address}).status, 0);
    EXPECT_EQ(binary_.stopAndTellAsked(), documentedBytes("probe"));
}
