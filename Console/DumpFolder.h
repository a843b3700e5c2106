#pragma once
// Where the plug-in's dumps of fetched picture files go, and what they are called.

#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace Console {

/// For its lifetime every dump gets a folder of its own within the diagnostics folder, since the plug-in
/// names it by the second alone, and goes from there to a name that is its own: "KorvaImage Mon Nov 16
/// 02-10-00 2026 10.77.1.11-1.sgi". One at a time.
class DumpFolder {
public:
    /// `folder`, UTF-8, need not exist; then nothing is dumped.
    explicit DumpFolder(std::string folder);
    DumpFolder(const DumpFolder&) = delete;
    DumpFolder& operator=(const DumpFolder&) = delete;

    /// What nobody has claimed is called "other".
    ~DumpFolder();

    /// What the calling thread has dumped since its last call is of that camera. Any thread.
    void claim(const std::string& address);

    /// What nobody has claimed up to now gets its name. Any thread.
    void nameTheRest();

private:
    std::string makeNext();
    void move(const std::string& from, const std::string& whose);

    const std::string folder_;
    std::mutex mutex_;
    std::map<std::thread::id, std::vector<std::string>> unclaimed_;
};

} // namespace Console
