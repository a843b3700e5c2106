#pragma once
// A global locale that changes how numbers look.

#include <locale>
#include <string>

namespace TestSupport {

/// From construction to destruction the global C++ locale sets every digit of a number apart, "1'0'0", so
/// that a number whose look follows it is seen. The C library's locale stays. One at a time; no other thread.
class DigitsApart {
public:
    DigitsApart()
        : former_(std::locale::global(
              std::locale(std::locale(std::locale(), new Punctuation<char>), new Punctuation<wchar_t>))) {}
    DigitsApart(const DigitsApart&) = delete;
    DigitsApart& operator=(const DigitsApart&) = delete;
    ~DigitsApart() {
        // A locale of a name would take the C library's along.
        std::locale::global(std::locale(former_, new std::numpunct<char>));
    }

private:
    template <class Character>
    struct Punctuation final : std::numpunct<Character> {
        Character do_thousands_sep() const override { return '\''; }
        std::string do_grouping() const override { return "\1"; }
    };

    std::locale former_;
};

} // namespace TestSupport
