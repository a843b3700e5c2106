// A library whose run path has empty and relative elements.

extern "C" int oddRunPath();

int oddRunPath() {
    return 0;
}
