#pragma once
// What libraries write to standard error, put together to lines: the same on every system.

#include "Platform/StandardError.h"

#include <string>
#include <string_view>
#include <utility>

/// Puts lines together from what is written, in whatever pieces.
class Platform::LibraryErrors::Lines {
public:
    explicit Lines(Take take) : take_(std::move(take)) { line_.reserve(longestLine); }

    void add(std::string_view bytes) noexcept {
        for (const char byte : bytes) {
            if (byte == '\n')
                end();
            else if (line_.size() < longestLine)
                line_ += byte;
        }
    }

    /// Whoever writes is in C and knows no exceptions.
    void end() noexcept {
        try {
            take_(line_);
        } catch (...) {
        }
        line_.clear();
    }

    bool isInALine() const { return !line_.empty(); }

private:
    Take take_;
    std::string line_;
};
