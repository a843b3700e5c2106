#include "NativeCameraKorva/KorvaCameraLocator.h"

#include "Communicator/ClientFactory.h"
#include "Communicator/CommunicatorTemplate.h"
#include "Communicator/DeviceException.h"
#include "Communicator/EthernetCommunicator.h"
#include "DeviceControl/BroadcastWorkerObserver.h"
#include "NativeCameraKorva/KorvaAdapterList.h"
#include "NativeCameraKorva/KorvaCameraTemplate.h"
#include "NativeCameraKorva/KorvaCommParser.h"
#include "NativeCameraKorva/KorvaConstants.h"
#include "NativeCameraKorva/KorvaIdentification.h"
#include "NativeCameraKorva/KorvaLog.h"
#include "NativeCameraKorva/KorvaTypeObject.h"
#include "Platform/Text.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>
#include <utility>

namespace {

const log4cxx::LoggerPtr logger = log4cxx::Logger::getLogger("Plenar.KorvaCamera.KorvaCameraLocator");

constexpr WORD socketsVersion = 0x0202;
constexpr DWORD receiveTimeoutMs = 1000;
constexpr std::size_t replyBytes = 256;
constexpr std::size_t addressTextBytes = 64;
/// More than any network has cameras and ways to them; what a flood of replies may cost is bounded by it.
constexpr std::size_t mostReplies = 16'384;
constexpr int observerArgument = 0;

/// Deliberately one character and not an integer.
constexpr char broadcastOn = 'y';

const std::string replyMark = "[Korva";
const std::string roomKey = "--Room";
const std::string ipKey = "--IP";

/// Closes the socket, unless it is closed already; INVALID_SOCKET stands for that.
void closeOnce(SOCKET& socket) {
    if (socket != INVALID_SOCKET)
        closesocket(std::exchange(socket, INVALID_SOCKET));
}

/// In network byte order; 0 if the text is no address.
IPAddr addressOf(const std::string& text) {
    IPAddr address = 0;
    static_cast<void>(inet_pton(AF_INET, text.c_str(), &address));
    return address;
}

/// The directed broadcast address of the adapter's network.
in_addr broadcastAddressOf(const IP_ADDR_STRING& address) {
    const std::string ipText = Korva::textOf(address.IpAddress);
    const IPAddr ip = addressOf(ipText);
    KORVA_LOG(logger, Info, "KorvaCameraLocator", "IP on network adapter: " << ipText);
    const std::string maskText = Korva::textOf(address.IpMask);
    const IPAddr mask = addressOf(maskText);
    KORVA_LOG(logger, Info, "KorvaCameraLocator", "Mask on network adapter: " << maskText);

    in_addr broadcast{};
    broadcast.s_addr = ip | ~mask;
    std::array<char, addressTextBytes> text{};
    inet_ntop(AF_INET, &broadcast, text.data(), text.size());
    KORVA_LOG(logger, Info, "KorvaCameraLocator", "UDP broadcasting Korva Discovery on: " << text.data());
    return broadcast;
}

/// What sendto returned.
int sendQuery(SOCKET socket, const in_addr& address) {
    sockaddr_in destination{};
    destination.sin_family = AF_INET;
    destination.sin_port = htons(Korva::textPort);
    destination.sin_addr = address;
    return sendto(socket, Korva::discoveryQuery.data(), static_cast<int>(Korva::discoveryQuery.size()), 0,
                  reinterpret_cast<const sockaddr*>(&destination), static_cast<int>(sizeof destination));
}

// A line that cannot be logged, as when memory is short, neither ends the search nor keeps a socket open.

void logSkipped(const KorvaCameraLocator::FoundKorva& korva) noexcept {
    try {
        KORVA_LOG(logger, Warn, "KorvaCameraLocator",
                  "Unknown exception processing Korva in room: " << korva.room << " at IP: " << korva.ip);
    } catch (...) {
    }
}

void logNoDiscovery() noexcept {
    try {
        KORVA_LOG(logger, Error, "KorvaCameraLocator",
                  "Unknown exception when trying to discover Korva devices.");
    } catch (...) {
    }
}

} // namespace

