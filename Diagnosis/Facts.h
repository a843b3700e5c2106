#pragma once
// What is known of a computer, its networks and its cameras, as a plain record. Nothing here looks by itself.

#include "PictureFacts.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Diagnosis {

using Milliseconds = std::chrono::milliseconds;

// A camera's TCP ports; discovery's, which is UDP, is the first too.
inline constexpr std::uint16_t textPort = 32768;
inline constexpr std::uint16_t picturePort = 32769;

/// An IPv4 address of this computer with its mask, both in dotted decimal.
struct OwnAddress {
    std::string address;
    std::string mask;

    bool operator==(const OwnAddress&) const = default;
};

/// A network adapter of this computer.
struct Adapter {
    std::string name;    ///< as the system calls it, UTF-8
    bool isUp = true;    ///< switched on
    bool hasLink = true; ///< something is at the other end of its cable
    bool isLoopback = false;
    std::string macAddress;            ///< "02-4b-00-01-00-0b"; empty if it has none
    std::vector<OwnAddress> addresses; ///< the main one first
    bool isPart = false; ///< of another adapter, which has the addresses: a bridge's port, for example

    bool operator==(const Adapter&) const = default;
};

/// What the system's neighbour table holds of an address; or who else answers ARP for an own address.
struct Neighbour {
    std::string adapter;
    std::string address;
    std::string macAddress; ///< empty: it was asked for and did not answer

    bool operator==(const Neighbour&) const = default;
};

/// A line that the plug-in logged about one camera, or about a search.
struct LogLine {
    enum class Level { debug, info, warn, error };

    Level level = Level::info;
    std::string logger;  ///< its full name
    std::string message; ///< as the plug-in wrote it: any bytes

    bool operator==(const LogLine&) const = default;
};

/// An answer to a discovery query, of the plug-in's search or of a look of our own.
struct Answer {
    std::string address;    ///< that it tells of itself, any text
    std::string source;     ///< where the datagram came from, dotted decimal; empty if that is not known
    std::string room;       ///< UTF-8, any text
    std::string adapter;    ///< that it came in by; empty if that is not known
    std::string macAddress; ///< of the source, by ARP; empty if that is not known
    Milliseconds after{0};  ///< the query
    std::string mask = {};  ///< that it tells of itself, any text; empty if it tells none

    bool operator==(const Answer&) const = default;
};

/// A datagram on the discovery port that is no answer.
struct StrangeAnswer {
    std::string source; ///< dotted decimal; empty if that is not known
    std::string text;   ///< its first 200 bytes at most, any bytes

    bool operator==(const StrangeAnswer&) const = default;
};

/// What an adapter's search did.
struct SearchedNetwork {
    enum class Outcome {
        searched,
        refused, ///< the system did not send the query: see `reason`
        down,    ///< not searched: the adapter is switched off
        noLink,  ///< not searched, or in vain: nothing at the other end of the cable
        noAddress,
        linkLocal ///< searched, by an address 169.254.x.x that nobody gave it
    };

    std::string adapter;
    OwnAddress own;
    std::string broadcast; ///< that the query went to
    Outcome outcome = Outcome::searched;
    std::string reason; ///< the system's, of a refusal

    bool operator==(const SearchedNetwork&) const = default;
};

/// A search of the local networks.
struct Search {
    std::vector<SearchedNetwork> networks;
    std::vector<Answer> answers; ///< in the order they came
    std::vector<StrangeAnswer> strange;
    std::string failure; ///< why there was no search at all; empty: there was one
    std::string cut;     ///< why it ended before its time; empty: it did not
    std::vector<LogLine> lines;

    bool operator==(const Search&) const = default;
};

/// What an address does when it is asked at one port.
enum class PortState {
    notLooked,
    open,
    refused,     ///< somebody is there, and nothing serves this port
    silent,      ///< nothing came back: a firewall, or nobody there
    unreachable, ///< the system or a router says that there is no way, or that nobody answers ARP
    failed       ///< the look itself failed; see Camera::lookFailure
};

