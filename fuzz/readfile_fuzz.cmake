kel_add_fuzzer(readfile_fuzz SOURCES ${CMAKE_CURRENT_SOURCE_DIR}/readfile_fuzz.cpp)
