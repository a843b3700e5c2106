#pragma once
// `korva discover --watch`: cameras as they come and go.

#include "DiscoverReport.h"

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace Console {

/// What is new from one search to the next. Pure.
class CameraChanges {
public:
    struct Change {
        std::string what; ///< "came", "changed" or "gone"
        DiscoverReport::Row row;
    };

    /// The rows of the next search, of which those count that have answered something. A camera is gone once
    /// two searches in a row have not seen it: a datagram may be lost.
    std::vector<Change> take(const std::vector<DiscoverReport::Row>& rows);

private:
    struct Known {
        DiscoverReport::Row row;
        int missed = 0;
    };
    std::map<std::pair<std::string, std::string>, Known> known_; ///< by address and room
};

/// Prints what is new of each `search` until Ctrl-C. Passes on what `search` throws for any other reason, and
/// throws CommandFailure of a search that was cut and after which there is to be no other: each one that is
/// left to itself keeps its thread and its socket.
void watchCameras(bool json, const std::function<DiscoverReport()>& search,
                  const std::function<bool()>& mayGoOn);

} // namespace Console
