// "kel modules": the module listing of the kel process.
//
//   kel modules [FILE]    write the listing to FILE, or print it
//
// The listing is the one KelLogfile::listModules writes: the process line,
// two empty lines, the column header, and one line per loaded module with
// its base address, size, version and path.

#include <kel/Kel.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "command.h"
#include "diagnostics/module_list.h"

namespace kel::tool {

namespace {

constexpr char kUsage[] =
    "usage: kel modules [FILE]\n"
    "\n"
    "The module listing of this process, as KelLogfile::listModules writes it:\n"
    "the process line, then one line per loaded module with its base address,\n"
    "size, version and path. Written to FILE (replacing it), or printed.\n";

// The listing on standard output, in the narrow code page.
int printListing() {
    kel::detail::ProcessIdentity identity;
    if (!kel::detail::currentProcessIdentity(identity)) {
        std::fprintf(stderr, "kel modules: the system reports no process for this program\n");
        return 1;
    }
    std::wstring text = kel::detail::moduleListingHeader(identity);
    std::vector<kel::detail::LoadedModule> modules;
    kel::detail::loadedModules(modules);
    for (const kel::detail::LoadedModule& module : modules)
        text += kel::detail::moduleListingLine(module, kel::detail::moduleVersion(module.path));
    std::fputs(KelString(text.c_str()).getStringA(), stdout);
    return 0;
}

int runModules(const std::vector<std::string>& arguments) {
    if (arguments.size() > 1 ||
        (arguments.size() == 1 && (arguments[0].empty() || arguments[0][0] == '-')))
        return usageError(kUsage);
    if (arguments.empty())
        return printListing();
    const int error = kel::detail::writeModuleListing(KelString(arguments[0].c_str()).getStringW());
    if (error != 0) {
        std::fprintf(stderr, "kel modules: cannot write %s: %s\n", arguments[0].c_str(),
                     std::strerror(error));
        return 1;
    }
    return 0;
}

const Command modulesCommand("modules", "list the modules loaded into this process", kUsage,
                             runModules);

}  // namespace

}  // namespace kel::tool
