kel_add_fuzzer(numbering_fuzz SOURCES ${CMAKE_CURRENT_SOURCE_DIR}/numbering_fuzz.cpp)
