kel_add_fuzzer(mif_string_fuzz SOURCES ${CMAKE_CURRENT_SOURCE_DIR}/mif_string_fuzz.cpp)
