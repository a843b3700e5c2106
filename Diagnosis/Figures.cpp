#include "Figures.h"

#include <algorithm>
#include <iterator>

namespace Diagnosis {

namespace {

bool isFigure(std::string_view word) {
    return !word.empty() && word.find_first_not_of("0123456789.") == std::string_view::npos;
}

/// Also with what ends a part of a sentence behind it.
bool isUnit(std::string_view word) {
    constexpr std::string_view units[] = {"byte", "bytes", "B/s", "KB/s", "MB/s", "ms", "s", "%"};
    word = word.substr(0, word.find_first_of(",;:)"));
    return std::find(std::begin(units), std::end(units), word) != std::end(units);
}

} // namespace

std::string withoutFigures(std::string_view text) {
    std::string all;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(' '), text.size());
        const std::size_t next = std::min(end + 1, text.size());
        const std::string_view word = text.substr(0, end);
        const bool isMeasured = isFigure(word) && isUnit(text.substr(next, text.find(' ', next) - next));
        all += isMeasured ? std::string_view("#") : word;
        all += text.substr(end, next - end);
        text.remove_prefix(next);
    }
    return all;
}

Verdict withoutFigures(Verdict verdict) {
    verdict.text = withoutFigures(std::string_view(verdict.text));
    return verdict;
}

} // namespace Diagnosis
