#pragma once
// What a search, or questions to given addresses, came to, for people and for programs. Pure.

#include "ExitStatus.h"

#include "Diagnosis/Facts.h"
#include "Diagnosis/Verdict.h"
#include "VantrelCommon/CameraInfo.h"

#include <nlohmann/json_fwd.hpp>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace Console {

class DiscoverReport {
public:
    /// One who answered, or an address that was asked for.
    struct Row {
        std::string address;
        std::string room;
        std::optional<Diagnosis::Identity> identity; ///< unset: it was not identified
        bool isReady = false;
        bool isPresent = false;                    ///< it has answered something
        bool isUnasked = false;                    ///< the search was cut before its turn
        bool isFurther = false;                    ///< another answer of a camera that has its row
        std::optional<Diagnosis::Verdict> verdict; ///< why it is not ready, or what is odd about it

        std::string status() const; ///< "ready", or why not
        bool operator==(const Row&) const = default;
    };

    /// `facts` of the computer and, of all that answered or were asked for, of what their ports do; `cameras`
    /// are those that were identified.
    DiscoverReport(Diagnosis::Facts facts, std::vector<CameraInfo> cameras);

    /// Sorted by address.
    const std::vector<Row>& rows() const { return rows_; }

    /// A head and a line for each row, with a line end behind each; empty if there are none. The words of the
    /// status are green or red where `isColoured`.
    std::string table(bool isColoured) const;

    /// "6 ready, 4 unusable.", with a note of others than cameras that answered as well, or that nobody
    /// answered with what was searched, what was not, and the likely causes; lines, without an end behind the
    /// last.
    std::string summary() const;

    /// {"cameras": [...], "problems": [...]}, "cut" if a search was cut, "error" if there is a failure().
    /// What a camera says of itself has a "note" {code, text, try} where it is another's as well, or says
    /// little.
    nlohmann::ordered_json json() const;

    ExitStatus status() const;

    /// Why the status is another than ExitStatus::done; nothing if it is not.
    std::optional<Diagnosis::Verdict> failure() const;

private:
    std::size_t count(bool isReady) const;
    std::size_t countUnasked() const;
    void completeCameras();
    void addRows(const Diagnosis::Camera& camera, const std::optional<Diagnosis::Verdict>& verdict,
                 const std::vector<std::string>& roomsOfAnswers);
    std::vector<Diagnosis::Verdict> problems() const;

    Diagnosis::Facts facts_;
    std::vector<CameraInfo> cameras_;
    std::vector<Row> rows_;
    std::vector<Diagnosis::Verdict> causes_; ///< where nobody answered, or there was no search
    std::vector<Diagnosis::Verdict> asides_; ///< that others than cameras answered as well
};

/// "net1 10.77.1.1/255.255.255.0, to 10.77.1.255" for each network that was searched, and for each that was
/// not the reason, as lines.
std::string networkLines(const Diagnosis::Search& search);

/// For sorting: by the numbers of an IPv4 address.
std::string addressKey(const std::string& address);

} // namespace Console
