// Whatever ends the lab, nothing of it stays on the machine.

#include "ChildProcess.h"
#include "LabRun.h"

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <system_error>
#include <thread>

using namespace std::chrono_literals;
using Integration::ChildProcess;
using LabTests::labCommand;
using LabTests::TemporaryFile;

namespace fs = std::filesystem;

namespace {

using Names = std::set<std::string>;

/// Tells the lab's namespaces, as /proc names them, and that the command runs.
const std::string tellNamespaces =
    "stat -Lc 'net:[%i]' $KORVA_LAB/namespaces/*; readlink /proc/self/ns/{mnt,pid};"
    "echo ready;";

Names namesIn(const fs::path& folder) {
    Names names;
    std::error_code none;
    for (const auto& entry : fs::directory_iterator(folder, none))
        names.insert(entry.path().filename());
    return names;
}

std::string contentOf(const char* path) {
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

Names namespacesToldIn(const std::string& output) {
    std::istringstream words(output);
    Names told{std::istream_iterator<std::string>(words), {}};
    told.erase("ready");
    return told;
}

/// The processes of the machine that are in one of the namespaces.
std::string processesIn(const Names& namespaces) {
    std::string found;
    std::error_code gone;
    for (const auto& process : fs::directory_iterator("/proc", gone))
        for (const char* const kind : {"net", "mnt", "pid"}) {
            const fs::path space = fs::read_symlink(process.path() / "ns" / kind, gone);
            if (!gone && namespaces.contains(space.string()))
                found += process.path().filename().string() + " is in " + space.string() + "\n";
        }
    return found;
}

/// A lab that is up, and what the machine looked like before.
class LabLeavesNothing : public testing::Test {
protected:
    static inline const std::vector<std::string> endless{
        "--networks", "2", "--cameras", "3", "--", "bash", "-c", tellNamespaces + "sleep 1000 & sleep 1000"};

    void start(const std::vector<std::string>& command) {
        lab_ = std::make_unique<ChildProcess>(command);
        ASSERT_TRUE(lab_->waitForOutput("ready")) << lab_->errors();
        namespaces_ = namespacesToldIn(lab_->output());
        ASSERT_GE(namespaces_.size(), 5U);
        EXPECT_NE(processesIn(namespaces_), "") << "the test would see nothing";
    }

    void expectNothing() {
        const auto deadline = std::chrono::steady_clock::now() + 5s;
        while (!processesIn(namespaces_).empty() && std::chrono::steady_clock::now() < deadline)
            std::this_thread::yield();
        EXPECT_EQ(processesIn(namespaces_), "");
        EXPECT_EQ(Machine(), before_);
    }

    Machine before_;
    std::unique_ptr<ChildProcess> lab_;
    Names namespaces_;
};

} // namespace

TEST_F(LabLeavesNothing, WhenTheCommandEnds) {
    start(labCommand({"--networks", "2", "--cameras", "3", "--", "bash", "-c",
                      tellNamespaces + "sleep 1000 & sleep 0.3"}));
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
    start(labCommand(
        {"--", "bash", "-c", "trap '' INT TERM HUP;" + tellNamespaces + "while :; do sleep 1; done"}));
    lab_->signal(SIGTERM);
    EXPECT_EQ(lab_->wait(), 143);
    expectNothing();
}

TEST_F(LabLeavesNothing, WhenTheTerminalInterruptsAllOfIt) {
    auto command =
        std::vector<std::string>{"/bin/bash", "-c", "set -m; \"$@\" & echo group $! end; wait $!", "bash"};
    const auto lab =
        labCommand({"--", "bash", "-c", tellNamespaces + "trap 'echo heard' INT; sleep 1000; echo ended"});
    command.insert(command.end(), lab.begin(), lab.end());
    start(command);
    const std::string& output = lab_->output();
    const int group = std::stoi(output.substr(output.find("group ") + 6));
    EXPECT_EQ(kill(-group, SIGINT), 0);
    EXPECT_EQ(lab_->wait(), 130);
    EXPECT_THAT(lab_->output(), testing::EndsWith("heard\nended\n")); // the command had its moment
    namespaces_ = namespacesToldIn(output.substr(output.find("net:")));
    expectNothing();
}

TEST_F(LabLeavesNothing, WhenACameraFails) {
    const TemporaryFile set("1\n1 ! false\n");
    EXPECT_EQ(LabTests::runLab({"--set", set.path(), "true"}).status, 1);
    EXPECT_EQ(Machine(), before_);
}
