// Every socket, adapter, ARP, clock and file operation that an operation makes fails once.
//
// The conversions between narrow and wide text are not among them: they ask nothing of the system and fail
// for malformed text alone, which has tests of its own.

#include "Scene.h"

#include <gmock/gmock.h>

#include <cstdio>

namespace {

using namespace Torture;

constexpr int each = 0;

/// What comes of it where one call fails; what is not here comes out "good" and leaves nothing.
struct Row {
    const char* operation;
    const char* call;
    int occurrence;
    const char* outcome;
    const char* residue;
};

// A search that cannot ask leaves the sockets library started; a camera whose MAC address is not to be had
// goes by zeros, and so does a duplicate, which then counts as one more but answers no second time.
constexpr Row rows[] = {
    {"search", "WSAStartup", each, "none found", ""},
    {"search", "socket", each, "none found", "startups: 1 "},
    {"search", "setsockopt", 1, "none found", "startups: 1 "},
    {"search", "GetAdaptersInfo", each, "none found", "startups: 1 "},
    {"search", "sendto", each, "none found", "startups: 1 "},
    {"search", "recvfrom", 1, "none found", ""},
    {"search", "recvfrom", 2, "one found", ""},
    {"search", "recvfrom", 3, "one found", ""},
    {"search", "closesocket", each, "good", "sockets: 1 "},
    {"search", "WSACleanup", each, "good", "startups: 1 "},
    {"search", "inet_pton", 5, "unknown MAC", ""},
    {"search", "inet_pton", 6, "unknown MAC", ""},
    {"search", "SendARP", 1, "unknown MAC", ""},
    {"search", "SendARP", 2, "unknown MAC", ""},
    {"dump", "_ctime64", each, "no file", ""},
    {"dump", "fopen", each, "no file", ""},
    {"dump", "fwrite", each, "empty file", ""},
};

Row rowOf(const std::string& operation, const Call& call) {
    for (const Row& row : rows)
        if (operation == row.operation && call.name == row.call &&
            (row.occurrence == each || row.occurrence == call.occurrence))
            return row;
    return {operation.c_str(), call.name.c_str(), each, "good", ""};
}

struct PlatformTorture : ::testing::TestWithParam<Operation> {
    static void failOnce(const Call& call) {
        SCOPED_TRACE(::testing::Message() << call);
        const Row expected = rowOf(GetParam().name, call);
        const auto scene = GetParam().make();
        scene->failPlatform(call);
        EXPECT_EQ(scene->run(), expected.outcome);
        EXPECT_EQ(scene->residue(), expected.residue);
        EXPECT_EQ(scene->run(), "good") << "afterwards";
        EXPECT_EQ(scene->residue(), expected.residue);
    }
};

TEST_P(PlatformTorture, EachFailsOnce) {
    const std::string& name = GetParam().name;
    const std::vector<Call> calls = callsOf(GetParam(), &Scene::platformCalls);
    for (const Call& call : calls) {
        failOnce(call);
        EXPECT_EQ(leakOf([&] { failOnce(call); }), 0) << call;
    }
    std::printf("figure: system calls failed once in turn, %s: %zu\n", name.c_str(), calls.size());
}

/// Those operations alone ask nothing of the system.
TEST(PlatformTortureTable, CoversWhatTheOperationsCall) {
    std::vector<std::string> without;
    for (const Operation& operation : operations()) {
        const auto scene = operation.make();
        scene->run();
        if (scene->platformCalls().empty())
            without.push_back(operation.name);
    }
    EXPECT_THAT(without, ::testing::ElementsAre("build from description", "build from template", "probe"));
}

INSTANTIATE_TEST_SUITE_P(All, PlatformTorture, ::testing::ValuesIn(operations()),
                         [](const auto& tested) { return nameOf(tested.param.name); });

} // namespace
