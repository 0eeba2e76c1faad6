#!/usr/bin/env bash
# Rebuilds the small PE files of this folder with the MinGW-w64 toolchain
# (g++-mingw-w64-x86-64 brings the compiler, binutils-mingw-w64 windres):
#
#   versioned.dll     a DLL whose version resource says 1.2.3.4
#   strings_only.dll  a DLL with a resource directory but no version resource
#   unversioned.dll   a DLL without any resource
#
# They are a few kilobytes each, so that they also serve as fuzzing seeds.
# Usage: bash tests/diagnostics/data/make_samples.sh [output folder]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
out=$(cd "${1:-$here}" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

cat >dll.c <<'C'
int __stdcall DllMain(void* module, unsigned long reason, void* reserved) {
    (void)module;
    (void)reason;
    (void)reserved;
    return 1;
}
C

cat >version.rc <<'RC'
#include <winver.h>
VS_VERSION_INFO VERSIONINFO
FILEVERSION     1,2,3,4
PRODUCTVERSION  1,2,3,4
FILEFLAGSMASK   VS_FFI_FILEFLAGSMASK
FILEFLAGS       0
FILEOS          VOS_NT_WINDOWS32
FILETYPE        VFT_DLL
FILESUBTYPE     VFT2_UNKNOWN
BEGIN
    BLOCK "StringFileInfo"
    BEGIN
        BLOCK "040904B0"
        BEGIN
            VALUE "FileDescription", "version sample"
            VALUE "FileVersion",     "1.2.3.4"
        END
    END
    BLOCK "VarFileInfo"
    BEGIN
        VALUE "Translation", 0x409, 1200
    END
END
RC

cat >strings.rc <<'RC'
STRINGTABLE
BEGIN
    1 "a string, and no version"
END
RC

tool=x86_64-w64-mingw32
flags=(-Os -fno-ident -fno-asynchronous-unwind-tables -shared -nostdlib -s
       -Wl,--entry,DllMain -Wl,--exclude-all-symbols -Wl,--no-insert-timestamp)
$tool-windres -i version.rc -o version.o
$tool-windres -i strings.rc -o strings.o
$tool-gcc "${flags[@]}" -o "$out/versioned.dll" dll.c version.o
$tool-gcc "${flags[@]}" -o "$out/strings_only.dll" dll.c strings.o
$tool-gcc "${flags[@]}" -o "$out/unversioned.dll" dll.c
