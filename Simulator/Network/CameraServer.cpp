#include "Network/CameraServer.h"

#include "Camera/BinarySession.h"
#include "Camera/TextSession.h"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

namespace Simulator {

namespace {

constexpr std::size_t mostConnections = 64;
constexpr int longestWaitMs = 60'000;
// A client for whom there is no descriptor keeps its listener readable: to wait for that would be to spin.
constexpr std::chrono::milliseconds pauseAfterShortage{100};

/// A client of a language in which the camera is silent.
class MuteSession : public Session {
public:
    void append(ByteView) override {}
    std::optional<Reaction> next() override { return std::nullopt; }
    std::size_t waitingBytes() const override { return 0; }
};

/// Never ready where the socket is closed.
pollfd waitFor(const Socket& socket) {
    return {socket.descriptor(), POLLIN, 0};
}

ServerOptions withLog(ServerOptions options) {
    if (!options.log)
        options.log = [](const std::string&) {};
    return options;
}

Socket listenerOf(Service service, const std::string& address, std::uint16_t port) {
    return service == Service::refused ? Socket() : listenTcp(address, port);
}

} // namespace

CameraServer::CameraServer(CameraSettings settings, ServerOptions options)
    : camera_(std::move(settings)), options_(withLog(std::move(options))),
      binaryListener_(listenerOf(camera_.settings().binary, options_.address, options_.binaryTcpPort)),
      textListener_(listenerOf(camera_.settings().text, options_.address, options_.textTcpPort)),
      discovery_(camera_, options_.address, options_.discoveryUdpPort, options_.log), wake_(makePipe()) {}

CameraServer::~CameraServer() {
    stop();
}

void CameraServer::run() {
    while (!stop_)
        serveOnce();
    connections_.clear();
}

void CameraServer::start() {
    thread_ = std::thread([this] {
        try {
            run();
        } catch (const std::exception& failure) {
            options_.log(std::string("stopped serving: ") + failure.what());
        }
    });
}

void CameraServer::requestStop() noexcept {
    const int before = errno;
    stop_ = true;
    const char anything = 0;
    // A full pipe wakes the loop as well.
    [[maybe_unused]] const ssize_t written = write(wake_.second.descriptor(), &anything, 1);
    errno = before;
}

void CameraServer::stop() {
    requestStop();
    if (thread_.joinable())
        thread_.join();
}

void CameraServer::serveOnce() {
    const Socket nothing;
    std::vector<pollfd> waiting = {waitFor(wake_.first), waitFor(acceptAgain_ ? nothing : binaryListener_),
                                   waitFor(acceptAgain_ ? nothing : textListener_)};
    for (const Socket& socket : discovery_.sockets())
        waiting.push_back(waitFor(socket));
    const std::size_t fixed = waiting.size();
    for (const Connection& connection : connections_)
        waiting.push_back({connection.descriptor(), connection.wantedEvents(), 0});

    if (poll(waiting.data(), waiting.size(), waitMs()) < 0 && errno != EINTR)
        throw std::system_error(errno, std::generic_category(), "Waiting for clients");

    const Clock::time_point now = Clock::now();
    advanceAll(std::span(waiting).subspan(fixed), now);
    if (acceptAgain_ && now >= *acceptAgain_)
        acceptAgain_.reset();
    if (waiting[1].revents != 0)
        acceptFrom(binaryListener_, Language::binary);
    if (waiting[2].revents != 0)
        acceptFrom(textListener_, Language::text);
    discovery_.advance(now);
}

void CameraServer::advanceAll(std::span<const pollfd> waited, Clock::time_point now) {
    auto connection = connections_.begin();
    for (const pollfd& each : waited) {
        if (stop_)
            return;
        advanceSafely(*connection++, each.revents, now);
    }
    if (connections_.remove_if([](const Connection& each) { return each.isOver(); }) > 0)
        acceptAgain_.reset(); // that freed a descriptor
}

void CameraServer::advanceSafely(Connection& connection, short events, Clock::time_point now) {
    const auto wake = connection.wakeTime();
    if (events == 0 && (!wake || now < *wake))
        return;
    try {
        connection.advance(events, now);
    } catch (const std::exception& failure) {
        connection.abandon(failure.what());
    }
}

int CameraServer::waitMs() const {
    std::optional<Clock::time_point> first = discovery_.wakeTime();
    if (acceptAgain_ && (!first || *acceptAgain_ < *first))
        first = acceptAgain_;
    for (const Connection& connection : connections_)
        if (const auto wake = connection.wakeTime(); wake && (!first || *wake < *first))
            first = wake;
    if (!first)
        return -1;
    const Clock::time_point now = Clock::now();
    if (*first <= now)
        return 0;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*first - now).count();
    return static_cast<int>(std::min<std::int64_t>(left, longestWaitMs));
}

void CameraServer::acceptFrom(const Socket& listener, Language language) {
    auto [socket, name] = acceptIfPossible(listener);
    if (!socket.isOpen())
        return;
    toldOfShortage_ = false;
    name += language == Language::binary ? " (binary)" : " (text)";
    if (connections_.size() >= mostConnections) {
        options_.log(name + " turned away: " + std::to_string(mostConnections) + " clients are connected");
        return;
    }
    connections_.emplace_back(std::move(socket), std::move(name), makeSession(language), options_.log);
}

std::pair<Socket, std::string> CameraServer::acceptIfPossible(const Socket& listener) {
    try {
        return acceptClient(listener);
    } catch (const NothingLeft& shortage) {
        acceptAgain_ = Clock::now() + pauseAfterShortage;
        if (!std::exchange(toldOfShortage_, true))
            options_.log(std::string("a client waits: ") + shortage.what());
        return {};
    }
}

std::unique_ptr<Session> CameraServer::makeSession(Language language) {
    const CameraSettings& settings = camera_.settings();
    if ((language == Language::binary ? settings.binary : settings.text) == Service::silent)
        return std::make_unique<MuteSession>();
    if (language == Language::binary)
        return std::make_unique<BinarySession>(camera_);
    return std::make_unique<TextSession>(camera_);
}

} // namespace Simulator
