// A whole search for cameras over scripted sockets. The input is the three text replies that every camera
// gives, and then the datagrams that answer the query, each ended by a record separator (0x1E).

#include "FuzzInput.h"

#include "DeviceControl/BroadcastWorkerObserver.h"
#include "NativeCameraControl/NativeCameraTemplate.h"
#include "NativeCameraKorva/KorvaCameraLocator.h"
#include "NativeCameraKorva/KorvaCommParser.h"
#include "World/Network.h"

#include <array>
#include <memory>
#include <string>
#include <string_view>

namespace {

using Fuzz::Bytes;
using Fuzz::require;
using World::Network;

constexpr std::uint8_t recordSeparator = 0x1E;
constexpr std::size_t mostDatagrams = 4;
constexpr int korvaCameraType = 6;
constexpr int textPort = 32768;

/// Owns and looks at what it is told.
struct CountingObserver final : BroadcastWorkerObserver {
    std::size_t found = 0;

    void deviceFound(DeviceTemplate* deviceTemplate, int reserved) override {
        const std::unique_ptr<DeviceTemplate> owned(deviceTemplate);
        const auto* const camera = dynamic_cast<const NativeCameraTemplate*>(deviceTemplate);
        require(camera != nullptr && reserved == 0);
        const CameraInfo info = camera->getCameraInfo();
        require(info.getCameraTypeEnum() == korvaCameraType && !info.getIpAddress().empty());
        require(!info.getMacAddress().empty());
        ++found;
    }
};

/// One adapter, and three addresses with two cameras behind them, of which one has an odd hardware address.
void scriptNetwork() {
    Network& network = Network::current();
    network.adapters = {{"eth0", {{"10.0.0.1", "255.255.255.0"}}}};
    network.arp["10.0.0.5"].hardwareAddress = network.arp["10.0.0.6"].hardwareAddress = "abcdef";
    network.arp["10.0.0.7"] = {"abcdefgh", NO_ERROR, 255};
}

/// What a search makes of the text must be what the parser makes of it.
void recognise(std::string text) {
    Korva::CommParser parser;
    parser.parse(text.data());
    std::string room;
    std::string ip;
    const bool recognised = KorvaCameraLocator::parseDiscoveryReply(text.c_str(), room, ip);
    const bool isMarked = std::string_view(text.c_str()).find("[Korva") != std::string_view::npos;
    require(recognised == (isMarked && !room.empty() && !ip.empty()));
    require(!isMarked || (room == parser.getValue("--Room") && ip == parser.getValue("--IP")));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    World::reset();
    scriptNetwork();
    Network& network = Network::current();
    Fuzz::Input input(data, size);
    std::array<Fuzz::View, 3> replies;
    for (Fuzz::View& reply : replies)
        reply = input.viewUpTo(recordSeparator);
    std::size_t datagrams = 0;
    for (; datagrams < mostDatagrams && !input.isEmpty(); ++datagrams) {
        const Fuzz::View datagram = input.viewUpTo(recordSeparator);
        recognise(network.datagrams.emplace_back(std::string(datagram.begin(), datagram.end())).text);
        for (const Fuzz::View reply : replies)
            network.at("", textPort).answer(Bytes(reply.begin(), reply.end()));
    }
    CountingObserver observer;
    KorvaCameraLocator().broadcastObserverSearch(&observer, 0);
    require(observer.found <= datagrams);
    require(network.openConnections().empty());
    require(network.openSockets.empty() && network.startups == 0);
    return 0;
}
