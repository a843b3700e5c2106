#include "World/Calls.h"

#include <algorithm>
#include <iterator>

namespace World {
namespace {

/// "send" begins "send 10.0.0.5:32769" and not "sendto 1".
bool begins(std::string_view line, std::string_view words) {
    constexpr std::string_view wordEnds = " ,:";
    return line.starts_with(words) &&
           (line.size() == words.size() || wordEnds.find(line[words.size()]) != std::string_view::npos);
}

} // namespace

Calls& Calls::current() {
    static Calls calls;
    return calls;
}

std::vector<std::string> Calls::of(std::initializer_list<std::string_view> beginnings) const {
    std::vector<std::string> found;
    std::ranges::copy_if(lines_, std::back_inserter(found), [&beginnings](const std::string& line) {
        return std::ranges::any_of(beginnings, [&line](auto words) { return begins(line, words); });
    });
    return found;
}

std::optional<int> Calls::planned(std::string_view line) {
    std::optional<int> code;
    for (auto plan = plans_.begin(); plan != plans_.end();) {
        if (!begins(line, plan->beginning) || (plan->left != always && --plan->left != 0)) {
            ++plan;
            continue;
        }
        const auto failure = plan->failure;
        plan = plan->left == always ? plan + 1 : plans_.erase(plan);
        if (const auto* const exception = std::get_if<std::exception_ptr>(&failure))
            std::rethrow_exception(*exception);
        code = std::get<int>(failure);
    }
    return code;
}

std::optional<int> Calls::enter(const std::string& line) {
    const TestSupport::OutsidePlugin outside;
    note(line);
    // A copy: what is called may begin anew.
    if (const auto observer = onCall)
        observer(line);
    return planned(line);
}

} // namespace World
