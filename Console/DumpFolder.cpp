#include "DumpFolder.h"

#include "FileNames.h"

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

fs::path pathOf(const std::string& utf8) {
    return fs::path(std::u8string(utf8.begin(), utf8.end()));
}

} // namespace

DumpFolder::DumpFolder(std::string folder) : folder_(std::move(folder)) {
    ReferenceHost::setImagesFolderSource([this] { return Platform::wideFromUtf8(makeNext()); });
}

DumpFolder::~DumpFolder() {
    ReferenceHost::setImagesFolderSource({});
    nameTheRest();
}

void DumpFolder::nameTheRest() {
    std::map<std::thread::id, std::vector<std::string>> rest;
    {
        const std::lock_guard lock(mutex_);
        rest.swap(unclaimed_);
    }
    for (const auto& [thread, folders] : rest)
        for (const std::string& each : folders)
            move(each, "other");
}

/// The folder of a dump that comes at once; the common one where none can be made, and none if that is not
/// there.
std::string DumpFolder::makeNext() {
    std::random_device random;
    std::array<char, 32> name{};
    std::snprintf(name.data(), name.size(), "/.korva-dump-%08x", static_cast<unsigned int>(random()));
    std::string own = folder_ + name.data();
    std::error_code failure;
    if (!fs::create_directory(pathOf(own), failure) || failure)
        return folder_;
    const std::lock_guard lock(mutex_);
    unclaimed_[std::this_thread::get_id()].push_back(own);
    return own;
}

void DumpFolder::claim(const std::string& address) {
    std::vector<std::string> own;
    {
        const std::lock_guard lock(mutex_);
        own.swap(unclaimed_[std::this_thread::get_id()]);
    }
    for (const std::string& each : own)
        move(each, safeInNames(address));
}

/// What is in the folder `from` goes to the common one, and `from` goes if it is empty then.
void DumpFolder::move(const std::string& from, const std::string& whose) {
    constexpr int mostOfASecond = 10'000;
    const std::lock_guard lock(mutex_);
    std::error_code ignored;
    std::vector<fs::path> files; // what is moved meanwhile may come twice
    for (fs::directory_iterator at(pathOf(from), ignored); !ignored && at != fs::directory_iterator();
         at.increment(ignored))
        files.push_back(at->path());
    for (const fs::path& file : files) {
        const std::string stem = file.stem().string() + " " + whose + "-";
        for (int number = 1; number < mostOfASecond; ++number) {
            const fs::path to = pathOf(folder_) / (stem + std::to_string(number) + file.extension().string());
            if (fs::exists(to, ignored))
                continue;
            fs::rename(file, to, ignored);
            break;
        }
    }
    fs::remove(pathOf(from), ignored);
}

} // namespace Console
