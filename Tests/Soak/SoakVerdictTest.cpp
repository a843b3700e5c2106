// What a run calls flat.

#include "Verdict.h"

#include <gmock/gmock.h>

#include <stdexcept>

using namespace Soak;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

constexpr std::uint64_t manyBytes = std::uint64_t{100} << 20;

/// A run of a hundred rounds that holds the same, but for what `change` makes of a round.
template <class Change>
std::vector<std::string> verdictOn(const Change& change, bool judgeMemory = true) {
    std::vector<Holding> holdings(100, Holding{manyBytes, manyBytes, 20, 1});
    for (std::size_t at = 0; at < holdings.size(); ++at)
        change(holdings[at], at);
    return notFlat(Drift(holdings), judgeMemory);
}

} // namespace

TEST(SoakVerdict, CallsARunFlatThatHoldsTheSame) {
    EXPECT_THAT(verdictOn([](Holding&, std::size_t) {}), IsEmpty());
}

TEST(SoakVerdict, OverlooksTheFirstFifth) {
    const auto begin = [](Holding& holding, std::size_t at) { holding = at < 20 ? Holding{} : holding; };
    EXPECT_THAT(verdictOn(begin), IsEmpty());
}

TEST(SoakVerdict, OverlooksSingleOutliers) {
    const auto leap = [](Holding& holding, std::size_t at) {
        if (at >= 75 && at % 3 == 0)
            holding = {2 * manyBytes, 2 * manyBytes, 40, 2};
    };
    EXPECT_THAT(verdictOn(leap), IsEmpty());
}

TEST(SoakVerdict, FindsAHeapThatGrowsByTwoKilobytesARound) {
    const auto grow = [](Holding& holding, std::size_t at) { holding.heapBytes += 2048 * at; };
    EXPECT_THAT(verdictOn(grow), ElementsAre(StartsWith("bytes of heap in use: ")));
    EXPECT_THAT(verdictOn(grow, false), IsEmpty());
}

TEST(SoakVerdict, FindsResidentMemoryThatGrows) {
    const auto grow = [](Holding& holding, std::size_t at) { holding.residentBytes += at << 17; };
    EXPECT_THAT(verdictOn(grow), ElementsAre(StartsWith("resident bytes: ")));
}

TEST(SoakVerdict, FindsOneDescriptorAndOneThreadMore) {
    const auto grow = [](Holding& holding, std::size_t at) {
        if (at >= 60)
            holding = {manyBytes, manyBytes, 21, 2};
    };
    EXPECT_THAT(verdictOn(grow),
                ElementsAre("descriptors: 20 at first, 21 at last", "threads: 1 at first, 2 at last"));
}

TEST(SoakVerdict, GivesNoneOnAFewHoldings) {
    EXPECT_THROW(Drift(std::vector<Holding>(Drift::fewestHoldings - 1)), std::invalid_argument);
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
