#pragma once
// Variables of the environment, as a test wants them.

#include "Support/TestSystem.h"

#include <cstdlib>
#include <optional>
#include <string>

namespace TestSupport {

/// Sets a variable, or unsets it, and leaves it at its end as it was.
class Variable {
public:
    Variable(const char* name, const std::optional<std::string>& value) : name_(name) {
        if (const char* const text = std::getenv(name); text != nullptr)
            before_ = text;
        set(value);
    }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;
    ~Variable() { set(before_); }

private:
    void set(const std::optional<std::string>& value) {
        setVariable(name_, value ? value->c_str() : nullptr);
    }

    const char* name_;
    std::optional<std::string> before_;
};

} // namespace TestSupport
