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
    return service == Service::Refused ? Socket() : listenTcp(address, port);
}

} // namespace

CameraServer::CameraServer(CameraSettings settings, ServerOptions options)
    : m_camera(std::move(settings)), m_options(withLog(std::move(options))),
      m_binaryListener(listenerOf(m_camera.settings().binary, m_options.address, m_options.binaryTcpPort)),
      m_textListener(listenerOf(m_camera.settings().text, m_options.address, m_options.textTcpPort)),
      m_discovery(m_camera, m_options.address, m_options.discoveryUdpPort, m_options.log),
      m_wake(makePipe()) {}

CameraServer::~CameraServer() {
    stop();
}

void CameraServer::run() {
    while (!m_stop)
        serveOnce();
    m_connections.clear();
}

void CameraServer::start() {
    m_thread = std::thread([this] {
        try {
            run();
        } catch (const std::exception& failure) {
            m_options.log(std::string("stopped serving: ") + failure.what());
        }
    });
}

void CameraServer::requestStop() noexcept {
    const int before = errno;
    m_stop = true;
    const char anything = 0;
    // A full pipe wakes the loop as well.
    [[maybe_unused]] const ssize_t written = write(m_wake.second.descriptor(), &anything, 1);
    errno = before;
}

void CameraServer::stop() {
    requestStop();
    if (m_thread.joinable())
        m_thread.join();
}

void CameraServer::serveOnce() {
    const Socket nothing;
    std::vector<pollfd> waiting = {waitFor(m_wake.first), waitFor(m_acceptAgain ? nothing : m_binaryListener),
                                   waitFor(m_acceptAgain ? nothing : m_textListener)};
    for (const Socket& socket : m_discovery.sockets())
        waiting.push_back(waitFor(socket));
    const std::size_t fixed = waiting.size();
    for (const Connection& connection : m_connections)
        waiting.push_back({connection.descriptor(), connection.wantedEvents(), 0});

    if (poll(waiting.data(), waiting.size(), waitMs()) < 0 && errno != EINTR)
        throw std::system_error(errno, std::generic_category(), "Waiting for clients");

    const Clock::time_point now = Clock::now();
    advanceAll(std::span(waiting).subspan(fixed), now);
    if (m_acceptAgain && now >= *m_acceptAgain)
        m_acceptAgain.reset();
    if (waiting[1].revents != 0)
        acceptFrom(m_binaryListener, Language::Binary);
    if (waiting[2].revents != 0)
        acceptFrom(m_textListener, Language::Text);
    m_discovery.advance(now);
}

void CameraServer::advanceAll(std::span<const pollfd> waited, Clock::time_point now) {
    auto connection = m_connections.begin();
    for (const pollfd& each : waited) {
        if (m_stop)
            return;
        advanceSafely(*connection++, each.revents, now);
    }
    if (m_connections.remove_if([](const Connection& each) { return each.isOver(); }) > 0)
        m_acceptAgain.reset(); // that freed a descriptor
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
    std::optional<Clock::time_point> first = m_discovery.wakeTime();
    if (m_acceptAgain && (!first || *m_acceptAgain < *first))
        first = m_acceptAgain;
    for (const Connection& connection : m_connections)
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
    m_toldOfShortage = false;
    name += language == Language::Binary ? " (binary)" : " (text)";
    if (m_connections.size() >= mostConnections) {
        m_options.log(name + " turned away: " + std::to_string(mostConnections) + " clients are connected");
        return;
    }
    m_connections.emplace_back(std::move(socket), std::move(name), makeSession(language), m_options.log);
}

std::pair<Socket, std::string> CameraServer::acceptIfPossible(const Socket& listener) {
    try {
        return acceptClient(listener);
    } catch (const NothingLeft& shortage) {
        m_acceptAgain = Clock::now() + pauseAfterShortage;
        if (!std::exchange(m_toldOfShortage, true))
            m_options.log(std::string("a client waits: ") + shortage.what());
        return {};
    }
}

std::unique_ptr<Session> CameraServer::makeSession(Language language) {
    const CameraSettings& settings = m_camera.settings();
    if ((language == Language::Binary ? settings.binary : settings.text) == Service::Silent)
        return std::make_unique<MuteSession>();
    if (language == Language::Binary)
        return std::make_unique<BinarySession>(m_camera);
    return std::make_unique<TextSession>(m_camera);
}

} // namespace Simulator
