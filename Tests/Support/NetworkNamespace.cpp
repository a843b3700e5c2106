#include "Support/NetworkNamespace.h"

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sched.h>
#include <stdexcept>
#include <unistd.h>

namespace TestSupport {

namespace {

constexpr const char* marker = "KORVA_TEST_IN_NAMESPACE";

} // namespace

NetworkNamespace::NetworkNamespace() {
    if (unshare(CLONE_NEWNET) != 0)
        throw std::runtime_error("no network namespace");
    // Open in the commands as well: it is how they name the namespace.
    descriptor_ = open("/proc/thread-self/ns/net", O_RDONLY); // NOLINT(android-cloexec-open)
    if (descriptor_ < 0)
        throw std::runtime_error("no handle of the network namespace");
}

NetworkNamespace::~NetworkNamespace() {
    close(descriptor_);
}

void NetworkNamespace::enter() const {
    if (setns(descriptor_, CLONE_NEWNET) != 0)
        throw std::runtime_error("cannot enter the network namespace");
}

void NetworkNamespace::run(std::string commands, const NetworkNamespace* other) const {
    enter();
    const std::string placeholder = "{other}";
    const auto at = commands.find(placeholder);
    if (at != std::string::npos && other != nullptr)
        commands.replace(at, placeholder.size(), "/proc/self/fd/" + std::to_string(other->descriptor_));
    if (std::system(("set -e; " + commands).c_str()) != 0) // NOLINT(cert-env33-c): the test's own words
        throw std::runtime_error("failed: " + commands);
}

void NetworkNamespace::awaitLink(const std::string& adapter) const {
    run("for try in $(seq 500); do ip link show " + adapter +
        " | grep -q 'state UP' && exit 0; sleep 0.01; done; exit 1");
}

bool hasPrivateNetworks() {
    return std::getenv(marker) != nullptr; // NOLINT(concurrency-mt-unsafe): before any thread
}

bool privateNetworksAllowed() {
    return std::system("unshare -Urn true 2>/dev/null") == 0; // NOLINT(cert-env33-c): fixed words
}

int runAgainWithPrivateNetworks(const std::vector<char*>& arguments) {
    setenv(marker, "1", 1);
    std::vector<const char*> command{"unshare", "-Urn"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    command.push_back(nullptr);
    execvp("unshare", const_cast<char* const*>(command.data()));
    std::perror("unshare");
    return 1;
}

} // namespace TestSupport
