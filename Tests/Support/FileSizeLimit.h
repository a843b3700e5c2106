#pragma once
// A limit of file sizes, which stands for a full disk.

#include <sys/resource.h>

namespace TestSupport {

/// While it lives this process writes no file beyond `bytes`; whoever tries gets the signal SIGXFSZ.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) {
        getrlimit(RLIMIT_FSIZE, &old_);
        rlimit limit = old_;
        limit.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;
    ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &old_); }

private:
    rlimit old_{};
};

} // namespace TestSupport
