// Every allocation that an operation asks for fails once.

#include "Scene.h"

#include "NativeCameraKorva/KorvaCommParser.h"

#include <gmock/gmock.h>

#include <cstdio>
#include <map>
#include <new>
#include <set>

namespace {

using namespace Torture;

struct Outcomes {
    /// What comes of an operation that is denied one piece of memory. All of them come.
    std::set<std::string> all;
    /// True where a line at warn or above tells of every outcome that is not good.
    bool complains = false;
};

const std::map<std::string, Outcomes>& outcomes() {
    static const std::set<std::string> built{"good", "throws bad_alloc"};
    static const std::set<std::string> captured{"good", "throws bad_alloc", "no picture", "empty picture"};
    static const std::map<std::string, Outcomes> table{
        {"search", {{"good", "one found", "none found"}, true}},
        {"identification", {{"good", "throws bad_alloc"}}},
        {"identification with a grab",
         {{"good", "throws bad_alloc",
           "throws DeviceException: Found Korva, but couldn't determine its resolution"}}},
        {"capture of colours", {captured}},
        {"capture of grey", {captured}},
        {"picture", {{"good", "no picture"}, true}},
        {"picture command", {{"good", "black", "no pixels", "throws bad_alloc"}}},
        {"probe", {{"good", "not alive"}, true}},
        {"dump", {{"good", "no file"}}},
        {"build from description", {built}},
        {"build from template", {built}},
        {"build from connection", {built}},
    };
    return table;
}

struct AllocationTorture : ::testing::TestWithParam<Operation> {
    const Outcomes& expected = outcomes().at(GetParam().name);
    std::set<std::string> seen;

    /// False where the operation does not ask for so many.
    bool failOne(int number) {
        const auto scene = GetParam().make();
        const std::string outcome = scene->run({"allocation", number});
        const bool wasReached = scene->wasReached();
        seen.insert(outcome);
        EXPECT_TRUE(outcome == "good" || scene->complained() || !expected.complains) << outcome;
        EXPECT_EQ(scene->residue(), "") << outcome;
        EXPECT_EQ(scene->run(), "good") << "after: " << outcome;
        EXPECT_EQ(scene->residue(), "");
        return wasReached;
    }
};

TEST_P(AllocationTorture, EachFailsOnceAndLeavesNothingBehind) {
    ASSERT_EQ(GetParam().make()->run(), "good");
    int number = 1;
    for (; failOne(number); ++number) {
        SCOPED_TRACE("allocation " + std::to_string(number));
        ASSERT_LT(number, 20'000);
        EXPECT_EQ(leakOf([&] { failOne(number); }), 0);
    }
    EXPECT_EQ(seen, expected.all);
    std::printf("figure: allocations failed once in turn, %s: %d\n", GetParam().name.c_str(), number - 1);
}

INSTANTIATE_TEST_SUITE_P(All, AllocationTorture, ::testing::ValuesIn(operations()),
                         [](const auto& tested) { return nameOf(tested.param.name); });

TEST(CommParserAllocations, FailAsBadAllocAndLeaveTheParserAsItWas) {
    std::string text =
        "[Korva --Room a room whose name is long enough --IP 192.168.100.200 --And-A-Long-Key x]";
    const std::string former = "--Former a value that is long enough]";
    bool threw = true;
    for (int number = 1; threw; ++number) {
        SCOPED_TRACE(number);
        ASSERT_LT(number, 100);
        Korva::CommParser parser;
        parser.parse(std::string(former).data());
        threw = false;
        const bool wasReached = failAllocation(number, [&] {
            try {
                parser.parse(text.data());
            } catch (const std::bad_alloc&) {
                threw = true;
            }
        });
        EXPECT_EQ(threw, wasReached);
        EXPECT_EQ(parser.isParsed(), !threw);
        EXPECT_EQ(parser.getValue("--Former"), "a value that is long enough");
        EXPECT_EQ(parser.getValue("--Room"), threw ? "" : "a room whose name is long enough");
        EXPECT_TRUE(threw || number > 5);
        parser.parse(text.data());
        EXPECT_TRUE(parser.isParsed());
        EXPECT_EQ(parser.getValue("--Room"), "a room whose name is long enough");
        EXPECT_EQ(parser.getValue("--IP"), "192.168.100.200");
    }
}

} // namespace
