// Calls of the host's that an operation makes throw once each: transport, imaging and its pictures, settings,
// observer, health callback, diagnostics folder, and what descriptions, templates and devices are made of.

#include "Scene.h"

#include <gmock/gmock.h>

#include <cstdio>

namespace {

using namespace Torture;

constexpr char any[] = "";
constexpr char passes[] = "the exception passes";
constexpr char nothingForDeviceException[] = "nothing for a DeviceException, all else passes";
constexpr char noResolution[] = "throws DeviceException: Found Korva, but couldn't determine its resolution";

/// What comes of it where one call throws. The first row that fits holds.
struct Row {
    const char* operation; ///< any: of every operation
    const char* call;      ///< any: every other
    const char* outcome;
};

constexpr Row rows[] = {
    {"dump", "images folder", "no file"},
    {any, "images folder", "good"},
    // The observer has the template by then.
    {"search", "device found", "good"},
    {"search", any, "one found"},
    {"identification", any, passes},
    {"identification with a grab", "connect 32769", noResolution},
    {"identification with a grab", "write 32769", noResolution},
    {"identification with a grab", "read 32769", noResolution},
    {"identification with a grab", "create", noResolution},
    {"identification with a grab", "convert", noResolution},
    {"identification with a grab", "release", noResolution},
    {"identification with a grab", "width", noResolution},
    {"identification with a grab", "height", noResolution},
    {"identification with a grab", any, passes},
    {"capture of colours", any, passes},
    {"capture of grey", any, passes},
    {"picture", any, "no picture"},
    {"picture command", any, "black"},
    {"probe", any, "not alive"},
    {"build from description", any, passes},
    {"build from template", any, nothingForDeviceException},
    {"build from connection", any, nothingForDeviceException},
};

std::string passed(Thrown thrown) {
    switch (thrown) {
    case Thrown::deviceException:
        return "throws DeviceException";
    case Thrown::tolvaneException:
        return "throws TolvaneException";
    case Thrown::badAlloc:
        return "throws bad_alloc";
    case Thrown::number:
        break;
    }
    return "throws something";
}

std::string outcomeOf(const std::string& operation, const std::string& call, Thrown thrown) {
    const auto fits = [](const std::string& text, const char* wanted) {
        return wanted == any || text == wanted;
    };
    for (const Row& row : rows) {
        if (!fits(operation, row.operation) || !fits(call, row.call))
            continue;
        if (row.outcome == nothingForDeviceException)
            return thrown == Thrown::deviceException ? "nothing" : passed(thrown);
        return row.outcome == passes ? passed(thrown) : row.outcome;
    }
    return "no row for it";
}

struct HostTorture : ::testing::TestWithParam<Operation> {
    static void throwOnce(const Call& call, Thrown thrown) {
        const auto scene = GetParam().make();
        scene->failHost(call, thrown);
        EXPECT_EQ(scene->run(), outcomeOf(GetParam().name, call.name, thrown));
        EXPECT_EQ(scene->residue(), "");
        EXPECT_EQ(scene->run(), "good") << "afterwards";
        EXPECT_EQ(scene->residue(), "");
    }
};

TEST_P(HostTorture, EachThrowsOnce) {
    const std::string& name = GetParam().name;
    const std::vector<Call> calls = callsOf(GetParam(), &Scene::hostCalls);
    EXPECT_FALSE(calls.empty());
    for (const Call& call : calls) {
        for (const Thrown thrown : everythingThrown) {
            SCOPED_TRACE(::testing::Message() << call << " " << passed(thrown));
            throwOnce(call, thrown);
            EXPECT_EQ(leakOf([&] { throwOnce(call, thrown); }), 0);
        }
    }
    std::printf("figure: host calls that threw once in turn, %s: %zu, each four kinds\n", name.c_str(),
                calls.size());
}

INSTANTIATE_TEST_SUITE_P(All, HostTorture, ::testing::ValuesIn(operations()),
                         [](const auto& tested) { return nameOf(tested.param.name); });

} // namespace
