#include "NearestName.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace Console {

namespace {

/// No name is longer, and the work grows with its square.
constexpr std::size_t longestWord = 64;

/// How many single letters are left out, added, replaced or swapped with the next one.
std::size_t distanceBetween(std::string_view one, std::string_view other) {
    std::vector<std::size_t> beforeLast;
    std::vector<std::size_t> last(other.size() + 1);
    for (std::size_t j = 0; j <= other.size(); ++j)
        last[j] = j;
    for (std::size_t i = 1; i <= one.size(); ++i) {
        std::vector<std::size_t> row(other.size() + 1, i);
        for (std::size_t j = 1; j <= other.size(); ++j) {
            const std::size_t replaced = last[j - 1] + (one[i - 1] == other[j - 1] ? 0 : 1);
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, replaced});
            if (i > 1 && j > 1 && one[i - 1] == other[j - 2] && one[i - 2] == other[j - 1])
                row[j] = std::min(row[j], beforeLast[j - 2] + 1);
        }
        beforeLast = std::exchange(last, std::move(row));
    }
    return last.back();
}

} // namespace

std::string nearestName(std::string_view word, const std::vector<std::string>& names) {
    if (word.size() > longestWord)
        return "";
    std::string nearest;
    std::size_t least = 1 + std::max<std::size_t>(1, word.size() / 3); // as far away is not near
    for (const std::string& name : names) {
        const bool isAbbreviated = word.size() >= 4 && name.starts_with(word);
        const std::size_t distance = isAbbreviated ? 1 : distanceBetween(word, name);
        if (distance < least) {
            least = distance;
            nearest = name;
        }
    }
    return nearest;
}

} // namespace Console
