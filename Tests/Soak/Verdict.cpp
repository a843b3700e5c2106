#include "Verdict.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <malloc.h>
#include <span>
#include <sstream>
#include <stdexcept>
#include <unistd.h>

namespace Soak {

namespace {

constexpr std::size_t warmUpPart = 5;
constexpr std::size_t parts = 3;

struct Quantity {
    const char* name;
    const char* unit;
    double unitSize;
    std::uint64_t Holding::*of;
    bool isMemory;
    double slack = 0; ///< a leak that is smaller shows in an hour
    double slackPart = 0;
};

constexpr Quantity quantities[] = {
    {"heap in use", "KiB", 1 << 10, &Holding::heapBytes, true, 64 << 10},
    {"resident", "KiB", 1 << 10, &Holding::residentBytes, true, 4 << 20, 0.05},
    {"descriptors", "open", 1, &Holding::descriptors, false},
    {"threads", "alive", 1, &Holding::threads, false},
};

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

double median(std::span<const Holding> holdings, std::uint64_t Holding::*of) {
    std::vector<Holding> sorted(holdings.begin(), holdings.end());
    std::ranges::sort(sorted, {}, of);
    return static_cast<double>(sorted[sorted.size() / 2].*of);
}

} // namespace

Holding Holding::now() {
    malloc_trim(0);
    const struct mallinfo2 heap = mallinfo2();
    return {heap.uordblks + heap.hblkhd, residentNow(), entriesOf("/proc/self/fd"),
            entriesOf("/proc/self/task")};
}

void Holding::prepare() {
    mallopt(M_ARENA_MAX, 1);
}

std::vector<Drift> driftsOf(const std::vector<Holding>& holdings, bool judgeMemory) {
    if (holdings.size() < fewestHoldings)
        throw std::invalid_argument("too short a run to judge");
    const std::span<const Holding> judged = std::span(holdings).subspan(holdings.size() / warmUpPart);
    const std::size_t third = judged.size() / parts;
    std::vector<Drift> drifts;
    for (const auto& [name, unit, unitSize, of, isMemory, slack, slackPart] : quantities) {
        const double first = median(judged.first(third), of);
        const double last = median(judged.last(third), of);
        std::ostringstream text;
        text << std::setprecision(10) << name << ", first third to last: " << first / unitSize << " to "
             << last / unitSize << ' ' << unit;
        const bool isFlat = last <= first + std::max(slack, slackPart * first);
        drifts.push_back({text.str(), isFlat || (isMemory && !judgeMemory)});
    }
    return drifts;
}

} // namespace Soak
