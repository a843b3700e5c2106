#include "Look/CameraTexts.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace Diagnosis {

namespace {

constexpr std::string_view mark = "[Korva";
constexpr std::string_view whiteSpace = " \t\n\v\f\r";

std::vector<std::string_view> wordsOf(std::string_view text) {
    std::vector<std::string_view> words;
    for (std::size_t at = text.find_first_not_of(whiteSpace); at != std::string_view::npos;) {
        const std::size_t end = std::min(text.find_first_of(whiteSpace, at), text.size());
        words.push_back(text.substr(at, end - at));
        at = text.find_first_not_of(whiteSpace, end);
    }
    return words;
}

/// Keys, and between them their values, in their order. A value that nothing ends is lost.
std::vector<std::string> entriesOf(std::string_view text) {
    std::vector<std::string> entries;
    std::string value;
    bool isKeyRead = false;
    for (const std::string_view word : wordsOf(text)) {
        if (word.starts_with("--")) {
            if (!value.empty())
                entries.push_back(std::move(value));
            value.clear();
            entries.emplace_back(word);
            isKeyRead = true;
            continue;
        }
        if (!isKeyRead)
            continue;
        value.append(value.empty() ? "" : " ").append(word);
        if (value.ends_with(']')) {
            value.pop_back();
            entries.push_back(std::move(value));
            break;
        }
    }
    return entries;
}

/// The entry behind a key, the next key if it has no value of its own; empty if there is none.
std::string entryBehind(std::string_view key, const std::vector<std::string>& entries) {
    const auto found = std::ranges::find(entries, key);
    return found == entries.end() || found + 1 == entries.end() ? std::string() : *(found + 1);
}

/// A key has no value where the next one follows.
void clearKey(std::string& value) {
    if (value.starts_with("--"))
        value.clear();
}

} // namespace

std::optional<DiscoveryReply> readDiscoveryReply(std::string_view datagram) {
    const std::string_view text = datagram.substr(0, datagram.find('\0'));
    if (text.find(mark) == std::string_view::npos)
        return std::nullopt;
    const std::vector<std::string> entries = entriesOf(text);
    DiscoveryReply reply{entryBehind("--Room", entries), entryBehind("--IP", entries),
                         entryBehind("--NetMask", entries)};
    if (reply.room.empty() || reply.address.empty())
        return std::nullopt;
    clearKey(reply.room);
    clearKey(reply.mask);
    return reply;
}

std::optional<VersionAnswer> readVersionAnswer(std::string_view text) {
    const std::vector<std::string> entries = entriesOf(text);
    VersionAnswer answer{entryBehind("--HW", entries), entryBehind("--SW", entries)};
    return answer.hardware.empty() && answer.firmware.empty() ? std::nullopt
                                                              : std::optional(std::move(answer));
}

} // namespace Diagnosis
