#pragma once
// IPv4 addresses, as texts and as numbers.

#include "Facts.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Diagnosis {

/// Of dotted decimal: four numbers from 0 to 255 without further zeros before them.
std::optional<std::uint32_t> ipv4Number(std::string_view text);

std::string ipv4Text(std::uint32_t address);

/// 169.254.x.x, which a computer gives itself if nobody else does.
bool isLinkLocal(std::string_view address);

/// Whether the mask of `own` puts both into one network. False if either is no address, or is 0.0.0.0.
bool isInNetworkOf(const OwnAddress& own, std::string_view address);

/// Whether their first 24 bits are the same.
bool areNeighbours(std::string_view one, std::string_view other);

/// "10.77.1.1/24"; a mask that has no length is written out.
std::string withMask(const OwnAddress& own);

} // namespace Diagnosis
