// Every call that an operation makes fails once: those of the system's, and those of the host's, which throw.
// The sockets below the host's communicator are both.
//
// The conversions between narrow and wide text are not among them: they ask nothing of the system and fail
// for malformed text alone, which has tests of its own.

#include "Scene.h"

#include "Communicator/DeviceException.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <new>
#include <span>
#include <string_view>

namespace {

using namespace Torture;

constexpr char any[] = "";
constexpr char passes[] = "the exception passes";
constexpr char nothingForDeviceException[] = "nothing for a DeviceException, all else passes";
constexpr char noResolution[] = "throws DeviceException: Found Korva, but couldn't determine its resolution";
constexpr int netDown = 10050;

/// What comes of it where one call fails. The first row that fits holds.
struct Row {
    std::string_view operation; ///< any: of every operation
    std::string_view call;      ///< its name, or that and its occurrence; any: every other
    std::string_view outcome;
    std::string_view residue = "";
};

// A search that cannot ask leaves the sockets library started; a camera whose MAC address is not to be had
// goes by zeros, and so does a duplicate, which then counts as one more but answers no second time.
constexpr Row systemRows[] = {
    {"search", "WSAStartup", "none found"},
    {"search", "socket", "none found", "startups: 1 "},
    {"search", "setsockopt #1", "none found", "startups: 1 "},
    {"search", "GetAdaptersInfo", "none found", "startups: 1 "},
    {"search", "sendto", "none found", "startups: 1 "},
    {"search", "recvfrom #1", "none found"},
    {"search", "recvfrom #2", "one found"},
    {"search", "recvfrom #3", "one found"},
    {"search", "closesocket", "good", "sockets: 1 "},
    {"search", "WSACleanup", "good", "startups: 1 "},
    {"search", "inet_pton #5", "unknown MAC"},
    {"search", "inet_pton #6", "unknown MAC"},
    {"search", "SendARP #1", "unknown MAC"},
    {"search", "SendARP #2", "unknown MAC"},
    {"dump", "_ctime64", "no file"},
    {"dump", "fopen", "no file"},
    {"dump", "fwrite", "empty file"},
    // The last reply is whole by then.
    {any, "receive 10.0.0.5:32768 #9", "good"},
    {any, "receive 10.0.0.6:32768 #9", "good"},
};

constexpr Row hostRows[] = {
    {"dump", "images", "no file"},
    {any, "images", "good"},
    // The observer has the template by then.
    {"search", "deviceFound", "good"},
    {"search", any, "one found"},
    {"identification", any, passes},
    {"identification with a grab", "connect 10.0.0.5:32769", noResolution},
    {"identification with a grab", "send 10.0.0.5:32769", noResolution},
    {"identification with a grab", "receive 10.0.0.5:32769", noResolution},
    {"identification with a grab", "createImage", noResolution},
    {"identification with a grab", "convertToGreyscale", noResolution},
    {"identification with a grab", "releaseImage", noResolution},
    {"identification with a grab", "getWidth", noResolution},
    {"identification with a grab", "getHeight", noResolution},
    {"identification with a grab", any, passes},
    {"capture of colours", any, passes},
    {"capture of grey", any, passes},
    {"picture", any, "no picture"},
    {"picture command", any, "black"},
    {"probe", any, "not alive"},
    {"build from description", any, passes},
    {"build from template", any, nothingForDeviceException},
    {"build from connection", any, nothingForDeviceException},
    {any, any, "no row for it"},
};

const Row* rowOf(std::span<const Row> rows, const std::string& operation, const Call& call) {
    const std::string whole = call.name + " #" + std::to_string(call.occurrence);
    const auto row = std::ranges::find_if(rows, [&](const Row& each) {
        return (each.operation == any || each.operation == operation) &&
               (each.call == any || each.call == call.name || each.call == whole);
    });
    return row == rows.end() ? nullptr : &*row;
}

/// What the host throws, and the outcome where it passes.
struct Thrown {
    std::string outcome;
    std::exception_ptr exception;
};

std::vector<Thrown> everythingThrown() {
    return {
        {"throws DeviceException", std::make_exception_ptr(DeviceException(L"torture", L"Torture.cpp", 12))},
        {"throws TolvaneException", std::make_exception_ptr(TolvaneException(L"torture"))},
        {"throws bad_alloc", std::make_exception_ptr(std::bad_alloc())},
        {"throws something", std::make_exception_ptr(42)}};
}

std::string outcomeOf(const std::string& operation, const Call& call, const Thrown& thrown) {
    const Row& row = *rowOf(hostRows, operation, call);
    if (row.outcome == nothingForDeviceException)
        return thrown.outcome == "throws DeviceException" ? "nothing" : thrown.outcome;
    return row.outcome == passes ? thrown.outcome : std::string(row.outcome);
}

bool isOfTheSockets(const Call& call) {
    return call.name.starts_with("connect ") || call.name.starts_with("send ") ||
           call.name.starts_with("receive ");
}

bool isOfTheHost(const Call& call) {
    constexpr std::string_view systems[] = {"GetAdaptersInfo",
                                            "QueryPerformanceCounter",
                                            "QueryPerformanceFrequency",
                                            "SendARP",
                                            "Sleep",
                                            "WSACleanup",
                                            "WSAGetLastError",
                                            "WSAStartup",
                                            "_ctime64",
                                            "_time64",
                                            "closesocket",
                                            "fclose",
                                            "fopen",
                                            "fwrite",
                                            "inet_ntop",
                                            "inet_pton",
                                            "recvfrom",
                                            "sendto",
                                            "setsockopt",
                                            "socket"};
    return std::ranges::find(systems, call.name) == std::end(systems);
}

struct CallTorture : ::testing::TestWithParam<Operation> {
    std::vector<Call> calls;

