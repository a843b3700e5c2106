#include "CommandLine/CommandLine.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace CommandLine {

namespace {

/// What a use refuses becomes the library's error, which names the option.
template <typename Use, typename Value>
void used(const std::string& names, const Use& use, const Value& value) {
    try {
        use(value);
    } catch (const WrongUsage& wrong) {
        throw CLI::ValidationError(names, wrong.what());
    }
}

/// Of a word that is no command the library by itself says only that a command is missing.
std::string complaintOf(const CLI::App& app, const CLI::ParseError& error) {
    const std::vector<std::string> unknown = app.remaining();
    const bool missesCommand = error.get_exit_code() == static_cast<int>(CLI::ExitCodes::RequiredError);
    const bool missesOnlyThat = missesCommand && app.get_subcommands().empty() && !unknown.empty();
    return missesOnlyThat ? CLI::ExtrasError(app.get_name(), unknown).what() : error.what();
}

} // namespace

Option Option::placeholder(const std::string& text) const {
    option_->option_text(text);
    return *this;
}

Option Option::group(const std::string& name) const {
    option_->group(name);
    return *this;
}

Option Option::required() const {
    option_->required();
    return *this;
}

Option Option::needs(Option other) const {
    option_->needs(other.option_);
    return *this;
}

Option Option::excludes(Option other) const {
    option_->excludes(other.option_);
    return *this;
}

Option Option::check(const Check& complaint) const {
    option_->check(complaint);
    return *this;
}

template <typename Number>
Option Option::range(Number least, Number most) const {
    option_->check(CLI::Range(least, most));
    return *this;
}
template Option Option::range(int least, int most) const;
template Option Option::range(std::size_t least, std::size_t most) const;
template Option Option::range(double least, double most) const;

Option Option::anyCaseOf(const std::vector<std::string>& words) const {
    option_->transform(CLI::IsMember(words, CLI::ignore_case));
    return *this;
}

Option Option::oneOf(const std::vector<std::string>& words) const {
    option_->check(CLI::IsMember(words));
    return *this;
}

Option Option::existingFile() const {
    option_->check(CLI::ExistingFile);
    return *this;
}

Option Option::ipv4() const {
    option_->check(CLI::ValidIPV4);
    return *this;
}

template <typename Value>
Option Options::add(const std::string& names, Value& value, const std::string& help) const {
    return Option(*app_->add_option(names, value, help));
}
template Option Options::add(const std::string&, std::string&, const std::string&) const;
template Option Options::add(const std::string&, int&, const std::string&) const;
template Option Options::add(const std::string&, double&, const std::string&) const;
template Option Options::add(const std::string&, std::size_t&, const std::string&) const;
template Option Options::add(const std::string&, std::optional<unsigned>&, const std::string&) const;
template Option Options::add(const std::string&, std::optional<std::string>&, const std::string&) const;

template <typename Value>
Option Options::addUse(const std::string& names, const std::function<void(const Value&)>& use,
                       const std::string& help) const {
    return Option(*app_->add_option_function<Value>(
        names, [names, use](const Value& value) { used(names, use, value); }, help));
}
template Option Options::addUse(const std::string&, const std::function<void(const std::string&)>&,
                                const std::string&) const;
template Option Options::addUse(const std::string&, const std::function<void(const double&)>&,
                                const std::string&) const;
template Option Options::addUse(const std::string&, const std::function<void(const std::uint16_t&)>&,
                                const std::string&) const;
template Option Options::addUse(const std::string&, const std::function<void(const std::uint64_t&)>&,
                                const std::string&) const;

Option Options::addEach(const std::string& names, const std::function<void(const std::string&)>& use,
                        const std::string& help) const {
    CLI::Option* const option = app_->add_option_function<std::vector<std::string>>(
        names,
        [names, use](const std::vector<std::string>& values) {
            for (const std::string& value : values)
                used(names, use, value);
        },
        help);
    option->allow_extra_args(false);
    return Option(*option);
}

Option Options::addFlag(const std::string& names, bool& value, const std::string& help) const {
    return Option(*app_->add_flag(names, value, help));
}

Option Options::addFlag(const std::string& names, const std::function<void()>& use,
                        const std::string& help) const {
    return Option(*app_->add_flag_callback(names, use, help));
}

Option Options::addHelp(const std::string& names, const std::string& help) const {
    return Option(*app_->set_help_flag(names, help));
}

Option Options::addVersion(const std::string& names, const std::string& version,
                           const std::string& help) const {
    return Option(*app_->set_version_flag(names, version, help));
}

Options Options::addOneOf(const std::string& name, const std::string& help) const {
    CLI::App* const group = app_->add_option_group(name, help);
    group->require_option(1);
    return Options(*group);
}

void Options::footer(const std::string& text) const {
    app_->footer(text);
}

CommandLine::CommandLine(const std::string& description, const std::string& name)
    : app_(std::make_unique<CLI::App>(description, name)) {}

CommandLine::~CommandLine() = default;

Options CommandLine::options() const {
    return Options(*app_);
}

Options CommandLine::addCommand(const std::string& name, const std::string& help) const {
    app_->require_subcommand(1);
    return Options(*app_->add_subcommand(name, help));
}

std::optional<CommandLine::Reply> CommandLine::read(int argc, const char* const* argv) const {
    try {
        app_->parse(argc, argv);
        return std::nullopt;
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() != 0)
            return Reply{"", complaintOf(*app_, error), "Run with --help for more information."};
        std::ostringstream help;
        std::ostringstream nothing;
        app_->exit(error, help, nothing);
        return Reply{help.str(), "", ""};
    }
}

void CommandLine::read(const std::vector<std::string>& words) const {
    try {
        app_->parse(std::vector<std::string>(words.rbegin(), words.rend())); // as the library wants them
    } catch (const CLI::ParseError& error) {
        throw WrongUsage(error.what());
    }
}

std::string CommandLine::command() const {
    const std::vector<CLI::App*> chosen = app_->get_subcommands();
    return chosen.empty() ? "" : chosen.front()->get_name();
}

std::string CommandLine::help() const {
    return app_->help();
}

} // namespace CommandLine
