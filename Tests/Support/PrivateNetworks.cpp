#include "Support/PrivateNetworks.h"

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace TestSupport {

namespace {

constexpr const char* marker = "KORVA_TEST_IN_NAMESPACE";

} // namespace

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
