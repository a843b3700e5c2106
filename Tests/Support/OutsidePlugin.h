#pragma once
// Marks what a scripted host, transport or platform does for itself while the plug-in waits for it.

namespace TestSupport {

/// From construction to destruction the thread is outside the plug-in: a program that fails the plug-in's
/// allocations leaves those made meanwhile alone.
class OutsidePlugin {
public:
    OutsidePlugin() { ++depth_; }
    OutsidePlugin(const OutsidePlugin&) = delete;
    OutsidePlugin& operator=(const OutsidePlugin&) = delete;
    ~OutsidePlugin() { --depth_; }

    static bool isOutside() { return depth_ != 0; }

private:
    static inline thread_local int depth_ = 0;
};

} // namespace TestSupport
