// Runtime services on Windows: the system's clock and time zone, the process
// environment, file attributes, full paths and COM strings.

#include "text/runtime_services.h"

#include <windows.h>

#include <oleauto.h>

#include <vector>

namespace kel::detail::services {

long long currentTime() {
    return static_cast<long long>(_time64(nullptr));
}

bool localCalendarTime(long long time, struct tm& result) {
    const __time64_t t = static_cast<__time64_t>(time);
    return _localtime64_s(&result, &t) == 0;
}

bool environmentValue(const std::string& name, std::string& value) {
    const DWORD needed = GetEnvironmentVariableA(name.c_str(), nullptr, 0);
    if (needed == 0)
        return GetLastError() != ERROR_ENVVAR_NOT_FOUND && (value.clear(), true);
    std::vector<char> buffer(needed);
    const DWORD length = GetEnvironmentVariableA(name.c_str(), buffer.data(), needed);
    value.assign(buffer.data(), length);
    return true;
}

bool environmentValue(const std::wstring& name, std::wstring& value) {
    const DWORD needed = GetEnvironmentVariableW(name.c_str(), nullptr, 0);
    if (needed == 0)
        return GetLastError() != ERROR_ENVVAR_NOT_FOUND && (value.clear(), true);
    std::vector<wchar_t> buffer(needed);
    const DWORD length = GetEnvironmentVariableW(name.c_str(), buffer.data(), needed);
    value.assign(buffer.data(), length);
    return true;
}

const wchar_t* pathListSeparators() {
    return L";";
}

bool pathExists(const std::wstring& path) {
    return !path.empty() && GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

std::wstring fullPath(const std::wstring& path) {
    const DWORD needed = GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
    if (needed == 0)
        return std::wstring();
    std::vector<wchar_t> buffer(needed);
    const DWORD length = GetFullPathNameW(path.c_str(), needed, buffer.data(), nullptr);
    return std::wstring(buffer.data(), length);
}

wchar_t* allocateBstr(const wchar_t* text, unsigned int length) {
    return SysAllocStringLen(text, length);
}

void freeBstr(void* bstr) {
    SysFreeString(static_cast<BSTR>(bstr));
}

void* allocateBstrBlock(const void* data, size_t bytes) {
    return SysAllocStringByteLen(static_cast<const char*>(data), static_cast<UINT>(bytes));
}

}  // namespace kel::detail::services
