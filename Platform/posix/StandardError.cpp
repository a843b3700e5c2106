#include "ErrorLines.h"

#include <utility>

namespace {

/// The real one while another stream stands in its place.
std::FILE* replaced = nullptr;

} // namespace

#if defined(__GLIBC__)

Platform::LibraryErrors::LibraryErrors(Take take) : lines_(std::make_unique<Lines>(std::move(take))) {
    cookie_io_functions_t functions{};
    functions.write = [](void* lines, const char* bytes, std::size_t count) {
        static_cast<Lines*>(lines)->add({bytes, count});
        return static_cast<ssize_t>(count);
    };
    stream_ = fopencookie(lines_.get(), "w", functions);
    if (stream_ == nullptr)
        return;
    std::setvbuf(stream_, nullptr, _IONBF, 0);
    replaced = std::exchange(stderr, stream_);
}

Platform::LibraryErrors::~LibraryErrors() {
    if (stream_ == nullptr)
        return;
    stderr = std::exchange(replaced, nullptr);
    std::fclose(stream_);
    if (lines_->isInALine())
        lines_->end();
}

#else

Platform::LibraryErrors::LibraryErrors(Take) {}
Platform::LibraryErrors::~LibraryErrors() = default;

#endif

std::FILE* Platform::standardError() noexcept {
    return replaced != nullptr ? replaced : stderr;
}
