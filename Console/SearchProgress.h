#pragma once
// How far a search has come, by what the plug-in logs of it.

#include <cstddef>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace Console {

/// Not more addresses are kept than a search keeps replies.
class SearchProgress {
public:
    /// The logger whose lines of level info and above it reads.
    static constexpr auto loggerName = "Plenar.KorvaCamera.KorvaCameraLocator";

    /// A line's message, in the order they come.
    void take(std::string_view message);

    /// Whether any line of it came: there is none if a logging configuration has turned them off.
    bool hasBegun() const { return hasBegun_; }

    /// Whether the search has begun and still waits for datagrams.
    bool isListening() const { return isListening_; }

    /// How many answers came whose camera the search has not turned to.
    std::size_t unasked() const { return answers_ - asked_; }

    /// The addresses in the answers, each once, in the order they came; any text.
    const std::vector<std::string>& addresses() const { return addresses_; }

private:
    bool hasBegun_ = false;
    bool isListening_ = false;
    std::size_t answers_ = 0;
    std::size_t asked_ = 0;
    std::set<std::string, std::less<>> known_;
    std::vector<std::string> addresses_;
};

} // namespace Console
