#include "LabRun.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>

namespace LabTests {

namespace {

/// Ends the program as skipped where there can be no lab.
class NeedsNamespaces : public testing::Environment {
public:
    void SetUp() override {
        constexpr int notAllowed = 77;
        const ProcessResult result = runLab({"--cameras", "0", "true"});
        if (result.status != notAllowed)
            return;
        std::fputs(result.errors.c_str(), stderr);
        std::exit(notAllowed);
    }
};

const testing::Environment* const needsNamespaces =
    testing::AddGlobalTestEnvironment(new NeedsNamespaces); // GoogleTest's from here on

} // namespace

Names labCommand(const Names& arguments) {
    return joined({KORVA_LAB_RUN, "--korva", KORVA_TOOL}, arguments);
}

Names labCommandWhereUnshareNeeds(const std::string& needed, const Names& arguments) {
    // A function that the shells of the lab inherit, in the place of the program.
    const std::string wrapper = "unshare() { case $1 in -*" + needed +
                                "*|-n) command unshare \"$@\";; *) return 1;; esac; };"
                                "export -f unshare; exec \"$@\"";
    return joined({"/bin/bash", "-c", wrapper, "bash"}, labCommand(arguments));
}

ProcessResult runLab(const Names& arguments) {
    return run(labCommand(arguments));
}

ProcessResult runScript(const std::string& options, const std::string& script) {
    return run(
        joined({"/bin/bash", "-c", "script=$0; exec \"$@\" " + options + " -- bash -c \"$script\"", script},
               labCommand({})));
}

ProcessResult runAmong(const std::string& cameras, const std::string& script, const std::string& options) {
    const TemporaryFolder folder;
    std::ofstream(folder.file("set")) << cameras;
    return runScript(options + " --networks 2 --set " + folder.file("set"), script);
}

} // namespace LabTests
