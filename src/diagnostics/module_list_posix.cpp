// The module listing on POSIX: /proc/self for the process, the dynamic
// loader's list (dl_iterate_phdr) for its modules.

#include <link.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "diagnostics/module_list.h"
#include "platform/path.h"

namespace kel::detail {

namespace {

std::string executablePath() {
    std::string buffer(PATH_MAX, '\0');
    for (;;) {
        const ssize_t n = ::readlink("/proc/self/exe", &buffer[0], buffer.size());
        if (n < 0)
            return std::string();
        if (static_cast<size_t>(n) < buffer.size()) {
            buffer.resize(static_cast<size_t>(n));
            return buffer;
        }
        buffer.resize(buffer.size() * 2);
    }
}

// One file mapping of /proc/self/maps.
struct Mapping {
    uint64_t start = 0;
    uint64_t end = 0;
    std::string path;
};

// The mappings backed by a file ("/..."); [vdso], [heap] and anonymous
// ones are left out.
std::vector<Mapping> fileMappings() {
    std::vector<Mapping> mappings;
    std::FILE* maps = std::fopen("/proc/self/maps", "r");
    if (maps == nullptr)
        return mappings;
    char line[PATH_MAX + 256];
    while (std::fgets(line, sizeof line, maps) != nullptr) {
        Mapping m;
        unsigned long long start = 0;
        unsigned long long end = 0;
        int pathStart = 0;
        if (std::sscanf(line, "%llx-%llx %*s %*s %*s %*s %n", &start, &end, &pathStart) < 2 ||
            pathStart <= 0 || line[pathStart] != '/') {
            continue;
        }
        m.start = start;
        m.end = end;
        m.path = line + pathStart;
        while (!m.path.empty() && (m.path.back() == '\n' || m.path.back() == '\r'))
            m.path.pop_back();
        mappings.push_back(m);
    }
    std::fclose(maps);
    return mappings;
}

struct Walk {
    std::vector<LoadedModule>* modules = nullptr;
    const std::vector<Mapping>* mappings = nullptr;
    std::string executable;
    bool first = true;
};

// The file of a loaded object: its name when the loader keeps a full path,
// the executable for the main program (which the loader lists first,
// without a name), else the file mapped at its load address. Empty for an
// object without a file, such as the vdso.
std::string objectFile(const dl_phdr_info& info, uint64_t base, const Walk& walk) {
    const char* name = info.dlpi_name != nullptr ? info.dlpi_name : "";
    if (name[0] == '/')
        return name;
    if (walk.first && name[0] == '\0')
        return walk.executable;
    for (const Mapping& m : *walk.mappings) {
        if (base >= m.start && base < m.end)
            return m.path;
    }
    return std::string();
}

int collect(dl_phdr_info* info, size_t, void* data) {
    Walk& walk = *static_cast<Walk*>(data);
    uint64_t low = UINT64_MAX;
    uint64_t high = 0;
    for (ElfW(Half) i = 0; i < info->dlpi_phnum; ++i) {
        const ElfW(Phdr)& segment = info->dlpi_phdr[i];
        if (segment.p_type != PT_LOAD)
            continue;
        low = std::min<uint64_t>(low, segment.p_vaddr);
        high = std::max<uint64_t>(high, segment.p_vaddr + segment.p_memsz);
    }
    if (low < high) {
        const uint64_t base = info->dlpi_addr + low;
        const std::string file = objectFile(*info, base, walk);
        if (!file.empty())
            walk.modules->push_back({base, high - low, fromNativePath(file)});
    }
    walk.first = false;
    return 0;
}

}  // namespace

bool currentProcessIdentity(ProcessIdentity& identity) {
    const std::string path = executablePath();
    if (path.empty())
        return false;
    identity.exeName = fromNativePath(path.substr(path.find_last_of('/') + 1));
    identity.id = static_cast<unsigned long>(::getpid());
    return true;
}

bool loadedModules(std::vector<LoadedModule>& modules) {
    const std::vector<Mapping> mappings = fileMappings();
    Walk walk;
    walk.modules = &modules;
    walk.mappings = &mappings;
    walk.executable = executablePath();
    modules.clear();
    ::dl_iterate_phdr(collect, &walk);
    return !modules.empty();
}

}  // namespace kel::detail
