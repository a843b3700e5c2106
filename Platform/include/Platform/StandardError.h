#pragma once
// Standard error, the program's own lines kept apart from those that libraries write there unasked.

#include <cstddef>
#include <cstdio>
#include <functional>
#include <memory>
#include <string_view>

namespace Platform {

/// Standard error for the lines of the program itself: the C library's `stderr` as it was before
/// LibraryErrors took its place.
std::FILE* standardError() noexcept;

/// For its lifetime, what is written to the C library's `stderr` goes, line by line, to a function of the
/// program's instead. Standard error itself, standardError() and std::cerr stay as they are. One at a time;
/// it comes and goes while no other thread writes to `stderr`. Does nothing if the C library cannot
/// exchange that stream.
///
/// On Windows, where the stream's descriptor is exchanged, std::cerr goes the same way as `stderr`, and the
/// function is called on a thread of its own, a moment after the line.
class LibraryErrors {
public:
    /// Bytes of a line that are handed over; the rest of it is dropped.
    static constexpr std::size_t longestLine = 500;

    /// Gets the bytes of a line as they came, without its line feed; valid during the call, which comes from
    /// within the library that writes. What it throws is dropped.
    using Take = std::function<void(std::string_view line)>;

    explicit LibraryErrors(Take take);
    LibraryErrors(const LibraryErrors&) = delete;
    LibraryErrors& operator=(const LibraryErrors&) = delete;

    /// Hands over what came last without a line feed, and puts `stderr` back.
    ~LibraryErrors();

private:
    class Lines;
    std::unique_ptr<Lines> lines_;
    std::FILE* stream_ = nullptr; ///< null if `stderr` is as it was
};

} // namespace Platform
