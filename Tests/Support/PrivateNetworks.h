#pragma once
// The right to make networks of one's own: a program that needs it runs itself again as the root of a user
// namespace, where even a plain user has it.

#include <vector>

namespace TestSupport {

/// Whether this process was started by runAgainWithPrivateNetworks.
bool hasPrivateNetworks();

/// Whether this system lets its users make network namespaces. Asks by making one, which takes some
/// milliseconds.
bool privateNetworksAllowed();

/// Replaces the process by the same program in namespaces of its own. `arguments` are main's, without the
/// null. Returns, an exit status, only where that fails.
int runAgainWithPrivateNetworks(const std::vector<char*>& arguments);

} // namespace TestSupport
