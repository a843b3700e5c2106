#include "Platform/Columns.h"

#include "Platform/Kernel.h"

#include <algorithm>
#include <array>

namespace {

struct Range {
    char32_t first;
    char32_t last;
};

/// Those that terminals show twice as wide as Latin letters.
constexpr std::array wide{
    Range{0x1100, 0x115F},   Range{0x231A, 0x231B},   Range{0x2329, 0x232A},   Range{0x23E9, 0x23EC},
    Range{0x2E80, 0x303E},   Range{0x3041, 0x33FF},   Range{0x3400, 0x4DBF},   Range{0x4E00, 0xA4CF},
    Range{0xA960, 0xA97C},   Range{0xAC00, 0xD7A3},   Range{0xF900, 0xFAFF},   Range{0xFE10, 0xFE19},
    Range{0xFE30, 0xFE6B},   Range{0xFF01, 0xFF60},   Range{0xFFE0, 0xFFE6},   Range{0x16FE0, 0x18CFF},
    Range{0x1AFF0, 0x1B2FB}, Range{0x1F18E, 0x1F19A}, Range{0x1F200, 0x1F320}, Range{0x1F32D, 0x1F64F},
    Range{0x1F680, 0x1F6FC}, Range{0x1F7E0, 0x1F7F0}, Range{0x1F90C, 0x1FAFF}, Range{0x20000, 0x3FFFD},
};

bool isWide(char32_t character) {
    return std::any_of(wide.begin(), wide.end(), [character](const Range& range) {
        return range.first <= character && character <= range.last;
    });
}

/// Of the basic plane; the system does not tell of others.
bool standsOnAnother(char32_t character) {
    constexpr char32_t lastOfBasicPlane = 0xFFFF;
    const auto unit = static_cast<wchar_t>(character);
    WORD kind = 0;
    // A letter that has its mark with it is told as both.
    return character <= lastOfBasicPlane && GetStringTypeW(CT_CTYPE3, &unit, 1, &kind) != 0 &&
           (kind & (C3_NONSPACING | C3_ALPHA)) == C3_NONSPACING;
}

} // namespace

int Platform::columnsOf(char32_t character) {
    if (isWide(character))
        return 2;
    return standsOnAnother(character) ? 0 : 1;
}
