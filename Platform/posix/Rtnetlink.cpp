#include "Rtnetlink.h"

#include <cstring>
#include <linux/rtnetlink.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

/// The states in which an entry's hardware address is good, as the system itself uses it.
constexpr unsigned knownStates = NUD_PERMANENT | NUD_REACHABLE | NUD_STALE | NUD_DELAY | NUD_PROBE;

/// The attribute of a type among the `bytes` bytes of them that start at `first`; null if there is none.
const rtattr* findAttribute(const rtattr* first, std::size_t bytes, unsigned type) {
    for (const rtattr* each = first; RTA_OK(each, bytes); each = RTA_NEXT(each, bytes)) {
        if (each->rta_type == type)
            return each;
    }
    return nullptr;
}

} // namespace

/// A message to the kernel: its header, the body of the question and room for a few addresses.
struct Platform::Rtnetlink::Request {
    alignas(NLMSG_ALIGNTO) char bytes[256]{};

    nlmsghdr& header() { return *reinterpret_cast<nlmsghdr*>(bytes); }

    /// Begins the message; the body is to be filled.
    template <class Body>
    Body& begin(std::uint16_t type) {
        header().nlmsg_type = type;
        header().nlmsg_flags = NLM_F_REQUEST;
        header().nlmsg_len = NLMSG_LENGTH(sizeof(Body));
        return *static_cast<Body*>(NLMSG_DATA(&header()));
    }

    void addAddress(std::uint16_t type, std::uint32_t address) {
        auto* attribute = reinterpret_cast<rtattr*>(bytes + NLMSG_ALIGN(header().nlmsg_len));
        attribute->rta_type = type;
        attribute->rta_len = RTA_LENGTH(sizeof address);
        std::memcpy(RTA_DATA(attribute), &address, sizeof address);
        header().nlmsg_len = NLMSG_ALIGN(header().nlmsg_len) + attribute->rta_len;
    }
};

/// The kernel's message in return.
struct Platform::Rtnetlink::Answer {
    alignas(NLMSG_ALIGNTO) char bytes[4096]{};
    std::size_t size = 0;

    const nlmsghdr& header() const { return *reinterpret_cast<const nlmsghdr*>(bytes); }

    bool isComplete() const {
        return size >= sizeof(nlmsghdr) && header().nlmsg_len >= sizeof(nlmsghdr) &&
               header().nlmsg_len <= size;
    }

    /// The message's body; null if it is of another type or too short.
    template <class Body>
    const Body* body(std::uint16_t type) const {
        const bool fits = header().nlmsg_type == type && header().nlmsg_len >= NLMSG_LENGTH(sizeof(Body));
        return fits ? static_cast<const Body*>(NLMSG_DATA(&header())) : nullptr;
    }

    /// The attribute of a type behind the body.
    template <class Body>
    const rtattr* attribute(const Body* body, unsigned type) const {
        const auto* first =
            reinterpret_cast<const rtattr*>(reinterpret_cast<const char*>(body) + NLMSG_ALIGN(sizeof(Body)));
        return findAttribute(first, NLMSG_PAYLOAD(&header(), sizeof(Body)), type);
    }
};

Platform::Rtnetlink::Rtnetlink() : descriptor_(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE)) {
    // The kernel answers at once; the bound is for the day when it does not.
    const timeval second{.tv_sec = 1, .tv_usec = 0};
    if (descriptor_ >= 0)
        setsockopt(descriptor_, SOL_SOCKET, SO_RCVTIMEO, &second, sizeof second);
}

Platform::Rtnetlink::~Rtnetlink() {
    if (descriptor_ >= 0)
        close(descriptor_);
}

/// Sends the request and receives its answer. False if there is none; an error is an answer.
bool Platform::Rtnetlink::ask(Request& request, Answer& answer) {
    request.header().nlmsg_seq = ++sequence_;
    if (send(descriptor_, request.bytes, request.header().nlmsg_len, 0) < 0)
        return false;
    // A late answer to an earlier question may come first, but not more than each had one.
    for (std::uint32_t at = 0; at < sequence_; ++at) {
        const ssize_t received = recv(descriptor_, answer.bytes, sizeof answer.bytes, 0);
        answer.size = received > 0 ? static_cast<std::size_t>(received) : 0;
        if (!answer.isComplete())
            return false;
        if (answer.header().nlmsg_seq == sequence_)
            return true;
    }
    return false;
}

Platform::Rtnetlink::Route Platform::Rtnetlink::routeTo(std::uint32_t destination, std::uint32_t source) {
    Request request;
    auto& question = request.begin<rtmsg>(RTM_GETROUTE);
    question.rtm_family = AF_INET;
    question.rtm_dst_len = 32;
    request.addAddress(RTA_DST, destination);
    if (source != 0) {
        question.rtm_src_len = 32;
        request.addAddress(RTA_SRC, source);
    }

    Answer answer;
    const rtmsg* const route = ask(request, answer) ? answer.body<rtmsg>(RTM_NEWROUTE) : nullptr;
    if (route == nullptr)
        return {};
    if (route->rtm_type == RTN_LOCAL)
        return {Way::own, 0};
    const rtattr* const adapter = answer.attribute(route, RTA_OIF);
    const bool isDirect = route->rtm_type == RTN_UNICAST && adapter != nullptr &&
                          answer.attribute(route, RTA_GATEWAY) == nullptr &&
                          answer.attribute(route, RTA_VIA) == nullptr;
    if (!isDirect || RTA_PAYLOAD(adapter) < sizeof(unsigned))
        return {};
    Route found{Way::neighbour, 0};
    std::memcpy(&found.adapterIndex, RTA_DATA(adapter), sizeof found.adapterIndex);
    return found;
}

std::optional<Platform::Rtnetlink::Neighbour> Platform::Rtnetlink::neighbour(unsigned adapterIndex,
                                                                             std::uint32_t address) {
    Request request;
    auto& question = request.begin<ndmsg>(RTM_GETNEIGH);
    question.ndm_family = AF_INET;
    question.ndm_ifindex = static_cast<int>(adapterIndex);
    request.addAddress(NDA_DST, address);

    Answer answer;
    const ndmsg* const entry = ask(request, answer) ? answer.body<ndmsg>(RTM_NEWNEIGH) : nullptr;
    if (entry == nullptr)
        return std::nullopt;
    Neighbour found;
    found.isPending = entry->ndm_state == NUD_NONE || (entry->ndm_state & NUD_INCOMPLETE) != 0;
    const rtattr* const link = answer.attribute(entry, NDA_LLADDR);
    if ((entry->ndm_state & knownStates) != 0 && link != nullptr) {
        const auto* bytes = static_cast<const unsigned char*>(RTA_DATA(link));
        found.hardwareAddress.assign(bytes, bytes + RTA_PAYLOAD(link));
    }
    return found;
}
