#include "Verdict.h"

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <malloc.h>
#include <span>
#include <stdexcept>
#include <unistd.h>

namespace Soak {

namespace {

constexpr std::size_t warmUpPart = 5;
constexpr std::size_t parts = 3;

std::uint64_t entriesOf(const char* folder) {
    return static_cast<std::uint64_t>(std::ranges::distance(std::filesystem::directory_iterator(folder)));
}

std::uint64_t residentNow() {
    std::ifstream file("/proc/self/statm");
    std::uint64_t size = 0;
    std::uint64_t resident = 0;
    file >> size >> resident;
    return resident * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
}

std::uint64_t median(std::span<const Holding> holdings, std::uint64_t Holding::*what) {
    std::vector<Holding> sorted(holdings.begin(), holdings.end());
    std::ranges::sort(sorted, {}, what);
    return sorted[sorted.size() / 2].*what;
}

Holding medians(std::span<const Holding> holdings) {
    return {median(holdings, &Holding::residentBytes), median(holdings, &Holding::heapBytes),
            median(holdings, &Holding::descriptors), median(holdings, &Holding::threads)};
}

} // namespace

Holding Holding::now() {
    malloc_trim(0);
    const struct mallinfo2 heap = mallinfo2();
    return {residentNow(), heap.uordblks + heap.hblkhd, entriesOf("/proc/self/fd"),
            entriesOf("/proc/self/task")};
}

void Holding::prepare() {
    mallopt(M_ARENA_MAX, 1);
}

Drift::Drift(const std::vector<Holding>& holdings) {
    if (holdings.size() < fewestHoldings)
        throw std::invalid_argument("too short a run to judge");
    const std::span<const Holding> judged = std::span(holdings).subspan(holdings.size() / warmUpPart);
    first = medians(judged.first(judged.size() / parts));
    last = medians(judged.last(judged.size() / parts));
}

std::vector<std::string> notFlat(const Drift& drift, bool judgeMemory) {
    std::vector<std::string> found;
    const auto judge = [&](const char* name, auto Holding::*what, std::uint64_t slack) {
        const std::uint64_t first = drift.first.*what;
        const std::uint64_t last = drift.last.*what;
        if (last > first + slack)
            found.push_back(std::string(name) + ": " + std::to_string(first) + " at first, " +
                            std::to_string(last) + " at last");
    };
    const double residentPart = residentSlackPart * static_cast<double>(drift.first.residentBytes);
    if (judgeMemory) {
        judge("bytes of heap in use", &Holding::heapBytes, heapSlackBytes);
        judge("resident bytes", &Holding::residentBytes,
              std::max(residentSlackBytes, static_cast<std::uint64_t>(residentPart)));
    }
    judge("descriptors", &Holding::descriptors, 0);
    judge("threads", &Holding::threads, 0);
    return found;
}

} // namespace Soak
