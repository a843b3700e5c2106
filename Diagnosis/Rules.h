#pragma once
// From facts to verdicts. Pure: no clock, no socket, no host class.

#include "Facts.h"
#include "Verdict.h"

#include <optional>
#include <string>
#include <vector>

namespace Diagnosis {

/// Everything that is wrong or worth knowing, the likeliest cause first: failures before notes, a cause
/// before what follows from it, which is left out where the cause explains it.
std::vector<Verdict> causesOf(const Facts& facts);

/// Why the camera cannot be used, or what is odd about it (a note); nothing if it is ready. `facts` holds it.
/// Looks through all the facts each time: of many cameras ask verdictsOn().
std::optional<Verdict> verdictOn(const Camera& camera, const Facts& facts);

/// The same of each of `facts.cameras`, in their order, at the price of one.
std::vector<std::optional<Verdict>> verdictsOn(const Facts& facts);

/// Why an attempt failed, by what the plug-in logged, what the device reported, and what else is known of the
/// camera: always a verdict with a text of its own, a failure unless there was less time (Attempt::allowed)
/// than a healthy camera may take. Of one that succeeded, what is to be noted of it, or nothing.
std::optional<Verdict> verdictOn(const Attempt& attempt, const Camera& camera);

/// Of an attempt that failed to connect to a camera that a look after it finds as it should be: it is back.
/// Nothing of others.
std::optional<Verdict> verdictOnReturn(const Attempt& attempt, const Camera& after);

/// What has become of the adapter by which this computer reached the camera since `before`: it is switched
/// off, without a link or gone, or has lost its address; nothing if it is as it should be, or if none is
/// known to lead there. Of both facts only those of a look at the computer count; they may be the same ones.
std::optional<Verdict> verdictOnWay(const Camera& camera, const Facts& before, const Facts& now);

/// Whether a failure of a camera's may come of the way to it: no answer came, or not all of one.
bool mayBeOfTheWay(const Verdict& failure);

/// Why a text cannot be the address of a camera (an IPv6 address, ADDRESS:PORT, nothing at all); nothing if
/// it can: an IPv4 address or a host name.
std::optional<Verdict> verdictOnAddress(const std::string& text);

} // namespace Diagnosis
