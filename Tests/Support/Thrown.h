#pragma once
// What an action throws, as a text.

#include <string>

namespace TestSupport {

/// The what() of the exception of that type; empty if none is thrown.
template <class Exception, class Action>
std::string thrownBy(const Action& action) {
    try {
        action();
    } catch (const Exception& exception) {
        return exception.what();
    }
    return {};
}

} // namespace TestSupport
