#include "LabRun.h"

#include "ChildProcess.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <stdexcept>
#include <unistd.h>

namespace LabTests {

namespace {

constexpr int notAllowed = 77;

/// Ends the program as skipped where there can be no lab.
class NeedsNamespaces : public testing::Environment {
public:
    void SetUp() override {
        const LabResult result = runLab({"--cameras", "0", "true"});
        if (result.status != notAllowed)
            return;
        std::fputs(result.errors.c_str(), stderr);
        std::exit(notAllowed);
    }
};

const testing::Environment* const needsNamespaces =
    testing::AddGlobalTestEnvironment(new NeedsNamespaces); // GoogleTest's from here on

} // namespace

std::vector<std::string> labCommand(const std::vector<std::string>& arguments) {
    std::vector<std::string> command{KORVA_LAB_RUN, "--korva", KORVA_TOOL};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return command;
}

std::vector<std::string> labCommandWhereUnshareNeeds(const std::string& needed,
                                                     const std::vector<std::string>& arguments) {
    // A function that the shells of the lab inherit, in the place of the program.
    const std::string wrapper = "unshare() { case $1 in -*" + needed +
                                "*|-n) command unshare \"$@\";; *) return 1;; esac; };"
                                "export -f unshare; exec \"$@\"";
    std::vector<std::string> command{"/bin/bash", "-c", wrapper, "bash"};
    const auto lab = labCommand(arguments);
    command.insert(command.end(), lab.begin(), lab.end());
    return command;
}

LabResult run(const std::vector<std::string>& command) {
    Integration::ChildProcess process(command);
    LabResult result;
    result.status = process.wait();
    result.output = process.output();
    result.errors = process.errors();
    return result;
}

LabResult runLab(const std::vector<std::string>& arguments) {
    return run(labCommand(arguments));
}

LabResult runScript(std::vector<std::string> options, const std::string& script) {
    options.insert(options.end(), {"--", "bash", "-c", script});
    return runLab(options);
}

TemporaryFile::TemporaryFile(const std::string& text) {
    path_ = (std::filesystem::temp_directory_path() / "korva-lab-XXXXXX").string();
    const int descriptor = mkstemp(path_.data());
    if (descriptor < 0)
        throw std::runtime_error("no temporary file");
    close(descriptor);
    std::ofstream(path_) << text;
}

TemporaryFile::~TemporaryFile() {
    std::filesystem::remove(path_);
}

} // namespace LabTests
