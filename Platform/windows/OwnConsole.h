#pragma once
// The console, which other programs go on using when this one has ended.

namespace Platform {

/// The console is as it was before useUtf8(). Any thread, and as often as one likes; on every way out of the
/// process.
void giveBackConsole() noexcept;

} // namespace Platform
