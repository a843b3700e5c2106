#pragma once
// UTF-8 to wide units and back, for wide units of 16 bits (UTF-16) and of 32 bits (whole code points).

#include <cstddef>
#include <optional>

namespace Platform::Utf {

inline constexpr char32_t replacementCharacter = 0xFFFD;

/// What stands at the front of a text.
struct Decoded {
    char32_t codePoint; ///< replacementCharacter if the units are not well-formed
    std::size_t units;  ///< how many units it took; at least 1
    bool wellFormed;
};

inline bool isSurrogate(char32_t value) noexcept {
    return value >= 0xD800 && value <= 0xDFFF;
}

/// Decodes the front of the `count` (at least 1) bytes at `text`. A malformed front takes its maximal
/// subpart: the longest beginning of a well-formed sequence, or else one byte.
inline Decoded decodeUtf8(const unsigned char* text, std::size_t count) noexcept {
    const unsigned lead = text[0];
    if (lead < 0x80)
        return {lead, 1, true};
    if (lead < 0xC2 || lead > 0xF4)
        return {replacementCharacter, 1, false};

    const std::size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    // The second byte's range keeps out overlong forms, surrogates and values above U+10FFFF.
    unsigned lowest = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    unsigned highest = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    char32_t codePoint = lead & (0x7Fu >> length);
    for (std::size_t at = 1; at < length; ++at) {
        if (at == count || text[at] < lowest || text[at] > highest)
            return {replacementCharacter, at, false};
        codePoint = (codePoint << 6) | (text[at] & 0x3Fu);
        lowest = 0x80;
        highest = 0xBF;
    }
    return {codePoint, length, true};
}

/// Decodes the front of the `count` (at least 1) units at `wide`. A malformed front takes one unit.
template <class Wide>
Decoded decodeWide(const Wide* wide, std::size_t count) noexcept {
    static_assert(sizeof(Wide) == 2 || sizeof(Wide) == 4);
    const auto first = static_cast<char32_t>(wide[0]);
    if (!isSurrogate(first)) {
        if (first > 0x10FFFF)
            return {replacementCharacter, 1, false};
        return {first, 1, true};
    }
    if constexpr (sizeof(Wide) == 2) {
        const bool isPair = first < 0xDC00 && count > 1 && isSurrogate(wide[1]) && wide[1] >= 0xDC00;
        if (isPair)
            return {0x10000 + ((first - 0xD800) << 10) + (static_cast<char32_t>(wide[1]) - 0xDC00), 2, true};
    }
    return {replacementCharacter, 1, false};
}

/// Stores the code point's bytes, 1 to 4, at `out` and returns their number.
inline std::size_t encodeUtf8(char32_t codePoint, char (&out)[4]) noexcept {
    const auto continuation = [codePoint](int shift) {
        return static_cast<char>(0x80 | ((codePoint >> shift) & 0x3F));
    };
    if (codePoint < 0x80) {
        out[0] = static_cast<char>(codePoint);
        return 1;
    }
    if (codePoint < 0x800) {
        out[0] = static_cast<char>(0xC0 | (codePoint >> 6));
        out[1] = continuation(0);
        return 2;
    }
    if (codePoint < 0x10000) {
        out[0] = static_cast<char>(0xE0 | (codePoint >> 12));
        out[1] = continuation(6);
        out[2] = continuation(0);
        return 3;
    }
    out[0] = static_cast<char>(0xF0 | (codePoint >> 18));
    out[1] = continuation(12);
    out[2] = continuation(6);
    out[3] = continuation(0);
    return 4;
}

/// Stores the code point's units, 1 or 2, at `out` and returns their number.
template <class Wide>
std::size_t encodeWide(char32_t codePoint, Wide (&out)[2]) noexcept {
    if (sizeof(Wide) == 4 || codePoint < 0x10000) {
        out[0] = static_cast<Wide>(codePoint);
        return 1;
    }
    out[0] = static_cast<Wide>(0xD800 + ((codePoint - 0x10000) >> 10));
    out[1] = static_cast<Wide>(0xDC00 + ((codePoint - 0x10000) & 0x3FF));
    return 2;
}

/// What becomes of malformed text.
enum class Malformed { substitute, refuse };

/// Units that a conversion gives; those beyond its capacity are counted and not stored.
template <class Unit>
class Sink {
public:
    Sink(Unit* units, std::size_t capacity) noexcept : units_(units), capacity_(capacity) {}

    template <std::size_t N>
    void append(const Unit (&piece)[N], std::size_t count) noexcept {
        for (std::size_t at = 0; at < count; ++at, ++count_) {
            if (count_ < capacity_)
                units_[count_] = piece[at];
        }
    }

    std::size_t count() const noexcept { return count_; }

private:
    Unit* units_;
    std::size_t capacity_;
    std::size_t count_ = 0;
};

/// Converts the `count` bytes at `text` and returns how many wide units that takes, of which the first
/// `capacity` are stored at `wide`. Nothing for malformed text that is to be refused.
template <class Wide>
std::optional<std::size_t> wideFromUtf8(const char* text, std::size_t count, Malformed malformed, Wide* wide,
                                        std::size_t capacity) noexcept {
    Sink<Wide> sink(wide, capacity);
    for (std::size_t at = 0; at < count;) {
        const Decoded decoded = decodeUtf8(reinterpret_cast<const unsigned char*>(text) + at, count - at);
        if (!decoded.wellFormed && malformed == Malformed::refuse)
            return std::nullopt;
        Wide units[2];
        const std::size_t length = encodeWide(decoded.codePoint, units);
        sink.append(units, length);
        at += decoded.units;
    }
    return sink.count();
}

/// The twin of wideFromUtf8.
template <class Wide>
std::optional<std::size_t> utf8FromWide(const Wide* wide, std::size_t count, Malformed malformed, char* text,
                                        std::size_t capacity) noexcept {
    Sink<char> sink(text, capacity);
    for (std::size_t at = 0; at < count;) {
        const Decoded decoded = decodeWide(wide + at, count - at);
        if (!decoded.wellFormed && malformed == Malformed::refuse)
            return std::nullopt;
        char bytes[4];
        const std::size_t length = encodeUtf8(decoded.codePoint, bytes);
        sink.append(bytes, length);
        at += decoded.units;
    }
    return sink.count();
}

} // namespace Platform::Utf
