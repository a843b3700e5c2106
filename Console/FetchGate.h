#pragma once
// How many pictures are in memory as cameras send them.

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>

namespace Console {

/// Lets so many threads at a time hold a picture that is being fetched and decoded, and the others wait. Any
/// thread.
class FetchGate {
public:
    using Time = std::chrono::milliseconds;

    /// Whoever has waited so long goes on without a place, as many as there are places and no more: slow
    /// cameras may hold theirs for longer, and a connection must not be kept waiting until it is given up.
    static constexpr Time longestWait = std::chrono::seconds(5);

    /// `places` is at least 1.
    explicit FetchGate(std::size_t places, Time longest = longestWait);
    FetchGate(const FetchGate&) = delete;
    FetchGate& operator=(const FetchGate&) = delete;

    /// One for each core, which the decoding keeps busy.
    static std::size_t placesOfThisComputer();

    /// Held while it lives; it may outlive neither the gate nor its thread.
    class Place {
    public:
        explicit Place(FetchGate& gate) : gate_(gate) { gate_.take(); }
        Place(const Place&) = delete;
        Place& operator=(const Place&) = delete;
        ~Place() { gate_.leave(); }

    private:
        FetchGate& gate_;
    };

    /// Waits for a place. Throws Interrupted if Ctrl-C comes.
    std::unique_ptr<Place> enter();

private:
    void take();
    void leave();

    std::mutex mutex_;
    std::condition_variable left_;
    const std::size_t places_;
    std::size_t held_ = 0; ///< also without a place
    Time longest_;
};

} // namespace Console
