#pragma once
// The cameras of `korva health`, from probe to probe.

#include "CameraHost.h"
#include "HealthCommand.h"
#include "Twins.h"

#include <cstddef>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace Console {

/// The cameras of a command line. One of them is on one thread at a time; several may be on several.
class HealthWard {
public:
    /// Searches if the options say so. Throws CommandFailure, with ExitStatus::nothingFound if that has found
    /// nobody.
    HealthWard(const HealthOptions& options, ToolLog& log);

    std::size_t size() const { return patients_.size(); }
    /// As they were asked for, or found.
    const std::vector<std::string>& addresses() const { return addresses_; }

    /// Why the search was cut short; empty if it was not.
    const std::string& cut() const { return cut_; }

    /// Why cameras may be missing, since the search was cut or did not go everywhere; unset if it did.
    const std::optional<Diagnosis::Verdict>& searchTrouble() const { return searchTrouble_; }

    /// Identifies the camera unless that is done, probes it, and compares it with its description. Throws
    /// CommandFailure if Ctrl-C came meanwhile.
    void ask(std::size_t number);

    /// Says why those that were asked and failed did, by a look at the network for all of these together.
    /// Throws CommandFailure if Ctrl-C came meanwhile.
    void explain(const std::vector<std::size_t>& numbers);

    /// Looks who shares an address with another camera. Any thread.
    void lookForTwins(TwinLook look);

    /// What the last question came to; nothing if there was none, or it is not explained.
    std::optional<Health> healthOf(std::size_t number) const;

    /// What of the pictures that were dumped was lost; each is told once.
    std::vector<Diagnosis::Verdict> lostDumps() const { return host_.takeDumpFailures(); }

    /// By the last questions. One that was not answered for is ill.
    ExitStatus status() const;

private:
    struct Patient {
        std::string address;
        bool isAtItsPort = true;                   ///< so that a look at the address tells of it
        std::shared_ptr<NativeCamera> camera = {}; ///< null until it is identified
        bool hasAddress = true;                    ///< else it cannot be asked
        bool isOfDescription = false;
        bool isCompared = false;                       ///< with its description, since it last failed
        std::optional<Diagnosis::Verdict> oddity = {}; ///< of who it is, but for a description
        std::optional<Diagnosis::Attempt> failed = {}; ///< and is to be explained
        bool isTold = false;                           ///< `health` is of the last question
        Health health = {address, address};

        void take(CameraPointer found);
    };

    void search();
    void add(const Diagnosis::Camera& camera, const Diagnosis::Facts& facts);
    void askNow(Patient& patient);
    bool identify(Patient& patient);
    void probe(Patient& patient);
    void judge(Patient& patient, const Diagnosis::Attempt& attempt);
    void compare(Patient& patient);

    const HealthOptions& options_;
    ToolLog& log_;
    CameraHost host_; ///< outlives the cameras
    std::deque<Patient> patients_;
    std::vector<std::string> addresses_;
    Diagnosis::Facts seen_; ///< by the search
    std::string cut_;
    std::optional<Diagnosis::Verdict> searchTrouble_;
    mutable std::mutex mutex_; ///< of the twins
    Twins twins_;
    Twins lastTwins_; ///< of the look before that
};

} // namespace Console
