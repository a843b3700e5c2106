#include "Network/DiscoveryPort.h"

#include "Camera/Discovery.h"
#include "Camera/Ipv4.h"
#include "Camera/QuotedText.h"

#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cstring>

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

/// This machine's own address at which a datagram came in, also if it was sent to everybody; 0 if unknown.
std::uint32_t addressAskedAt(msghdr& message) {
    for (cmsghdr* each = CMSG_FIRSTHDR(&message); each != nullptr; each = CMSG_NXTHDR(&message, each)) {
        if (each->cmsg_level != IPPROTO_IP || each->cmsg_type != IP_PKTINFO)
            continue;
        in_pktinfo info{};
        std::memcpy(&info, CMSG_DATA(each), sizeof info);
        return ntohl(info.ipi_spec_dst.s_addr);
    }
    return 0;
}

} // namespace

DiscoveryPort::DiscoveryPort(Camera& camera, const std::string& address, std::uint16_t port,
                             const EventLog& log)
    : camera_(camera), log_(log), address_(ipv4FromText(address).value_or(0)) {
    if (camera.settings().discovery == Service::refused)
        return;
    sockets_.push_back(bindUdp(address, port));
    if (address_ == 0)
        switchOn(sockets_.front().descriptor(), IPPROTO_IP, IP_PKTINFO);
    else if (address_ >> 24 != loopbackNetwork)
        hearBroadcasts();
}

void DiscoveryPort::hearBroadcasts() {
    const auto mask = netMaskFromText(camera_.settings().netMask);
    std::vector<std::string> wanted{std::string(limitedBroadcast)};
    if (mask && (address_ | ~*mask) != address_)
        wanted.insert(wanted.begin(), ipv4Text(address_ | ~*mask));
    for (const std::string& broadcast : wanted) {
        try {
            sockets_.push_back(bindUdp(broadcast, port(), Sharing::shared));
            broadcasts_.push_back(broadcast);
        } catch (const ServerError& failure) {
            log_(std::string("hears no queries to everybody: ") + failure.what());
        }
    }
}

std::optional<Clock::time_point> DiscoveryPort::wakeTime() const {
    const auto first = std::ranges::min_element(replies_, {}, &Reply::due);
    return first == replies_.end() ? std::nullopt : std::optional(first->due);
}

void DiscoveryPort::advance(Clock::time_point now) {
    for (const Socket& socket : sockets_)
        for (int count = 0; count < mostDatagramsPerTurn && readOne(socket, now); ++count) {
        }
    // In the order in which they were scheduled, so that the pieces of one reply keep theirs.
    for (const Reply& reply : replies_)
        if (reply.due <= now)
            send(reply);
    std::erase_if(replies_, [now](const Reply& reply) { return reply.due <= now; });
}

bool DiscoveryPort::readOne(const Socket& socket, Clock::time_point now) {
    sockaddr_in sender{};
    iovec place{datagram_.data(), datagram_.size()};
    alignas(cmsghdr) std::array<char, 256> control{};
    msghdr message{};
    message.msg_name = &sender;
    message.msg_namelen = sizeof sender;
    message.msg_iov = &place;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    const ssize_t count = recvmsg(socket.descriptor(), &message, 0);
    if (count < 0)
        return false;
    const std::uint32_t asked = address_ == 0 ? addressAskedAt(message) : address_;
    answer(ByteView(datagram_).first(static_cast<std::size_t>(count)), sender, ipv4Text(asked), now);
    return true;
}

void DiscoveryPort::answer(ByteView datagram, const sockaddr_in& sender, const std::string& asked,
                           Clock::time_point now) {
    if (camera_.settings().discovery == Service::silent)
        return log_(nameOf(sender) + quotedText(datagram) + " -> silent");
    const Reaction reaction = answerDiscovery(camera_, datagram, asked);
    for (const std::string& event : reaction.events)
        log_(nameOf(sender) + event);
    schedule(reaction.actions, sender, now);
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
            if (replies_.size() == mostWaitingReplies)
                return log_(nameOf(receiver) + "too many replies wait: one is dropped");
            const std::size_t length = std::min(piece, sending->length - offset);
            replies_.push_back({due, receiver, sending->bytes, offset, length});
            offset += length;
            due += sending->pause;
        } while (offset < sending->length);
    }
}

void DiscoveryPort::send(const Reply& reply) const {
    // A receiver that has gone, or a full queue: a datagram may always be lost.
    [[maybe_unused]] const ssize_t sent =
        sendto(sockets_.front().descriptor(), reply.bytes->data() + reply.offset, reply.length, MSG_NOSIGNAL,
               reinterpret_cast<const sockaddr*>(&reply.receiver), sizeof reply.receiver);
}

} // namespace Simulator