/// Who a camera says it is.
struct Identity {
    std::string address;
    std::string macAddress;
    std::string model; ///< the model identifier's name
    std::string serialNumber;
    std::string firmware;
    std::string subnetMask;
    std::string defaultGateway;
    unsigned width = 0;  ///< pixels
    unsigned height = 0; ///< pixels

    bool operator==(const Identity&) const = default;
};

/// How an attempt to do something with a camera went.
struct Attempt {
    enum class What { identification, probe, picture };

    What what = What::identification;
    bool succeeded = false;
    std::optional<int> healthCode;         ///< that the device reported
    std::optional<std::int64_t> errorCode; ///< of the camera's own `Error` answer to a probe
    std::string reason;                    ///< of an exception or of this system; empty if there was none
    Milliseconds took{0};
    Milliseconds exposure{0};   ///< of a picture
    Milliseconds allowed{0};    ///< all the time that it was given, where that is less than usual; else 0
    std::vector<LogLine> lines; ///< of the thread that made the attempt

    bool operator==(const Attempt&) const = default;
};

/// Everything known of one address.
struct Camera {
    std::string address;      ///< as it was asked for, or as its answer says
    std::string room;         ///< empty if no answer came
    bool wasAskedFor = false; ///< by the user, rather than found
    bool answeredSearch = false;
    std::optional<bool> answersQuery;      ///< a query sent to it alone; unset: not looked
    std::string namedFrom = {};            ///< another address, whose answer names this one; empty: none does
    std::string announces = {};            ///< another address, which its answer to a query says is its own
    std::string unknownName = {};          ///< why the name stands for no address; empty: it does, or is one
    std::string ipv4 = {};                 ///< the address, or the one behind the name; empty: not looked
    bool isOwnAddress = false;             ///< it is this computer's own, and not its loopback's
    bool hasRoute = true;                  ///< this computer's routes lead to it, directly or not
    std::string adapter = {};              ///< that the route leads over; empty: not known, or its own
    bool isOnOwnNetwork = true;            ///< directly, without a router
    std::optional<bool> answersArp;        ///< unset: not looked, or behind a router
    std::vector<std::string> macAddresses; ///< all that answered ARP or the search for it
    PortState text = PortState::notLooked; ///< TCP 32768
    PortState picture = PortState::notLooked; ///< TCP 32769
    std::string textAnswer;        ///< to the question for its version, first 200 bytes at most; any bytes
    std::string toldModel = {};    ///< model identifier of that answer; empty if it has none
    std::string toldFirmware = {}; ///< likewise
    std::string lookFailure;       ///< why a look itself failed; empty: none did
    std::optional<Identity> identity;
    std::vector<Attempt> attempts; ///< in the order they were made
    std::optional<PictureFacts> photo;

    bool operator==(const Camera&) const = default;
};

/// By which program a person sets up this computer's network.
enum class CommandSet { ip, netsh };

/// All of it.
struct Facts {
    std::vector<Adapter> adapters;
    bool adaptersKnown = true;  ///< false: the system did not tell
    std::string defaultGateway; ///< dotted decimal; empty: there is no default route
    std::vector<Neighbour> neighbours;
    std::optional<bool> askedByArp =
        {};                       ///< who else has its addresses; false: it takes rights; unset: not tried
    std::optional<Search> search; ///< unset: none was made
    std::vector<Camera> cameras;  ///< each address once
    std::vector<Answer> foreign;  ///< answers to a limited broadcast from addresses of no own network
    /// Answers to a limited broadcast from addresses of own networks that did not answer the search: their
    /// mask is another one.
    std::vector<Answer> limitedOnly = {};
    CommandSet commands = CommandSet::ip;

    bool operator==(const Facts&) const = default;
};

} // namespace Diagnosis
