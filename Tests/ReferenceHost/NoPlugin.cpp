// A library that is no device plug-in.

#include "TestPluginExport.h"

TEST_PLUGIN_EXPORT int answerOfNoPlugin() {
    return 42;
}
