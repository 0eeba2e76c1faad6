kel_add_fuzzer(unzip_fuzz SOURCES ${CMAKE_CURRENT_SOURCE_DIR}/unzip_fuzz.cpp)
