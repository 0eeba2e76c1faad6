# Cross-compiling for 64-bit Windows with Debian's MinGW-w64 (the -posix
# threading variant of g++-mingw-w64-x86-64), the test programs run
# through Wine.
#
#   cmake --preset mingw        (or: -DCMAKE_TOOLCHAIN_FILE=<this file>)
#
# The binaries are self-contained: the GCC runtime, libstdc++ and winpthread
# are linked statically (and cmake/KelWindows.cmake makes find_library prefer
# static libraries such as zlib's), so kel.dll and the programs need no DLL
# beyond the system's own, under Wine as on a Windows machine. A DLL missing
# under Wine shows only as a silent exit with code 53.

set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(KEL_MINGW_TRIPLET x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${KEL_MINGW_TRIPLET}-gcc-posix)
set(CMAKE_CXX_COMPILER ${KEL_MINGW_TRIPLET}-g++-posix)
set(CMAKE_RC_COMPILER ${KEL_MINGW_TRIPLET}-windres)

# Headers and libraries come from the MinGW sysroot (zlib from
# libz-mingw-w64-dev lives there) and never from the build machine's /usr.
set(CMAKE_FIND_ROOT_PATH /usr/${KEL_MINGW_TRIPLET})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# DWARF 4, which Wine's debug-help library reads.
foreach(lang C CXX)
    set(CMAKE_${lang}_FLAGS_DEBUG_INIT "-gdwarf-4")
    set(CMAKE_${lang}_FLAGS_RELWITHDEBINFO_INIT "-gdwarf-4")
endforeach()
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "-static")

# CTest (and any build step that runs a built program) goes through Wine,
# in a prefix of this build's own, quiet, without the Mono and Gecko
# installers, and in one locale whatever the machine's (Wine takes the
# Windows locale, and so the ANSI code page, from it: C.UTF-8 gives en-US
# and code page 1252), so that the results do not depend on the machine.
# scripts/windows-wine.sh creates the prefix and keeps a wine server running
# for it while the tests run. wine64 is called directly where it exists: the
# "wine" launcher of a 64-bit-only installation only adds a warning about
# the missing 32-bit half. cmake/wine-run.sh starts the program, says how a
# failing one ended, and starts once more a program that Wine could not.
find_program(KEL_WINE NAMES wine64 wine PATHS /usr/lib/wine NO_CMAKE_FIND_ROOT_PATH)
set(KEL_WINEPREFIX "${CMAKE_BINARY_DIR}/wineprefix" CACHE PATH "Wine prefix of the tests")
get_filename_component(_kel_wine_run "${CMAKE_CURRENT_LIST_DIR}/../wine-run.sh" ABSOLUTE)
if(KEL_WINE)
    set(CMAKE_CROSSCOMPILING_EMULATOR
        ${CMAKE_COMMAND} -E env WINEPREFIX=${KEL_WINEPREFIX} WINEDEBUG=-all
        WINEDLLOVERRIDES=mscoree,mshtml= LC_ALL=C.UTF-8
        bash ${_kel_wine_run} ${KEL_WINE})
endif()
