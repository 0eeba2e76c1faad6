// The module listing on Windows: toolhelp snapshots of the system's
// processes and of the current process's modules.

// clang-format off
#include <windows.h>  // first: tlhelp32.h relies on its types
#include <tlhelp32.h>
// clang-format on

#include "diagnostics/module_list.h"

namespace kel::detail {

bool currentProcessIdentity(ProcessIdentity& identity) {
    const HANDLE snapshot = ::CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    if (snapshot == INVALID_HANDLE_VALUE)
        return false;
    const DWORD self = ::GetCurrentProcessId();
    PROCESSENTRY32W entry = {};
    entry.dwSize = sizeof entry;
    bool found = false;
    for (BOOL more = ::Process32FirstW(snapshot, &entry); more && !found;
         more = ::Process32NextW(snapshot, &entry)) {
        if (entry.th32ProcessID == self) {
            identity.exeName = entry.szExeFile;
            identity.id = entry.th32ProcessID;
            found = true;
        }
    }
    ::CloseHandle(snapshot);
    return found;
}

bool loadedModules(std::vector<LoadedModule>& modules) {
    modules.clear();
    const HANDLE snapshot = ::CreateToolhelp32Snapshot(TH32CS_SNAPMODULE, ::GetCurrentProcessId());
    if (snapshot == INVALID_HANDLE_VALUE)
        return false;
    MODULEENTRY32W entry = {};
    entry.dwSize = sizeof entry;
    for (BOOL more = ::Module32FirstW(snapshot, &entry); more;
         more = ::Module32NextW(snapshot, &entry)) {
        modules.push_back(
            {reinterpret_cast<uint64_t>(entry.modBaseAddr), entry.modBaseSize, entry.szExePath});
    }
    ::CloseHandle(snapshot);
    return true;
}

}  // namespace kel::detail
