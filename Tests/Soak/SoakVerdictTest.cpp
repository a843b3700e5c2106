// What a run calls flat.

#include "Verdict.h"

#include <gmock/gmock.h>

#include <functional>
#include <stdexcept>

using namespace Soak;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr std::uint64_t kibi = 1 << 10;
constexpr Holding usual{100'000 * kibi, 100'000 * kibi, 20, 1};

/// What is not flat in a run of a hundred rounds in each of which `holding` is held.
std::vector<std::string> notFlat(const std::function<Holding(std::size_t round)>& holding,
                                 bool judgeMemory = true) {
    std::vector<Holding> holdings;
    for (std::size_t round = 0; round < 100; ++round)
        holdings.push_back(holding(round));
    std::vector<std::string> texts;
    for (const Drift& drift : driftsOf(holdings, judgeMemory))
        if (!drift.isFlat)
            texts.push_back(drift.text);
    return texts;
}

/// The same where something else is held from the sixtieth round on.
std::vector<std::string> notFlatFrom60(const Holding& later, bool judgeMemory = true) {
    return notFlat([&later](std::size_t round) { return round < 60 ? usual : later; }, judgeMemory);
}

} // namespace

TEST(SoakVerdict, CallsARunFlatThatHoldsNoMoreInTheEnd) {
    EXPECT_THAT(notFlatFrom60(usual), IsEmpty());
    EXPECT_THAT(notFlatFrom60({}), IsEmpty());
}

TEST(SoakVerdict, OverlooksTheFirstFifthAndSingleOutliers) {
    EXPECT_THAT(notFlat([](std::size_t round) { return round < 20 ? Holding{} : usual; }), IsEmpty());
    const auto leaps = [](std::size_t round) {
        return round >= 75 && round % 3 == 0 ? Holding{1 << 30, 1 << 30, 40, 2} : usual;
    };
    EXPECT_THAT(notFlat(leaps), IsEmpty());
}

TEST(SoakVerdict, FindsMemoryThatGrowsByMoreThanNoise) {
    EXPECT_THAT(notFlatFrom60({100'064 * kibi, 105'000 * kibi, 20, 1}), IsEmpty());
    const Holding more{100'064 * kibi + 512, 105'001 * kibi, 20, 1};
    EXPECT_THAT(notFlatFrom60(more), ElementsAre("heap in use, first third to last: 100000 to 100064.5 KiB",
                                                 "resident, first third to last: 100000 to 105001 KiB"));
    EXPECT_THAT(notFlatFrom60(more, false), IsEmpty());
    const auto small = [](std::size_t round) { return Holding{0, (round < 60 ? 1000 : 5096) * kibi, 20, 1}; };
    EXPECT_THAT(notFlat(small), IsEmpty());
}

TEST(SoakVerdict, FindsOneDescriptorAndOneThreadMore) {
    EXPECT_THAT(notFlatFrom60({100'000 * kibi, 100'000 * kibi, 21, 2}, false),
                ElementsAre("descriptors, first third to last: 20 to 21 open",
                            "threads, first third to last: 1 to 2 alive"));
}

TEST(SoakVerdict, GivesNoneOnAFewHoldings) {
    EXPECT_NO_THROW(driftsOf(std::vector<Holding>(fewestHoldings), true));
    EXPECT_THROW(driftsOf(std::vector<Holding>(fewestHoldings - 1), true), std::invalid_argument);
}

TEST(SoakVerdict, SeesWhatThisProcessHolds) {
    const Holding before = Holding::now();
    const std::vector<char> block(10'000'000, 'x');
    const Holding after = Holding::now();
#ifndef KORVA_SANITIZED
    EXPECT_GE(after.heapBytes, before.heapBytes + block.size());
#endif
    EXPECT_GE(before.descriptors, 3u);
    EXPECT_GE(before.threads, 1u);
    EXPECT_GT(after.residentBytes, before.residentBytes + block.size() / 2);
}
