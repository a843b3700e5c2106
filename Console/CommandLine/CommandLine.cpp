#include "CommandLine/CommandLine.h"

#include "Platform/Path.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <locale>
#include <sstream>
#include <string_view>
#include <system_error>
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

bool isOptionLike(const std::string& word) {
    return word.starts_with("-");
}

/// The first word that nobody knows: where there is a command, the first that looks like an option, and any
/// other only if that is all there is to complain of.
std::string unknownWord(const CLI::App& app, bool isAllThatIsWrong) {
    const std::vector<std::string> words = app.remaining(true);
    if (words.empty() || app.get_subcommands().empty())
        return words.empty() ? "" : words.front();
    const auto option = std::find_if(words.begin(), words.end(), isOptionLike);
    if (option != words.end())
        return *option;
    return isAllThatIsWrong ? words.front() : "";
}

/// "a, b or c".
std::string listed(const std::vector<std::string>& names, const std::string& last) {
    std::string list;
    for (std::size_t at = 0; at < names.size(); ++at)
        list += (at == 0 ? "" : at + 1 == names.size() ? " " + last + " " : ", ") + names[at];
    return list;
}

std::vector<const CLI::App*> groupsOf(const CLI::App& app) {
    return app.get_subcommands([](const CLI::App* part) { return part->get_name().empty(); });
}

/// Of options of which one must be given, and of those that must be given.
std::string whatIsMissing(const CLI::App& app) {
    for (const CLI::App* const group : groupsOf(app)) {
        std::vector<std::string> all;
        std::vector<std::string> given;
        for (const CLI::Option* const option : group->get_options()) {
            if (option == group->get_help_ptr()) // each group has one
                continue;
            all.push_back(option->get_name());
            if (option->count() > 0)
                given.push_back(option->get_name());
        }
        if (given.empty() && group->get_require_option_min() > 0)
            return "one of " + listed(all, "and") + " is missing";
        if (given.size() > 1)
            return listed(given, "and") + " do not go together";
    }
    for (const CLI::Option* const option : app.get_options())
        if (option->get_required() && option->count() == 0)
            return option->get_name() + " is missing";
    return "";
}

/// `text` with one part replaced by another.
std::string withReplaced(std::string text, std::string_view part, const std::string& other) {
    const std::size_t at = text.find(part);
    return at == std::string::npos ? text : text.replace(at, part.size(), other);
}

/// Why the number of an option's values is not what it should be.
std::string wrongNumber(const CLI::App& app, const std::string& said) {
    const std::string name = said.substr(0, said.find_first_of(": "));
    if (said.find("flag override") != std::string::npos)
        return "--" + name + " takes no value";
    if (said.find(": At Most ") != std::string::npos)
        return name + " is given more than once";
    const CLI::Option* const option = app.get_option_no_throw(name);
    return name + ": its value is missing" + (option == nullptr ? "" : ": " + option->get_option_text());
}

/// What is wrong, in the tool's words and not the library's.
std::string complaintOf(const CLI::ParseError& error, const CLI::App& whole) {
    const std::vector<CLI::App*> chosen = whole.get_subcommands();
    const CLI::App& app = chosen.empty() ? whole : *chosen.front();
    std::string said = error.what();
    if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr)
        return wrongNumber(app, said);
    if (dynamic_cast<const CLI::RequiresError*>(&error) != nullptr)
        return withReplaced(said, " requires ", " needs ");
    if (dynamic_cast<const CLI::ExcludesError*>(&error) != nullptr)
        return withReplaced(said, " excludes ", " does not go with ");
    if (dynamic_cast<const CLI::RequiredError*>(&error) == nullptr)
        return said;
    const std::string missing = whatIsMissing(app);
    return missing.empty() ? "a command is missing" : missing;
}

/// Of a word that nobody knows.
std::string complaintAbout(const std::string& word, bool hasCommand) {
    if (isOptionLike(word))
        return "there is no option \"" + word + "\"";
    return hasCommand ? "\"" + word + "\" is one word too many" : "there is no command \"" + word + "\"";
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

std::string noneOf(const std::vector<std::string>& words, const std::string& text) {
    return "\"" + text + "\" is none of " + listed(words, "and");
}

/// "9999", "0.5".
template <typename Number>
std::string plain(Number number) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text.precision(15);
    text << number;
    return text.str();
}

template <typename Value>
struct NumberIn {
    using Type = Value;
};
template <typename Value>
struct NumberIn<std::optional<Value>> {
    using Type = Value;
};

