// main() of the test programs that make networks of their own: for the right to, they run themselves again as
// the root of a user namespace, where even a plain user has it. Exit code 77 where the system does not allow
// that.

#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr const char* marker = "KORVA_TEST_IN_NAMESPACE";
constexpr int notAllowed = 77;

bool namespacesAllowed() {
    return std::system("unshare -Urn true 2>/dev/null") == 0; // NOLINT(cert-env33-c): fixed words
}

int runInNamespace(const std::vector<char*>& arguments) {
    if (!namespacesAllowed()) {
        std::fputs("This system does not let its users make network namespaces.\n", stderr);
        return notAllowed;
    }
    setenv(marker, "1", 1);
    std::vector<const char*> command{"unshare", "-Urn"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    command.push_back(nullptr);
    execvp("unshare", const_cast<char* const*>(command.data()));
    std::perror("unshare");
    return 1;
}

} // namespace

int main(int argc, char** argv) {
    const std::vector<char*> arguments(argv, argv + argc); // before GoogleTest takes its own away
    ::testing::InitGoogleTest(&argc, argv);
    const bool onlyLists = GTEST_FLAG_GET(list_tests);
    if (!onlyLists && std::getenv(marker) == nullptr)
        return runInNamespace(arguments);
    return RUN_ALL_TESTS();
}
