#include "Platform/ArpProbe.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cstring>
#include <netinet/if_ether.h>
#include <netpacket/packet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using Platform::ArpQuestion;
using Platform::Clock;
using HardwareAddresses = std::vector<std::vector<unsigned char>>;

class ArpSocket {
public:
    ArpSocket()
        : descriptor_(socket(AF_PACKET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, htons(ETH_P_ARP))) {}
    ArpSocket(const ArpSocket&) = delete;
    ArpSocket& operator=(const ArpSocket&) = delete;
    ~ArpSocket() {
        if (descriptor_ >= 0)
            close(descriptor_);
    }

    bool isOpen() const { return descriptor_ >= 0; }

    /// An adapter that does not send it is one that nobody answers at.
    void ask(const ArpQuestion& question) const {
        ether_arp request{};
        request.arp_hrd = htons(ARPHRD_ETHER);
        request.arp_pro = htons(ETH_P_IP);
        request.arp_hln = ETH_ALEN;
        request.arp_pln = sizeof question.address;
        request.arp_op = htons(ARPOP_REQUEST);
        std::copy(question.ownHardwareAddress.begin(), question.ownHardwareAddress.end(), request.arp_sha);
        std::memcpy(request.arp_tpa, &question.address, sizeof question.address);
        sockaddr_ll everybody{};
        everybody.sll_family = AF_PACKET;
        everybody.sll_protocol = htons(ETH_P_ARP);
        everybody.sll_ifindex = static_cast<int>(question.adapterIndex);
        everybody.sll_halen = ETH_ALEN;
        std::fill_n(everybody.sll_addr, ETH_ALEN, 0xFF);
        sendto(descriptor_, &request, sizeof request, 0, reinterpret_cast<const sockaddr*>(&everybody),
               sizeof everybody);
    }

    /// The next message and the index of the adapter that it came in by; false if none comes in time.
    bool receive(Clock::time_point deadline, ether_arp& message, unsigned& adapterIndex) const {
        for (;;) {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
            pollfd waited{descriptor_, POLLIN, 0};
            if (left <= 0 || poll(&waited, 1, static_cast<int>(left)) <= 0)
                return false;
            sockaddr_ll from{};
            socklen_t fromLength = sizeof from;
            const ssize_t count = recvfrom(descriptor_, &message, sizeof message, 0,
                                           reinterpret_cast<sockaddr*>(&from), &fromLength);
            adapterIndex = static_cast<unsigned>(from.sll_ifindex);
            if (count == static_cast<ssize_t>(sizeof message))
                return true;
        }
    }

private:
    int descriptor_;
};

bool canBeAsked(const ArpQuestion& question) {
    return question.ownHardwareAddress.size() == ETH_ALEN;
}

/// Whether the message tells that somebody else has the address.
bool answers(const ether_arp& message, unsigned adapterIndex, const ArpQuestion& question) {
    return adapterIndex == question.adapterIndex && canBeAsked(question) &&
           std::memcmp(message.arp_spa, &question.address, sizeof question.address) == 0 &&
           !std::equal(question.ownHardwareAddress.begin(), question.ownHardwareAddress.end(),
                       message.arp_sha);
}

void note(const ether_arp& message, HardwareAddresses& known) {
    const std::vector<unsigned char> sender(message.arp_sha, message.arp_sha + ETH_ALEN);
    const bool isNew = std::find(known.begin(), known.end(), sender) == known.end();
    if (isNew && known.size() < Platform::mostArpAnswers)
        known.push_back(sender);
}

} // namespace

std::optional<std::vector<HardwareAddresses>> Platform::askByArp(const std::vector<ArpQuestion>& questions,
                                                                 Clock::time_point deadline) {
    const ArpSocket socket;
    if (!socket.isOpen())
        return std::nullopt;
    for (const ArpQuestion& question : questions)
        if (canBeAsked(question))
            socket.ask(question);
    std::vector<HardwareAddresses> found(questions.size());
    ether_arp message{};
    for (unsigned adapterIndex = 0; socket.receive(deadline, message, adapterIndex);)
        for (std::size_t at = 0; at < questions.size(); ++at)
            if (answers(message, adapterIndex, questions[at]))
                note(message, found[at]);
    return found;
}
