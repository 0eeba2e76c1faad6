# KelNamedPipe against a plain recv loop on a Unix socket.
if(NOT WIN32)
    kel_add_benchmark(kel_bench_pipe SOURCES ${CMAKE_CURRENT_SOURCE_DIR}/pipe_bench.cpp)
endif()
