#include "Platform/StandardError.h"

#include <string>
#include <utility>

namespace {

/// The real one while another stream stands in its place.
std::FILE* replaced = nullptr;

} // namespace

/// Puts lines together from what is written, in whatever pieces.
class Platform::LibraryErrors::Lines {
public:
    explicit Lines(Take take) : take_(std::move(take)) { line_.reserve(longestLine); }

    void add(std::string_view bytes) noexcept {
        for (const char byte : bytes) {
            if (byte == '\n')
                end();
            else if (line_.size() < longestLine)
                line_ += byte;
        }
    }

    /// Whoever writes is in C and knows no exceptions.
    void end() noexcept {
        try {
            take_(line_);
        } catch (...) {
        }
        line_.clear();
    }

    bool isInALine() const { return !line_.empty(); }

private:
    Take take_;
    std::string line_;
};

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
