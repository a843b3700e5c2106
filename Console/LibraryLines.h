#pragma once
// What libraries write to standard error by themselves, such as libpng's warnings of a camera's picture.

#include <cstddef>
#include <string_view>

namespace Console {

/// Shows such lines on standard error as "korva: from a library: LINE", fit for a terminal: nothing in them
/// can look like a line of the tool's own. After the first `mostLines` one line says that the others are left
/// out.
class LibraryLines {
public:
    static constexpr std::size_t mostLines = 20;

    /// `line` may hold any bytes.
    void show(std::string_view line);

private:
    std::size_t seen_ = 0;
};

} // namespace Console
