#pragma once
// The sockets, adapters and ARP as tests want them: no traffic, and any call fails when told to.
//
// The library ScriptedPlatform defines what Platform/Winsock.h and Platform/IpHelper.h declare; a test
// program links it instead of PlatformSystem. What happens is decided and recorded here. One thread.

#include "Platform/IpHelper.h"
#include "Platform/Winsock.h"

#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace TestSupport {

/// One adapter of the list that GetAdaptersInfo gives.
struct ScriptedAdapter {
    struct Address {
        std::string ip; ///< at most 15 characters; need not be an address
        std::string mask;
    };

    std::string name;
    /// The first is the adapter's own, the others hang on it; none is one of "0.0.0.0", mask "0.0.0.0".
    std::vector<Address> addresses;
    std::string hardwareAddress = {}; ///< raw bytes, at most 8
};

/// What SendARP answers for one address.
struct ScriptedArp {
    std::string
        hardwareAddress;   ///< raw bytes; the first 8 at most are stored, whatever size the caller names
    DWORD code = NO_ERROR; ///< with another one nothing is stored
    std::optional<ULONG> length = std::nullopt; ///< the length told; that of `hardwareAddress` if absent
};

/// Set it, run the code, read it. A test gets a fresh one by NetworkScript::current() = {}.
struct NetworkScript {
    static NetworkScript& current();

    std::vector<ScriptedAdapter> adapters; ///< none: GetAdaptersInfo answers ERROR_NO_DATA
    std::deque<std::string> datagrams;     ///< received one by one; behind the last comes WSAETIMEDOUT
    /// The answers by the asked address, "10.0.0.5"; ERROR_BAD_NET_NAME for one that is not here.
    std::map<std::string, ScriptedArp> arp;

    /// Called with each call's text, as in `calls`, before anything happens; may throw.
    std::function<void(const std::string&)> onCall;

    /// Makes the `occurrence`-th call of the function from the beginning of the script end with `code`: it
    /// returns the code where its results are codes (WSAStartup, GetAdaptersInfo, SendARP), and fails with it
    /// as WSAGetLastError's otherwise (inet_pton: -1, inet_ntop: null).
    void fail(const std::string& function, int code, int occurrence = 1) {
        failures[function][occurrence] = code;
    }

    /// Every call in order, with its arguments; sockets are numbered from 1:
    /// "WSAStartup 0x0202", "WSACleanup", "WSAGetLastError", "socket 2, 2, 17", "closesocket 1",
    /// "setsockopt 1, 65535, 32, <79>" (the value's bytes in hexadecimal, as many as its length says),
    /// "sendto 1, \"text\", 0, 2 10.0.0.255:32768, 16" (data, flags, family address:port, address length),
    /// "recvfrom 1, 256, 0, null, null" (size, flags, whether there is room for an address and its length),
    /// "inet_pton 2, 10.0.0.5", "inet_ntop 2, 10.0.0.5, 64",
    /// "GetAdaptersInfo null, 0" or "GetAdaptersInfo buffer, 1408",
    /// "SendARP 10.0.0.5, 0.0.0.0, <ffffffffffff>" (destination, source, the buffer on entry).
    std::vector<std::string> calls;

    /// The calls of one function, in order.
    std::vector<std::string> callsOf(std::string_view function) const;

    std::set<SOCKET> openSockets; ///< those not yet closed
    int startups = 0;             ///< WSAStartup calls that succeeded and have had no WSACleanup

    // The script's own book-keeping.
    std::map<std::string, std::map<int, int>> failures;
    std::map<std::string, int> occurrences;
    SOCKET lastSocket = 0;
};

} // namespace TestSupport
