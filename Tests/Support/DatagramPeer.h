#pragma once
// The other end of a socket for datagrams, on any address of this machine.

#include <optional>
#include <string>
#include <string_view>

namespace TestSupport {

/// A datagram and where it came from.
struct Datagram {
    std::string text;
    std::string address; ///< dotted decimal
    int port = 0;
};

/// A bound UDP socket of this system's own. What cannot be done throws std::runtime_error.
class DatagramPeer {
public:
    /// `port` 0 lets the system choose. Bound to "0.0.0.0" it gets broadcasts as well.
    explicit DatagramPeer(const std::string& address = "127.0.0.1", int port = 0);
    DatagramPeer(const DatagramPeer&) = delete;
    DatagramPeer& operator=(const DatagramPeer&) = delete;
    ~DatagramPeer();

    int port() const { return port_; }

    /// Waits 5 s at most; nothing where none came.
    std::optional<Datagram> receive() const;

    /// Answers to the sender of `received`.
    void answer(const Datagram& received, std::string_view text) const;

private:
    int descriptor_;
    int port_ = 0;
};

} // namespace TestSupport
