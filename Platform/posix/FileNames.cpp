#include "Platform/FileNames.h"

std::string Platform::keptName(std::string name) {
    return name;
}

std::string Platform::comparedPath(const std::string& path) {
    return path;
}
