#include "Beginning.h"

#include <algorithm>

namespace Diagnosis {

std::string_view beginningOf(std::string_view text, std::size_t mostBytes) {
    constexpr std::size_t longestRest = 3; // of a character, behind its first byte
    const auto isRest = [text](std::size_t at) {
        return (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80;
    };
    std::size_t end = std::min(mostBytes, text.size());
    while (end < text.size() && end > 0 && mostBytes - end < longestRest && isRest(end))
        --end;
    const bool isCutAnyway = end < text.size() && isRest(end);
    return text.substr(0, isCutAnyway ? mostBytes : end);
}

} // namespace Diagnosis
