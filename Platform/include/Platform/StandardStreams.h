#pragma once
// The three descriptors that a program is started with.

namespace Platform {

/// Opens the null device in the place of each of standard input, output and error that is closed, early in
/// main(): else the next file or connection gets its number, and what is meant for the user goes there. An
/// output that was closed takes nothing then: writing to it fails, as it would have done. Ends the process
/// if there is no null device. From then on the three carry bytes as they are, line ends too, on every
/// system.
void openClosedStandardStreams() noexcept;

/// From now on, writing to a pipe that nobody reads any more fails instead of ending the process.
void ignoreBrokenPipes() noexcept;

} // namespace Platform
