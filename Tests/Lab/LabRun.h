#pragma once
// Runs Lab/run with the built tool.

#include "ToolRun.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

namespace LabTests {

using namespace Integration;

/// The command line of Lab/run with `arguments`.
inline Names labCommand(const Names& arguments) {
    return joined({KORVA_LAB_RUN, "--korva", KORVA_TOOL}, arguments);
}

/// The same, with an `unshare` in front of the system's that refuses to go without `needed` among its flags.
inline Names labCommandWhereUnshareNeeds(const std::string& needed, const Names& arguments) {
    // A function that the shells of the lab inherit, in the place of the program.
    const std::string wrapper = "unshare() { case $1 in -*" + needed +
                                "*|-n) command unshare \"$@\";; *) return 1;; esac; };"
                                "export -f unshare; exec \"$@\"";
    return joined({"/bin/bash", "-c", wrapper, "bash"}, labCommand(arguments));
}

inline ProcessResult runLab(const Names& arguments) {
    return run(labCommand(arguments));
}

/// Runs Lab/run with `options`, as a shell reads them, and a shell's `script` as its command.
inline ProcessResult runScript(const std::string& options, const std::string& script) {
    return run(
        joined({"/bin/bash", "-c", "script=$0; exec \"$@\" " + options + " -- bash -c \"$script\"", script},
               labCommand({})));
}

/// The same with two networks and a set of cameras, a line each.
inline ProcessResult runAmong(const std::string& cameras, const std::string& script,
                              const std::string& options = "") {
    const TemporaryFolder folder;
    std::ofstream(folder.file("set")) << cameras;
    return runScript(options + " --networks 2 --set " + folder.file("set"), script);
}

/// Ends the program as skipped where there can be no lab.
struct NeedsNamespaces : testing::Environment {
    void SetUp() override {
        constexpr int notAllowed = 77;
        const ProcessResult result = runLab({"--cameras", "0", "true"});
        if (result.status != notAllowed)
            return;
        std::fputs(result.errors.c_str(), stderr);
        std::exit(notAllowed);
    }
};

inline const testing::Environment* const needsNamespaces =
    testing::AddGlobalTestEnvironment(new NeedsNamespaces); // GoogleTest's from here on

} // namespace LabTests
