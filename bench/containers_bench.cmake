kel_add_benchmark(kel_bench_containers SOURCES ${CMAKE_CURRENT_SOURCE_DIR}/containers_bench.cpp)
