#pragma once
// For programs all of whose cases need a lab.

#include "LabRun.h"

#include <cstdio>
#include <cstdlib>

namespace LabTests {

/// Ends the program as skipped where there can be no lab.
struct NeedsNamespaces : testing::Environment {
    void SetUp() override {
        constexpr int notAllowed = 77;
        const ProcessResult result = runLab({"--cameras", "0", "true"});
        if (result.status != notAllowed)
            return;
        std::fputs(result.errors.c_str(), stderr);
        std::exit(notAllowed);
    }
};

inline const testing::Environment* const needsNamespaces =
    testing::AddGlobalTestEnvironment(new NeedsNamespaces); // GoogleTest's from here on

} // namespace LabTests
