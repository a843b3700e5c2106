#pragma once
// What a search does and who answers it, by what the plug-in logs of it.

#include "Diagnosis/Facts.h"

#include <cstddef>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace Console {

/// Not more answers are kept than a search keeps replies, and of all else the first `mostOfAKind`.
class SearchProgress {
public:
    /// The logger whose lines of level info and above it reads.
    static constexpr auto loggerName = "Plenar.KorvaCamera.KorvaCameraLocator";
    static constexpr std::size_t mostAnswers = 16'384;
    static constexpr std::size_t mostOfAKind = 256;

    /// What became of an answer.
    struct Turn {
        bool hasCome = false;                       ///< the search has turned to it
        bool isPassed = false;                      ///< its hardware address is that of an earlier answer
        std::vector<Diagnosis::LogLine> complaints; ///< why its camera was skipped
    };

    /// A line's message, in the order they come, and when it came, counted from the search's begin.
    void take(std::string_view message, Diagnosis::Milliseconds at = Diagnosis::Milliseconds(0));

    /// All the lines of the search's thread, of all loggers, once it is over: in the place of the locator's
    /// own complaints they say more of why a camera was skipped.
    void takeAll(const std::vector<Diagnosis::LogLine>& lines);

    /// Whether any line of it came: there is none if a logging configuration has turned them off.
    bool hasBegun() const { return hasBegun_; }

    /// Whether the search has begun and still waits for datagrams.
    bool isListening() const { return isListening_; }

    /// How many answers came whose camera the search has not turned to.
    std::size_t unasked() const { return search_.answers.size() - asked_; }

    /// The addresses in the answers, each once, in the order they came; any text.
    const std::vector<std::string>& addresses() const { return addresses_; }

    /// Networks, answers, strange answers, why there was no search, and the lines that tell of the search as
    /// a whole. The networks' adapters have no names.
    const Diagnosis::Search& search() const { return search_; }

    /// For each of search().answers.
    const std::vector<Turn>& turns() const { return turns_; }

private:
    void takeNetwork(std::string_view message);
    void takeAnswer(std::string_view roomAndAddress, Diagnosis::Milliseconds at);
    void takeTurn(std::string_view macAddress);
    void takeComplaint(Diagnosis::LogLine::Level level, std::string_view message);
    void takeFailure(std::string_view message);

    bool hasBegun_ = false;
    bool isListening_ = false;
    std::size_t asked_ = 0;
    std::set<std::string, std::less<>> known_;
    std::vector<std::string> addresses_;
    Diagnosis::Search search_;
    std::vector<Turn> turns_;
};

} // namespace Console
