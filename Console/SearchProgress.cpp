#include "SearchProgress.h"

#include "Diagnosis/RulesOfSearch.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <optional>
#include <utility>

namespace Console {

namespace {

using Level = Diagnosis::LogLine::Level;

constexpr std::size_t mostComplaints = 8;
constexpr std::size_t mostOfAText = 200; ///< of a strange answer

/// What stands behind `start`; nothing if the text does not begin so.
std::optional<std::string_view> behind(std::string_view start, std::string_view text) {
    if (!text.starts_with(start))
        return std::nullopt;
    return text.substr(start.size());
}

} // namespace

void SearchProgress::take(std::string_view message, Diagnosis::Milliseconds at) {
    if (message.starts_with("broadcastObserverSearch")) {
        *this = {};
        hasBegun_ = isListening_ = true;
    } else if (message.starts_with("Last recv returned: ")) {
        isListening_ = false;
    } else if (const auto macAddress = behind("Found Korva with MAC ", message)) {
        takeTurn(*macAddress);
    } else if (const auto answer = behind("Message from Korva device: ", message)) {
        takeAnswer(*answer, at);
    } else if (const auto text = behind("Got message that wasn't parsed as a Korva response: ", message)) {
        if (search_.strange.size() < mostOfAKind)
            search_.strange.push_back({"", std::string(text->substr(0, mostOfAText))});
    } else if (message.starts_with("DeviceException ") || message.starts_with("    ")) {
        takeComplaint(Level::error, message);
    } else if (message.starts_with("Unknown exception processing Korva in room: ")) {
        // It may have come before its turn did.
        const bool hasItsTurn = asked_ > 0 && message.ends_with(" " + search_.answers[asked_ - 1].address);
        if (!hasItsTurn)
            takeTurn("");
        takeComplaint(Level::warn, message);
    } else {
        if (Diagnosis::isOfInterest(std::string(message)) && search_.lines.size() < mostOfAKind)
            search_.lines.push_back({Level::error, loggerName, std::string(message)});
        takeNetwork(message);
        takeFailure(message);
    }
}

void SearchProgress::takeNetwork(std::string_view message) {
    auto& networks = search_.networks;
    if (const auto address = behind("IP on network adapter: ", message)) {
        if (networks.size() < mostOfAKind)
            networks.emplace_back().own.address = *address;
    } else if (networks.empty()) {
        return;
    } else if (const auto mask = behind("Mask on network adapter: ", message)) {
        networks.back().own.mask = *mask;
    } else if (const auto broadcast = behind("UDP broadcasting Korva Discovery on: ", message)) {
        networks.back().broadcast = *broadcast;
    }
}

void SearchProgress::takeAnswer(std::string_view roomAndAddress, Diagnosis::Milliseconds at) {
    if (search_.answers.size() >= mostAnswers)
        return;
    const std::size_t blank =
        std::min(roomAndAddress.rfind(' '), roomAndAddress.size()); // a room may have some
    Diagnosis::Answer& answer = search_.answers.emplace_back();
    answer.room = roomAndAddress.substr(0, blank);
    if (answer.room.starts_with("--")) // the next key, behind a room without a name
        answer.room.clear();
    answer.address = roomAndAddress.substr(std::min(blank + 1, roomAndAddress.size()));
    answer.after = at;
    turns_.emplace_back();
    if (known_.insert(answer.address).second)
        addresses_.push_back(answer.address);
}

void SearchProgress::takeTurn(std::string_view macAddress) {
    if (asked_ >= search_.answers.size())
        return;
    constexpr std::string_view passed = " more than once, ignoring..";
    constexpr std::string_view unknown = "00-00-00-00-00-00";
    Turn& turn = turns_[asked_];
    turn.hasCome = true;
    turn.isPassed = macAddress.ends_with(passed);
    if (turn.isPassed)
        macAddress.remove_suffix(passed.size());
    if (macAddress != unknown)
        search_.answers[asked_].macAddress = macAddress;
    ++asked_;
}

void SearchProgress::takeComplaint(Level level, std::string_view message) {
    if (asked_ == 0 || turns_[asked_ - 1].complaints.size() >= mostComplaints)
        return;
    const std::size_t begin = std::min(message.find_first_not_of(' '), message.size());
    turns_[asked_ - 1].complaints.push_back({level, loggerName, std::string(message.substr(begin))});
}

void SearchProgress::takeAll(const std::vector<Diagnosis::LogLine>& lines) {
    constexpr std::size_t mostLines = 32;
    std::vector<std::vector<Diagnosis::LogLine>> ofTurns(turns_.size());
    std::size_t turn = 0;
    for (const Diagnosis::LogLine& line : lines) {
        if (line.logger == loggerName && line.message.starts_with("Found Korva with MAC "))
            ++turn;
        else if (turn > 0 && turn <= ofTurns.size() && ofTurns[turn - 1].size() < mostLines)
            ofTurns[turn - 1].push_back(line);
    }
    if (turn != asked_)
        return; // some are missing: it is not known whose these are
    for (std::size_t i = 0; i < turn; ++i)
        if (!turns_[i].complaints.empty())
            turns_[i].complaints = std::move(ofTurns[i]);
}

void SearchProgress::takeFailure(std::string_view message) {
    const std::string line(message);
    if (message.starts_with("Korva Query - sendto call failed: ") && !search_.networks.empty()) {
        search_.networks.back().outcome = Diagnosis::SearchedNetwork::Outcome::refused;
        search_.networks.back().reason = Diagnosis::refusalIn(line);
        search_.failure = Diagnosis::searchRefused(search_.networks.back().broadcast);
    } else if (const std::string failure = Diagnosis::searchFailureIn(line); !failure.empty()) {
        search_.failure = failure;
    }
    if (!search_.failure.empty())
        isListening_ = false;
}

} // namespace Console
