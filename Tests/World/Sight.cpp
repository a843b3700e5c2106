#include "World/Sight.h"

#include "Support/TestSystem.h"
#include "World/Calls.h"
#include "World/Network.h"

#include <algorithm>
#include <array>
#include <cstring>

using World::Calls;
using World::Sight;
using Outcome = Platform::PortAnswer::Outcome;

namespace {

std::string dottedText(std::uint32_t address) {
    std::array<unsigned char, 4> bytes{};
    std::memcpy(bytes.data(), &address, sizeof address);
    std::string text;
    for (const unsigned char byte : bytes)
        text.append(text.empty() ? "" : ".").append(std::to_string(byte));
    return text;
}

std::string portPlace(std::uint32_t address, std::uint16_t port) {
    return dottedText(address) + ":" + std::to_string(port);
}

bool tellsNothing(const std::string& line) {
    return Calls::current().enter(line).has_value();
}

bool isWaitedFor(const Platform::PortQuestion& question, const Platform::PortAnswer& answer) {
    const bool lacksAnswer =
        !question.text.empty() && !answer.ended && answer.text.find(question.last) == std::string::npos;
    return answer.outcome == Outcome::silent || (answer.outcome == Outcome::open && lacksAnswer);
}

} // namespace

std::uint32_t World::ipv4(const char* text) {
    std::uint32_t address = 0;
    inet_pton(AF_INET, text, &address);
    return address;
}

Sight& Sight::current() {
    static Sight sight;
    return sight;
}

namespace Platform {

std::optional<std::vector<Adapter>> listAdapters() {
    return tellsNothing("listAdapters") ? std::nullopt : std::optional(Sight::current().adapters);
}

std::optional<std::vector<NeighbourEntry>> listNeighbours() {
    return tellsNothing("listNeighbours") ? std::nullopt : std::optional(Sight::current().neighbours);
}

std::optional<std::uint32_t> defaultGateway() {
    return tellsNothing("defaultGateway") ? std::nullopt : Sight::current().gateway;
}

std::optional<Route> routeTo(std::uint32_t destination) {
    if (tellsNothing("routeTo " + dottedText(destination)))
        return std::nullopt;
    const auto found = Sight::current().routes.find(dottedText(destination));
    return found == Sight::current().routes.end() ? Route{Way::direct, 1, 0} : found->second;
}

HostAddresses lookUpHost(const std::string& host, Clock::time_point) {
    if (const auto code = Calls::current().enter("lookUpHost " + host))
        return {{}, false, TestSupport::textOfError(*code)};
    return Sight::current().hosts[host];
}

std::vector<PortAnswer> askPorts(const std::vector<PortQuestion>& questions, Clock::time_point deadline) {
    std::vector<PortAnswer> answers;
    for (const PortQuestion& question : questions) {
        const std::string place = portPlace(question.address, question.port);
        const auto found = Sight::current().ports.find(place);
        PortAnswer& answer = answers.emplace_back();
        answer.outcome = Outcome::silent;
        if (found != Sight::current().ports.end())
            answer = found->second;
        if (const auto code = Calls::current().enter("askPort " + place + " \"" + question.text + '"'))
            answer = {Outcome::failed, {}, false, TestSupport::textOfError(*code)};
        if (isWaitedFor(question, answer))
            World::waitUntil(deadline);
    }
    return answers;
}

QuerySocket::QuerySocket() : handle_(++Sight::current().lastSocket) {
    if (const auto code = Calls::current().enter("querySocket"))
        failure_ = TestSupport::textOfError(*code);
}

QuerySocket::~QuerySocket() {
    Sight::current().pending.erase(handle_);
}

std::string QuerySocket::send(std::string_view text, std::uint32_t to, std::uint16_t port,
                              unsigned adapterIndex) {
    if (!failure_.empty())
        return failure_;
    const std::string over = " over " + std::to_string(adapterIndex);
    if (const auto code =
            Calls::current().enter("query " + portPlace(to, port) + over + " \"" + std::string(text) + '"'))
        return TestSupport::textOfError(*code);
    auto& coming = Sight::current().pending[handle_];
    for (const Sight::Reply& reply : Sight::current().replies)
        if (reply.asked == dottedText(to) + over)
            coming.emplace_back(World::now() + reply.after, reply.datagram);
    std::ranges::stable_sort(coming, {}, [](const auto& each) { return each.first; });
    return {};
}

std::optional<QuerySocket::Datagram> QuerySocket::receive(Clock::time_point deadline) {
    auto& coming = Sight::current().pending[handle_];
    const World::Time last = std::max(deadline, World::now());
    if (coming.empty() || coming.front().first > last) {
        World::waitUntil(deadline);
        return std::nullopt;
    }
    const auto [time, datagram] = coming.front();
    coming.erase(coming.begin());
    World::waitUntil(time);
    return datagram;
}

} // namespace Platform
