#include "Rtnetlink.h"

#include <algorithm>
#include <cstring>
#include <linux/rtnetlink.h>
#include <map>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>
#include <utility>

namespace {

using State = Platform::NeighbourEntry::State;

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

bool isPending(const ndmsg& entry) {
    return entry.ndm_state == NUD_NONE || (entry.ndm_state & NUD_INCOMPLETE) != 0;
}

State stateOf(const ndmsg& entry) {
    if ((entry.ndm_state & NUD_REACHABLE) != 0)
        return State::confirmed;
    if ((entry.ndm_state & knownStates) != 0)
        return State::known;
    return isPending(entry) ? State::asking : State::failed;
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

/// The kernel's message in return, or of a list the one of several that is being looked at.
struct Platform::Rtnetlink::Answer {
    alignas(NLMSG_ALIGNTO) char bytes[32768]{}; // the most that the kernel puts together of a list
    std::size_t size = 0;
    std::size_t at = 0; ///< not beyond `size`

    const nlmsghdr& header() const { return *reinterpret_cast<const nlmsghdr*>(bytes + at); }

    bool isComplete() const {
        const std::size_t left = size - at;
        return left >= sizeof(nlmsghdr) && header().nlmsg_len >= sizeof(nlmsghdr) &&
               header().nlmsg_len <= left;
    }

    /// On to the next message, which may not be there.
    void skip() { at = std::min<std::size_t>(size, at + NLMSG_ALIGN(header().nlmsg_len)); }

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

    /// The number in that attribute; 0 if there is none.
    template <class Body>
    std::uint32_t number(const Body* body, unsigned type) const {
        const rtattr* const found = attribute(body, type);
        std::uint32_t value = 0;
        if (found != nullptr && RTA_PAYLOAD(found) >= sizeof value)
            std::memcpy(&value, RTA_DATA(found), sizeof value);
        return value;
    }

    /// How long ago a neighbour has last answered; nothing if the kernel does not tell.
    std::optional<std::chrono::milliseconds> confirmedAgo(const ndmsg* entry) const {
        const rtattr* const found = attribute(entry, NDA_CACHEINFO);
        const long ticksPerSecond = sysconf(_SC_CLK_TCK);
        nda_cacheinfo info{};
        if (found == nullptr || RTA_PAYLOAD(found) < sizeof info || ticksPerSecond <= 0)
            return std::nullopt;
        std::memcpy(&info, RTA_DATA(found), sizeof info);
        return std::chrono::milliseconds(std::int64_t{info.ndm_confirmed} * 1000 / ticksPerSecond);
    }

    /// The hardware address in that attribute; empty if there is none.
    std::vector<unsigned char> hardwareAddress(const ndmsg* entry) const {
        const rtattr* const link = attribute(entry, NDA_LLADDR);
        if (link == nullptr)
            return {};
        const auto* first = static_cast<const unsigned char*>(RTA_DATA(link));
        return {first, first + RTA_PAYLOAD(link)};
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

bool Platform::Rtnetlink::receive(Answer& answer) {
    const ssize_t received = recv(descriptor_, answer.bytes, sizeof answer.bytes, 0);
    answer.size = received > 0 ? static_cast<std::size_t>(received) : 0;
    answer.at = 0;
    return answer.isComplete();
}

/// Sends the request and receives its answer. False if there is none; an error is an answer.
bool Platform::Rtnetlink::ask(Request& request, Answer& answer) {
    request.header().nlmsg_seq = ++sequence_;
    if (send(descriptor_, request.bytes, request.header().nlmsg_len, 0) < 0)
        return false;
    // A late answer to an earlier question may come first, but not more than each had one.
    for (std::uint32_t at = 0; at < sequence_; ++at) {
        if (!receive(answer))
            return false;
        if (answer.header().nlmsg_seq == sequence_)
            return true;
    }
    return false;
}

bool Platform::Rtnetlink::list(Request& request, const std::function<void(const Answer&)>& take) {
    request.header().nlmsg_flags |= NLM_F_DUMP;
    Answer answer;
    for (bool isThere = ask(request, answer); isThere; isThere = receive(answer))
        for (; answer.isComplete(); answer.skip()) {
            const auto type = answer.header().nlmsg_type;
            if (type == NLMSG_DONE || type == NLMSG_ERROR)
                return type == NLMSG_DONE;
            take(answer);
        }
    return false;
}

Platform::Route Platform::Rtnetlink::routeTo(std::uint32_t destination, std::uint32_t source) {
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
        return {.way = Way::own};
    Route found{.adapterIndex = answer.number(route, RTA_OIF), .gateway = answer.number(route, RTA_GATEWAY)};
    if (route->rtm_type != RTN_UNICAST || found.adapterIndex == 0)
        return {};
    const bool isDirect = answer.attribute(route, RTA_GATEWAY) == nullptr &&
                          answer.attribute(route, RTA_VIA) == nullptr; // IPv6's
    found.way = isDirect ? Way::direct : Way::router;
    return found;
}

Platform::Route Platform::Rtnetlink::defaultRoute() {
    Request request;
    request.begin<rtmsg>(RTM_GETROUTE).rtm_family = AF_INET;
    Route preferred;
    std::uint32_t least = 0; // the smaller the number, the more a route is preferred
    list(request, [&](const Answer& answer) {
        const rtmsg* const route = answer.body<rtmsg>(RTM_NEWROUTE);
        const bool isDefault = route != nullptr && route->rtm_dst_len == 0 &&
                               route->rtm_table == RT_TABLE_MAIN && route->rtm_type == RTN_UNICAST;
        const std::uint32_t gateway = isDefault ? answer.number(route, RTA_GATEWAY) : 0;
        if (gateway == 0)
            return;
        const std::uint32_t priority = answer.number(route, RTA_PRIORITY);
        if (preferred.way == Way::router && priority >= least)
            return;
        preferred = {Way::router, answer.number(route, RTA_OIF), gateway};
        least = priority;
    });
    return preferred;
}

std::set<unsigned> Platform::Rtnetlink::parts() {
    Request request;
    request.begin<ifinfomsg>(RTM_GETLINK).ifi_family = AF_UNSPEC;
    std::set<unsigned> found;
    std::map<unsigned, unsigned> links;
    list(request, [&](const Answer& answer) {
        const ifinfomsg* const adapter = answer.body<ifinfomsg>(RTM_NEWLINK);
        if (adapter == nullptr)
            return;
        const auto index = static_cast<unsigned>(adapter->ifi_index);
        if (answer.number(adapter, IFLA_MASTER) != 0)
            found.insert(index);
        // In another network namespace the number is somebody else's.
        if (answer.attribute(adapter, IFLA_LINK_NETNSID) == nullptr)
            links[index] = answer.number(adapter, IFLA_LINK);
    });
    // The two ends of a virtual cable name each other, and neither is the other's parent.
    for (const auto& [index, parent] : links)
        if (const auto of = links.find(parent); of != links.end() && of->second != index)
            found.insert(parent);
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
    found.isPending = isPending(*entry);
    if ((entry->ndm_state & knownStates) != 0)
        found.hardwareAddress = answer.hardwareAddress(entry);
    return found;
}

std::optional<std::vector<Platform::NeighbourEntry>> Platform::Rtnetlink::neighbours(std::size_t most) {
    Request request;
    request.begin<ndmsg>(RTM_GETNEIGH).ndm_family = AF_INET;
    std::vector<NeighbourEntry> found;
    const bool isComplete = list(request, [&](const Answer& answer) {
        const ndmsg* const entry = answer.body<ndmsg>(RTM_NEWNEIGH);
        // Without ARP are groups and broadcasts, which the kernel makes up.
        if (entry == nullptr || (entry->ndm_state & NUD_NOARP) != 0 || found.size() == most)
            return;
        NeighbourEntry& added = found.emplace_back();
        added.adapterIndex = static_cast<unsigned>(entry->ndm_ifindex);
        added.address = answer.number(entry, NDA_DST);
        added.state = stateOf(*entry);
        added.confirmedAgo = answer.confirmedAgo(entry);
        if ((entry->ndm_state & knownStates) != 0)
            added.hardwareAddress = answer.hardwareAddress(entry);
    });
    return isComplete ? std::optional(std::move(found)) : std::nullopt;
}
