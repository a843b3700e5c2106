#pragma once
// A search that cannot hold the tool.

#include "NativeCameraControl/NativeCameraTemplate.h"
#include "SearchProgress.h"
#include "TimeLimits.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

class DeviceFramework1Locator;

namespace Console {

class ToolLog;

using CameraTemplatePointer = std::unique_ptr<NativeCameraTemplate>;

/// The plug-in's search on a thread of its own, for which nobody has to wait any longer than he likes: it
/// goes on for as long as datagrams come and as ARP takes for each answer, and nothing of the host's ends
/// that.
class CameraSearch {
public:
    using Found = std::function<void(CameraTemplatePointer)>;
    using Clock = std::chrono::steady_clock;

    /// How the waiting ended.
    enum class End {
        over,           ///< the search has ended
        tooShort,       ///< half its time is over, and was too short to listen
        stillListening, ///< its time to listen is over, and datagrams keep coming
        stillAsking,    ///< its time is over
        unfollowed,     ///< its time is over; what it does is not known, since its log lines are off
        interrupted     ///< by Ctrl-C
    };

    /// Begins it. `locator` and `log` outlive this, and `locator` the process where isThreadLeftBehind().
    CameraSearch(DeviceFramework1Locator& locator, ToolLog& log, const TimeLimits& limits);
    CameraSearch(const CameraSearch&) = delete;
    CameraSearch& operator=(const CameraSearch&) = delete;

    /// leave()
    ~CameraSearch();

    /// Ends the waiting: a search that still goes on is left to itself (leaveThreadBehind), without a word in
    /// the log and without connections that last. Once is enough.
    void leave();

    /// Hands each camera over as it is found, on the calling thread, until the search or its time ends.
    /// Called once. Passes on what the search or `found` threw.
    End await(const Found& found);

    /// Since it began.
    std::chrono::milliseconds elapsed() const;

    /// What it has done so far, and who has answered, as far as its log lines tell.
    SearchProgress progress() const;

    /// How many answers it has not turned to yet; 0 if that is not known.
    std::size_t unasked() const;

    /// The addresses in the answers so far, each once, in order; none if they are not known.
    std::vector<std::string> addresses() const;

private:
    struct Shared;
    static void search(DeviceFramework1Locator& locator, const TimeLimits& limits,
                       const std::shared_ptr<Shared>& shared);
    bool handOver(const Found& found);

    ToolLog& log_;
    TimeLimits limits_;
    Clock::time_point begin_ = Clock::now();
    std::shared_ptr<Shared> shared_;
    std::thread thread_;
};

/// Notes that a thread is left in the plug-in, which must then stay loaded to the process's end: runCommand()
/// ends the process without taking anything down.
void leaveThreadBehind() noexcept;
bool isThreadLeftBehind() noexcept;

} // namespace Console
