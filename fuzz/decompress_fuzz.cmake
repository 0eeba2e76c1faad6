kel_add_fuzzer(decompress_fuzz SOURCES ${CMAKE_CURRENT_SOURCE_DIR}/decompress_fuzz.cpp)
