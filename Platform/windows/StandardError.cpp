#include "ErrorLines.h"

#include <array>
#include <atomic>
#include <fcntl.h>
#include <io.h>
#include <system_error>
#include <thread>

namespace {

constexpr int errorDescriptor = 2;

/// The real one while a pipe stands in its place.
std::atomic<std::FILE*> replaced{nullptr};

/// Reads the pipe until its last writer has gone.
std::thread reader;

} // namespace

Platform::LibraryErrors::LibraryErrors(Take take) : lines_(std::make_unique<Lines>(std::move(take))) {
    constexpr unsigned pipeBytes = 4096;
    std::array<int, 2> ends{-1, -1};
    const int own = _dup(errorDescriptor);
    stream_ = own < 0 ? nullptr : _fdopen(own, "wb");
    if (stream_ == nullptr || _pipe(ends.data(), pipeBytes, _O_BINARY | _O_NOINHERIT) != 0)
        return;
    std::setvbuf(stream_, nullptr, _IONBF, 0);
    try {
        reader = std::thread([lines = lines_.get(), pipe = ends[0]] {
            std::array<char, pipeBytes> bytes{};
            for (int count = 0; (count = _read(pipe, bytes.data(), pipeBytes)) > 0;)
                lines->add({bytes.data(), static_cast<std::size_t>(count)});
            _close(pipe);
        });
    } catch (const std::system_error&) { // no more threads: all stays as it is
        _close(ends[0]);
        _close(ends[1]);
        return;
    }
    replaced = stream_;
    std::fflush(stderr);
    _dup2(ends[1], errorDescriptor);
    _close(ends[1]);
}

Platform::LibraryErrors::~LibraryErrors() {
    if (replaced.load() != nullptr) {
        std::fflush(stderr);
        _dup2(_fileno(stream_), errorDescriptor); // the pipe's last writer goes with it
        reader.join();
        if (lines_->isInALine())
            lines_->end();
        replaced = nullptr;
    }
    if (stream_ != nullptr)
        std::fclose(stream_);
}

std::FILE* Platform::standardError() noexcept {
    std::FILE* const real = replaced;
    return real != nullptr ? real : stderr;
}
