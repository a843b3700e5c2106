#pragma once
// How long the program around the reference host lets connections to devices last; plug-ins know none of
// this.

#include "Communicator/TransportLimits.h"
#include "HostFrameworkExport.h"

#include <chrono>
#include <memory>
#include <optional>

namespace ReferenceHost {

/// The limits of every communicator that has none of its own (PosixEthernetCommunicator::setLimits) and
/// connects outside of any OperationLimits with limits for each, from its next connect on: also of those that
/// a plug-in makes by itself. None at first. Any thread.
HOSTFRAMEWORK_EXPORT void setDefaultTransportLimits(const TransportLimits& limits);

/// What setDefaultTransportLimits has set. Any thread.
HOSTFRAMEWORK_EXPORT TransportLimits defaultTransportLimits();

/// For its lifetime, all that communicators do on the thread that made it ends at one moment, whichever they
/// are and whoever made them: "this identification, its second connection included, takes 20 s at most". Past
/// it, connects, reads and writes fail as past a limit of TransportLimits. Those that are going on notice it
/// by themselves. What waits elsewhere, such as for ARP, is not ended.
///
/// They nest: the earliest end counts. Destroyed on its own thread, in the reverse order of their making.
class HOSTFRAMEWORK_EXPORT OperationLimits {
public:
    /// `time`: from now on; zero or less sets no end. `each`: the limits of communicators that connect
    /// meanwhile on this thread and have none of their own; unset leaves them as they are outside.
    /// Connections held at the same time share the time of one hold: an identification's second one, for a
    /// sample picture, gets no more.
    explicit OperationLimits(std::chrono::milliseconds time,
                             const std::optional<TransportLimits>& each = std::nullopt);
    OperationLimits(const OperationLimits&) = delete;
    OperationLimits& operator=(const OperationLimits&) = delete;
    ~OperationLimits();

private:
    struct Scope;
    std::unique_ptr<Scope> scope_;
    friend struct CurrentOperation;
};

} // namespace ReferenceHost
