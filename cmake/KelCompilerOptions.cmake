# Compiler settings shared by the library, its tests, tools and benchmarks.

add_library(kel_warnings INTERFACE)
if(MSVC)
    target_compile_options(kel_warnings INTERFACE /W4 /permissive- /utf-8)
else()
    target_compile_options(kel_warnings INTERFACE -Wall -Wextra)
endif()

if(KEL_SANITIZE)
    if(MSVC)
        message(FATAL_ERROR "KEL_SANITIZE is supported with GCC and Clang")
    endif()
    set(_kel_san -fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
    add_compile_options(${_kel_san})
    add_link_options(-fsanitize=address,undefined)
endif()

if(KEL_SANITIZE_THREADS)
    if(MSVC OR KEL_SANITIZE)
        message(FATAL_ERROR "KEL_SANITIZE_THREADS needs GCC or Clang, without KEL_SANITIZE")
    endif()
    add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
    add_link_options(-fsanitize=thread)
endif()

if(KEL_BUILD_FUZZERS)
    # Coverage for libFuzzer in every object; the fuzz targets add the
    # fuzzer's main when they link.
    add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-omit-frame-pointer)
    add_link_options(-fsanitize=address,undefined)
endif()

if(WIN32)
    # Keep <windows.h> from defining min/max macros inside the library's own sources.
    add_compile_definitions(NOMINMAX)
endif()
