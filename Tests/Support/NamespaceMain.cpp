// main() of the test programs that make networks of their own. Exit code 77 where the system does not allow
// that.

#include "Support/NetworkNamespace.h"
#include "Support/TestLocale.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <vector>

namespace {

constexpr int notAllowed = 77;

} // namespace

int main(int argc, char** argv) {
    const std::vector<char*> arguments(argv, argv + argc); // before GoogleTest takes its own away
    if (!TestSupport::setTestLocale())
        return 2;
    ::testing::InitGoogleTest(&argc, argv);
    const bool onlyLists = GTEST_FLAG_GET(list_tests);
    if (onlyLists || TestSupport::hasPrivateNetworks())
        return RUN_ALL_TESTS();
    if (TestSupport::privateNetworksAllowed())
        return TestSupport::runAgainWithPrivateNetworks(arguments);
    std::fputs("This system does not let its users make network namespaces.\n", stderr);
    return notAllowed;
}
