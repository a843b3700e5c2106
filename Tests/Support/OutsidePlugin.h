#pragma once
// Whose work is being done: the plug-in's, or that of the host, the network and the platform that tests play.

namespace TestSupport {

/// From construction to destruction the thread is within `Place`.
template <class Place>
class Stay {
public:
    Stay() { ++depth_; }
    Stay(const Stay&) = delete;
    Stay& operator=(const Stay&) = delete;
    ~Stay() { --depth_; }

protected:
    static bool isWithin() { return depth_ != 0; }

private:
    static inline thread_local int depth_ = 0;
};

/// Outside the plug-in: what is played does this for itself while the plug-in waits for it.
struct OutsidePlugin : Stay<OutsidePlugin> {
    static bool isOutside() { return isWithin(); }
};

/// A test that fails what the plug-in asks for has it at work.
struct PluginAtWork : Stay<PluginAtWork> {
    static bool isNow() { return isWithin() && !OutsidePlugin::isOutside(); }
};

} // namespace TestSupport
