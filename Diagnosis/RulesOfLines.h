#pragma once
// The tables of what the lines of the plug-in, and of the transport below it, mean.

#include "Facts.h"
#include "Verdict.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace Diagnosis {

/// An attempt with its texts.
struct Tried {
    const Attempt& attempt;
    const Camera& camera;
    const std::vector<std::string>& texts;
};

struct LineRule {
    const char* code;
    std::vector<std::string> signs; ///< what a line contains, any of them
    std::function<std::string(const Tried&)> text;
    std::string remedy;
    bool (*holds)(const Tried&) = nullptr; ///< what else must be so; null: nothing
    Severity severity = Severity::failure;
};

/// Those that say why an attempt could not be made, before those on what it came to.
const std::vector<LineRule>& rulesBeforeConnecting();

// The others, in the order in which they are asked.
const std::vector<LineRule>& rulesOfIdentification();
const std::vector<LineRule>& rulesOfPictures();
const std::vector<LineRule>& rulesOfAnswers();

/// The text that contains `sign`; null if none does.
const std::string* textWith(const std::vector<std::string>& texts, std::string_view sign);

/// What follows `sign`; empty if there is no such text.
std::string behind(const std::vector<std::string>& texts, std::string_view sign);

/// What follows `sign` at the beginning of a line of any level; nothing if there is no such line.
std::optional<std::string> toldBehind(const Attempt& attempt, std::string_view sign);

/// What the transport calls it, on every system: the words of POSIX systems.
std::string transportText(std::errc code);

} // namespace Diagnosis
