#pragma once
// Commands, their options and what a command line makes of them. CLI11 does the work: a library of headers
// alone that takes long to compile, so that one source includes it and nobody else.

#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace CommandLine {

/// The command line is wrong; the message says in which way. What an option's `use` throws to refuse a value,
/// the message without the option's name then.
class WrongUsage : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Says what is wrong with an option's text; nothing wrong: an empty text.
using Check = std::function<std::string(const std::string&)>;

/// One option, while a command is put together. Copies are the same option.
class Option {
public:
    explicit Option(CLI::Option& option) : option_(&option) {}

    Option placeholder(const std::string& text) const; ///< for the value, in the help
    Option group(const std::string& name) const;       ///< under which the help lists it
    Option required() const;
    Option needs(Option other) const;
    Option excludes(Option other) const;

    Option check(const Check& complaint) const;
    /// A number from `least` to `most`, of the type that the option has.
    template <typename Number>
    Option range(Number least, Number most) const;
    /// One of the words, whose spelling here the value gets; capitals do not count.
    Option anyCaseOf(const std::vector<std::string>& words) const;
    Option oneOf(const std::vector<std::string>& words) const;
    Option existingFile() const;
    Option ipv4() const;

private:
    CLI::Option* option_;
};

/// The options of a command, or of all of them. What they fill or call outlives the reading.
class Options {
public:
    explicit Options(CLI::App& app) : app_(&app) {}

    /// An option with a value, by its names ("--output", "-h,--help") or, without hyphens, by its place. It
    /// is given once at most. Values are texts, numbers, and optional ones of these; a vector takes all
    /// texts.
    template <typename Value>
    Option add(const std::string& names, Value& value, const std::string& help) const;
    template <typename Value>
    Option addUse(const std::string& names, const std::function<void(const Value&)>& use,
                  const std::string& help) const;

    /// An option that may be repeated; each of its values is used, in order.
    Option addEach(const std::string& names, const std::function<void(const std::string&)>& use,
                   const std::string& help) const;

    Option addFlag(const std::string& names, bool& value, const std::string& help) const;
    Option addFlag(const std::string& names, const std::function<void()>& use, const std::string& help) const;

    Option addHelp(const std::string& names, const std::string& help) const;
    Option addVersion(const std::string& names, const std::string& version, const std::string& help) const;

    /// Options of which exactly one must be given.
    Options addOneOf(const std::string& name, const std::string& help) const;

    void footer(const std::string& text) const; ///< below the help

private:
    CLI::App* app_;
};

/// A program's command line.
class CommandLine {
public:
    explicit CommandLine(const std::string& description, const std::string& name = "");
    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;
    ~CommandLine();

    /// Those that are given before any command.
    Options options() const;

    /// From now on a command must be given.
    Options addCommand(const std::string& name, const std::string& help) const;

    /// What is to be said instead of going on.
    struct Reply {
        std::string help;      ///< or the version, if that was asked for; else empty
        std::string complaint; ///< why the usage is wrong, else empty: may hold any bytes of the command line
        std::string command;   ///< that was chosen; empty: none
        std::string unknown;   ///< the word that is no option, or no command where one is missing; else empty
    };

    /// Reads what main() was given. Nothing: the options are filled, go on.
    std::optional<Reply> read(int argc, const char* const* argv) const;

    /// Reads words, without the program's name. Throws WrongUsage.
    void read(const std::vector<std::string>& words) const;

    /// The command that was given; empty: none.
    std::string command() const;

    /// Every option and command that may be given, the options of the command that was given among them.
    std::vector<std::string> names() const;

    /// The whole help.
    std::string help() const;

private:
    bool isKnown(const std::string& option) const;

    std::unique_ptr<CLI::App> app_;
};

} // namespace CommandLine
