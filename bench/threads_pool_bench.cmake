# boost::asio is header-only; its thread pool needs the threads library.
find_package(Boost 1.74 REQUIRED)
kel_add_benchmark(kel_bench_threads_pool SOURCES ${CMAKE_CURRENT_SOURCE_DIR}/threads_pool_bench.cpp
    LIBRARIES Boost::headers Threads::Threads)
