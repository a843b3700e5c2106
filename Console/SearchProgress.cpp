#include "SearchProgress.h"

#include <functional>

namespace Console {

namespace {

constexpr std::size_t mostAnswers = 16'384;

} // namespace

void SearchProgress::take(std::string_view message) {
    constexpr std::string_view answer = "Message from Korva device: ";
    if (message.starts_with("broadcastObserverSearch")) {
        *this = {};
        hasBegun_ = isListening_ = true;
    } else if (message.starts_with("Last recv returned: ")) {
        isListening_ = false;
    } else if (message.starts_with("Found Korva with MAC ") && asked_ < answers_) {
        ++asked_;
    } else if (message.starts_with(answer) && answers_ < mostAnswers) {
        ++answers_;
        std::string address(message.substr(message.rfind(' ') + 1)); // a room may have blanks
        if (known_.insert(address).second)
            addresses_.push_back(std::move(address));
    }
}

} // namespace Console
