#pragma once
// A folder of one test's own.

#include <algorithm>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

namespace TestSupport {

/// Empty at first, gone with all it holds at its end.
class TemporaryFolder {
public:
    TemporaryFolder() {
        std::random_device random;
        do
            path_ = std::filesystem::temp_directory_path() / ("korva-test-" + std::to_string(random()));
        while (!std::filesystem::create_directory(path_));
        std::filesystem::permissions(path_, std::filesystem::perms::owner_all);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::permissions(path_, std::filesystem::perms::owner_all, ignored);
        std::filesystem::remove_all(path_, ignored);
    }

    const std::filesystem::path& path() const { return path_; }
    std::string file(const std::string& name) const { return (path_ / name).string(); }

    /// The names in it, hidden ones included, sorted.
    std::vector<std::string> names() const {
        std::vector<std::string> all;
        for (const auto& entry : std::filesystem::directory_iterator(path_))
            all.push_back(entry.path().filename().string());
        std::sort(all.begin(), all.end());
        return all;
    }

private:
    std::filesystem::path path_;
};

} // namespace TestSupport
