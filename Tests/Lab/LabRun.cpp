#include "LabRun.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>

namespace LabTests {

namespace {

constexpr int notAllowed = 77;

/// Ends the program as skipped where there can be no lab.
class NeedsNamespaces : public testing::Environment {
public:
    void SetUp() override {
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
    Names command{KORVA_LAB_RUN, "--korva", KORVA_TOOL};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return command;
}

Names labCommandWhereUnshareNeeds(const std::string& needed, const Names& arguments) {
    // A function that the shells of the lab inherit, in the place of the program.
    const std::string wrapper = "unshare() { case $1 in -*" + needed +
                                "*|-n) command unshare \"$@\";; *) return 1;; esac; };"
                                "export -f unshare; exec \"$@\"";
    Names command{"/bin/bash", "-c", wrapper, "bash"};
    const Names lab = labCommand(arguments);
    command.insert(command.end(), lab.begin(), lab.end());
    return command;
}

ProcessResult runLab(const Names& arguments) {
    return Integration::run(labCommand(arguments));
}

ProcessResult runScript(Names options, const std::string& script) {
    options.insert(options.end(), {"--", "bash", "-c", script});
    return runLab(options);
}

ProcessResult runAmong(const std::string& cameras, const std::string& script, Names options) {
    const Integration::TemporaryFolder folder;
    std::ofstream(folder.file("set")) << cameras;
    options.insert(options.end(), {"--networks", "2", "--set", folder.file("set")});
    return runScript(options, script);
}

} // namespace LabTests
