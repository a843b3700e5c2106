#pragma once
// Cameras as they come, change and go.

#include "DiscoverReport.h"

#include <nlohmann/json_fwd.hpp>

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace Console {

/// What is new from one look to the next. Pure.
class CameraChanges {
public:
    struct Change {
        std::string what; ///< "came", "changed" or "gone"
        DiscoverReport::Row row;
    };

    /// The rows of the next look, of which those count that have answered something, and no further answer of
    /// a camera that has its row. A camera is gone once
    /// two looks in a row have not seen it: a datagram may be lost. Until then nothing is said of others at
    /// its address: whether they share it is not known.
    std::vector<Change> take(const std::vector<DiscoverReport::Row>& rows);

    /// Those that are there, by what was told of them.
    std::vector<DiscoverReport::Row> rows() const;

private:
    struct Known {
        DiscoverReport::Row row;
        int missed = 0;
    };
    bool isAnyMissedAt(const std::string& address) const;

    std::map<std::pair<std::string, std::string>, Known> known_; ///< by address and room
};

/// What a program is told of a change; of who is gone nothing that was said of it before.
nlohmann::ordered_json changeObject(const CameraChanges::Change& change);

/// "came  10.77.1.11 (Lab 2): ready".
std::string changeLine(const CameraChanges::Change& change);

} // namespace Console