    CallTorture() {
        const auto scene = GetParam().make();
        EXPECT_EQ(scene->run(), "good");
        calls = scene->made();
    }

    static void failOnce(const Call& call, const World::Calls::Failure& failure, const std::string& outcome,
                         std::string_view residue) {
        SCOPED_TRACE(::testing::Message() << call);
        const auto scene = GetParam().make();
        EXPECT_EQ(scene->run(call, failure), outcome);
        EXPECT_EQ(scene->residue(), residue);
        EXPECT_EQ(scene->run(), "good") << "afterwards";
        EXPECT_EQ(scene->residue(), residue);
    }

    /// Fails it, and looks for what it leaves behind.
    static void torture(const Call& call, const World::Calls::Failure& failure, const std::string& outcome,
                        std::string_view residue = "") {
        failOnce(call, failure, outcome, residue);
        EXPECT_EQ(leakOf([&] { failOnce(call, failure, outcome, residue); }), 0) << call;
    }
};

TEST_P(CallTorture, OfTheSystemEachFailsOnce) {
    const std::string& name = GetParam().name;
    std::erase_if(calls, [](const Call& call) { return isOfTheHost(call) && !isOfTheSockets(call); });
    for (const Call& call : calls) {
        if (const Row* const row = rowOf(systemRows, name, call))
            torture(call, netDown, std::string(row->outcome), row->residue);
        else if (isOfTheSockets(call))
            torture(call, netDown, outcomeOf(name, call, everythingThrown().front())); // the host throws
        else
            torture(call, netDown, "good");
    }
    std::printf("figure: system calls failed once in turn, %s: %zu\n", name.c_str(), calls.size());
}

TEST_P(CallTorture, OfTheHostEachThrowsOnce) {
    const std::string& name = GetParam().name;
    std::erase_if(calls, [](const Call& call) { return !isOfTheHost(call); });
    EXPECT_FALSE(calls.empty());
    for (const Call& call : calls)
        for (const Thrown& thrown : everythingThrown())
            torture(call, thrown.exception, outcomeOf(name, call, thrown));
    std::printf("figure: host calls that threw once in turn, %s: %zu, each four kinds\n", name.c_str(),
                calls.size());
}

/// Those operations alone ask nothing of the system.
TEST(CallTortureTable, CoversWhatTheOperationsCall) {
    std::vector<std::string> without;
    for (const Operation& operation : operations()) {
        const auto scene = operation.make();
        scene->run();
        if (std::ranges::all_of(scene->made(), isOfTheHost))
            without.push_back(operation.name);
    }
    EXPECT_THAT(without, ::testing::ElementsAre("build from description", "build from template", "probe"));
}

INSTANTIATE_TEST_SUITE_P(All, CallTorture, ::testing::ValuesIn(operations()),
                         [](const auto& tested) { return nameOf(tested.param.name); });

} // namespace
