#pragma once
// Paths and their UTF-8, whatever this system's own form of them is.

#include <filesystem>
#include <string>
#include <string_view>

namespace Platform {

/// The path that the text names. Where a system keeps its paths as wide text, malformed text becomes U+FFFD;
/// elsewhere it is kept as it is.
std::filesystem::path pathFromUtf8(std::string_view utf8);

/// The twin of pathFromUtf8.
std::string utf8FromPath(const std::filesystem::path& path);

/// Whether the character of a path's text ends the name of a folder: a slash, and what this system has
/// besides.
bool isSeparator(char character) noexcept;

} // namespace Platform
