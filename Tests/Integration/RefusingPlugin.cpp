// A device plug-in that refuses every version of the host's interface.

extern "C" __attribute__((visibility("default"))) int pnx_initialize_device_plugin(int /*version*/) {
    return -1;
}
