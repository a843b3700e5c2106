#pragma once
// Networks of a test's own, made of the kernel's network namespaces. Nothing of them is seen outside the
// process, and they end with it.

#include <string>
#include <vector>

namespace TestSupport {

/// A network namespace: a machine of its own as far as the network goes, in the beginning with nothing but a
/// loopback that is down. Needs the right to make one (see NamespaceMain.cpp). What fails throws
/// std::runtime_error. One thread.
class NetworkNamespace {
public:
    /// Makes one and moves the calling thread into it.
    NetworkNamespace();
    NetworkNamespace(const NetworkNamespace&) = delete;
    NetworkNamespace& operator=(const NetworkNamespace&) = delete;
    ~NetworkNamespace();

    /// Moves the calling thread into it.
    void enter() const;

    /// Enters it, and runs shell commands there: "ip link add ...". "{other}" stands for what `ip` takes as
    /// the name of the namespace `other`.
    void run(std::string commands, const NetworkNamespace* other = nullptr) const;

    /// Waits, 5 s at most, for the kernel to have set going an adapter that is up: until then, up to a second
    /// after, what is sent over it is lost.
    void awaitLink(const std::string& adapter) const;

private:
    int descriptor_;
};

// The right to make them: a program that needs it runs itself again as the root of a user namespace, where
// even a plain user has it.

/// Whether this process was started by runAgainWithPrivateNetworks.
bool hasPrivateNetworks();

/// Whether this system lets its users make network namespaces. Asks by making one, which takes some
/// milliseconds.
bool privateNetworksAllowed();

/// Replaces the process by the same program in namespaces of its own. `arguments` are main's, without the
/// null. Returns, an exit status, only where that fails.
int runAgainWithPrivateNetworks(const std::vector<char*>& arguments);

} // namespace TestSupport
