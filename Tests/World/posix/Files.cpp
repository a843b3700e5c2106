#include "World/System.h"

std::FILE* World::openFile(const char* utf8Path, const char* mode) {
    return std::fopen(utf8Path, mode);
}
