#include "FileNames.h"

#include "Diagnosis/PictureRules.h"
#include "Platform/FileNames.h"
#include "Platform/Path.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>
#include <optional>
#include <string_view>
#include <system_error>

namespace Console {

namespace {

/// Longer than any address but one that somebody made up; no name of a file may be longer than 255 bytes.
constexpr std::size_t longestPart = 64;

struct Placeholder {
    std::string_view name;
    std::string (*text)(const NameParts& parts);
};

std::string addressOf(const NameParts& parts) {
    return parts.address;
}
std::string roomOf(const NameParts& parts) {
    return parts.room;
}
std::string serialOf(const NameParts& parts) {
    return parts.serial;
}
std::string timeOf(const NameParts& parts) {
    return parts.time;
}
std::string exposureOf(const NameParts& parts) {
    return Diagnosis::secondsText(parts.exposureUnits);
}
std::string numberOf(const NameParts& parts) {
    return std::to_string(parts.number);
}

constexpr std::array<Placeholder, 6> placeholders = {{{"room", roomOf},
                                                      {"serial", serialOf},
                                                      {"address", addressOf},
                                                      {"time", timeOf},
                                                      {"number", numberOf},
                                                      {"exposure", exposureOf}}};

const Placeholder* placeholderNamed(std::string_view name) {
    const auto found = std::find_if(placeholders.begin(), placeholders.end(),
                                    [name](const Placeholder& each) { return each.name == name; });
    return found == placeholders.end() ? nullptr : &*found;
}

/// `text` with what a path would mind replaced.
std::string safe(const std::string& text) {
    static constexpr std::string_view kept =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789.-";
    std::string name = text.substr(0, longestPart);
    std::replace_if(
        name.begin(), name.end(), [](char c) { return kept.find(c) == std::string_view::npos; }, '_');
    return name;
}

std::string partFilledIn(std::string_view pattern, const NameParts& parts) {
    std::string name;
    while (!pattern.empty()) {
        const std::size_t open = std::min(pattern.find('{'), pattern.size());
        name += pattern.substr(0, open);
        pattern.remove_prefix(open);
        if (pattern.empty())
            break;
        const std::size_t close = pattern.find('}');
        const Placeholder* const placeholder = placeholderNamed(pattern.substr(1, close - 1));
        if (placeholder != nullptr)
            name += safeInNames(placeholder->text(parts));
        pattern.remove_prefix(close + 1);
    }
    return name;
}

/// Folder by folder: what a camera says names neither a device nor another folder.
std::string filledIn(std::string_view pattern, const NameParts& parts) {
    std::string name;
    for (;;) {
        const auto separator = std::find_if(pattern.begin(), pattern.end(), Platform::isSeparator);
        const auto length = static_cast<std::size_t>(separator - pattern.begin());
        const std::string_view part = pattern.substr(0, length);
        const bool isFilled = part.find('{') != std::string_view::npos;
        name += isFilled ? Platform::keptName(partFilledIn(part, parts)) : std::string(part);
        if (length == pattern.size())
            return name;
        name += pattern[length];
        pattern.remove_prefix(length + 1);
    }
}

/// Whether the pattern itself tells a camera's pictures apart.
bool tellsPicturesApart(const CaptureOptions& options) {
    const auto has = [&options](const char* name) { return options.output.find(name) != std::string::npos; };
    return options.picturesOfEach() == 1 || has("{number}") || (options.count == 1 && has("{exposure}"));
}

std::string inSmallLetters(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return text;
}

/// Where the name begins that a path ends with.
std::size_t nameStartOf(const std::string& path) {
    const auto separator = std::find_if(path.rbegin(), path.rend(), Platform::isSeparator);
    return static_cast<std::size_t>(path.rend() - separator);
}

/// Where a file's number goes: before the extension, if the name itself has one.
std::size_t stemEndOf(const std::string& name) {
    const std::size_t dot = name.find_last_of('.');
    const bool hasExtension = dot != std::string::npos && dot > nameStartOf(name);
    return hasExtension ? dot : name.size();
}

bool namesAFolder(const std::string& path) {
    return !path.empty() && nameStartOf(path) == path.size();
}

std::string extensionOf(const std::string& name) {
    const std::size_t dot = name.find_last_of('.');
    return dot == std::string::npos || dot < nameStartOf(name) ? std::string()
                                                               : inSmallLetters(name.substr(dot));
}

/// The one path of a file, there or not, whatever its name leads through; to compare by.
std::string placeOf(const std::string& name) {
    namespace fs = std::filesystem;
    std::error_code failure;
    const fs::path whole = fs::absolute(Platform::pathFromUtf8(name), failure);
    const fs::path resolved = fs::weakly_canonical(whole, failure);
    return Platform::comparedPath(Platform::utf8FromPath(failure ? whole.lexically_normal() : resolved));
}

/// Why the pattern is none; nothing if it is one, or a plain name.
std::optional<std::string> complaintAboutPattern(std::string_view pattern) {
    for (std::size_t open = pattern.find('{'); open != std::string_view::npos;
         open = pattern.find('{', open + 1)) {
        const std::size_t close = pattern.find('}', open);
        if (close == std::string_view::npos)
            return "a { of it has no }";
        const std::string_view name = pattern.substr(open + 1, close - open - 1);
        if (placeholderNamed(name) == nullptr)
            return "{" + std::string(name) + "} is unknown; it can hold " + placeholderHelp();
    }
    return std::nullopt;
}

} // namespace

std::string placeholderHelp() {
    std::string help;
    for (const Placeholder& each : placeholders)
        help += (help.empty()                    ? "{"
                 : &each == &placeholders.back() ? " or {"
                                                 : ", {") +
                std::string(each.name) + "}";
    return help;
}

std::string complaintAboutOutput(const std::string& output) {
    static const std::set<std::string> otherFormats = {".jpg",  ".jpeg", ".gif", ".bmp", ".tif",
                                                       ".tiff", ".webp", ".sgi", ".rgb", ".pgm"};
    if (output.empty())
        return "the file's name is empty";
    if (otherFormats.contains(extensionOf(output)))
        return "\"" + output + "\" names another format: PNG is what is written";
    if (const auto complaint = complaintAboutPattern(output))
        return "\"" + output + "\": " + *complaint;
    return {};
}

std::string safeInNames(const std::string& text) {
    std::string name = text.empty() ? unknownPart : safe(text);
    if (name.front() == '.') // or it would be hidden, or lead elsewhere
        name.front() = '_';
    return name;
}

bool isPattern(const std::string& output) {
    return output.find('{') != std::string::npos;
}

bool isFolderOfPictures(const CaptureOptions& options) {
    const std::string& output = options.output;
    if (output.empty() || isPattern(output) || options.isToStandardOutput())
        return false;
    std::error_code ignored;
    return options.isOfSeveralCameras() || namesAFolder(output) ||
           std::filesystem::is_directory(Platform::pathFromUtf8(output), ignored);
}

bool isNamedByExposure(const std::string& output) {
    return output.find("{exposure}") != std::string::npos;
}

bool isNamedByRoom(const std::string& output) {
    return output.find("{room}") != std::string::npos;
}

std::string pictureFileName(const CaptureOptions& options, const NameParts& parts) {
    const std::string usual = "korva-" + safe(parts.address) + ".png";
    std::string name = options.output.empty() ? usual : filledIn(options.output, parts);
    if (isFolderOfPictures(options))
        name = options.output + (namesAFolder(options.output) ? "" : "/") + usual;
    if (tellsPicturesApart(options))
        return name;
    const std::size_t stemEnd = stemEndOf(name);
    return name.substr(0, stemEnd) + "-" + std::to_string(parts.number) + name.substr(stemEnd);
}

std::vector<std::string> picturesNamedBefore(const CaptureOptions& options) {
    std::vector<std::string> addresses = options.camera.eachAddress();
    const bool isOneFile = !options.output.empty() && !isFolderOfPictures(options);
    if (options.isToStandardOutput() || isPattern(options.output))
        return {};
    if (addresses.empty() && isOneFile)
        addresses.emplace_back(); // a description's
    std::vector<std::string> names;
    for (const std::string& address : addresses) {
        NameParts parts;
        parts.address = address;
        for (; parts.number <= options.picturesOfEach(); ++parts.number)
            names.push_back(pictureFileName(options, parts));
    }
    return names;
}

bool isNameOfPng(const std::string& name) {
    return extensionOf(name) == ".png";
}

bool isSameFile(const std::string& one, const std::string& other) {
    std::error_code ignored; // of names that do not exist
    return placeOf(one) == placeOf(other) ||
           std::filesystem::equivalent(Platform::pathFromUtf8(one), Platform::pathFromUtf8(other), ignored);
}

void UnusedNames::reserve(const std::string& name) {
    reserved_.insert(placeOf(name));
}

std::string UnusedNames::unused(const std::string& name) {
    const std::size_t stemEnd = stemEndOf(name);
    const auto take = [this](const std::string& candidate) {
        const std::string place = placeOf(candidate);
        return !reserved_.contains(place) && given_.insert(inSmallLetters(place)).second;
    };
    std::string unused = name;
    for (int copy = 2; !take(unused); ++copy)
        unused = name.substr(0, stemEnd) + "_" + std::to_string(copy) + name.substr(stemEnd);
    return unused;
}

} // namespace Console
