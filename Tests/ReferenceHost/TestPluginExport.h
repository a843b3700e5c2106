#pragma once
// Makes a function of a test's library visible to who loads it.

#if defined(_WIN32)
#define TEST_PLUGIN_EXPORT extern "C" __declspec(dllexport)
#else
#define TEST_PLUGIN_EXPORT extern "C" __attribute__((visibility("default")))
#endif
