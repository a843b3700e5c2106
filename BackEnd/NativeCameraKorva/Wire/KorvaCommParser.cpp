#include "NativeCameraKorva/KorvaCommParser.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <locale>
#include <sstream>
#include <utility>

namespace Korva {
namespace {

constexpr char keyMark[] = "--";

/// Appends one text's entries to `entries`.
void appendEntries(const std::string& text, std::vector<std::string>& entries) {
    std::istringstream words(text);
    // What separates words does not depend on the host's locale.
    words.imbue(std::locale::classic());
    // Else the stream would keep a failed allocation to itself, and the text would end there.
    words.exceptions(std::ios::badbit);
    bool hasKey = false;
    std::string value;
    std::string word;
    while (words >> word) {
        if (word.starts_with(keyMark)) {
            // Deliberately, a key without a value leaves no entry for it.
            if (!value.empty())
                entries.push_back(value);
            hasKey = true;
            entries.push_back(word);
            value.clear();
        } else if (hasKey) {
            if (!value.empty())
                value += ' ';
            value += word;
            if (value.ends_with(']')) {
                value.pop_back();
                entries.push_back(value);
                return;
            }
        }
    }
}

} // namespace

CommParser::CommParser() = default;

CommParser::CommParser(const CommParser& other) = default;

CommParser::CommParser(CommParser&& other) noexcept
    : parsed_(other.parsed_), entries_(std::exchange(other.entries_, {})) {}

CommParser& CommParser::operator=(const CommParser& other) = default;

CommParser& CommParser::operator=(CommParser&& other) noexcept {
    parsed_ = other.parsed_;
    // By way of a temporary, so that an object may be assigned to itself.
    entries_ = std::exchange(other.entries_, {});
    return *this;
}

CommParser::~CommParser() = default;

void CommParser::parse(char* text) {
    parsed_ = false;
    const std::size_t entriesBefore = entries_.size();
    try {
        if (text != nullptr)
            appendEntries(text, entries_);
    } catch (...) {
        // Half a reply would answer for the whole of the next one.
        entries_.resize(entriesBefore);
        throw;
    }
    parsed_ = true;
}

bool CommParser::isParsed() {
    return parsed_;
}

std::string CommParser::getValue(const std::string& key) {
    const auto found = std::find(entries_.begin(), entries_.end(), key);
    if (found == entries_.end() || std::next(found) == entries_.end())
        return {};
    return *std::next(found);
}

} // namespace Korva
