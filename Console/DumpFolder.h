#pragma once
// Where the plug-in's dumps of fetched picture files go, and what they are called.

#include "Diagnosis/RulesOfTool.h"
#include "Diagnosis/Verdict.h"

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
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

    /// The calling thread fetches a picture file of so many bytes, or of nobody knows how many: the plug-in
    /// says nothing of a dump that a full disk has cut off.
    static void noteFetched(std::optional<std::uint64_t> bytes) noexcept;

    /// What the calling thread has dumped since its last call is of that camera. Any thread.
    void claim(const std::string& address);

    /// Why dumps are missing or not whole, since the last call. Any thread.
    std::vector<Diagnosis::Verdict> takeFailures();

    /// What nobody has claimed up to now gets its name. Any thread.
    void nameTheRest();

private:
    struct Dump {
        std::string folder;                 ///< of its own
        std::optional<std::uint64_t> bytes; ///< of the picture file
    };

    std::string makeNext();
    void move(const Dump& dump, const std::string& address);
    void check(const Dump& dump, const std::string& file, std::uint64_t written, const std::string& address);
    void fail(const Diagnosis::Trouble& trouble);

    const std::string folder_;
    std::mutex mutex_;
    std::map<std::thread::id, std::vector<Dump>> unclaimed_;
    std::mutex failuresMutex_;
    std::vector<Diagnosis::Verdict> failures_;
};

} // namespace Console