KorvaCameraLocator::KorvaCameraLocator() = default;
KorvaCameraLocator::~KorvaCameraLocator() = default;

void KorvaCameraLocator::serialObserverSearch(BroadcastWorkerObserver* /*observer*/) {}

void KorvaCameraLocator::rangeObserverSearch(BroadcastWorkerObserver* /*observer*/) {}

bool KorvaCameraLocator::supportsRangeSearch() const {
    return false;
}

void KorvaCameraLocator::broadcastObserverSearch(BroadcastWorkerObserver* observer,
                                                 unsigned int /*reserved*/) {
    try {
        KORVA_LOG(logger, Info, "KorvaCameraLocator", "broadcastObserverSearch..");
    } catch (...) {
        // As below: the search goes on without its first line.
    }
    std::vector<FoundKorva> found;
    if (!discover(found))
        return;
    std::vector<std::string> seenMacs;
    for (const FoundKorva& entry : found) {
        try {
            processAndQueryFoundKorva(entry, seenMacs, observer);
        } catch (...) {
            logSkipped(entry);
        }
    }
}

/// Asks and gathers. False if there is nothing to go on with.
bool KorvaCameraLocator::discover(std::vector<FoundKorva>& found) {
    SOCKET opened = INVALID_SOCKET;
    try {
        WSADATA data{};
        WSAStartup(socketsVersion, &data);
        opened = socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP);
        // Deliberately without WSACleanup: a search that could not ask leaves the library started.
        if (!sendDiscoveryQuery(opened))
            return false;
        if (!gatherDiscoveryResponses(opened, found))
            return false;
        closeOnce(opened);
        WSACleanup();
        return true;
    } catch (...) {
        logNoDiscovery();
        closeOnce(opened);
        WSACleanup();
        return false;
    }
}

/// Sends the query on every adapter. If that fails, closes the socket and sets it to INVALID_SOCKET.
bool KorvaCameraLocator::sendDiscoveryQuery(SOCKET& socket) {
    if (setsockopt(socket, SOL_SOCKET, SO_BROADCAST, &broadcastOn, sizeof broadcastOn) != 0) {
        closeOnce(socket);
        KORVA_LOG(logger, Warn, "KorvaCameraLocator", "setsockopt failed");
        return false;
    }
    ULONG bytes = 0;
    const DWORD sizeCode = GetAdaptersInfo(nullptr, &bytes);
    if (sizeCode != ERROR_BUFFER_OVERFLOW) {
        closeOnce(socket);
        KORVA_LOG(logger, Error, "KorvaCameraLocator", "Failed on call to GetAdaptersInfo " << sizeCode);
        return false;
    }
    Korva::AdapterList adapters(bytes);
    const DWORD listCode = adapters.fill();
    if (listCode != NO_ERROR) {
        closeOnce(socket);
        KORVA_LOG(logger, Error, "KorvaCameraLocator",
                  "Failed on second call to GetAdaptersInfo " << listCode);
        return false;
    }
    while (const IP_ADAPTER_INFO* const adapter = adapters.next()) {
        const int sent = sendQuery(socket, broadcastAddressOf(adapter->IpAddressList));
        if (sent >= 0)
            continue;
        const int code = WSAGetLastError();
        closeOnce(socket);
        KORVA_LOG(logger, Warn, "KorvaCameraLocator",
                  "Korva Query - sendto call failed: sendReturn = " << sent << " WSAError = " << code);
        return false;
    }
    return true;
}

