# The stack walker and the error tracer. Their test programs are built with
# debug information, without optimisation and with frame pointers, so that
# the functions they look for in stack texts are where their source says;
# MinGW builds write DWARF 4, which Wine's dbghelp reads.

if(MSVC)
    set(KEL_TRACER_TEST_OPTIONS /Zi /Od /Oy-)
    set(KEL_TRACER_NO_DEBUG_OPTIONS /Od)
elseif(MINGW)
    set(KEL_TRACER_TEST_OPTIONS -gdwarf-4 -O0 -fno-omit-frame-pointer)
    set(KEL_TRACER_NO_DEBUG_OPTIONS -g0 -O0)
else()
    set(KEL_TRACER_TEST_OPTIONS -g -O0 -fno-omit-frame-pointer)
    set(KEL_TRACER_NO_DEBUG_OPTIONS -g0 -O0)
endif()

# A library without debug information that calls back into the tests.
# Stripped, so that not even the runtime's objects bring debug information.
add_library(kel_test_plain SHARED ${CMAKE_CURRENT_LIST_DIR}/plain_library.cpp)
target_compile_options(kel_test_plain PRIVATE ${KEL_TRACER_NO_DEBUG_OPTIONS})
if(NOT MSVC)
    target_link_options(kel_test_plain PRIVATE -s)
endif()
set_target_properties(kel_test_plain PROPERTIES CXX_VISIBILITY_PRESET hidden)

# A library with debug information that the tests load after their first walk.
if(NOT WIN32)
    add_library(kel_test_walked MODULE ${CMAKE_CURRENT_LIST_DIR}/walked_library.cpp)
    target_compile_options(kel_test_walked PRIVATE ${KEL_TRACER_TEST_OPTIONS})
    set_target_properties(kel_test_walked PROPERTIES CXX_VISIBILITY_PRESET hidden)
endif()

# kel_add_tracer_test(<name> ...): a test of the walker or the tracer.
# The tests compare the source files the walker names with their own.
function(kel_add_tracer_test name)
    kel_add_test(${name} ${ARGN})
    target_compile_options(${name} PRIVATE ${KEL_TRACER_TEST_OPTIONS})
    target_compile_definitions(${name} PRIVATE
        KEL_TRACER_TEST_SOURCE_DIR="${CMAKE_CURRENT_LIST_DIR}")
endfunction()

kel_add_tracer_test(KelStackWalker_test SOURCES ${CMAKE_CURRENT_LIST_DIR}/KelStackWalker_test.cpp
    LIBRARIES kel_test_plain)
if(NOT WIN32)
    add_dependencies(KelStackWalker_test kel_test_walked)
    target_compile_definitions(KelStackWalker_test PRIVATE
        KEL_TEST_WALKED_LIBRARY="$<TARGET_FILE:kel_test_walked>")
    target_link_libraries(KelStackWalker_test PRIVATE ${CMAKE_DL_LIBS})
endif()
kel_add_tracer_test(KelStackWalker_internal_test INTERNAL
    SOURCES ${CMAKE_CURRENT_LIST_DIR}/KelStackWalker_internal_test.cpp)
kel_add_tracer_test(KelStackWalker_thread_test THREADS
    SOURCES ${CMAKE_CURRENT_LIST_DIR}/KelStackWalker_thread_test.cpp)
if(NOT WIN32)
    kel_add_tracer_test(KelStackWalker_signal_test THREADS
        SOURCES ${CMAKE_CURRENT_LIST_DIR}/KelStackWalker_signal_test.cpp)
endif()

# The tracer's tests remove its settings with the store's internal calls.
# The second one is a process of its own: its first error meets a library
# that cannot be loaded, and the walker is created once per process.
kel_add_tracer_test(KelErrorTracer_test INTERNAL
    SOURCES ${CMAKE_CURRENT_LIST_DIR}/KelErrorTracer_test.cpp
        ${CMAKE_CURRENT_LIST_DIR}/tracer_test_support.cpp)
kel_add_tracer_test(KelErrorTracer_nolibrary_test INTERNAL
    SOURCES ${CMAKE_CURRENT_LIST_DIR}/KelErrorTracer_nolibrary_test.cpp
        ${CMAKE_CURRENT_LIST_DIR}/tracer_test_support.cpp)
kel_add_tracer_test(KelErrorTracer_OrbisException_test
    SOURCES ${CMAKE_CURRENT_LIST_DIR}/KelErrorTracer_OrbisException_test.cpp)
if(WIN32)
    # The settings live in the one system registry and the reports in the
    # one documents folder: these tests take turns with the others that
    # write there.
    foreach(test KelErrorTracer_test KelErrorTracer_nolibrary_test)
        target_link_libraries(${test} PRIVATE shell32)
        set_tests_properties(${test} PROPERTIES RESOURCE_LOCK system_registry)
    endforeach()
endif()
