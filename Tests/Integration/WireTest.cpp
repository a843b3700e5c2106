// One session, compared byte for byte with what Docs/Protocol.md shows.

#include "NativeCameraKorva/KorvaCameraBuilder.h"
#include "NativeCameraKorva/KorvaHelper.h"

#include "Camera/Scene.h"
#include "Camera/SgiWriter.h"
#include "Communicator/PosixEthernetCommunicator.h"
#include "ImagingLibrary/Image.h"
#include "ImagingLibrary/ImagingFactory.h"
#include "ImagingLibrary/ImagingLibrary.h"
#include "NativeCameraControl/NativeCamera.h"
#include "World/Stage.h"

#include <gmock/gmock.h>

#include <fstream>
#include <memory>
#include <regex>
#include <string>

using testing::ElementsAre;
using World::Bytes;

namespace {

/// The bytes that the document shows for `label`: hexadecimal pairs behind it or indented below it.
Bytes documentedBytes(const std::string& label) {
    std::ifstream document(std::string(KORVA_SOURCE_DIR) + "/Docs/Protocol.md");
    const std::regex pair("(^| )([0-9A-F]{2})(?= |$)");
    Bytes bytes;
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
            bytes.push_back(static_cast<std::uint8_t>(std::stoi((*at)[2], nullptr, 16)));
    }
    EXPECT_FALSE(bytes.empty()) << "the document shows no bytes of: " << label;
    return bytes;
}

} // namespace

TEST(Wire, CarriesToTheByteWhatTheDocumentShows) {
    World::Stage world;
    World::Peer& text = world.at("10.0.0.5", 32768);
    World::Peer& binary = world.at("10.0.0.5", 32769);
    for (const char* reply :
         {"[Version --HW M61 --SW 3.2.15 --API 1.4]", "[SerialNumber --Camera 1234]",
          "[--Settings --NetworkProtocol static --NetMask 255.255.255.0 --NetGateway 0.0.0.0]"})
        text.answer(documentedBytes(reply));
    PosixEthernetCommunicator connection(L"10.0.0.5", 32768, -1);
    const KorvaCameraBuilder korvaBuilder;
    const DeviceBuilder& builder = korvaBuilder;
    const std::unique_ptr<Device> device(builder.build(&connection));
    ASSERT_NE(device, nullptr);
    EXPECT_THAT(text.requests(),
                ElementsAre(documentedBytes("[Version --HW --SW --API]"),
                            documentedBytes("[SerialNumber --Camera]"),
                            documentedBytes("[--Settings --NetworkProtocol --NetMask --NetGateway]")));

    const Bytes done = documentedBytes("Done");
    const Simulator::Picture picture = Simulator::renderScene(Simulator::SceneKind::white, {4, 2}, 3, 100, 1);
    binary.answer(done).answer(done).answer(World::image(Simulator::writeSgi(picture))).answer(done);
    Image* const image = Korva::capture(device->getCommunicator(), false, false, false, 100, false);
    EXPECT_NE(image, nullptr);
    ImagingFactory::getInstance()->releaseImage(image);
    EXPECT_TRUE(dynamic_cast<NativeCamera&>(*device).isAlive());
    EXPECT_THAT(binary.requests(),
                ElementsAre(documentedBytes("configuration, 10.0 s (100 units), mode 2, SGI, 39 bytes"),
                            documentedBytes("take image"), documentedBytes("get image"),
                            documentedBytes("probe")));
}
