#include "CommandLine/CommandLine.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <type_traits>

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

/// The first word that nobody knows, where a command is missing; else the first that looks like an option.
std::string unknownWord(const CLI::App& app) {
    const std::vector<std::string> words = app.remaining(true);
    if (words.empty() || app.get_subcommands().empty())
        return words.empty() ? "" : words.front();
    const auto option = std::find_if(words.begin(), words.end(),
                                     [](const std::string& word) { return word.starts_with("-"); });
    return option == words.end() ? "" : *option;
}

void addNamesOf(const CLI::App& app, std::vector<std::string>& names) {
    for (const CLI::Option* const option : app.get_options())
        for (const std::string& name : option->get_lnames())
            names.push_back("--" + name);
    for (const CLI::App* const part : app.get_subcommands([](const CLI::App*) { return true; })) {
        if (!part->get_name().empty())
            names.push_back(part->get_name());
        if (part->get_name().empty() || part->parsed()) // one without a name is a group of options
            addNamesOf(*part, names);
    }
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
    if constexpr (std::is_floating_point_v<Number>)
        option_->check([](const std::string& text) {
            return std::isnan(std::strtod(text.c_str(), nullptr)) ? "\"" + text + "\" is not a number" : "";
        });
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
template Option Options::add(const std::string&, std::vector<std::string>&, const std::string&) const;

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
        std::ostringstream help;
        std::ostringstream wrong;
        if (app_->exit(error, help, wrong) == 0)
            return Reply{help.str(), "", command(), ""};
        const std::string unknown = unknownWord(*app_);
        // The library may say only what is missing then.
        return Reply{"", unknown.empty() ? error.what() : CLI::ExtrasError({unknown}).what(), command(),
                     unknown};
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

std::vector<std::string> CommandLine::names() const {
    std::vector<std::string> names;
    addNamesOf(*app_, names);
    return names;
}

std::string CommandLine::help() const {
    return app_->help();
}

} // namespace CommandLine
