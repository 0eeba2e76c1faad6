// The modules loaded into the current process, for the module listing.
//
// Windows: the toolhelp snapshots of the system's processes and of the
// current process's modules. POSIX: the process's name from /proc/self/exe
// and its id; the main executable and every shared object with a file, in
// the order the dynamic loader keeps them (dl_iterate_phdr).
//
//   ProcessIdentity self;
//   std::vector<LoadedModule> modules;
//   if (currentProcessIdentity(self) && loadedModules(modules)) ...

#ifndef KEL_DIAGNOSTICS_MODULE_LIST_H
#define KEL_DIAGNOSTICS_MODULE_LIST_H

#include <cstdint>
#include <string>
#include <vector>

namespace kel::detail {

struct ProcessIdentity {
    std::wstring exeName;  // the executable's file name, without its folder
    unsigned long id = 0;
};

struct LoadedModule {
    uint64_t base = 0;  // load address
    uint64_t size = 0;  // bytes from the load address to the end of the image
    std::wstring path;  // full path of the module's file
};

// The current process's executable name and id; false when the system
// does not report them.
bool currentProcessIdentity(ProcessIdentity& identity);

// The current process's modules, in the order the system lists them;
// false when the system does not list them.
bool loadedModules(std::vector<LoadedModule>& modules);

// The listing's first lines: "<exe> PID : <id>", two empty lines and the
// column header "Base", "Size", "Version", "Path".
std::wstring moduleListingHeader(const ProcessIdentity& identity);

// One line of the listing, base address cut to its low 32 bits; an empty
// version leaves its 16 columns blank.
std::wstring moduleListingLine(const LoadedModule& module, const std::wstring& version);

// The version text of a module's file, empty when it has none.
std::wstring moduleVersion(const std::wstring& path);

// Writes the listing of the current process to `target`, replacing the
// file; one open and close per module line. 0, or the errno value of the
// failed open (ESRCH when the system reports no process identity).
int writeModuleListing(const std::wstring& target);

}  // namespace kel::detail

#endif  // KEL_DIAGNOSTICS_MODULE_LIST_H
