// A whole capture from the simulated camera over loopback: connect, configure, take, fetch, decode, reduce,
// convert. Beside it the same camera's answer to the same request is received, and nothing is done with it.

#include "CameraFiles.h"
#include "Communicator/PosixEthernetCommunicator.h"
#include "ImagingLibrary/Image.h"
#include "ImagingLibrary/ImagingFactory.h"
#include "ImagingLibrary/ImagingLibrary.h"
#include "NativeCameraKorva/KorvaHelper.h"
#include "Network/CameraServer.h"
#include "Platform/TcpSocket.h"
#include "Rows.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <span>

namespace {

using namespace Benchmarks;
using namespace std::chrono_literals;
using Platform::SocketStatus;
using Platform::TcpSocket;

constexpr std::size_t pieceBytes = 65536;
constexpr auto longestWait = 10s;

/// A camera with pictures of full size, for the whole run.
std::uint16_t cameraPort() {
    static Simulator::CameraServer server = [] {
        Simulator::CameraSettings settings;
        settings.model = "M615";
        Simulator::ServerOptions options;
        options.binaryTcpPort = 0;
        options.textTcpPort = 0;
        options.discoveryUdpPort = 0;
        return Simulator::CameraServer(settings, options);
    }();
    static const bool started = (server.start(), true);
    static_cast<void>(started);
    return server.binaryTcpPort();
}

void captureOnce() {
    PosixEthernetCommunicator camera(L"127.0.0.1", cameraPort(), -1);
    Image* const image = Korva::capture(&camera, false, false, false, 15, false);
    if (image == nullptr || image->getWidth() != width || image->getHeight() != height)
        std::abort();
    ImagingFactory::getInstance()->releaseImage(image);
}

void require(bool done) {
    if (!done)
        std::abort();
}

void receiveAll(TcpSocket& socket, std::size_t count, unsigned char* buffer) {
    while (count > 0) {
        const auto result =
            socket.receive(buffer, std::min(count, pieceBytes), TcpSocket::Clock::now() + longestWait);
        require(result.status == SocketStatus::done);
        count -= result.bytes;
    }
}

/// A client that takes what comes. Each fetch needs a picture to be taken before, which is not timed.
class BareClient {
public:
    BareClient() {
        require(socket_.open("127.0.0.1", cameraPort(), longestWait).status == SocketStatus::done);
    }

    void take() {
        static constexpr std::array<unsigned char, 39> configuration{
            1, 0, 0, 0, 39, 5, 2, 0, 0, 0, 2,  0, 15, 3, 0, 0, 0, 1, 2,   4,
            0, 0, 0, 1, 1,  7, 0, 0, 0, 1, 16, 8, 0,  0, 0, 1, 4, 0, 0x71};
        static constexpr std::array<unsigned char, 13> takeImage{1, 0, 0, 0, 13, 1, 5, 0, 0, 0, 0, 0, 20};
        ask(configuration);
        receiveAll(socket_, doneBytes, buffer_.data());
        ask(takeImage);
        receiveAll(socket_, doneBytes, buffer_.data());
    }

    void fetch() {
        static constexpr std::array<unsigned char, 13> getImage{1, 0, 0, 0, 13, 1, 6, 0, 0, 0, 0, 0, 21};
        ask(getImage);
        receiveAll(socket_, doneBytes + sgiFile().size(), buffer_.data());
    }

private:
    static constexpr std::size_t doneBytes = 13;

    void ask(std::span<const unsigned char> request) {
        require(socket_.send(request.data(), request.size(), longestWait).status == SocketStatus::done);
    }

    TcpSocket socket_;
    Bytes buffer_ = Bytes(pieceBytes);
};

const Row row(
    "whole capture over loopback", 1.7, "bare receive of as many bytes, 64 KiB pieces",
    [] { return Work{captureOnce}; },
    [] {
        const auto client = std::make_shared<BareClient>();
        return Work{[client] { client->fetch(); }, [client] { client->take(); }};
    },
    2.6);

} // namespace
