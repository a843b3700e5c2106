// Two libraries, of which one needs the other.

#if defined(NEEDS)
extern "C" __declspec(dllimport) int needed();
extern "C" __declspec(dllexport) int needing() {
    return needed();
}
#else
extern "C" __declspec(dllexport) int needed() {
    return 42;
}
#endif
