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

std::vector<Holding> evenHoldings() {
    return std::vector<Holding>(100, Holding{manyBytes, manyBytes, 20, 1});
}

std::vector<std::string> verdictOn(const std::vector<Holding>& holdings, bool judgeMemory = true) {
    return notFlat(Drift(holdings), judgeMemory);
}

} // namespace

TEST(SoakVerdict, CallsARunFlatThatHoldsTheSame) {
    EXPECT_THAT(verdictOn(evenHoldings()), IsEmpty());
}

TEST(SoakVerdict, OverlooksTheFirstFifth) {
    auto holdings = evenHoldings();
    for (std::size_t at = 0; at < 20; ++at)
        holdings[at] = {};
    EXPECT_THAT(verdictOn(holdings), IsEmpty());
}

TEST(SoakVerdict, OverlooksSingleOutliers) {
    auto holdings = evenHoldings();
    for (std::size_t at = 75; at < 100; at += 3)
        holdings[at] = {2 * manyBytes, 2 * manyBytes, 40, 2};
    EXPECT_THAT(verdictOn(holdings), IsEmpty());
}

TEST(SoakVerdict, FindsAHeapThatGrowsByTwoKilobytesARound) {
    auto holdings = evenHoldings();
    for (std::size_t at = 0; at < holdings.size(); ++at)
        holdings[at].heapBytes += 2048 * at;
    EXPECT_THAT(verdictOn(holdings), ElementsAre(StartsWith("bytes of heap in use: ")));
    EXPECT_THAT(verdictOn(holdings, false), IsEmpty());
}

TEST(SoakVerdict, FindsResidentMemoryThatGrows) {
    auto holdings = evenHoldings();
    for (std::size_t at = 0; at < holdings.size(); ++at)
        holdings[at].residentBytes += (std::uint64_t{128} << 10) * at;
    EXPECT_THAT(verdictOn(holdings), ElementsAre(StartsWith("resident bytes: ")));
}

TEST(SoakVerdict, FindsOneDescriptorAndOneThreadMore) {
    auto holdings = evenHoldings();
    for (std::size_t at = 60; at < holdings.size(); ++at)
        holdings[at].descriptors = 21, holdings[at].threads = 2;
    EXPECT_THAT(verdictOn(holdings),
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
