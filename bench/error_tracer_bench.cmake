# The error tracer against a bare backtrace() of the same stack. Linux only:
# the reference is glibc's backtrace(), and the first AddError is timed in
# fresh processes started through /proc/self/exe. Built with debug
# information so that the benchmark's own frames have source lines.
if(NOT WIN32)
    kel_add_benchmark(kel_bench_error_tracer
        SOURCES ${CMAKE_CURRENT_SOURCE_DIR}/error_tracer_bench.cpp)
    target_compile_options(kel_bench_error_tracer PRIVATE -g -fno-omit-frame-pointer)
endif()
