#include "Camera/TextSession.h"

#include "Camera/Delivery.h"
#include "Camera/FaultedReply.h"
#include "Camera/QuotedText.h"

#include <algorithm>
#include <utility>

namespace Simulator {

namespace {

constexpr std::string_view blanks = " \t\n\v\f\r";

std::vector<std::string_view> wordsOf(std::string_view text) {
    std::vector<std::string_view> words;
    while (true) {
        text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
        if (text.empty())
            return words;
        words.push_back(text.substr(0, text.find_first_of(blanks)));
        text.remove_prefix(words.back().size());
    }
}

const Query* queryOf(const std::vector<std::string_view>& words) {
    const auto query = std::ranges::find_if(queries, [&](const Query& each) {
        return each.place != Place::discovery && !words.empty() && words.front() == each.word;
    });
    return query == queries.end() ? nullptr : &*query;
}

} // namespace

void TextSession::append(ByteView input) {
    if (!closed_)
        input_.append(input.begin(), input.end());
}

std::optional<Reaction> TextSession::next() {
    const std::size_t close = input_.find(']');
    if (std::min(close, input_.size()) >= longestQuery)
        return giveUp();
    if (close == std::string::npos)
        return std::nullopt;
    // The last bracket that opens: what a client broke off before it is no part of this query.
    const std::size_t open = input_.rfind('[', close);
    const std::string dropped = input_.substr(0, open == std::string::npos ? close + 1 : open);
    const std::string query = input_.substr(dropped.size(), close + 1 - dropped.size());
    input_.erase(0, close + 1);

    Reaction reaction = query.empty() ? Reaction() : answer(query);
    if (dropped.find_first_not_of(blanks) != std::string::npos)
        reaction.events.insert(reaction.events.begin(), "dropped " + quotedText(dropped));
    if (std::ranges::any_of(reaction.actions, endsConnection)) {
        closed_ = true;
        input_.clear();
    }
    return reaction;
}

Reaction TextSession::giveUp() {
    Reaction reaction{{CloseConnection{}}, {"no query in " + quotedText(input_) + " -> closed"}};
    closed_ = true;
    input_.clear();
    return reaction;
}

Reaction TextSession::answer(std::string_view text) {
    const auto words = wordsOf(text.substr(1, text.size() - 2));
    const Query* const query = queryOf(words);
    const TextReply reply = query != nullptr
                                ? replyTo(*query, std::span(words).subspan(1), camera_.settings())
                                : TextReply{"Unknown", {}};
    Reaction reaction{{}, {quotedText(text) + " -> " + quotedText(reply.text())}};
    const SharedBytes before = std::exchange(before_, bytesOf(reply));
    const std::optional<Fault> fault = query != nullptr ? camera_.nextFault(query->place) : std::nullopt;
    if (!fault) {
        reaction.actions.push_back(sendWhole(bytesOf(reply)));
        return reaction;
    }
    reaction.events.push_back("fault " + fault->describe());
    reaction.actions = faultedReply(*fault, reply, camera_.settings().seed);
    if (fault->kind == FaultKind::stale && before)
        reaction.actions.push_back(sendWhole(before));
    return reaction;
}

} // namespace Simulator
