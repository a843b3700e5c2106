#include "Platform/PrivateFolder.h"

#include "OwnHandle.h"
#include "Platform/Text.h"
#include "SystemText.h"

#include <aclapi.h>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <sddl.h>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Platform::OwnHandle;
using LocalMemory = std::unique_ptr<void, decltype(&LocalFree)>;

/// The folder that a variable of the environment names; empty if it names none.
fs::path folderNamedBy(const wchar_t* variable) {
    constexpr DWORD longestPath = 32'768;
    std::wstring text(longestPath, L'\0');
    const DWORD length = GetEnvironmentVariableW(variable, text.data(), longestPath);
    text.resize(length < longestPath ? length : 0);
    const fs::path folder = text;
    return folder.is_absolute() ? folder : fs::path();
}

/// Who runs this, as the system's text for it; empty if it does not say.
std::wstring userName() {
    HANDLE token = INVALID_HANDLE_VALUE;
    if (OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token) == 0)
        return {};
    const OwnHandle owner(token);
    DWORD bytes = 0;
    GetTokenInformation(token, TokenUser, nullptr, 0, &bytes);
    std::vector<std::max_align_t> buffer(bytes / sizeof(std::max_align_t) + 1);
    wchar_t* text = nullptr;
    if (GetTokenInformation(token, TokenUser, buffer.data(), bytes, &bytes) == 0 ||
        ConvertSidToStringSidW(reinterpret_cast<const TOKEN_USER*>(buffer.data())->User.Sid, &text) == 0)
        return {};
    const LocalMemory textOwner(text, LocalFree);
    return text;
}

/// Makes a folder that is the user's, and the system's and its administrators', who may do anything in any
/// case. Success, or why not.
DWORD make(const fs::path& folder) {
    const std::wstring rights = L"D:P(A;OICI;FA;;;" + userName() + L")(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)";
    SECURITY_ATTRIBUTES attributes{sizeof attributes, nullptr, FALSE};
    if (ConvertStringSecurityDescriptorToSecurityDescriptorW(rights.c_str(), SDDL_REVISION_1,
                                                             &attributes.lpSecurityDescriptor, nullptr) == 0)
        return GetLastError();
    const LocalMemory owner(attributes.lpSecurityDescriptor, LocalFree);
    return CreateDirectoryW(folder.c_str(), &attributes) != 0 ? ERROR_SUCCESS : GetLastError();
}

/// The folders that the path goes through.
void makeFolders(const fs::path& path) {
    fs::path folder;
    for (const fs::path& name : path) {
        folder /= name;
        make(folder); // mostly there already; what fails shows in the last one
    }
}

bool isWellKnown(PSID who, WELL_KNOWN_SID_TYPE type) {
    return IsWellKnownSid(who, type) != 0;
}

bool isTrusted(PSID who, PSID user) {
    return EqualSid(who, user) != 0 || isWellKnown(who, WinLocalSystemSid) ||
           isWellKnown(who, WinBuiltinAdministratorsSid) || isWellKnown(who, WinCreatorOwnerSid) ||
           isWellKnown(who, WinCreatorOwnerRightsSid);
}

/// The rights to remove what is in a folder or the folder itself, or to take these rights.
constexpr ACCESS_MASK rightsToReplace = FILE_DELETE_CHILD | DELETE | WRITE_DAC | WRITE_OWNER | GENERIC_ALL;

/// Whether the list gives any of these rights to anybody but the user and those who may anything; entries
/// with these flags do not count. No list gives everybody all.
bool givesOthers(ACCESS_MASK rights, BYTE flagsThatDoNotCount, PACL list, PSID user) {
    if (list == nullptr)
        return true;
    for (DWORD at = 0; at < list->AceCount; ++at) {
        void* entry = nullptr;
        if (GetAce(list, at, &entry) == 0)
            return true;
        auto* const allowed = static_cast<ACCESS_ALLOWED_ACE*>(entry);
        if (allowed->Header.AceType == ACCESS_DENIED_ACE_TYPE || (allowed->Mask & rights) == 0 ||
            (allowed->Header.AceFlags & flagsThatDoNotCount) != 0)
            continue;
        if (allowed->Header.AceType != ACCESS_ALLOWED_ACE_TYPE || !isTrusted(&allowed->SidStart, user))
            return true;
    }
    return false;
}

std::string notMade(DWORD error) {
    return "cannot be made: " + Platform::textOf(error);
}

/// Whose a folder is, and who may do what with it.
class Rights {
public:
    explicit Rights(const fs::path& folder) {
        std::wstring name = folder.wstring();
        PSECURITY_DESCRIPTOR all = nullptr;
        PSID user = nullptr;
        error_ = GetNamedSecurityInfoW(name.data(), SE_FILE_OBJECT,
                                       OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION, &owner_,
                                       nullptr, &list_, nullptr, &all);
        all_.reset(all);
        if (error_ == ERROR_SUCCESS && ConvertStringSidToSidW(userName().c_str(), &user) == 0)
            error_ = GetLastError();
        user_.reset(user);
    }

    DWORD error() const { return error_; }
    bool isTheUsers() const { return isTrusted(owner_, user_.get()); }
    bool areOthersLetIn() const { return givesOthers(~ACCESS_MASK{0}, 0, list_, user_.get()); }
    bool keepWhatIsTheUsers() const {
        return isTheUsers() && !givesOthers(rightsToReplace, INHERIT_ONLY_ACE, list_, user_.get());
    }

private:
    LocalMemory all_{nullptr, LocalFree}; ///< what the others point into
    LocalMemory user_{nullptr, LocalFree};
    PSID owner_ = nullptr;
    PACL list_ = nullptr;
    DWORD error_ = ERROR_SUCCESS;
};

std::string complaintOf(const fs::path& folder) {
    const Rights outer(folder.parent_path().empty() ? fs::path(L".") : folder.parent_path());
    if (outer.error() != ERROR_SUCCESS || !outer.keepWhatIsTheUsers())
        return "is where others may put another folder in its place";
    const DWORD attributes = GetFileAttributesW(folder.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES)
        return notMade(GetLastError());
    if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0)
        return "is a symbolic link";
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
        return "is not a folder";
    const Rights rights(folder);
    if (rights.error() != ERROR_SUCCESS)
        return notMade(rights.error());
    if (!rights.isTheUsers())
        return "belongs to somebody else";
    return rights.areOthersLetIn() ? "is open to others" : "";
}

} // namespace

const char* const Platform::noFolder = "NUL";
const char* const Platform::statePlaces = "%LOCALAPPDATA%";

std::string Platform::stateFolder(const std::string& name) {
    const std::wstring wideName = wideFromUtf8(name);
    for (const wchar_t* const variable : {L"LOCALAPPDATA", L"TEMP"})
        if (const fs::path folder = folderNamedBy(variable); !folder.empty())
            return utf8FromWide((folder / wideName).wstring());
    return utf8FromWide((fs::path(L"C:\\") / wideName).wstring());
}

std::string Platform::makePrivateFolder(const std::string& utf8Path) {
    const fs::path folder(wideFromUtf8(utf8Path));
    makeFolders(folder.parent_path());
    const DWORD error = make(folder);
    return error == ERROR_SUCCESS || error == ERROR_ALREADY_EXISTS ? complaintOf(folder) : notMade(error);
}
