#pragma once
// How much time a host grants to a device's connection.

#include <chrono>
#include <cstddef>

/// Past a limit the connection is closed and the operation throws DeviceException, whose message says which
/// limit it was, with bytes and seconds. The plug-in takes that as any failure of the connection.
struct TransportLimits {
    /// From the first Connector's connect to the last one's release, whatever is sent and received and
    /// however often the connection is made anew meanwhile. Zero or less: no limit.
    std::chrono::milliseconds hold{0};

    /// The least speed of an answer. Counted is the time that reads spend from an answer's first byte on, up
    /// to the next write: neither the wait for that first byte, such as for an exposure, nor what the host
    /// does between two reads. Each `window` of that time must bring that many bytes a second on its average.
    /// 0: no limit.
    std::size_t bytesPerSecond = 0;

    /// Longer than any pause of an honest device in the middle of its answer. Not more than zero counts as 1
    /// ms.
    std::chrono::milliseconds window{std::chrono::seconds(30)};
};
