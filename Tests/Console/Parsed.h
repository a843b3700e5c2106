#pragma once
// The options of a command line, parsed as a command does it.

#include "Outcome.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

namespace ConsoleTests {

/// What `add` makes of the words of a line, '' for an empty word. Throws CLI::ParseError.
template <typename Options>
Options parsed(void (*add)(CLI::App&, Options&), const std::string& line) {
    std::vector<std::string> words;
    std::istringstream stream(line);
    for (std::string word; stream >> word;)
        words.push_back(word == "''" ? "" : word);
    std::reverse(words.begin(), words.end());
    CLI::App app;
    Options options;
    add(app, options);
    app.parse(words);
    return options;
}

/// The complaint about a line; "no error" if it is taken.
template <typename Options>
std::string complaintOf(void (*add)(CLI::App&, Options&), const std::string& line) {
    return messageOf<CLI::ParseError>([&] { parsed(add, line); });
}

/// Each of these lines is refused.
template <typename Options>
void expectRefusal(void (*add)(CLI::App&, Options&), const std::vector<std::string>& lines) {
    for (const std::string& line : lines)
        EXPECT_THROW(parsed(add, line), CLI::ParseError) << line;
}

} // namespace ConsoleTests
