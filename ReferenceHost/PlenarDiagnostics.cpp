#include "VantrelCommon/PlenarDiagnostics.h"

#include "Platform/Text.h"
#include "ReferenceHost/HostControl.h"

#include <filesystem>
#include <mutex>
#include <system_error>

namespace {

std::wstring defaultFolder() {
    std::error_code none;
    const std::filesystem::path folder = std::filesystem::temp_directory_path(none) / "korva-diagnostics";
    const std::u8string text = folder.u8string();
    return Platform::wideFromUtf8({reinterpret_cast<const char*>(text.data()), text.size()});
}

struct ImagesFolder {
    std::mutex mutex;
    std::wstring name = defaultFolder();
};

ImagesFolder& imagesFolder() {
    static ImagesFolder instance;
    return instance;
}

} // namespace

std::wstring PlenarDiagnostics::getImagesSubDirectory() {
    ImagesFolder& folder = imagesFolder();
    const std::scoped_lock lock(folder.mutex);
    return folder.name;
}

void ReferenceHost::setImagesSubDirectory(const std::wstring& name) {
    ImagesFolder& folder = imagesFolder();
    const std::scoped_lock lock(folder.mutex);
    folder.name = name;
}
