kel_add_fuzzer(tokens_fuzz SOURCES ${CMAKE_CURRENT_SOURCE_DIR}/tokens_fuzz.cpp)
