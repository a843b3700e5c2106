#include "SearchProgress.h"

#include "Platform/Winsock.h"

#include <algorithm>
#include <charconv>
#include <functional>
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

/// In the words of whoever looks after the computer. `code` is a sockets library's.
std::string refusalText(std::string_view code) {
    int number = 0;
    std::from_chars(code.data(), code.data() + code.size(), number);
    switch (number) {
    case WSAEACCES:
        return "not permitted, by a firewall of this computer or for want of rights";
    case WSAENETDOWN:
        return "the network is down";
    case WSAENETUNREACH:
    case WSAEHOSTUNREACH:
        return "there is no route to it";
    case WSAEADDRNOTAVAIL:
        return "the adapter's address is not usable";
    case WSAENOBUFS:
        return "the system has no memory for it";
    default:
        return "the system does not send there";
    }
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

/// Error 232, no adapter with an address, is an empty network rather than a failure.
void SearchProgress::takeFailure(std::string_view message) {
    const auto refused = behind("Korva Query - sendto call failed: ", message);
    if (refused && !search_.networks.empty()) {
        search_.networks.back().outcome = Diagnosis::SearchedNetwork::Outcome::refused;
        search_.networks.back().reason = refusalText(message.substr(message.rfind(' ') + 1));
        search_.failure = "the system refused to send the query to " + search_.networks.back().broadcast;
    } else if (message.starts_with("setsockopt failed")) {
        search_.failure = "the system does not let this program broadcast";
    } else if (message.find("call to GetAdaptersInfo ") != std::string_view::npos &&
               !message.ends_with(" 232")) {
        search_.failure = "the system does not tell its network adapters";
    } else if (message.starts_with("Unknown exception when trying to discover Korva devices.")) {
        search_.failure = "the plug-in could not search";
    }
    if (!search_.failure.empty())
        isListening_ = false;
}

} // namespace Console
