#pragma once
// A plain client of a server on the loopback address; nothing in it waits longer than ten seconds.

#include "Camera/Bytes.h"
#include "Network/Socket.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <system_error>

namespace Simulator::Testing {

/// What ended the reading of a client.
enum class End { gotAll, closed, reset, timedOut };

class LoopbackClient {
public:
    explicit LoopbackClient(std::uint16_t port, int type = SOCK_STREAM)
        : socket_(::socket(AF_INET, type, 0)) {
        limit(SO_RCVTIMEO, 10'000);
        limit(SO_SNDTIMEO, 10'000);
        sockaddr_in server{};
        server.sin_family = AF_INET;
        server.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        server.sin_port = htons(port);
        if (connect(descriptor(), reinterpret_cast<const sockaddr*>(&server), sizeof server) != 0)
            throw std::system_error(errno, std::generic_category(), "connect");
    }

    int descriptor() const { return socket_.descriptor(); }

    void giveUpReadingAfter(long milliseconds) const { limit(SO_RCVTIMEO, milliseconds); }
    void giveUpSendingAfter(long milliseconds) const { limit(SO_SNDTIMEO, milliseconds); }

    /// Sends as much as can be sent within the time-out and returns how much that was.
    std::size_t send(const Bytes& bytes) const {
        std::size_t sent = 0;
        while (sent < bytes.size()) {
            const ssize_t count =
                ::send(descriptor(), bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
            if (count <= 0)
                break;
            sent += static_cast<std::size_t>(count);
        }
        return sent;
    }

    void say(std::string_view text) const { send({text.begin(), text.end()}); }

    /// Reads until `count` bytes are there or nothing more comes.
    Bytes read(std::size_t count) {
        Bytes bytes(count);
        std::size_t got = 0;
        end_ = End::gotAll;
        while (got < count) {
            const ssize_t piece = recv(descriptor(), bytes.data() + got, count - got, 0);
            if (piece <= 0) {
                end_ = piece == 0 ? End::closed : errno == ECONNRESET ? End::reset : End::timedOut;
                break;
            }
            got += static_cast<std::size_t>(piece);
        }
        bytes.resize(got);
        return bytes;
    }

    /// Sends a request and reads as much as Done has.
    Bytes ask(const Bytes& request) {
        send(request);
        return read(13);
    }

    /// The next datagram, or "nothing came".
    std::string datagram() const {
        std::string text(65536, '\0');
        const ssize_t count = recv(descriptor(), text.data(), text.size(), 0);
        if (count < 0)
            return "nothing came";
        text.resize(static_cast<std::size_t>(count));
        return text;
    }

    End end() const { return end_; }

private:
    void limit(int option, long milliseconds) const {
        const timeval time{milliseconds / 1000, milliseconds % 1000 * 1000};
        setsockopt(descriptor(), SOL_SOCKET, option, &time, sizeof time);
    }

    Socket socket_;
    End end_ = End::gotAll;
};

} // namespace Simulator::Testing
