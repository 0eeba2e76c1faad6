# Windows builds: native ones (Visual Studio, MinGW) and the MinGW cross
# build of cmake/toolchains/x86_64-w64-mingw32.cmake, whose tests run under
# Wine. Included by the top-level CMakeLists.txt; does nothing elsewhere.

if(NOT WIN32)
    return()
endif()

# Programs and DLLs side by side: Windows looks for a program's DLLs in the
# program's own directory, so every test finds kel.dll there.
if(NOT CMAKE_RUNTIME_OUTPUT_DIRECTORY)
    set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin")
endif()

# "kel.dll", not MinGW's default "libkel.dll"; the import library keeps its
# usual name (libkel.dll.a, kel.lib).
set(CMAKE_SHARED_LIBRARY_PREFIX "")

# GoogleTest compiled as part of the build from a source tree, when one is
# named: the cross build names Debian's /usr/src/googletest; a native build
# may name a checkout, or leave this empty and have find_package(GTest)
# find an installed GoogleTest (vcpkg, MSYS2, ...). Only the libraries that
# tests link get built.
if(CMAKE_CROSSCOMPILING AND EXISTS /usr/src/googletest/CMakeLists.txt)
    set(_kel_googletest_default /usr/src/googletest)
endif()
set(KEL_GOOGLETEST_SOURCE_DIR "${_kel_googletest_default}" CACHE PATH
    "GoogleTest sources to build the tests with (empty: find an installed GoogleTest)")
if(KEL_BUILD_TESTS AND KEL_GOOGLETEST_SOURCE_DIR AND NOT TARGET GTest::gtest)
    set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
    set(gtest_force_shared_crt ON CACHE BOOL "" FORCE)  # the same C runtime as the library
    add_subdirectory("${KEL_GOOGLETEST_SOURCE_DIR}" "${PROJECT_BINARY_DIR}/googletest"
        EXCLUDE_FROM_ALL SYSTEM)
endif()

if(NOT CMAKE_CROSSCOMPILING)
    return()
endif()

# ----- the cross build ------------------------------------------------------
#
# Dependencies come from the distribution, never from a download: zlib from
# the MinGW sysroot (libz-mingw-w64-dev), GoogleTest compiled from the
# sources in /usr/src/googletest (above), Boost's header-only libraries
# through a directory that holds nothing but a link to the distribution's
# headers, and minizip (when switched on) compiled from Debian's zlib source
# package by scripts/mingw-minizip.sh. What is built for Windows goes into
# one prefix that find_package, find_path, find_library and pkg-config
# search, so a subsystem's CMakeLists.txt finds its dependencies with the
# same calls as on Linux.

# Static libraries first (libz.a before the import library libz.dll.a), so
# that the programs need no DLL from the MinGW sysroot when they run.
set(CMAKE_FIND_LIBRARY_SUFFIXES .a .dll.a .lib)

set(KEL_MINGW_DEPS_DIR "${PROJECT_BINARY_DIR}/deps" CACHE PATH
    "Prefix of the dependencies built for the MinGW cross build")
list(APPEND CMAKE_FIND_ROOT_PATH "${KEL_MINGW_DEPS_DIR}")
set(_kel_pkgconfig_dirs "${KEL_MINGW_DEPS_DIR}/lib/pkgconfig")
foreach(_kel_root IN LISTS CMAKE_FIND_ROOT_PATH)
    list(APPEND _kel_pkgconfig_dirs "${_kel_root}/lib/pkgconfig")
endforeach()
list(REMOVE_DUPLICATES _kel_pkgconfig_dirs)
string(REPLACE ";" ":" _kel_pkgconfig_dirs "${_kel_pkgconfig_dirs}")
set(ENV{PKG_CONFIG_LIBDIR} "${_kel_pkgconfig_dirs}")  # never the build machine's .pc files
set(ENV{PKG_CONFIG_PATH} "")

# Boost: a private include directory that holds only "boost", a link to the
# distribution's headers (never /usr/include itself, whose C library
# headers are the build machine's). FindBoost takes it from here.
find_path(KEL_HOST_BOOST_INCLUDE_DIR boost/version.hpp
    PATHS /usr/include NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
if(KEL_HOST_BOOST_INCLUDE_DIR)
    file(MAKE_DIRECTORY "${KEL_MINGW_DEPS_DIR}/boost-include")
    file(CREATE_LINK "${KEL_HOST_BOOST_INCLUDE_DIR}/boost"
        "${KEL_MINGW_DEPS_DIR}/boost-include/boost" SYMBOLIC)
    set(Boost_INCLUDE_DIR "${KEL_MINGW_DEPS_DIR}/boost-include" CACHE PATH "Boost headers")
    set(Boost_NO_BOOST_CMAKE ON)
endif()

# minizip: compiled from Debian's zlib sources into the prefix, with a
# minizip.pc, so that pkg_check_modules(... minizip) finds it as it does on
# Linux.
option(KEL_MINGW_MINIZIP "Build minizip for the MinGW cross build" OFF)
if(KEL_MINGW_MINIZIP AND NOT EXISTS "${KEL_MINGW_DEPS_DIR}/lib/libminizip.a")
    message(STATUS "Building minizip for Windows into ${KEL_MINGW_DEPS_DIR}")
    execute_process(
        COMMAND bash "${PROJECT_SOURCE_DIR}/scripts/mingw-minizip.sh" "${KEL_MINGW_DEPS_DIR}"
        RESULT_VARIABLE _kel_minizip_result)
    if(NOT _kel_minizip_result EQUAL 0)
        message(FATAL_ERROR "scripts/mingw-minizip.sh failed")
    endif()
endif()
