find_package(Boost 1.74 REQUIRED)
kel_add_benchmark(kel_bench_numbering SOURCES ${CMAKE_CURRENT_SOURCE_DIR}/numbering_bench.cpp
    LIBRARIES Boost::headers)
