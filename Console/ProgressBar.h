#pragma once
// Shows on a terminal what a command waits for, and how much of a picture has arrived.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <mutex>
#include <string>

namespace Console {

/// One line, at most `columns` - 1 characters: a bar where there is room for one, the bytes received of those
/// expected, and the rate where time has passed. Bytes are in decimal units (kB, MB, GB).
std::string progressText(std::uint64_t received, std::uint64_t expected, double seconds, int columns);

/// "exposing 12/30 s": the whole seconds that have passed, of an exposure of so many units of 100 ms.
std::string exposingText(double seconds, int exposureUnits);

/// Whether what `stream` shows can be erased and coloured: it is a terminal, and TERM does not call it dumb.
bool isObedient(std::FILE* stream);

/// Whether lines on `stream` may have colours: it is obedient, and NO_COLOR is not set in the environment.
bool isColourWanted(std::FILE* stream);

/// A bar that redraws itself in place, where that says something new. One thread but for erase(), which any
/// may call.
class ProgressBar {
public:
    using Clock = std::chrono::steady_clock;

    /// Draws on `stream`, which must outlive it, only if that is obedient. On none, a null pointer, it only
    /// counts.
    explicit ProgressBar(std::FILE* stream);
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    /// Erases itself.
    ~ProgressBar();

    /// Called while a read goes on, with the bytes received and asked for. A read that asks for exactly what
    /// the one before left over goes on with the same picture. Reads too short to be a picture are ignored.
    void observe(std::size_t received, std::size_t expected);

    /// Shows a text in the bar's place, as much as fits.
    void show(const std::string& text);

    /// Takes the bar off the screen, so that a line can be written; it comes back when more arrives.
    void erase();

    /// The bytes of the picture that is being received, and of those what has arrived.
    std::uint64_t received() const { return receivedBefore_ + readReceived_; }
    std::uint64_t expected() const { return receivedBefore_ + readExpected_; }

private:
    bool isDue(Clock::time_point now);
    void draw(const std::string& text);

    std::FILE* stream_;
    bool enabled_;
    std::mutex mutex_; ///< guards what follows
    bool shown_ = false;
    std::string text_; ///< that is shown
    Clock::time_point lastDrawn_;
    // Of the drawing thread alone.
    std::uint64_t receivedBefore_ = 0; ///< by earlier reads of the same picture
    std::uint64_t readReceived_ = 0;
    std::uint64_t readExpected_ = 0;
    Clock::time_point pictureStart_;
};

} // namespace Console
