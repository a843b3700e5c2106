#pragma once
// Networks of a test's own, made of the kernel's network namespaces. Nothing of them is seen outside the
// process, and they end with it.

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sched.h>
#include <stdexcept>
#include <string>
#include <unistd.h>
#include <vector>

namespace TestSupport {

/// A network namespace: a machine of its own as far as the network goes, in the beginning with nothing but a
/// loopback that is down. Needs the right to make one (see NamespaceMain.cpp). What fails throws
/// std::runtime_error. One thread.
class NetworkNamespace {
public:
    /// Makes one and moves the calling thread into it.
    NetworkNamespace() {
        require(unshare(CLONE_NEWNET) == 0, "make one");
        // Open in the commands as well: it is how they name the namespace.
        descriptor_ = open("/proc/thread-self/ns/net", O_RDONLY); // NOLINT(android-cloexec-open)
        require(descriptor_ >= 0, "open it");
    }
    NetworkNamespace(const NetworkNamespace&) = delete;
    NetworkNamespace& operator=(const NetworkNamespace&) = delete;
    ~NetworkNamespace() { close(descriptor_); }

    /// Moves the calling thread into it.
    void enter() const { require(setns(descriptor_, CLONE_NEWNET) == 0, "enter it"); }

    /// Enters it, and runs shell commands there: "ip link add ...". "{other}" stands for what `ip` takes as
    /// the name of the namespace `other`.
    void run(std::string commands, const NetworkNamespace* other = nullptr) const {
        enter();
        const std::string placeholder = "{other}";
        const auto at = commands.find(placeholder);
        if (at != std::string::npos && other != nullptr)
            commands.replace(at, placeholder.size(), "/proc/self/fd/" + std::to_string(other->descriptor_));
        // NOLINTNEXTLINE(cert-env33-c): the test's own words
        require(std::system(("set -e; " + commands).c_str()) == 0, commands);
    }

    /// Waits, 5 s at most, for the kernel to have set going an adapter that is up: until then, up to a second
    /// after, what is sent over it is lost.
    void awaitLink(const std::string& adapter) const {
        run("for try in $(seq 500); do ip link show " + adapter +
            " | grep -q 'state UP' && exit 0; sleep 0.01; done; exit 1");
    }

private:
    static void require(bool isDone, const std::string& step) {
        if (!isDone)
            throw std::runtime_error("network namespace: failed to " + step);
    }

    int descriptor_ = -1;
};

// The right to make them: a program that needs it runs itself again as the root of a user namespace, where
// even a plain user has it.

inline constexpr const char* namespaceMarker = "KORVA_TEST_IN_NAMESPACE";

/// Whether this process was started by runAgainWithPrivateNetworks.
inline bool hasPrivateNetworks() {
    return std::getenv(namespaceMarker) != nullptr; // NOLINT(concurrency-mt-unsafe): before any thread
}

/// Whether this system lets its users make network namespaces. Asks by making one, which takes some
/// milliseconds.
inline bool privateNetworksAllowed() {
    return std::system("unshare -Urn true 2>/dev/null") == 0; // NOLINT(cert-env33-c): fixed words
}

/// Replaces the process by the same program in namespaces of its own. `arguments` are main's, without the
/// null. Returns, an exit status, only where that fails.
inline int runAgainWithPrivateNetworks(const std::vector<char*>& arguments) {
    setenv(namespaceMarker, "1", 1);
    std::vector<const char*> command{"unshare", "-Urn"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    command.push_back(nullptr);
    execvp("unshare", const_cast<char* const*>(command.data()));
    std::perror("unshare");
    return 1;
}

} // namespace TestSupport
