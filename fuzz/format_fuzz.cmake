kel_add_fuzzer(format_fuzz SOURCES ${CMAKE_CURRENT_SOURCE_DIR}/format_fuzz.cpp)
