// "kel version": the version of an executable file.
//
//   kel version FILE
//
// A PE file (a Windows program or DLL) gives the version of its version
// resource, an ELF shared object the numbers of its real file name after
// ".so."; both are printed as KelLogfile::GetFileVersion gives them, for
// example "1.02.0013.0000". A file without a version is an error.

#include <kel/Kel.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "command.h"
#include "diagnostics/file_version.h"

namespace kel::tool {

namespace {

constexpr char kUsage[] =
    "usage: kel version FILE\n"
    "\n"
    "The version of an executable file, as KelLogfile::GetFileVersion gives it\n"
    "(\"1.02.0013.0000\"): the version resource of a PE file (a Windows program or\n"
    "DLL), the numbers after \".so.\" of an ELF shared object's real file name.\n"
    "A file without a version is an error (exit code 1).\n";

int runVersion(const std::vector<std::string>& arguments) {
    if (arguments.size() != 1 || arguments[0].empty() || arguments[0][0] == '-')
        return usageError(kUsage);
    const char* name = arguments[0].c_str();
    kel::detail::FileVersion version;
    int error = 0;
    switch (kel::detail::readFileVersion(KelString(name).getStringW(), version, error)) {
        case kel::detail::VersionLookup::Found:
            std::printf("%s\n",
                        KelString(kel::detail::formatFileVersion(version).c_str()).getStringA());
            return 0;
        case kel::detail::VersionLookup::CannotOpen:
            std::fprintf(stderr, "kel version: cannot open %s: %s\n", name, std::strerror(error));
            return 1;
        case kel::detail::VersionLookup::NoVersion:
            break;
    }
    std::fprintf(stderr, "kel version: %s has no version\n", name);
    return 1;
}

const Command versionCommand("version", "print the version of a PE or ELF file", kUsage,
                             runVersion);

}  // namespace

}  // namespace kel::tool
