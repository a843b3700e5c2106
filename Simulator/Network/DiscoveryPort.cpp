#include "Network/DiscoveryPort.h"

#include "Camera/Discovery.h"
#include "Camera/Ipv4.h"
#include "Camera/QuotedText.h"

#include <sys/socket.h>

#include <algorithm>

namespace Simulator {

namespace {

constexpr std::uint32_t loopbackNetwork = 127;
constexpr std::string_view limitedBroadcast = "255.255.255.255";
constexpr std::size_t mostWaitingReplies = 1024;
// The connections get their turn however many datagrams come.
constexpr int mostDatagramsPerTurn = 64;

std::string nameOf(const sockaddr_in& peer) {
    return ipv4Text(ntohl(peer.sin_addr.s_addr)) + ":" + std::to_string(ntohs(peer.sin_port)) +
           " (discovery) ";
}

} // namespace

DiscoveryPort::DiscoveryPort(Camera& camera, const std::string& address, std::uint16_t port,
                             const EventLog& log)
    : m_camera(camera), m_log(log) {
    if (camera.settings().discovery == Service::Refused)
        return;
    m_sockets.push_back(bindUdp(address, port));
    hearBroadcasts(address);
}

void DiscoveryPort::hearBroadcasts(const std::string& address) {
    const std::uint32_t own = ipv4FromText(address).value_or(0);
    const auto mask = netMaskFromText(m_camera.settings().netMask);
    if (own == 0 || own >> 24 == loopbackNetwork)
        return;
    std::vector<std::string> wanted{std::string(limitedBroadcast)};
    if (mask && (own | ~*mask) != own)
        wanted.insert(wanted.begin(), ipv4Text(own | ~*mask));
    for (const std::string& broadcast : wanted) {
        try {
            m_sockets.push_back(bindUdp(broadcast, port(), Sharing::Shared));
            m_broadcasts.push_back(broadcast);
        } catch (const ServerError& failure) {
            m_log(std::string("hears no queries to everybody: ") + failure.what());
        }
    }
}

std::optional<Clock::time_point> DiscoveryPort::wakeTime() const {
    const auto first = std::ranges::min_element(m_replies, {}, &Reply::due);
    return first == m_replies.end() ? std::nullopt : std::optional(first->due);
}

void DiscoveryPort::advance(Clock::time_point now) {
    for (const Socket& socket : m_sockets)
        for (int count = 0; count < mostDatagramsPerTurn && readOne(socket, now); ++count) {
        }
    // In the order in which they were scheduled, so that the pieces of one reply keep theirs.
    for (const Reply& reply : m_replies)
        if (reply.due <= now)
            send(reply);
    std::erase_if(m_replies, [now](const Reply& reply) { return reply.due <= now; });
}

bool DiscoveryPort::readOne(const Socket& socket, Clock::time_point now) {
    sockaddr_in sender{};
    socklen_t size = sizeof sender;
    const ssize_t count = recvfrom(socket.descriptor(), m_datagram.data(), m_datagram.size(), 0,
                                   reinterpret_cast<sockaddr*>(&sender), &size);
    if (count < 0)
        return false;
    const ByteView received = ByteView(m_datagram).first(static_cast<std::size_t>(count));
    if (m_camera.settings().discovery == Service::Silent) {
        m_log(nameOf(sender) + quotedText(received) + " -> silent");
        return true;
    }
    const Reaction reaction = answerDiscovery(m_camera, received);
    for (const std::string& event : reaction.events)
        m_log(nameOf(sender) + event);
    schedule(reaction.actions, sender, now);
    return true;
}

void DiscoveryPort::schedule(const std::vector<Action>& actions, const sockaddr_in& receiver,
                             Clock::time_point now) {
    Clock::time_point due = now;
    for (const Action& action : actions) {
        if (const auto* const pause = std::get_if<Pause>(&action))
            due += pause->length;
        const auto* const sending = std::get_if<SendBytes>(&action);
        if (sending == nullptr)
            continue;
        const std::size_t piece = sending->pieceBytes == 0 ? sending->length : sending->pieceBytes;
        std::size_t offset = 0;
        do {
            if (m_replies.size() == mostWaitingReplies)
                return m_log(nameOf(receiver) + "too many replies wait: one is dropped");
            const std::size_t length = std::min(piece, sending->length - offset);
            m_replies.push_back({due, receiver, sending->bytes, offset, length});
            offset += length;
            due += sending->pause;
        } while (offset < sending->length);
    }
}

void DiscoveryPort::send(const Reply& reply) const {
    // A receiver that has gone, or a full queue: a datagram may always be lost.
    [[maybe_unused]] const ssize_t sent =
        sendto(m_sockets.front().descriptor(), reply.bytes->data() + reply.offset, reply.length, MSG_NOSIGNAL,
               reinterpret_cast<const sockaddr*>(&reply.receiver), sizeof reply.receiver);
}

} // namespace Simulator
