#pragma once
// Variables of the environment, as a test wants them.

#include <optional>
#include <stdlib.h>
#include <string>

namespace TestSupport {

/// Sets a variable, or unsets it, and leaves it at its end as it was.
class Variable {
public:
    Variable(const char* name, const std::optional<std::string>& value) : name_(name) {
        if (const char* const text = getenv(name); text != nullptr)
            before_ = text;
        set(value);
    }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;
    ~Variable() { set(before_); }

private:
    void set(const std::optional<std::string>& value) {
        if (value)
            setenv(name_, value->c_str(), 1);
        else
            unsetenv(name_);
    }

    const char* name_;
    std::optional<std::string> before_;
};

} // namespace TestSupport
