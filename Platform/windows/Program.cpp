#include "Platform/Program.h"

#include "OwnConsole.h"

#include "Platform/Text.h"

#include <array>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <shellapi.h>

namespace {

/// What a console did with what is written to it.
struct OutputMode {
    std::atomic<HANDLE> console{nullptr}; ///< null if nothing was changed
    DWORD before = 0;
};

std::array<OutputMode, 2> outputModes;
std::atomic<UINT> codePageBefore{0}; ///< 0 if nothing was changed

/// So that a line can be drawn over, as on every terminal.
void obeyEscapes(DWORD stream, OutputMode& kept) {
    constexpr DWORD obeysEscapes = 0x0004; // ENABLE_VIRTUAL_TERMINAL_PROCESSING, of Windows 10
    const HANDLE self = GetCurrentProcess();
    HANDLE console = nullptr;
    if (GetConsoleMode(GetStdHandle(stream), &kept.before) == 0 || (kept.before & obeysEscapes) != 0)
        return;
    // One of its own: the stream may lead elsewhere by the end.
    if (DuplicateHandle(self, GetStdHandle(stream), self, &console, 0, FALSE, DUPLICATE_SAME_ACCESS) == 0)
        return;
    if (SetConsoleMode(console, kept.before | obeysEscapes) != 0)
        kept.console = console;
    else
        CloseHandle(console);
}

} // namespace

std::string Platform::programFolder() {
    constexpr DWORD longestPath = 32'768;
    std::wstring path(longestPath, L'\0');
    const DWORD length = GetModuleFileNameW(nullptr, path.data(), longestPath);
    if (length == 0 || length == longestPath)
        return {};
    path.resize(length);
    return utf8FromWide(std::filesystem::path(path).parent_path().wstring());
}

/// What main() is given went through the system's old code page, and lost what that has not.
std::vector<std::string> Platform::programArguments(int argc, const char* const* argv) {
    int count = 0;
    const std::unique_ptr<wchar_t*, decltype(&LocalFree)> words(CommandLineToArgvW(GetCommandLineW(), &count),
                                                                LocalFree);
    if (words == nullptr)
        return {argv, argv + argc};
    std::vector<std::string> arguments;
    for (int at = 0; at < count; ++at)
        arguments.push_back(utf8FromWide(words.get()[at]));
    return arguments;
}

/// The logging library's conversions are UTF-8's in any case: it is built so.
void Platform::useUtf8() {
    const UINT before = GetConsoleOutputCP();
    if (before != 0 && SetConsoleOutputCP(CP_UTF8) != 0)
        codePageBefore = before;
    obeyEscapes(STD_OUTPUT_HANDLE, outputModes[0]);
    obeyEscapes(STD_ERROR_HANDLE, outputModes[1]);
    std::atexit(giveBackConsole);
}

void Platform::giveBackConsole() noexcept {
    for (OutputMode& each : outputModes)
        if (const HANDLE console = each.console.exchange(nullptr)) {
            SetConsoleMode(console, each.before);
            CloseHandle(console);
        }
    if (const UINT before = codePageBefore.exchange(0))
        SetConsoleOutputCP(before);
}

/// By another way the system would have the libraries clean up, while the threads that it has ended hold
/// their locks.
void Platform::endAtOnce(int status) noexcept {
    giveBackConsole();
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(status));
    std::abort(); // never reached
}
