#include "Platform/ArpProbe.h"

// The system has no raw ARP for programs.
std::optional<std::vector<std::vector<std::vector<unsigned char>>>>
Platform::askByArp(const std::vector<ArpQuestion>&, Clock::time_point) {
    return std::nullopt;
}
