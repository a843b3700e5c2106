#include "Camera/FaultedReply.h"

#include "Camera/Delivery.h"

#include <algorithm>

namespace Simulator {

namespace {

// A room or a model may be called anything. No blank and no bracket that closes: it is one word of the reply.
constexpr std::string_view hostileText =
    "\x01\x07\x08\x1B[2J\x1B[31m\x1B[8mA\x7F\xC2\x9B\xE2\x80\xAE\xFF\"'`$(id);%n%s"
    "<b>&amp;</room><!--\\";

SharedBytes shared(std::string_view text) {
    return std::make_shared<const Bytes>(text.begin(), text.end());
}

bool isAddress(std::string_view key) {
    return key == "--IP" || key == "--NetMask" || key == "--NetGateway";
}

TextReply::Entry* entryOf(TextReply& reply, std::string_view key) {
    const auto entry = std::ranges::find(reply.entries, key, &TextReply::Entry::key);
    return entry == reply.entries.end() ? nullptr : &*entry;
}

void setValue(TextReply& reply, std::string_view key, std::string_view value) {
    if (TextReply::Entry* const entry = entryOf(reply, key))
        entry->value = value;
}

void makeHostile(TextReply& reply) {
    for (auto& [key, value] : reply.entries)
        if (!isAddress(key))
            value = hostileText;
}

void lowerFirstWord(TextReply& reply) {
    for (char& letter : reply.word)
        if (letter >= 'A' && letter <= 'Z')
            letter = static_cast<char>(letter - 'A' + 'a');
}

/// A key behind all others, so that whoever reads only the beginning still finds those; blanks where there
/// is no room for it.
std::string filledUp(std::string text, std::size_t length) {
    constexpr std::string_view key = " --Padding ";
    if (text.size() >= length)
        return text.substr(0, length);
    const std::size_t missing = length - text.size();
    if (missing <= key.size())
        return text.insert(std::min(text.find(' '), text.size() - 1), missing, ' ');
    return text.insert(text.size() - 1, std::string(key) + std::string(missing - key.size(), 'x'));
}

} // namespace

SharedBytes bytesOf(const TextReply& reply) {
    return shared(reply.text());
}

std::vector<Action> faultedReply(const Fault& fault, TextReply reply, std::uint64_t seed) {
    switch (fault.kind) {
    case FaultKind::missingKey:
        std::erase_if(reply.entries, [&](const TextReply::Entry& each) { return each.key == fault.text; });
        break;
    case FaultKind::emptyValue:
        setValue(reply, fault.text, "");
        break;
    case FaultKind::wrongAddress:
        setValue(reply, "--IP", fault.text);
        break;
    case FaultKind::otherMarker:
        lowerFirstWord(reply);
        break;
    case FaultKind::hostile:
        makeHostile(reply);
        break;
    case FaultKind::notClosed: {
        const std::string text = reply.text();
        return {sendWhole(shared(std::string_view(text).substr(0, text.size() - 1)))};
    }
    case FaultKind::length:
        return {sendWhole(shared(filledUp(reply.text(), fault.number.value_or(1))))};
    case FaultKind::empty:
        return {sendWhole(shared(reply.word == queries.back().word ? "" : "[]"))};
    default:
        return faultedDelivery(fault, bytesOf(reply), seed).value_or(std::vector<Action>());
    }
    return {sendWhole(bytesOf(reply))};
}

} // namespace Simulator
