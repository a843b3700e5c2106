#include "VantrelCommon/PlenarDiagnostics.h"

#include "Platform/PrivateFolder.h"
#include "Platform/Text.h"
#include "ReferenceHost/HostControl.h"

#include <mutex>
#include <utility>

namespace {

std::function<std::wstring()>& folderSource() {
    static std::function<std::wstring()> instance;
    return instance;
}

struct NamedFolder {
    std::mutex mutex;
    std::wstring name; ///< empty: the host's own
};

NamedFolder& namedFolder() {
    static NamedFolder instance;
    return instance;
}

std::wstring nameOfFolder() {
    NamedFolder& folder = namedFolder();
    const std::scoped_lock lock(folder.mutex);
    return folder.name;
}

} // namespace

std::wstring PlenarDiagnostics::getImagesSubDirectory() {
    if (folderSource())
        return folderSource()();
    if (std::wstring named = nameOfFolder(); !named.empty())
        return named;
    const ReferenceHost::OwnImagesFolder own = ReferenceHost::makeOwnImagesFolder();
    return Platform::wideFromUtf8(own.complaint.empty() ? own.name : Platform::noFolder);
}

void ReferenceHost::setImagesSubDirectory(const std::wstring& name) {
    NamedFolder& folder = namedFolder();
    const std::scoped_lock lock(folder.mutex);
    folder.name = name;
}

void ReferenceHost::setImagesFolderSource(std::function<std::wstring()> source) {
    folderSource() = std::move(source);
}

ReferenceHost::OwnImagesFolder ReferenceHost::makeOwnImagesFolder() {
    const std::string name = Platform::stateFolder("korva-diagnostics");
    return {name, Platform::makePrivateFolder(name)};
}
