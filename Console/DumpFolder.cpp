#include "DumpFolder.h"

#include "FileNames.h"

#include "Platform/ErrorText.h"
#include "Platform/Path.h"
#include "Platform/PrivateFolder.h"
#include "Platform/Text.h"
#include "ReferenceHost/HostControl.h"

#include <array>
#include <cstdio>
#include <filesystem>
#include <random>
#include <system_error>
#include <utility>

namespace Console {

namespace {

namespace fs = std::filesystem;
using Diagnosis::Obstacle;
using Platform::pathFromUtf8;
using Platform::utf8FromPath;

/// What the next dump of this thread has to hold.
thread_local std::optional<std::uint64_t> fetchedBytes;

/// Why so many bytes did not go into the folder; empty if that cannot be told.
std::string whyCut(const std::string& folder, std::uint64_t bytes) {
    std::error_code failure;
    const fs::space_info space = fs::space(pathFromUtf8(folder), failure);
    const bool isFull = !failure && space.available < bytes;
    return isFull ? Platform::errorText(std::errc::no_space_on_device) : "";
}

bool isFull(const std::string& folder) {
    std::error_code failure;
    const fs::space_info space = fs::space(pathFromUtf8(folder), failure);
    return !failure && space.available == 0;
}

} // namespace

DumpFolder::DumpFolder(std::string folder) : folder_(std::move(folder)) {
    ReferenceHost::setImagesFolderSource([this] { return Platform::wideFromUtf8(makeNext()); });
}

DumpFolder::~DumpFolder() {
    ReferenceHost::setImagesFolderSource({});
    nameTheRest();
}

void DumpFolder::noteFetched(std::optional<std::uint64_t> bytes) noexcept {
    fetchedBytes = bytes;
}

void DumpFolder::nameTheRest() {
    std::map<std::thread::id, std::vector<Dump>> rest;
    {
        const std::lock_guard lock(mutex_);
        rest.swap(unclaimed_);
    }
    for (const auto& [thread, dumps] : rest)
        for (const Dump& each : dumps)
            move(each, "");
}

/// The folder of a dump that comes at once; the common one where none can be made, and none if that is not
/// there.
std::string DumpFolder::makeNext() {
    std::random_device random;
    std::array<char, 32> name{};
    std::snprintf(name.data(), name.size(), "/.korva-dump-%08x", static_cast<unsigned int>(random()));
    std::string own = folder_ + name.data();
    std::error_code failure;
    if (!fs::create_directory(pathFromUtf8(own), failure) || failure) {
        if (folder_ != Platform::noFolder) // which was told when it was chosen
            fail({.what = Obstacle::dumpFolder, .place = folder_, .reason = Platform::errorText(failure)});
        return folder_;
    }
    const std::lock_guard lock(mutex_);
    unclaimed_[std::this_thread::get_id()].push_back({own, fetchedBytes});
    return own;
}

void DumpFolder::claim(const std::string& address) {
    std::vector<Dump> own;
    {
        const std::lock_guard lock(mutex_);
        own.swap(unclaimed_[std::this_thread::get_id()]);
    }
    for (const Dump& each : own)
        move(each, address);
}

std::vector<Diagnosis::Verdict> DumpFolder::takeFailures() {
    const std::lock_guard lock(failuresMutex_);
    return std::exchange(failures_, {});
}

/// What is in the dump's folder goes to the common one, and the folder goes if it is empty then.
void DumpFolder::move(const Dump& dump, const std::string& address) {
    constexpr int mostOfASecond = 10'000;
    const std::lock_guard lock(mutex_);
    std::error_code failure;
    std::vector<fs::path> files; // what is moved meanwhile may come twice
    for (fs::directory_iterator at(pathFromUtf8(dump.folder), failure);
         !failure && at != fs::directory_iterator(); at.increment(failure))
        files.push_back(at->path());
    if (files.empty())
        fail({.what = Obstacle::dumpIsMissing,
              .place = folder_,
              .reason = whyCut(folder_, dump.bytes.value_or(1)),
              .address = address});
    for (const fs::path& file : files) {
        const std::string stem =
            utf8FromPath(file.stem()) + " " + (address.empty() ? "other" : safeInNames(address)) + "-";
        fs::path to = file;
        for (int number = 1; number < mostOfASecond; ++number) {
            to = pathFromUtf8(folder_) / (stem + std::to_string(number) + utf8FromPath(file.extension()));
            if (!fs::exists(to, failure))
                break;
        }
        fs::rename(file, to, failure);
        if (failure)
            fail({.what = Obstacle::dump,
                  .place = utf8FromPath(to),
                  .reason = Platform::errorText(failure),
                  .address = address});
        else
            check(dump, utf8FromPath(to), fs::file_size(to, failure), address);
    }
    fs::remove(pathFromUtf8(dump.folder), failure);
}

void DumpFolder::check(const Dump& dump, const std::string& file, std::uint64_t written,
                       const std::string& address) {
    if (dump.bytes && written < *dump.bytes)
        fail({.what = Obstacle::dumpIsCut,
              .place = file,
              .reason = whyCut(folder_, *dump.bytes - written),
              .address = address,
              .bytes = written,
              .wanted = *dump.bytes});
    else if (!dump.bytes && isFull(folder_))
        fail({.what = Obstacle::dumpMayBeCut,
              .place = file,
              .reason = whyCut(folder_, 1),
              .address = address});
}

void DumpFolder::fail(const Diagnosis::Trouble& trouble) {
    const std::lock_guard lock(failuresMutex_);
    failures_.push_back(verdictOn(trouble));
}

} // namespace Console
