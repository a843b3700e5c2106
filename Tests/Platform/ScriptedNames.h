#pragma once
// The names that the tests' look-ups find, so that no name server is asked.

#include <semaphore>

namespace TestSupport {

/// A name of two addresses, 127.0.0.2 and then 127.0.0.1.
inline constexpr const char* twoAddressName = "two.test";
/// A name that does not exist.
inline constexpr const char* unknownName = "unknown.test";
/// A name whose look-up ends, without result, once slowNameMayEnd() is released.
inline constexpr const char* slowName = "slow.test";

std::binary_semaphore& slowNameMayEnd();

} // namespace TestSupport
