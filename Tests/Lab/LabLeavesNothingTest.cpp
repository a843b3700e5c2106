// Whatever ends the lab, nothing of it stays on the machine.

#include "ChildProcess.h"
#include "LabRun.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <iterator>
#include <memory>
#include <set>
#include <string>
#include <system_error>
#include <thread>
#include <unistd.h>

using namespace std::chrono_literals;
using Integration::ChildProcess;
using LabTests::labCommand;
using LabTests::TemporaryFile;

namespace fs = std::filesystem;

namespace {

using Names = std::set<std::string>;

Names namesIn(const fs::path& folder) {
    Names names;
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
    Names adapters = namesIn("/sys/class/net");
    Names namedNamespaces = namesIn("/run/netns");
    Names sharedMemory = namesIn("/dev/shm");
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
    static inline const std::vector<std::string> endless{
        "--networks", "2", "--cameras", "3", "--", "bash", "-c", "echo ready; sleep 1000 & sleep 1000"};

    LabLeavesNothing() { setenv(variable, mark_.c_str(), 1); }
    ~LabLeavesNothing() override { unsetenv(variable); }

    void start(const std::vector<std::string>& command) {
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

    static constexpr const char* variable = "KORVA_LAB_TEST";

    const std::string mark_ = "mark-" + std::to_string(getpid()) + "-of-this-test";
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

TEST_F(LabLeavesNothing, WhenItIsInterrupted) {
    start(labCommand(endless));
    lab_->signal(SIGINT);
    EXPECT_EQ(lab_->wait(), 130);
    expectNothing();
}

TEST_F(LabLeavesNothing, WhenItIsAskedToEnd) {
    start(labCommand(endless));
    lab_->signal(SIGTERM);
    EXPECT_EQ(lab_->wait(), 143);
    expectNothing();
}

TEST_F(LabLeavesNothing, WhenItIsKilled) {
    start(labCommand(endless));
    lab_->signal(SIGKILL);
    EXPECT_EQ(lab_->wait(), 137);
    expectNothing();
}

TEST_F(LabLeavesNothing, WhenItIsKilledInAUserNamespace) {
    start(LabTests::labCommandWhereUnshareNeeds("U", endless));
    lab_->signal(SIGKILL);
    EXPECT_EQ(lab_->wait(), 137);
    expectNothing();
}

TEST_F(LabLeavesNothing, WhenTheCommandDoesNotListen) {
    start(labCommand({"--", "bash", "-c", "trap '' INT TERM HUP; echo ready; while :; do sleep 1; done"}));
    lab_->signal(SIGTERM);
    EXPECT_EQ(lab_->wait(), 143);
    expectNothing();
}

TEST_F(LabLeavesNothing, WhenTheTerminalInterruptsAllOfIt) {
    auto command =
        std::vector<std::string>{"/bin/bash", "-c", "set -m; \"$@\" & echo group $! end; wait $!", "bash"};
    const auto lab = labCommand({"--", "bash", "-c",
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
    const TemporaryFile set("1\n1 ! false\n");
    EXPECT_EQ(LabTests::runLab({"--set", set.path(), "true"}).status, 1);
    expectNothing();
}
