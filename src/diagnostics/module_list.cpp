#include "diagnostics/module_list.h"

#include <cerrno>

#include "diagnostics/file_version.h"
#include "diagnostics/log_stream.h"

namespace kel::detail {

namespace {

constexpr wchar_t kHeaderFormat[] = L"%s PID : %d\n\n\n%-12s%-10s%-16s%s\n";
constexpr wchar_t kLineFormat[] = L"0x%08x  0x%-8x%-16s%s\n";

}  // namespace

std::wstring moduleListingHeader(const ProcessIdentity& identity) {
    return formatText(kHeaderFormat, identity.exeName.c_str(), static_cast<int>(identity.id),
                      L"Base", L"Size", L"Version", L"Path");
}

std::wstring moduleListingLine(const LoadedModule& module, const std::wstring& version) {
    return formatText(kLineFormat, static_cast<unsigned int>(module.base & 0xFFFFFFFFu),
                      static_cast<unsigned int>(module.size), version.c_str(), module.path.c_str());
}

std::wstring moduleVersion(const std::wstring& path) {
    FileVersion version;
    int error = 0;
    if (readFileVersion(path, version, error) != VersionLookup::Found)
        return std::wstring();
    return formatFileVersion(version);
}

int writeModuleListing(const std::wstring& target) {
    ProcessIdentity identity;
    if (!currentProcessIdentity(identity))
        return ESRCH;
    truncateLeavingOpen(target);
    int error = 0;
    std::FILE* stream = openLog(target, L"a+", &error);
    if (stream == nullptr)
        return error;
    printLog(stream, L"%s", moduleListingHeader(identity).c_str());
    closeLog(stream);
    std::vector<LoadedModule> modules;
    if (!loadedModules(modules))
        return 0;
    for (const LoadedModule& module : modules) {
        const std::wstring line = moduleListingLine(module, moduleVersion(module.path));
        // One open and close per line: each line is on disk before the next
        // module's version is read.
        stream = openLog(target, L"a+");
        if (stream == nullptr)
            continue;
        printLog(stream, L"%s", line.c_str());
        closeLog(stream);
    }
    return 0;
}

}  // namespace kel::detail
