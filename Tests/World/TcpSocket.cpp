// Connections in the world's time: the client's side is Platform::TcpSocket, the other one a session.

#include "Platform/TcpSocket.h"

#include "Support/OutsidePlugin.h"
#include "Support/TestSystem.h"
#include "World/Calls.h"
#include "World/Clock.h"
#include "World/Network.h"
#include "World/Wire.h"

#include <algorithm>
#include <cerrno>
#include <string>
#include <string_view>

using Platform::SocketResult;
using Platform::SocketStatus;
using TestSupport::OutsidePlugin;
using World::Network;

namespace {

SocketResult failedWith(int error) {
    return {SocketStatus::failed, 0, TestSupport::textOfError(error)};
}

/// Ends a call with that code; a time-out takes its time.
SocketResult endWith(int code, World::Time deadline, std::size_t bytes = 0) {
    if (code != ETIMEDOUT)
        return failedWith(code);
    World::waitUntil(deadline);
    return {SocketStatus::timedOut, bytes, TestSupport::textOfError(code)};
}

/// In quotes where all of them can be printed, else "N bytes".
std::string shown(std::string_view bytes) {
    const bool isPrintable = std::ranges::all_of(bytes, [](char c) { return c >= ' ' && c <= '~'; });
    return isPrintable ? '"' + std::string(bytes) + '"' : std::to_string(bytes.size()) + " bytes";
}

std::string placeOf(const std::string& address, int port) {
    return address + ":" + std::to_string(port);
}

} // namespace

struct Network::Connection {
    std::string place;
    World::Wire wire;
    std::size_t room = everything; ///< what the peer still takes

    /// True where something comes, or the connection ends, by then; waits for it.
    bool await(World::Time deadline) {
        World::Time now = World::now();
        const bool comes = wire.await(deadline, now);
        World::waitUntil(now);
        return comes;
    }
};

void Network::serve(const std::string& address, int port, Accept accept, std::size_t room) {
    servers[placeOf(address, port)] = {std::move(accept), room};
}

World::Peer& Network::at(const std::string& address, int port) {
    std::shared_ptr<Peer>& peer = peers[placeOf(address, port)];
    if (peer == nullptr) {
        peer = std::make_shared<Peer>();
        serve(address, port, [itself = peer.get()] { return itself->accept(); });
    }
    return *peer;
}

std::vector<std::string> Network::openConnections() const {
    std::vector<std::string> places;
    for (const auto& [number, connection] : connections)
        places.push_back(connection->place);
    return places;
}

namespace {

std::shared_ptr<Network::Connection> connectionOf(std::intptr_t handle) {
    const auto& all = Network::current().connections;
    const auto found = all.find(handle);
    return found == all.end() ? nullptr : found->second;
}

std::optional<int> enter(const char* name, const Network::Connection& connection,
                         const std::string& argument) {
    return World::Calls::current().enter(std::string(name) + " " + connection.place + " " + argument);
}

} // namespace

namespace Platform {

TcpSocket::~TcpSocket() {
    close();
}

void TcpSocket::close() noexcept {
    const OutsidePlugin outside;
    // Gone already where the test began anew in the meantime.
    if (const auto connection = connectionOf(handle_)) {
        World::Calls::current().note("close " + connection->place);
        Network::current().connections.erase(handle_);
    }
    handle_ = -1;
}

SocketResult TcpSocket::open(const std::string& host, std::uint16_t port, std::chrono::milliseconds timeout) {
    const OutsidePlugin outside;
    close();
    const std::string place = placeOf(host, port);
    const auto code =
        World::Calls::current().enter("connect " + place + " " + std::to_string(timeout.count()));
    if (code)
        return endWith(*code, World::now() + timeout);
    Network& network = Network::current();
    auto server = network.servers.find(place);
    if (server == network.servers.end())
        server = network.servers.find(placeOf("", port));
    if (server == network.servers.end())
        return failedWith(ECONNREFUSED);
    auto connection = std::make_shared<Network::Connection>(
        Network::Connection{place, {server->second.accept(), World::now()}, server->second.room});
    // Never twice, lest one from before reset() passes for another.
    static std::intptr_t made = 0;
    handle_ = made++;
    network.connections[handle_] = std::move(connection);
    return {};
}

SocketResult TcpSocket::send(const void* data, std::size_t count, std::chrono::milliseconds stallTimeout) {
    const OutsidePlugin outside;
    const auto connection = connectionOf(handle_);
    if (connection == nullptr)
        return failedWith(EBADF);
    const auto code = enter("send", *connection, shown({static_cast<const char*>(data), count}));
    if (code)
        return endWith(*code, World::now() + stallTimeout);
    if (connection->await(World::now()) && connection->wire.isReset())
        return failedWith(ECONNRESET);
    const std::size_t taken = std::min(count, connection->room);
    connection->room -= connection->room == Network::everything ? 0 : taken;
    if (taken < count)
        return endWith(ETIMEDOUT, World::now() + stallTimeout, taken);
    connection->wire.take(data, count, World::now());
    return {SocketStatus::done, count, {}};
}

SocketResult TcpSocket::receive(void* data, std::size_t count, Clock::time_point deadline) {
    const OutsidePlugin outside;
    const auto connection = connectionOf(handle_);
    if (connection == nullptr)
        return failedWith(EBADF);
    if (const auto code = enter("receive", *connection, std::to_string(count)))
        return endWith(*code, deadline);
    if (!connection->await(deadline))
        return endWith(ETIMEDOUT, deadline);
    const std::size_t received = connection->wire.copy(data, count, World::now());
    if (received != 0)
        return {SocketStatus::done, received, {}};
    return connection->wire.isReset()
               ? failedWith(ECONNRESET)
               : SocketResult{SocketStatus::closed, 0, "Connection closed by the peer"};
}

} // namespace Platform
