#include "NativeCameraKorva/KorvaPictureDump.h"

#include "NativeCameraKorva/KorvaLog.h"
#include "Platform/CRuntime.h"
#include "Platform/Text.h"
#include "VantrelCommon/PlenarDiagnostics.h"

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <span>
#include <string>

namespace Korva {
namespace {

const log4cxx::LoggerPtr logger = log4cxx::Logger::getLogger("Plenar.KorvaCamera.KorvaCapture");

constexpr char separator = static_cast<char>(std::filesystem::path::preferred_separator);

/// The local time as the C library writes it, without what a file name cannot hold; empty if there is
/// none.
std::string timeText() {
    const __time64_t now = _time64(nullptr);
    const char* const formatted = _ctime64(&now);
    if (formatted == nullptr)
        return {};
    std::string text = formatted;
    text.pop_back(); // the newline
    // By no regular expression: the C++ library fills a table of its own for those, which is a race of two
    // cameras.
    std::ranges::replace_if(
        text, [](char letter) { return letter == '*' || letter == ':'; }, '-');
    return text;
}

void writeFile(const std::string& path, const void* bytes, std::size_t count) {
    std::FILE* const file = Platform::fopen(path.c_str(), "wb");
    if (file == nullptr)
        return;
    // Nothing is reported, so neither result is looked at.
    static_cast<void>(Platform::fwrite(bytes, count, 1, file));
    static_cast<void>(Platform::fclose(file));
}

void writeDump(std::span<const unsigned char> picture, const PictureFormat& format) {
    const std::string time = timeText();
    if (time.empty())
        return;
    const std::string name = "KorvaImage " + time;
    KORVA_LOG(logger, Trace, "KorvaHelper", "Dumping Korva picture to " << name);
    const std::string folder = Platform::utf8FromWide(PlenarDiagnostics::getImagesSubDirectory());
    // Nothing to write is not handed on as a null pointer, which the C library need not take.
    const void* const bytes = picture.empty() ? "" : static_cast<const void*>(picture.data());
    writeFile(folder + separator + name + format.extension, bytes, picture.size());
}

} // namespace

void dumpPicture(std::span<const unsigned char> file, const PictureFormat& format) {
    try {
        writeDump(file, format);
    } catch (...) {
        // A diagnostic aid: short memory or a host that throws must not cost the picture.
        return;
    }
}

} // namespace Korva