/// Refuses what is no number of that type, before the library does.
template <typename Value>
void checkNumber(CLI::Option& option) {
    using Number = typename NumberIn<Value>::Type;
    if constexpr (std::is_arithmetic_v<Number>)
        option.check([](const std::string& text) {
            Number number{};
            const bool isOne = CLI::detail::lexical_cast(text, number);
            using Limits = std::numeric_limits<Number>;
            if constexpr (std::is_integral_v<Number> && sizeof(Number) < sizeof(int))
                return isOne ? ""
                             : "\"" + text + "\" is not " + plain(Limits::min()) + " to " +
                                   plain(Limits::max());
            else
                return isOne ? ""
                             : "\"" + text + "\" is no " + (std::is_integral_v<Number> ? "whole " : "") +
                                   "number";
        });
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
    option_->check([least, most](const std::string& text) {
        Number number{};
        const bool isFit = CLI::detail::lexical_cast(text, number) && number >= least && number <= most;
        return isFit ? std::string() : "\"" + text + "\" is not " + plain(least) + " to " + plain(most);
    });
    return *this;
}
template Option Option::range(int least, int most) const;
template Option Option::range(std::size_t least, std::size_t most) const;
template Option Option::range(double least, double most) const;

Option Option::anyCaseOf(const std::vector<std::string>& words) const {
    option_->transform(CLI::Validator(
        [words](std::string& text) {
            const auto found = std::find_if(words.begin(), words.end(), [&text](const std::string& word) {
                return CLI::detail::to_lower(word) == CLI::detail::to_lower(text);
            });
            if (found == words.end())
                return noneOf(words, text);
            text = *found;
            return std::string();
        },
        ""));
    return *this;
}

Option Option::oneOf(const std::vector<std::string>& words) const {
    option_->check([words](const std::string& text) {
        const bool isOne = std::find(words.begin(), words.end(), text) != words.end();
        return isOne ? std::string() : noneOf(words, text);
    });
    return *this;
}

Option Option::existingFile() const {
    option_->check([](const std::string& text) {
        std::error_code ignored;
        const auto status = std::filesystem::status(Platform::pathFromUtf8(text), ignored);
        const bool isThere = std::filesystem::exists(status) && !std::filesystem::is_directory(status);
        return isThere ? std::string() : "there is no file \"" + text + "\"";
    });
    return *this;
}

Option Option::ipv4() const {
    option_->check([](const std::string& text) {
        const bool isOne = CLI::ValidIPV4(text).empty();
        return isOne ? std::string() : "\"" + text + "\" is no IPv4 address";
    });
    return *this;
}

template <typename Value>
Option Options::add(const std::string& names, Value& value, const std::string& help) const {
    CLI::Option* const option = app_->add_option(names, value, help);
    checkNumber<Value>(*option);
    return Option(*option);
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
    CLI::Option* const option = app_->add_option_function<Value>(
        names, [names, use](const Value& value) { used(names, use, value); }, help);
    checkNumber<Value>(*option);
    return Option(*option);
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
    return Option(*app_->add_flag(names, value, help)->disable_flag_override());
}

Option Options::addFlag(const std::string& names, const std::function<void()>& use,
                        const std::string& help) const {
    return Option(*app_->add_flag_callback(names, use, help)->disable_flag_override());
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
        const bool isAllThatIsWrong = dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr;
        const std::string unknown = unknownWord(*app_, isAllThatIsWrong);
        // The library may say only what is missing then.
        if (unknown.empty())
            return Reply{"", complaintOf(error, *app_), command(), ""};
        if (isOptionLike(unknown) && !command().empty() && isKnown(unknown))
            return Reply{"",
                         "\"" + unknown + "\" stands before its command; try: " + app_->get_name() + " " +
                             command() + " " + unknown,
                         command(), ""};
        return Reply{"", complaintAbout(unknown, !command().empty()), command(), unknown};
    }
}

bool CommandLine::isKnown(const std::string& option) const {
    const std::vector<std::string> known = names();
    return std::find(known.begin(), known.end(), option.substr(0, option.find('='))) != known.end();
}

void CommandLine::read(const std::vector<std::string>& words) const {
    try {
        app_->parse(std::vector<std::string>(words.rbegin(), words.rend())); // as the library wants them
    } catch (const CLI::ParseError& error) {
        const bool isUnknown = dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr;
        throw WrongUsage(isUnknown ? complaintAbout(app_->remaining(true).front(), true)
                                   : complaintOf(error, *app_));
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
