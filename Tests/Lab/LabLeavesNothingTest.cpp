// Whatever ends the lab, nothing of it stays on the machine.

#include "LabRun.h"
#include "Support/Environment.h"

#include <chrono>
#include <csignal>
#include <memory>
#include <string>
#include <thread>
#include <unistd.h>

using namespace std::chrono_literals;
using namespace LabTests;

namespace {

/// What anybody on the machine could see of a lab: adapters, named namespaces, shared memory, mounts.
std::string machine() {
    return run({"/bin/sh", "-c", "ls -A /sys/class/net /run/netns /dev/shm 2>&1; cat /proc/self/mounts"})
        .output;
}

/// A lab that is up, and what the machine looked like before.
class LabLeavesNothing : public testing::Test {
protected:
    void start(const Names& command) {
        lab_ = std::make_unique<ChildProcess>(command);
        ASSERT_TRUE(lab_->waitForOutput("ready")) << lab_->errors();
        EXPECT_THAT(processes(), testing::HasSubstr("korva")) << "the test would see nothing";
    }

    void expectNothing() const {
        const auto deadline = std::chrono::steady_clock::now() + 5s;
        while (!processes().empty() && std::chrono::steady_clock::now() < deadline)
            std::this_thread::yield();
        EXPECT_EQ(processes(), "");
        EXPECT_EQ(machine(), before_);
    }

    std::unique_ptr<ChildProcess> lab_;

private:
    /// Those of the machine that were started with the mark in their environment, and by what name. Not told
    /// by their namespaces, whose numbers the kernel gives away again at once.
    std::string processes() const {
        return run({"/usr/bin/env", "-u", "KORVA_LAB_TEST", "/bin/sh", "-c",
                    "for each in $(grep -als '" + mark_ +
                        "' /proc/[0-9]*/environ); do echo $each $(cat ${each%environ}comm); done"})
            .output;
    }

    const std::string mark_ = "mark-" + std::to_string(getpid()) + "-of-this-test";
    const TestSupport::Variable variable_{"KORVA_LAB_TEST", mark_};
    const std::string before_ = machine();
};

/// A lab of two networks with a script as its command.
Names lab(const std::string& script) {
    return {"--networks", "2", "--cameras", "3", "--", "bash", "-c", script};
}

struct Ended {
    const char* name;
    Names lab;
    int signal; ///< 0 for none
};

const Names endless = lab("echo ready; sleep 1000 & sleep 1000");

const Ended endings[] = {
    {"Done", labCommand(lab("echo ready; sleep 1000 & sleep 0.3")), 0},
    {"Interrupted", labCommand(endless), SIGINT},
    {"AskedToEnd", labCommand(endless), SIGTERM},
    {"Killed", labCommand(endless), SIGKILL},
    {"KilledInAUserNamespace", labCommandWhereUnshareNeeds("U", endless), SIGKILL},
    {"AskedToEndWhileItsCommandDoesNotListen",
     labCommand(lab("trap '' INT TERM HUP; echo ready; while :; do sleep 1; done")), SIGTERM},
};

class LabThatIs : public LabLeavesNothing, public testing::WithParamInterface<Ended> {};

} // namespace

TEST_P(LabThatIs, LeavesNothing) {
    start(GetParam().lab);
    const int signal = GetParam().signal;
    EXPECT_EQ(lab_->endBy(signal).status, signal == 0 ? 0 : 128 + signal);
    expectNothing();
}

INSTANTIATE_TEST_SUITE_P(Lab, LabThatIs, testing::ValuesIn(endings),
                         [](const auto& row) { return row.param.name; });

TEST_F(LabLeavesNothing, WhenTheTerminalInterruptsAllOfIt) {
    start(joined({"/bin/bash", "-c", "set -m; \"$@\" & echo group $! end; wait $!", "bash"},
                 labCommand(lab("heard=; trap 'echo heard; heard=1' INT; echo ready; until [ $heard ]; do "
                                "sleep 0.05; done; echo ended"))));
    const std::string& output = lab_->output();
    const int group = std::stoi(output.substr(output.find("group ") + 6));
    EXPECT_EQ(kill(-group, SIGINT), 0);
    // The command had its moment.
    EXPECT_THAT(lab_->result(), ended(130, testing::EndsWith("heard\nended\n"), testing::_));
    expectNothing();
}

TEST_F(LabLeavesNothing, WhenACameraFails) {
    EXPECT_EQ(runAmong("1\n1 ! false\n", "true").status, 1);
    expectNothing();
}
