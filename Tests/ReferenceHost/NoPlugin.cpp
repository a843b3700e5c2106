// A library that is no device plug-in.

extern "C" __attribute__((visibility("default"))) int answerOfNoPlugin() {
    return 42;
}
