kel_add_fuzzer(split_path_fuzz SOURCES ${CMAKE_CURRENT_SOURCE_DIR}/split_path_fuzz.cpp)
