#include "Platform/DynamicLibrary.h"

#include <dlfcn.h>

std::string Platform::libraryFileName(const std::string& name) {
    return "lib" + name + ".so";
}

Platform::DynamicLibrary::~DynamicLibrary() {
    unload();
}

std::string Platform::DynamicLibrary::load(const std::string& path) {
    unload();
    // The system searches its own folders for a name without a separator.
    const std::string file = path.find('/') == std::string::npos ? "./" + path : path;
    handle_ = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle_ != nullptr)
        return {};
    const char* const reason = dlerror();
    return reason != nullptr ? reason : "The system gives no reason";
}

void Platform::DynamicLibrary::unload() noexcept {
    if (handle_ != nullptr)
        dlclose(handle_);
    handle_ = nullptr;
}

void* Platform::DynamicLibrary::find(const char* name) const noexcept {
    return handle_ == nullptr ? nullptr : dlsym(handle_, name);
}