/// Receives replies until the socket times out, and keeps the first of them. Always true.
bool KorvaCameraLocator::gatherDiscoveryResponses(SOCKET socket, std::vector<FoundKorva>& found) {
    // A time-out that cannot be set is deliberately no failure.
    setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, reinterpret_cast<const char*>(&receiveTimeoutMs),
               sizeof receiveTimeoutMs);
    // Deliberately not cleared between datagrams, which shows in the line of one that was not parsed.
    std::array<char, replyBytes> buffer{};
    const auto receive = [&] {
        return Platform::recvfrom(socket, buffer.data(), static_cast<int>(buffer.size()), 0, nullptr,
                                  nullptr);
    };
    bool isFull = false;
    int received = receive();
    for (; received > 0; received = receive()) {
        const std::string text(buffer.data(), static_cast<std::size_t>(received));
        FoundKorva korva;
        if (parseDiscoveryReply(text.c_str(), korva.room, korva.ip)) {
            KORVA_LOG(logger, Info, "KorvaCameraLocator",
                      "Message from Korva device: " << korva.room << " " << korva.ip);
            if (found.size() < mostReplies) {
                found.push_back(std::move(korva));
            } else if (!std::exchange(isFull, true)) {
                KORVA_LOG(logger, Warn, "KorvaCameraLocator",
                          "More than " << mostReplies << " replies from Korva devices, ignoring the rest..");
            }
        } else {
            KORVA_LOG(logger, Info, "KorvaCameraLocator",
                      "Got message that wasn't parsed as a Korva response: "
                          << std::string(buffer.begin(), std::find(buffer.begin(), buffer.end(), '\0')));
        }
    }
    const int code = WSAGetLastError();
    KORVA_LOG(logger, Info, "KorvaCameraLocator",
              "Last recv returned: " << received << " WSAError: " << code);
    return true;
}

bool KorvaCameraLocator::parseDiscoveryReply(const char* text, std::string& room, std::string& ip) {
    std::string reply = text;
    // Shorter than the mark is without it, too.
    if (reply.find(replyMark) == std::string::npos)
        return false;
    Korva::CommParser parser;
    parser.parse(reply.data());
    if (!parser.isParsed())
        return false;
    room = parser.getValue(roomKey);
    ip = parser.getValue(ipKey);
    return !room.empty() && !ip.empty();
}

/// Identifies one camera, unless it was seen, and tells the observer.
void KorvaCameraLocator::processAndQueryFoundKorva(const FoundKorva& found,
                                                   std::vector<std::string>& seenMacs,
                                                   BroadcastWorkerObserver* observer) {
    const std::string mac = Korva::getKorvaMacAddress(found.ip);
    if (std::find(seenMacs.begin(), seenMacs.end(), mac) != seenMacs.end()) {
        KORVA_LOG(logger, Info, "KorvaCameraLocator",
                  "Found Korva with MAC " << mac << " more than once, ignoring..");
        return;
    }
    KORVA_LOG(logger, Info, "KorvaCameraLocator", "Found Korva with MAC " << mac);
    seenMacs.push_back(mac);
    try {
        const CameraInfo info = Korva::determineCameraInfoByAddress(found.ip, mac);
        // Another port than the one that identified the camera.
        const std::unique_ptr<Communicator> communicator(ClientFactory::createEthernetCommunicator(
            Platform::wideFromUtf8(found.ip), Korva::binaryPort, Korva::hostsDefaultTimeout));
        const CommunicatorTemplate communicatorTemplate(communicator.get());
        auto korva = std::make_unique<KorvaCameraTemplate>(getKorvaCameraType(), info, communicatorTemplate);
        // It passes with the call, whatever the observer does then.
        if (observer != nullptr)
            observer->deviceFound(korva.release(), observerArgument);
    } catch (const DeviceException& failure) {
        KORVA_LOG(logger, Error, "KorvaCameraLocator", "DeviceException while determining camera info.");
        KORVA_LOG(logger, Error, "KorvaCameraLocator",
                  "    " << Platform::utf8FromWide(failure.getDescription()));
    }
}
