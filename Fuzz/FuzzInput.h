#pragma once
// Takes a fuzzer's bytes apart: settings at the front, the rest is what goes over the wire.

#include "Support/WireMessages.h"

#include <log4cxx/logger.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

namespace Fuzz {

using TestSupport::Bytes;
using TestSupport::WireArg;

class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : rest_(data, size) {}

    bool isEmpty() const { return rest_.empty(); }

    /// The next byte; 0 where none is left.
    std::uint8_t byte() {
        if (rest_.empty())
            return 0;
        const std::uint8_t value = rest_.front();
        rest_ = rest_.subspan(1);
        return value;
    }

    /// The next `count` bytes, or those that are left.
    Bytes bytes(std::size_t count) {
        const auto taken = rest_.first(std::min(count, rest_.size()));
        rest_ = rest_.subspan(taken.size());
        return {taken.begin(), taken.end()};
    }

    Bytes rest() { return bytes(rest_.size()); }

private:
    std::span<const std::uint8_t> rest_;
};

/// Has every log message built, or none.
inline void setLogging(bool enabled) {
    log4cxx::Logger::getRootLogger()->setLevel(enabled ? log4cxx::Level::getTrace()
                                                       : log4cxx::Level::getOff());
}

/// Ends the run, as a finding, where the code under test broke a promise.
inline void require(bool kept) {
    if (!kept)
        std::abort();
}

} // namespace Fuzz
