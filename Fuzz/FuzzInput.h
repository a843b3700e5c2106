#pragma once
// Takes a fuzzer's bytes apart: settings at the front, the rest is what goes over the wire.

#include "World/Answers.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

namespace Fuzz {

using World::Bytes;
using View = std::span<const std::uint8_t>;

class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : rest_(data, size) {}

    bool isEmpty() const { return rest_.empty(); }

    /// The next byte; 0 if none is left.
    std::uint8_t byte() {
        if (rest_.empty())
            return 0;
        const std::uint8_t value = rest_.front();
        rest_ = rest_.subspan(1);
        return value;
    }

    /// The next `count` bytes, or those that are left, where they lie in the fuzzer's memory.
    View view(std::size_t count) {
        const View taken = rest_.first(std::min(count, rest_.size()));
        rest_ = rest_.subspan(taken.size());
        return taken;
    }

    /// The bytes up to the next `separator`, which is taken too, or all that are left.
    View viewUpTo(std::uint8_t separator) {
        const auto end = std::find(rest_.begin(), rest_.end(), separator);
        const View taken = view(static_cast<std::size_t>(end - rest_.begin()));
        byte();
        return taken;
    }

    View rest() { return view(rest_.size()); }

private:
    View rest_;
};

/// Ends the run, as a finding, where the code under test broke a promise.
inline void require(bool kept) {
    if (!kept)
        std::abort();
}

} // namespace Fuzz
