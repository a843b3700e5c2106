#pragma once
// A read-only stream buffer over bytes that lie in memory.

#include <cstddef>
#include <span>
#include <streambuf>

namespace Korva {

/// Its get area is the given bytes; it reads sequentially and seeking fails. Does not own the
/// bytes. A reader that recognises it may take the bytes where they lie (unread, skip).
struct mybuf final : std::streambuf {
    mybuf(const unsigned char* bytes, std::size_t count) {
        // A get area is declared writable, but nothing writes it: there is no put area, and no other
        // character than the one that was read can be put back.
        char* const begin = const_cast<char*>(reinterpret_cast<const char*>(bytes));
        setg(begin, begin, begin + count);
    }
    ~mybuf() override = default;

    /// The bytes that have not been read yet.
    std::span<const unsigned char> unread() const {
        return {reinterpret_cast<const unsigned char*>(gptr()), static_cast<std::size_t>(egptr() - gptr())};
    }

    /// Counts the next `count` bytes, at most all that are unread, as read.
    void skip(std::size_t count) { setg(eback(), gptr() + count, egptr()); }
};

} // namespace Korva
