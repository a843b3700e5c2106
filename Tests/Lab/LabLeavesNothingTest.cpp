// Whatever ends the lab, nothing of it stays on the machine.

#include "LabRun.h"
#include "Support/Environment.h"

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <set>
#include <string>
#include <system_error>
#include <thread>
#include <unistd.h>

using namespace std::chrono_literals;
using namespace LabTests;
using Integration::ChildProcess;

namespace fs = std::filesystem;

namespace {

std::set<std::string> namesIn(const fs::path& folder) {
    std::set<std::string> names;
    std::error_code none;
    for (const auto& entry : fs::directory_iterator(folder, none))
        names.insert(entry.path().filename());
    return names;
}

std::string contentOf(const fs::path& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// What anybody on the machine could see of a lab.
struct Machine {
    std::set<std::string> adapters = namesIn("/sys/class/net");
    std::set<std::string> namedNamespaces = namesIn("/run/netns");
    std::set<std::string> sharedMemory = namesIn("/dev/shm");
    std::string mounts = contentOf("/proc/self/mounts");

    bool operator==(const Machine&) const = default;
};

/// The processes of the machine that were started with `mark` in their environment, and by what name. Not
/// told by their namespaces, whose numbers the kernel gives away again at once.
std::string processesMarked(const std::string& mark) {
    std::string found;
    std::error_code gone;
    for (const auto& process : fs::directory_iterator("/proc", gone)) {
        const fs::path& folder = process.path();
        if (contentOf(folder / "environ").find(mark) != std::string::npos)
            found += folder.filename().string() + " " + contentOf(folder / "comm");
    }
    return found;
}

/// A lab that is up, and what the machine looked like before.
class LabLeavesNothing : public testing::Test {
protected:
    void start(const Names& command) {
        lab_ = std::make_unique<ChildProcess>(command);
        ASSERT_TRUE(lab_->waitForOutput("ready")) << lab_->errors();
        EXPECT_THAT(processesMarked(mark_), testing::HasSubstr("korva")) << "the test would see nothing";
    }

    void expectNothing() const {
        const auto deadline = std::chrono::steady_clock::now() + 5s;
        while (!processesMarked(mark_).empty() && std::chrono::steady_clock::now() < deadline)
            std::this_thread::yield();
        EXPECT_EQ(processesMarked(mark_), "");
        EXPECT_EQ(Machine(), before_);
    }

    const std::string mark_ = "mark-" + std::to_string(getpid()) + "-of-this-test";
    const TestSupport::Variable variable_{"KORVA_LAB_TEST", mark_};
    const Machine before_;
    std::unique_ptr<ChildProcess> lab_;
};

} // namespace

TEST_F(LabLeavesNothing, WhenTheCommandEnds) {
    start(labCommand(
        {"--networks", "2", "--cameras", "3", "--", "bash", "-c", "echo ready; sleep 1000 & sleep 0.3"}));
    EXPECT_EQ(lab_->wait(), 0);
    expectNothing();
}

namespace {

const Names endless{"--networks", "2",    "--cameras", "3",
                    "--",         "bash", "-c",        "echo ready; sleep 1000 & sleep 1000"};

struct Signalled {
    const char* name;
    int signal;
    Names lab;
};

const Signalled signalled[] = {
    {"Interrupted", SIGINT, labCommand(endless)},
    {"AskedToEnd", SIGTERM, labCommand(endless)},
    {"Killed", SIGKILL, labCommand(endless)},
    {"KilledInAUserNamespace", SIGKILL, labCommandWhereUnshareNeeds("U", endless)},
    {"AskedToEndWhileItsCommandDoesNotListen", SIGTERM,
     labCommand({"--", "bash", "-c", "trap '' INT TERM HUP; echo ready; while :; do sleep 1; done"})},
};

class LabThatIs : public LabLeavesNothing, public testing::WithParamInterface<Signalled> {};

} // namespace

TEST_P(LabThatIs, LeavesNothing) {
    start(GetParam().lab);
    lab_->signal(GetParam().signal);
    EXPECT_EQ(lab_->wait(), 128 + GetParam().signal);
    expectNothing();
}

INSTANTIATE_TEST_SUITE_P(Lab, LabThatIs, testing::ValuesIn(signalled),
                         [](const auto& row) { return row.param.name; });

TEST_F(LabLeavesNothing, WhenTheTerminalInterruptsAllOfIt) {
    Names command{"/bin/bash", "-c", "set -m; \"$@\" & echo group $! end; wait $!", "bash"};
    const Names lab = labCommand({"--", "bash", "-c",
                                  "heard=; trap 'echo heard; heard=1' INT; echo ready; until [ $heard ]; do "
                                  "sleep 0.05; done; echo ended"});
    command.insert(command.end(), lab.begin(), lab.end());
    start(command);
    const std::string& output = lab_->output();
    const int group = std::stoi(output.substr(output.find("group ") + 6));
    EXPECT_EQ(kill(-group, SIGINT), 0);
    EXPECT_EQ(lab_->wait(), 130);
    EXPECT_THAT(lab_->output(), testing::EndsWith("heard\nended\n")); // the command had its moment
    expectNothing();
}

TEST_F(LabLeavesNothing, WhenACameraFails) {
    EXPECT_EQ(runAmong("1\n1 ! false\n", "true").status, 1);
    expectNothing();
}
