// The plug-in at work for minutes or hours, while its cameras and their network misbehave. See usage.

#include "Run.h"

#include "Support/NetworkNamespace.h"

#include <CLI/CLI.hpp>

#include <clocale>
#include <cstdio>
#include <exception>
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

} // namespace

int main(int argc, char** argv) {
    const std::vector<char*> arguments(argv, argv + argc);
    Soak::Options options{.plugin = KORVA_PLUGIN, .judgeMemory = !sanitized};
    CLI::App app;
    app.set_help_flag();
    app.add_option("--minutes", options.minutes)->check(CLI::PositiveNumber);
    app.add_option("--seed", options.seed);
    app.add_option("--plugin", options.plugin);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError&) {
        std::fputs(usage, stderr);
        return 2;
    }
    options.ownNetworks = TestSupport::hasPrivateNetworks();
    if (!options.ownNetworks && TestSupport::privateNetworksAllowed())
        return TestSupport::runAgainWithPrivateNetworks(arguments);
    std::setlocale(LC_ALL, "C.UTF-8");
    Soak::Holding::prepare();
    try {
        return Soak::Run(options).toItsEnd() ? 0 : 1;
    } catch (const std::exception& failure) {
        std::printf("The run broke off: %s\nverdict: FAILED\n", failure.what());
        return 1;
    }
}
