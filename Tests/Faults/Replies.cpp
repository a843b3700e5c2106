#include "Replies.h"

#include <algorithm>
#include <cstdlib>
#include <sstream>
#include <string_view>

namespace Faults {
namespace {

/// A name that is one character shorter than a known one is deliberately taken for it.
bool isOf(const std::string& hardware, std::string_view model) {
    return hardware.ends_with(model) || hardware.size() + 1 == model.size();
}

} // namespace

std::vector<std::string> entriesOf(const std::string& reply) {
    std::istringstream words(reply.substr(0, reply.find('\0')));
    std::vector<std::string> entries;
    std::string value;
    for (std::string word; words >> word;) {
        const bool isKey = word.starts_with("--");
        if (isKey && !value.empty())
            entries.push_back(std::exchange(value, ""));
        if (isKey)
            entries.push_back(word);
        else if (!entries.empty())
            value += (value.empty() ? "" : " ") + word;
        if (value.ends_with(']')) {
            entries.push_back(value.substr(0, value.size() - 1));
            break;
        }
    }
    return entries;
}

std::string valueOf(const std::vector<std::string>& entries, const std::string& key) {
    const auto found = std::find(entries.begin(), entries.end(), key);
    return found == entries.end() || found + 1 == entries.end() ? "" : *(found + 1);
}

bool isNewEnough(const std::string& firmware) {
    std::vector<int> numbers;
    for (std::size_t at = 0; at < firmware.size();) {
        const std::size_t dot = std::min(firmware.find('.', at), firmware.size());
        numbers.push_back(std::atoi(firmware.substr(at, dot - at).c_str()) & 0xFF);
        at = dot + 1;
    }
    return numbers.size() == 3 && numbers >= std::vector{3, 2, 15};
}

bool isM61(const std::string& hardware) {
    return isOf(hardware, "M61");
}

std::optional<Size> knownSize(const std::string& hardware) {
    if (isM61(hardware))
        return Size(1676, 1266);
    if (isOf(hardware, "M615") || isOf(hardware, "M62"))
        return Size(2748, 1836);
    return std::nullopt;
}

std::optional<std::string> addressIn(const std::string& datagram) {
    constexpr std::size_t mostBytes = 256;
    const std::string text = datagram.substr(0, std::min(datagram.find('\0'), mostBytes));
    const std::vector<std::string> entries = entriesOf(text);
    const std::string address = valueOf(entries, "--IP");
    if (text.find("[Korva") == std::string::npos || valueOf(entries, "--Room").empty() || address.empty())
        return std::nullopt;
    return address;
}

} // namespace Faults
