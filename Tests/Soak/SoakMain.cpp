// The plug-in at work for minutes or hours, while its cameras and their network misbehave. See usage.

#include "Run.h"

#include "Support/PrivateNetworks.h"

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr const char* usage =
    "usage: Soak [--minutes N] [--seed S] [--plugin FILE]\n"
    "Plays captures, faults, broken connections, searches and rebuilds for N minutes (1 unless given; 0.5 "
    "and\n"
    "the like will do), drawn from seed S (1 unless given). Exit status: 0 passed, 1 not, 2 wrong usage.\n";

#ifdef KORVA_SANITIZED
constexpr bool sanitized = true;
#else
constexpr bool sanitized = false;
#endif

std::optional<double> numberOf(const char* text) {
    char* end = nullptr;
    const double number = std::strtod(text, &end);
    if (end == text || *end != '\0' || number < 0)
        return std::nullopt;
    return number;
}

std::optional<Soak::Options> optionsOf(const std::vector<char*>& arguments) {
    Soak::Options options;
    options.plugin = KORVA_PLUGIN;
    options.judgeMemory = !sanitized;
    for (std::size_t at = 1; at + 1 < arguments.size(); at += 2) {
        const std::string_view name = arguments[at];
        const auto number = numberOf(arguments[at + 1]);
        if (name == "--plugin")
            options.plugin = arguments[at + 1];
        else if (name == "--minutes" && number)
            options.minutes = *number;
        else if (name == "--seed" && number)
            options.seed = static_cast<std::uint64_t>(*number);
        else
            return std::nullopt;
    }
    if (arguments.size() % 2 == 0)
        return std::nullopt;
    return options;
}

} // namespace

int main(int argc, char** argv) {
    const std::vector<char*> arguments(argv, argv + argc);
    auto options = optionsOf(arguments);
    if (!options || options->minutes == 0) {
        std::fputs(usage, stderr);
        return 2;
    }
    options->ownNetworks = TestSupport::hasPrivateNetworks();
    if (!options->ownNetworks && TestSupport::privateNetworksAllowed())
        return TestSupport::runAgainWithPrivateNetworks(arguments);
    std::setlocale(LC_ALL, "C.UTF-8");
    Soak::Holding::prepare();
    try {
        return Soak::Run(*options).toItsEnd() ? 0 : 1;
    } catch (const std::exception& failure) {
        std::printf("The run broke off: %s\nverdict: FAILED\n", failure.what());
        return 1;
    }
}
