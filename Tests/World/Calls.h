#pragma once
// The recorder of every call that a test plays: what was called, in which order, and which call fails.

#include "Support/OutsidePlugin.h"

#include <exception>
#include <functional>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace World {

/// A call is a line: its name, then its arguments. Whatever plays a part of the system, of the network or of
/// the host notes each of its calls here. One thread.
class Calls {
public:
    static Calls& current();

    // What is to happen.

    /// A code, with which the function called ends in its own way; or what it throws.
    using Failure = std::variant<int, std::exception_ptr>;

    /// So ends the `occurrence`-th call from now on whose line begins with the words of `beginning` ("send",
    /// "connect 10.0.0.5:32769").
    void fail(std::string beginning, Failure failure, int occurrence = 1) {
        plans_.push_back({std::move(beginning), occurrence, std::move(failure)});
    }
    /// The same for each such call.
    void failAlways(std::string beginning, int code) { fail(std::move(beginning), code, always); }
    /// That call throws `exception`.
    template <class Exception>
    void throwFrom(std::string beginning, Exception exception, int occurrence = 1) {
        fail(std::move(beginning), std::make_exception_ptr(std::move(exception)), occurrence);
    }
    template <class Exception>
    void throwAlways(std::string beginning, Exception exception) {
        throwFrom(std::move(beginning), std::move(exception), always);
    }
    /// True while something is planned that has not happened.
    bool isToFail() const { return !plans_.empty(); }
    /// Nothing that was planned happens any more, and onCall is forgotten.
    void failNoMore() {
        plans_.clear();
        onCall = nullptr;
    }

    /// Called with each line when it is noted, before the call does anything; may throw, as that call.
    std::function<void(const std::string&)> onCall;

    // What happened.

    const std::vector<std::string>& lines() const { return lines_; }
    /// The lines that begin with any of these words.
    std::vector<std::string> of(std::initializer_list<std::string_view> beginnings) const;
    std::vector<std::string> of(std::string_view beginning) const { return of({beginning}); }
    void clear() { lines_.clear(); }

    // For what plays the calls.

    /// Notes a call. Throws what is planned for it, or returns the code that it is to end with, if any.
    std::optional<int> enter(const std::string& line);
    /// Notes a call that cannot fail.
    void note(const std::string& line) {
        const TestSupport::OutsidePlugin outside;
        lines_.push_back(line);
    }
    /// A call that is too frequent to be noted: what is planned for it, as enter() has it. Takes no memory.
    std::optional<int> planned(std::string_view line);

private:
    static constexpr int always = -1;
    struct Plan {
        std::string beginning;
        int left; ///< calls until it happens, or always
        Failure failure;
    };

    std::vector<Plan> plans_;
    std::vector<std::string> lines_;
};

} // namespace World
