#include "Support/TestSystem.h"

#include <clocale>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <malloc.h>
#include <sys/resource.h>

const char* const TestSupport::stateVariable = "XDG_STATE_HOME";

void TestSupport::setVariable(const char* name, const char* value) {
    if (value != nullptr)
        setenv(name, value, 1);
    else
        unsetenv(name);
}

bool TestSupport::setUtf8Locale() {
    return std::setlocale(LC_ALL, "C.UTF-8") != nullptr;
}

std::string TestSupport::textOfError(int code) {
    return std::strerror(code);
}

void* TestSupport::librarysOwn(const char* function) {
    return dlsym(RTLD_NEXT, function);
}

bool TestSupport::isSeenByAll(const char* function) {
    return dlsym(RTLD_DEFAULT, function) != nullptr;
}

std::size_t TestSupport::heapBytesInUse() {
    return mallinfo2().uordblks;
}

std::size_t TestSupport::peakBytes() {
    rusage use{};
    getrusage(RUSAGE_SELF, &use);
    return static_cast<std::size_t>(use.ru_maxrss) * 1024;
}

std::size_t TestSupport::openDescriptors() {
    const std::filesystem::directory_iterator folder("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(folder), end(folder)));
}

bool TestSupport::isLoaded(const std::string& path) {
    // Not what the loader says: a library that it has forgotten may be mapped still, also of a file that is
    // gone.
    const std::string name = "/" + std::filesystem::path(path).filename().string();
    std::ifstream mappings("/proc/self/maps");
    for (std::string line; std::getline(mappings, line);)
        if (line.find(name) != std::string::npos)
            return true;
    return false;
}
