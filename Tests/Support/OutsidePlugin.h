#pragma once
// Whose work is being done: the plug-in's, or that of the host, the network and the platform that tests play.

namespace TestSupport {

/// From construction to destruction the thread is outside the plug-in: what is played does this for itself
/// while the plug-in waits for it.
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

/// From construction to destruction a test that fails what the plug-in asks for has it at work.
class PluginAtWork {
public:
    PluginAtWork() { ++depth_; }
    PluginAtWork(const PluginAtWork&) = delete;
    PluginAtWork& operator=(const PluginAtWork&) = delete;
    ~PluginAtWork() { --depth_; }

    static bool isNow() { return depth_ != 0 && !OutsidePlugin::isOutside(); }

private:
    static inline thread_local int depth_ = 0;
};

} // namespace TestSupport
