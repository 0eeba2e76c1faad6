// The known folders on Windows: the shell's personal folder and the root
// of drive C.

// clang-format off
#include <windows.h>  // first: shlobj.h relies on its types
#include <shlobj.h>
// clang-format on

#include "platform/known_folders.h"

namespace kel::detail {

std::wstring documentsFolder() {
    HANDLE token = nullptr;
    if (!::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY | TOKEN_IMPERSONATE, &token))
        token = nullptr;
    wchar_t buffer[MAX_PATH] = {};
    const HRESULT result =
        ::SHGetFolderPathW(nullptr, CSIDL_PERSONAL, token, SHGFP_TYPE_CURRENT, buffer);
    if (token != nullptr)
        ::CloseHandle(token);
    if (FAILED(result))
        return std::wstring();
    std::wstring folder = buffer;
    while (folder.size() > 3 && (folder.back() == L'\\' || folder.back() == L'/'))
        folder.pop_back();
    return folder;
}

// The drive root exists on every Windows system; nothing to create.
std::wstring defaultLogFile(const std::wstring& product, bool /*createFolder*/) {
    return L"c:\\" + product + L".log";
}

}  // namespace kel::detail
