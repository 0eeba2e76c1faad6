if(NOT WIN32)
    kel_add_benchmark(kel_bench_registry INTERNAL
        SOURCES ${CMAKE_CURRENT_SOURCE_DIR}/registry_bench.cpp
        LIBRARIES SQLite::SQLite3)
endif()
