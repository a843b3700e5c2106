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
    std::uint64_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder))
        ++count;
    return count;
}

std::uint64_t residentNow() {
    std::ifstream file("/proc/self/statm");
    std::uint64_t size = 0;
    std::uint64_t resident = 0;
    file >> size >> resident;
    return resident * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
}

std::uint64_t median(std::span<const Holding> holdings, std::uint64_t Holding::*what) {
    std::vector<std::uint64_t> values;
    for (const Holding& each : holdings)
        values.push_back(each.*what);
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

Holding medians(std::span<const Holding> holdings) {
    return {median(holdings, &Holding::residentBytes), median(holdings, &Holding::heapBytes),
            median(holdings, &Holding::descriptors), median(holdings, &Holding::threads)};
}

std::string change(const char* what, std::uint64_t first, std::uint64_t last) {
    return std::string(what) + ": " + std::to_string(first) + " at first, " + std::to_string(last) +
           " at last";
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
    const auto& [first, last] = drift;
    std::vector<std::string> found;
    const auto residentSlack =
        std::max(residentSlackBytes,
                 static_cast<std::uint64_t>(residentSlackPart * static_cast<double>(first.residentBytes)));
    if (judgeMemory && last.heapBytes > first.heapBytes + heapSlackBytes)
        found.push_back(change("bytes of heap in use", first.heapBytes, last.heapBytes));
    if (judgeMemory && last.residentBytes > first.residentBytes + residentSlack)
        found.push_back(change("resident bytes", first.residentBytes, last.residentBytes));
    if (last.descriptors > first.descriptors)
        found.push_back(change("descriptors", first.descriptors, last.descriptors));
    if (last.threads > first.threads)
        found.push_back(change("threads", first.threads, last.threads));
    return found;
}

} // namespace Soak
