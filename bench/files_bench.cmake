find_package(ZLIB REQUIRED)
kel_add_benchmark(kel_bench_files SOURCES ${CMAKE_CURRENT_SOURCE_DIR}/files_bench.cpp
    LIBRARIES ZLIB::ZLIB)
